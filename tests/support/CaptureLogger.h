// A logger for tests: published under SelfFree_LoggerApi, it keeps every line as
// the system formats it, with the thread that logged it, so tests compare exact
// texts.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "engine/Log.h"

typedef std::vector<std::wstring> Lines;

class CaptureLogger : public ILoggerApi {
 public:
  CaptureLogger();
  ~CaptureLogger();

  void Log(const wchar_t* format, va_list args) override;
  void StartThreadLog(const wchar_t* description, bool isMain) override;
  void SetLogKey(const char* key) override;

  // The number of lines so far: a mark for Since and Work.
  size_t Mark();
  // The lines logged since mark, of one thread only when threadId is given.
  Lines Since(size_t mark = 0, DWORD threadId = 0);
  // Since(mark) without the frame lines every command writes around its work
  // (begin, end, GetNextIndex warning, busy line): what the command itself did.
  Lines Work(size_t mark = 0, DWORD threadId = 0);
  bool Contains(const std::wstring& line);
  // Waits up to timeoutMs for a line to arrive.
  bool WaitFor(const std::wstring& line, DWORD timeoutMs = 5000);
  size_t StartedThreads();

  static bool IsFrameLine(const std::wstring& line);

  SELFFREE_DESTRUCTOR(CaptureLogger)

 private:
  CRITICAL_SECTION lock_;
  std::vector<std::pair<DWORD, std::wstring>> lines_;
  size_t started_ = 0;
};

extern const wchar_t kNotExecutedWarning[];
