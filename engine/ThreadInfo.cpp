#include "engine/ThreadInfo.h"

#include <cstdio>
#include <cstdlib>
#include <cwchar>

#include "engine/EngineTexts.h"
#include "engine/interfaces/HostInterfaces.h"
#include "engine/InstallCommand.h"
#include "engine/Log.h"
#include "engine/Store.h"
#include "engine/StoreNames.h"

void ThreadInfoVarName(char (&name)[256], int32_t threadId) {
  snprintf(name, sizeof(name), "ThreadInfoType_ThreadId%i", threadId);
}

ThreadInfoType* CreateThreadInfo(int32_t threadId, CRITICAL_SECTION* storeLock, int32_t threadStart,
                                 const wchar_t* name) {
  ThreadInfoType* info = static_cast<ThreadInfoType*>(calloc(1, sizeof(ThreadInfoType)));
  if (info == nullptr) return nullptr;
  info->cancelEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  if (info->cancelEvent == INVALID_HANDLE_VALUE) {
    FreeThreadInfo(info);
    return nullptr;
  }
  info->joinEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  if (info->joinEvent == INVALID_HANDLE_VALUE) {
    FreeThreadInfo(info);
    return nullptr;
  }
  InterlockedExchange(&info->started, 0);
  info->threadId = threadId;
  info->storeLock = storeLock;
  info->threadStart = threadStart;
  info->name = _wcsdup(name != nullptr ? name : L"");
  info->freeInfo = FreeThreadInfo;
  return info;
}

// The record is a plain C struct that the engine releases through its freeInfo
// slot, so its handles and name are raw and released here by hand.
void FreeThreadInfo(ThreadInfoType* info) {
  if (info == nullptr) return;
  HANDLE* handles[3] = {&info->threadHandle, &info->cancelEvent, &info->joinEvent};
  for (HANDLE* handle : handles) {
    if (*handle != nullptr) {
      CloseHandle(*handle);
      *handle = INVALID_HANDLE_VALUE;
    }
  }
  free(info->name);
  info->name = nullptr;
  InterlockedExchange(&info->started, 0);
  free(info);
}

namespace {

// Every way out of a chain: the last line, then the event a Join waits for.
DWORD EndChain(ThreadInfoType* info) {
  LogMessage(enginetext::kChainJoining, info->threadId);
  SetEvent(info->joinEvent);
  return 0;
}

}  // namespace

DWORD WINAPI ForkThreadProc(LPVOID parameter) {
  ThreadInfoType* info = static_cast<ThreadInfoType*>(parameter);
  ILoggerApi* logger = StoreGetObject<ILoggerApi>("SelfFree_LoggerApi");
  if (logger != nullptr) logger->StartThreadLog(info->name, false);

  // The index operator inserts an absent key with a null command into the
  // engine's map, without the store lock. It only happens on the way to an exit.
  CommandMap& commands = *StoreGetObject<CommandMap>(storename::kCommands);
  CInstallCommand* command = commands[info->threadStart];
  if (command == nullptr) {
    LogMessage(enginetext::kChainNoEntry, info->threadId, info->threadStart);
    return EndChain(info);
  }
  for (;;) {
    if (info->cancelEvent != INVALID_HANDLE_VALUE && WaitForSingleObject(info->cancelEvent, 0) == WAIT_OBJECT_0) {
      LogMessage(enginetext::kChainCancelled, info->threadId);
      return EndChain(info);
    }
    if (command->IsRequired()) {
      LogMessage(enginetext::kChainExecuting, info->threadId, command->GetIndex());
      if (command->Execute(info->cancelEvent, info->storeLock) != 0) {
        LogMessage(enginetext::kChainFailed, info->threadId, command->GetIndex());
        return EndChain(info);
      }
    } else {
      LogMessage(enginetext::kChainNotRequired, info->threadId, command->GetIndex());
    }
    int32_t nextIndex = command->GetNextIndex();
    if (nextIndex == 0) {
      LogMessage(enginetext::kChainEnd, info->threadId);
      return EndChain(info);
    }
    command = commands[nextIndex];
    if (command == nullptr) {
      LogMessage(enginetext::kChainNoNext, info->threadId, nextIndex);
      return EndChain(info);
    }
  }
}

ThreadInfoType* FindThreadInfo(int32_t commandIndex, const wchar_t* tag, int32_t threadId, int32_t threadStart,
                               CRITICAL_SECTION* storeLock) {
  char name[256] = {};
  ThreadInfoVarName(name, threadId);
  EnterCriticalSection(storeLock);
  ThreadInfoType* info = StoreGetObject<ThreadInfoType>(name);
  if (info != nullptr) {
    LogMessage(enginetext::kInfoFound, commandIndex, tag, threadId);
  } else {
    LogMessage(enginetext::kInfoCreated, commandIndex, tag, threadId);
    info = CreateThreadInfo(threadId, storeLock, threadStart, L"");
    StorePutObject(name, info);
  }
  LeaveCriticalSection(storeLock);
  return info;
}
