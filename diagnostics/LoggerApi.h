// CLoggerApi: the logger behind SelfFree_LoggerApi.
//
// While the run lasts, every registered thread writes to a file of its own in the
// common application data folder, "<start time>.<thread id>.bin", one line per
// message: "[hh:mm:ss:mmm] <body>", the body through the content transform. A
// thread that logs without registering writes to the main thread's file, if a
// main thread registered, and is lost otherwise. When the logger is destroyed the
// thread files are concatenated, in ascending thread id, into
// "<start time>.nvinstall.bin" and removed.
//
// Files are opened in text mode with UTF-8 translation, so that any text a message
// holds (paths in any language) reaches the file.
#pragma once

#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <map>

#include "engine/Log.h"
#include "engine/ScopedHandle.h"

class CLoggerApi : public ILoggerApi {
 public:
  CLoggerApi();
  ~CLoggerApi();

  void Log(const wchar_t* format, va_list args) override;
  void StartThreadLog(const wchar_t* description, bool isMain) override;
  void SetLogKey(const char* key) override;

  // The path of a thread's file, or with threadId absent, of the merged file.
  void ThreadFilePath(wchar_t (&path)[MAX_PATH], DWORD threadId) const;
  void MergedFilePath(wchar_t (&path)[MAX_PATH]) const;

  SELFFREE_DESTRUCTOR(CLoggerApi)

 private:
  void LogLine(const wchar_t* format, ...);

 public:

  std::map<DWORD, ScopedFile> streams;
  CRITICAL_SECTION mapLock;
  ScopedNarrowText logKey;
  size_t logKeyLength = 0;
  uint64_t startTime;
  volatile DWORD mainThreadId = 0xFFFFFFFF;
};
