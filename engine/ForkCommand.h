// Fork: starts a chain of commands on a thread of its own, once per threadId for
// the whole life of the process. A later Fork of the same id, or one after a
// Cancel, only logs.
#pragma once

#include "engine/InstallCommand.h"

class CForkCommand : public CInstallCommand {
 public:
  static constexpr const wchar_t* kTag = L"Fork";
  static constexpr FrameStyle kFrame{kTag, kFrameNoBeginLine};  // its begin line names the thread

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  int32_t threadId = 0;
  int32_t threadStart = 0;

  SELFFREE_DESTRUCTOR(CForkCommand)
};
