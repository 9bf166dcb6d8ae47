// The record of one forked chain, shared by Fork, Join and Cancel.
//
// A script names its chains by a small number, threadId. The record lives in the
// store under ThreadInfoType_ThreadId<threadId> and is never freed during the run:
// a threadId is good for one thread per process. The engine may release records at
// its end through their last field, freeInfo.
#pragma once

#include <windows.h>

#include <cstdint>

struct ThreadInfoType {
  HANDLE threadHandle;          // from CreateThread, 0 until started
  HANDLE cancelEvent;           // manual reset; signalled by Cancel
  HANDLE joinEvent;             // manual reset; signalled when the chain has ended
  int32_t threadId;
  int32_t threadStart;          // index of the chain's first command
  volatile LONG started;        // 0, then 1 for good; exchanged atomically
  CRITICAL_SECTION* storeLock;  // handed to the chain's commands
  wchar_t* name;                // the thread's name for the logger
  void (*freeInfo)(ThreadInfoType* info);
};

// A new record with both events created, or null.
ThreadInfoType* CreateThreadInfo(int32_t threadId, CRITICAL_SECTION* storeLock, int32_t threadStart,
                                 const wchar_t* name);
// Closes the record's handles, frees its name and the record. Null is allowed.
void FreeThreadInfo(ThreadInfoType* info);
// Walks the command map from the record's threadStart, as the engine's own walk
// does, and signals joinEvent on every way out. Always returns 0.
DWORD WINAPI ForkThreadProc(LPVOID parameter);

// Formats the store name of a thread's record into a 256-byte buffer.
void ThreadInfoVarName(char (&name)[256], int32_t threadId);

// Finds the record of threadId under storeLock, or creates and publishes it with
// threadStart, logging which of the two happened with the command's index and tag.
// Fork, Join and Cancel can come in any order, so each of them may be the first.
ThreadInfoType* FindThreadInfo(int32_t commandIndex, const wchar_t* tag, int32_t threadId, int32_t threadStart,
                               CRITICAL_SECTION* storeLock);
