// A logger for tests: published under SelfFree_LoggerApi, it keeps every line as
// the system formats it, so tests compare exact texts.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "engine/Log.h"

class CaptureLogger : public ILoggerApi {
 public:
  CaptureLogger();
  ~CaptureLogger();

  void Log(const wchar_t* format, va_list args) override;
  void StartThreadLog(const wchar_t* description, bool isMain) override;
  void SetLogKey(const char* key) override;

  std::vector<std::wstring> Lines();
  bool Contains(const std::wstring& line);
  // Waits up to timeoutMs for a line to arrive.
  bool WaitFor(const std::wstring& line, DWORD timeoutMs = 5000);
  // Lines logged by one thread, in order.
  std::vector<std::wstring> LinesOf(DWORD threadId);
  size_t StartedThreads();

  SELFFREE_DESTRUCTOR(CaptureLogger)

 private:
  CRITICAL_SECTION lock_;
  std::vector<std::pair<DWORD, std::wstring>> lines_;
  size_t started_ = 0;
};
