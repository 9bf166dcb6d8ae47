#include "frontend/ProgressCommands.h"

#include <cstdlib>
#include <cwchar>

#include "engine/interfaces/ResourceManager.h"
#include "engine/Log.h"
#include "engine/Store.h"

namespace {
const int32_t kReasonCapacity = 2048;
}

int32_t CVltUpdateProgressCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  AttributeReader reader(attributes);
  reader.ReadNumber(L"progress", &progress);
  return kStatusOk;
}

int32_t CVltUpdateProgressCommand::Execute(HANDLE, CRITICAL_SECTION* storeLock) {
  if (!TryEnterCriticalSection(&lock)) {
    LogMessage(L"%i: VltUpdateProgress Error: Multiple threads attempting execution.\n", index);
    return kStatusBusy;
  }
  HANDLE event = reinterpret_cast<HANDLE>(StoreGet("HANDLE_InstallProgressEv"));
  LogMessage(L"%i: UpdateProgress:%d\n", index, progress);
  PublishProgress(storeLock, progress, event);
  LogMessage(L"%i: VltUpdateProgress End execute. Next command %i.\n", index, GetNextIndex());
  LeaveCriticalSection(&lock);
  return kStatusOk;
}

CVltSetErrorCommand::~CVltSetErrorCommand() {
  free(reason);
  reason = nullptr;
}

int32_t CVltSetErrorCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  AttributeReader reader(attributes);
  if (reader.ReadCopy(L"reason", &reason) == S_OK && reason != nullptr) return kStatusOk;
  free(reason);
  reason = nullptr;
  if (reader.ReadCopy(L"resText", &reason) == S_OK) reasonIsResource = true;
  return kStatusOk;
}

void PublishProgress(CRITICAL_SECTION* storeLock, int32_t percent, HANDLE progressEvent) {
  EnterCriticalSection(storeLock);
  StorePut("int_InstallProgressPercent", static_cast<StoreValue>(static_cast<int64_t>(percent)));
  if (progressEvent != nullptr) SetEvent(progressEvent);
  LeaveCriticalSection(storeLock);
}

void PublishFailure(const wchar_t* reason, HANDLE progressEvent, OldReason order) {
  if (reason != nullptr) {
    CSelfFree* old = StoreGetObject<CSelfFree>("String_InstallFailReason");
    if (order == OldReason::FreedFirst) SelfFreeRelease(old);
    StorePutObject("String_InstallFailReason", MakeString(reason));
    if (order == OldReason::FreedAfter) SelfFreeRelease(old);
  }
  StorePut("int_InstallFailed", 1);
  StorePut("int_InstallProgressPercent", static_cast<StoreValue>(static_cast<int64_t>(-1)));
  if (progressEvent != nullptr) SetEvent(progressEvent);
}

int32_t CVltSetErrorCommand::Execute(HANDLE, CRITICAL_SECTION* storeLock) {
  if (!TryEnterCriticalSection(&lock)) {
    LogMessage(L"%i: VltSetError Error: Multiple threads attempting execution.\n", index);
    return kStatusBusy;
  }
  HANDLE event = reinterpret_cast<HANDLE>(StoreGet("HANDLE_InstallProgressEv"));
  IResourceManager* resources = StoreGetObject<IResourceManager>("SelfFree_ResourceManager");
  if (reasonIsResource && resources != nullptr && reason != nullptr) {
    // The flag stays set: a second run takes the looked-up text for an id.
    wchar_t* text = static_cast<wchar_t*>(calloc(kReasonCapacity, sizeof(wchar_t)));
    resources->GetString(reason, text, kReasonCapacity);
    free(reason);
    reason = _wcsdup(text);
    free(text);
  }
  LogMessage(L"%i: SetError: %s\n", index, reason);
  EnterCriticalSection(storeLock);
  PublishFailure(reason, event);
  LeaveCriticalSection(storeLock);
  LogMessage(L"%i: VltSetError End execute. Next command %i.\n", index, GetNextIndex());
  LeaveCriticalSection(&lock);
  return kStatusOk;
}
