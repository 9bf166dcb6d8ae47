// Cancel: asks a forked chain to stop before its next command. A chain that has
// not started yet never will, and a Join of it passes at once. Cancel does not wait.
#pragma once

#include "engine/InstallCommand.h"

class CCancelCommand : public CInstallCommand {
 public:
  static constexpr const wchar_t* kTag = L"Cancel";
  static constexpr FrameStyle kFrame{kTag, kFrameNoBeginLine};  // its begin line names the thread

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  int32_t threadId = 0;

  SELFFREE_DESTRUCTOR(CCancelCommand)
};
