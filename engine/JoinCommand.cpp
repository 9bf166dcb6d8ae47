#include "engine/JoinCommand.h"

#include <cstdlib>
#include <cwchar>

#include "engine/Expand.h"
#include "engine/Log.h"
#include "engine/Store.h"
#include "engine/ThreadInfo.h"
#include "engine/VarName.h"

int32_t CJoinCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  HRESULT hr = reader.ReadNumber(L"threadId", &threadId);
  if (hr != S_OK) return hr;

  wchar_t* text = nullptr;
  hr = reader.ReadText(L"condition", &text);
  if (hr == S_OK) {
    // A name that does not narrow to exactly one byte a character cannot be a
    // variable name of the store.
    condition = VarName(text, Narrowing::OneBytePerCharacter);
    if (!condition) return kStatusMissingAttribute;
  } else if (!reader.LastWasAbsent()) {
    return hr;
  }

  if (reader.ReadNumber(L"value", &value) == S_OK) hasValue = true;
  if (reader.ReadCopy(L"strValue", strValue) == S_OK) hasStrValue = true;
  return kStatusOk;
}

bool CJoinCommand::ShouldJoin() {
  if (!condition) return true;
  if (hasStrValue) {
    CString* current = StoreGetString(VarName("String_", condition.Get()).Get());
    // The field keeps the expanded form, so a later visit expands the expanded
    // text again; a failed expansion leaves the field null.
    ExpandField(strValue, OnFailure::DropText);
    // An unset variable or a failed expansion leaves nothing to compare: that
    // is no match, rather than a read through a null text.
    if (current == nullptr || current->text == nullptr || !strValue) return false;
    return wcscmp(current->text, strValue.Get()) == 0;
  }
  int32_t current = StoreGetInt32(VarName("int_", condition.Get()).Get());
  // With no value given the test is equality with 1, not a test for non-zero.
  if (!hasValue) value = 1;
  return current == value;
}

int32_t CJoinCommand::Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  LogMessage(enginetext::kThreadBegin, index, kTag, threadId);
  if (!ShouldJoin()) {
    LogMessage(enginetext::kJoinSkipped, index, kTag, threadId);
    return frame.Done();
  }
  ThreadInfoType* info = FindThreadInfo(index, kTag, threadId, 0, storeLock);
  LogMessage(enginetext::kJoinWaiting, index, kTag, threadId);
  // The lock stays held for the whole wait. A cancel handle of 0 makes the double
  // wait fail at once, and the Join goes on.
  if (cancelHandle != INVALID_HANDLE_VALUE) {
    HANDLE handles[2] = {info->joinEvent, cancelHandle};
    WaitForMultipleObjects(2, handles, FALSE, INFINITE);
  } else {
    WaitForSingleObject(info->joinEvent, INFINITE);
  }
  // The chain's outcome is not read: a Join cannot tell a script how it ended.
  LogMessage(enginetext::kJoinDone, index, kTag, threadId);
  return frame.Done();
}
