#include "host/Shutdown.h"

#include <cstdio>
#include <string>
#include <vector>

#include "engine/ThreadInfo.h"
#include "host/ScriptLoader.h"
#include "host/VariableStore.h"

namespace {

const char kThreadRecordPrefix[] = "ThreadInfoType_ThreadId";

std::vector<ThreadInfoType*> ThreadRecords() {
  std::vector<ThreadInfoType*> records;
  for (auto& entry : VariableStore::Instance().Entries(kThreadRecordPrefix)) {
    records.push_back(reinterpret_cast<ThreadInfoType*>(entry.second));
  }
  return records;
}

bool IsHandle(HANDLE handle) { return handle != nullptr && handle != INVALID_HANDLE_VALUE; }

}  // namespace

void CancelForkedChains() {
  for (ThreadInfoType* record : ThreadRecords()) {
    if (IsHandle(record->cancelEvent)) SetEvent(record->cancelEvent);
  }
}

void WaitForForkedChains() {
  for (ThreadInfoType* record : ThreadRecords()) {
    if (!IsHandle(record->threadHandle)) continue;
    // A chain that signalled its end is only returning from its procedure.
    bool ended = IsHandle(record->joinEvent) && WaitForSingleObject(record->joinEvent, 0) == WAIT_OBJECT_0;
    if (!ended) {
      fprintf(stderr, "Installer: waiting for the chain of threadId=%d, which no Join waited for.\n",
              static_cast<int>(record->threadId));
      fflush(stderr);
    }
    WaitForSingleObject(record->threadHandle, INFINITE);
  }
}

void ReleaseStore(const std::set<CSelfFree*>& extraOwned) {
  VariableStore& store = VariableStore::Instance();
  std::set<StoreValue> released;
  auto once = [&released](StoreValue value) { return value != 0 && released.insert(value).second; };

  for (auto& entry : store.Entries(kThreadRecordPrefix)) {
    auto* record = reinterpret_cast<ThreadInfoType*>(entry.second);
    if (once(entry.second) && record->freeInfo != nullptr) record->freeInfo(record);
  }
  StoreValue commands = store.Get("commands");
  if (once(commands)) FreeCommands(reinterpret_cast<CommandMap*>(commands));
  for (auto& entry : store.Entries("HANDLE_")) {
    if (once(entry.second)) CloseHandle(reinterpret_cast<HANDLE>(entry.second));
  }
  for (const char* prefix : {"String_", "MultiString_"}) {
    for (auto& entry : store.Entries(prefix)) {
      if (once(entry.second)) reinterpret_cast<CSelfFree*>(entry.second)->Free();
    }
  }
  const char* last[] = {"SelfFree_ErrorApi", "SelfFree_LoggerApi"};
  for (auto& entry : store.Entries("SelfFree_")) {
    if (entry.first == last[0] || entry.first == last[1]) continue;
    if (once(entry.second)) reinterpret_cast<CSelfFree*>(entry.second)->Free();
  }
  for (const char* name : last) {
    StoreValue value = store.Get(name);
    if (once(value)) reinterpret_cast<CSelfFree*>(value)->Free();
  }
  for (CSelfFree* object : extraOwned) {
    if (once(reinterpret_cast<StoreValue>(object))) object->Free();
  }
  store.Clear();
}
