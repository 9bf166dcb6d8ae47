// Event commands: scripts coordinate with the front end and with forked chains
// through events held in HANDLE_ variables. CreateEvent makes one, SetEvent
// signals it, WaitForHandle waits on it.
//
// When the variable holds no event (or CreateEventW fails) these commands return
// 0 at once and leave their guard held, without the end line and without marking
// themselves executed. Scripts rely on this being harmless on one thread; another
// thread that reaches the same command later is turned away with 1359.
#pragma once

#include "engine/InstallCommand.h"

// The eventVar attribute, stored as "HANDLE_<text>".
class CEventVarCommand : public CInstallCommand {
 public:
  ScopedNarrowText eventVar;

  SELFFREE_DESTRUCTOR(CEventVarCommand)

 protected:
  HRESULT ReadEventVar(AttributeReader& reader);
};

class CCreateEventCommand : public CEventVarCommand {
 public:
  static constexpr const wchar_t* kTag = L"CreateEvent";
  static constexpr FrameStyle kFrame{kTag};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  BOOL manualReset = FALSE;
  BOOL initialState = FALSE;
  ScopedText eventName;

  SELFFREE_DESTRUCTOR(CCreateEventCommand)
};

class CSetEventCommand : public CEventVarCommand {
 public:
  static constexpr const wchar_t* kTag = L"SetEvent";
  static constexpr FrameStyle kFrame{kTag};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  SELFFREE_DESTRUCTOR(CSetEventCommand)
};

class CWaitForHandleCommand : public CEventVarCommand {
 public:
  static constexpr const wchar_t* kTag = L"WaitForHandle";
  static constexpr FrameStyle kFrame{kTag};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  // Milliseconds; -1 waits without limit.
  int32_t waitAmount = -1;

  SELFFREE_DESTRUCTOR(CWaitForHandleCommand)
};
