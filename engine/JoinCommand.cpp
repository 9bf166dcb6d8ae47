#include "engine/JoinCommand.h"

#include <cstdlib>
#include <cwchar>

#include "engine/Expand.h"
#include "engine/Log.h"
#include "engine/Store.h"
#include "engine/ThreadInfo.h"

CJoinCommand::~CJoinCommand() {
  free(condition);
  condition = nullptr;
  free(strValue);
  strValue = nullptr;
}

int32_t CJoinCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  HRESULT hr = reader.ReadNumber(L"threadId", &threadId);
  if (hr != S_OK) return hr;

  wchar_t* text = nullptr;
  hr = reader.ReadText(L"condition", &text);
  if (hr == S_OK) {
    int length = static_cast<int>(wcslen(text));
    free(condition);
    condition = static_cast<char*>(calloc(length + 1, 1));
    // A name that does not narrow to exactly one byte a character cannot be a
    // variable name of the store.
    if (WideCharToMultiByte(CP_ACP, 0, text, -1, condition, length + 1, nullptr, nullptr) != length + 1) {
      return kStatusMissingAttribute;
    }
  } else if (!reader.LastWasAbsent()) {
    return hr;
  }

  if (reader.ReadNumber(L"value", &value) == S_OK) hasValue = true;
  if (reader.ReadCopy(L"strValue", &strValue) == S_OK) hasStrValue = true;
  return kStatusOk;
}

bool CJoinCommand::ShouldJoin() {
  if (condition == nullptr) return true;
  if (hasStrValue) {
    char* name = MakeVarNameA("String_", condition);
    CString* current = StoreGetString(name);
    free(name);
    // The field keeps the expanded form, so a later visit expands the expanded
    // text again; a failed expansion leaves the field null.
    wchar_t* expanded = nullptr;
    ExpandVariables(strValue, &expanded);
    if (strValue != nullptr) {
      free(strValue);
      strValue = expanded;
    } else {
      free(expanded);
    }
    // An unset variable or a failed expansion leaves nothing to compare: that
    // is no match, rather than a read through a null text.
    if (current == nullptr || current->text == nullptr || strValue == nullptr) return false;
    return wcscmp(current->text, strValue) == 0;
  }
  char* name = MakeVarNameA("int_", condition);
  int32_t current = StoreGetInt32(name);
  free(name);
  // With no value given the test is equality with 1, not a test for non-zero.
  if (!hasValue) value = 1;
  return current == value;
}

int32_t CJoinCommand::Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) {
  if (!EnterGuard(kTag)) return kStatusBusy;
  LogMessage(L"%i: %s Begin execute, threadId=%i.\n", index, kTag, threadId);
  if (!ShouldJoin()) {
    LogMessage(L"%i: %s ThreadId=%i not joining.\n", index, kTag, threadId);
    return FinishExecute(kTag, kStatusOk);
  }
  ThreadInfoType* info = FindThreadInfo(index, kTag, threadId, 0, storeLock);
  LogMessage(L"%i: %s Waiting for threadId=%i.\n", index, kTag, threadId);
  // The lock stays held for the whole wait. A cancel handle of 0 makes the double
  // wait fail at once, and the Join goes on.
  if (cancelHandle != INVALID_HANDLE_VALUE) {
    HANDLE handles[2] = {info->joinEvent, cancelHandle};
    WaitForMultipleObjects(2, handles, FALSE, INFINITE);
  } else {
    WaitForSingleObject(info->joinEvent, INFINITE);
  }
  // The chain's outcome is not read: a Join cannot tell a script how it ended.
  LogMessage(L"%i: %s ThreadId=%i joined.\n", index, kTag, threadId);
  return FinishExecute(kTag, kStatusOk);
}
