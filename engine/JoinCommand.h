// Join: waits until a forked chain has ended, or until the walk it runs in is
// cancelled. An optional condition decides first whether to join at all:
// String_<condition> equal to strValue (after expansion), or the low 32 bits of
// int_<condition> equal to value (1 when no value is given).
#pragma once

#include "engine/InstallCommand.h"

class CJoinCommand : public CInstallCommand {
 public:
  static constexpr const wchar_t* kTag = L"Join";
  static constexpr FrameStyle kFrame{kTag, kFrameNoBeginLine};  // its begin line names the thread

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  int32_t threadId = 0;
  ScopedNarrowText condition;
  ScopedText strValue;
  int32_t value = 0;
  bool hasValue = false;
  bool hasStrValue = false;

  SELFFREE_DESTRUCTOR(CJoinCommand)

 private:
  bool ShouldJoin();
};
