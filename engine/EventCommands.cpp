#include "engine/EventCommands.h"

#include <cstdio>
#include <cstdlib>
#include <cwchar>

#include "engine/Log.h"
#include "engine/Store.h"
#include "engine/VarName.h"

HRESULT CEventVarCommand::ReadEventVar(AttributeReader& reader) {
  wchar_t* text = nullptr;
  HRESULT hr = reader.ReadText(L"eventVar", &text);
  if (hr != S_OK) return hr;
  eventVar = VarName("HANDLE_", text);
  return eventVar ? S_OK : static_cast<HRESULT>(kStatusMissingAttribute);
}

int32_t CCreateEventCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  HRESULT hr = ReadEventVar(reader);
  if (hr != S_OK) return hr;
  reader.ReadCopy(L"eventName", eventName);
  int32_t number = 0;
  if (reader.ReadNumber(L"initialState", &number) == S_OK) initialState = number == 1;
  if (reader.ReadNumber(L"manualReset", &number) == S_OK) manualReset = number == 1;
  return kStatusOk;
}

int32_t CCreateEventCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  // A named event that exists already is opened, and keeps its own reset mode and
  // state.
  HANDLE event = CreateEventW(nullptr, manualReset, initialState, eventName.Get());
  if (event == nullptr) {
    LogMessage(enginetext::kEventCreateFailed);
    return frame.KeepLock();
  }
  // The store's value is the store's; the one it replaces is closed here.
  ScopedKernelHandle previous(reinterpret_cast<HANDLE>(StoreGet(eventVar.Get())));
  StorePutObject(eventVar.Get(), event);
  return frame.Done();
}

int32_t CSetEventCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  return ReadEventVar(reader);
}

int32_t CSetEventCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  HANDLE event = reinterpret_cast<HANDLE>(StoreGet(eventVar.Get()));
  if (event == nullptr) {
    LogMessage(enginetext::kNoEventToSet, eventVar.Get());
    return frame.KeepLock();
  }
  SetEvent(event);
  return frame.Done();
}

int32_t CWaitForHandleCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  HRESULT hr = ReadEventVar(reader);
  if (hr != S_OK) return hr;
  return reader.ReadWaitAmount(L"waitAmount", &waitAmount);
}

int32_t CWaitForHandleCommand::Execute(HANDLE cancelHandle, CRITICAL_SECTION*) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  HANDLE event = reinterpret_cast<HANDLE>(StoreGet(eventVar.Get()));
  if (event == nullptr) {
    LogMessage(enginetext::kNoEventToWait, eventVar.Get());
    return frame.KeepLock();
  }
  // Timeout, cancel and signal all go on in the same way: the outcome is not read.
  DWORD timeout = static_cast<DWORD>(waitAmount);
  if (cancelHandle != INVALID_HANDLE_VALUE && cancelHandle != nullptr) {
    HANDLE handles[2] = {event, cancelHandle};
    WaitForMultipleObjects(2, handles, FALSE, timeout);
  } else {
    WaitForSingleObject(event, timeout);
  }
  return frame.Done();
}
