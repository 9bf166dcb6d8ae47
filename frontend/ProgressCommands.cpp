#include "frontend/ProgressCommands.h"

#include <cstdlib>
#include <cwchar>

#include "engine/interfaces/ResourceManager.h"
#include "engine/Log.h"
#include "engine/Store.h"
#include "engine/StoreNames.h"

namespace {
const int32_t kReasonCapacity = 2048;
}

int32_t CVltUpdateProgressCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  AttributeReader reader(attributes);
  reader.ReadNumber(L"progress", &progress);
  return kStatusOk;
}

int32_t CVltUpdateProgressCommand::Execute(HANDLE, CRITICAL_SECTION* storeLock) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  HANDLE event = reinterpret_cast<HANDLE>(StoreGet(storename::kInstallProgressEvent));
  LogMessage(frontendtext::kUpdateProgress, index, progress);
  PublishProgress(storeLock, progress, event);
  return frame.Done();
}

int32_t CVltSetErrorCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  AttributeReader reader(attributes);
  if (reader.ReadCopy(L"reason", reason) == S_OK && reason) return kStatusOk;
  reason.Reset();
  if (reader.ReadCopy(L"resText", reason) == S_OK) reasonIsResource = true;
  return kStatusOk;
}

void PublishProgress(CRITICAL_SECTION* storeLock, int32_t percent, HANDLE progressEvent) {
  EnterCriticalSection(storeLock);
  StorePut(storename::kInstallProgressPercent, static_cast<StoreValue>(static_cast<int64_t>(percent)));
  if (progressEvent != nullptr) SetEvent(progressEvent);
  LeaveCriticalSection(storeLock);
}

void PublishFailure(const wchar_t* reason, HANDLE progressEvent, OldReason order) {
  if (reason != nullptr) {
    CSelfFree* old = StoreGetObject<CSelfFree>(storename::kInstallFailReason);
    if (order == OldReason::FreedFirst) SelfFreeRelease(old);
    StorePutObject(storename::kInstallFailReason, MakeString(reason));
    if (order == OldReason::FreedAfter) SelfFreeRelease(old);
  }
  StorePut(storename::kInstallFailed, 1);
  StorePut(storename::kInstallProgressPercent, static_cast<StoreValue>(static_cast<int64_t>(-1)));
  if (progressEvent != nullptr) SetEvent(progressEvent);
}

int32_t CVltSetErrorCommand::Execute(HANDLE, CRITICAL_SECTION* storeLock) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  HANDLE event = reinterpret_cast<HANDLE>(StoreGet(storename::kInstallProgressEvent));
  IResourceManager* resources = StoreGetObject<IResourceManager>(storename::kResourceManager);
  if (reasonIsResource && resources != nullptr && reason) {
    // The flag stays set: a second run takes the looked-up text for an id.
    ScopedText text(static_cast<wchar_t*>(calloc(kReasonCapacity, sizeof(wchar_t))));
    resources->GetString(reason.Get(), text.Get(), kReasonCapacity);
    reason = CopyText(text.Get());
  }
  LogMessage(frontendtext::kSetError, index, reason.Get());
  EnterCriticalSection(storeLock);
  PublishFailure(reason.Get(), event);
  LeaveCriticalSection(storeLock);
  return frame.Done();
}
