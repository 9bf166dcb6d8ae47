#include "tests/support/CaptureLogger.h"

#include <cstdlib>

#include "engine/Format.h"

CaptureLogger::CaptureLogger() { InitializeCriticalSection(&lock_); }

CaptureLogger::~CaptureLogger() { DeleteCriticalSection(&lock_); }

void CaptureLogger::Log(const wchar_t* format, va_list args) {
  wchar_t* text = FormatWideV(format, args);
  EnterCriticalSection(&lock_);
  lines_.emplace_back(GetCurrentThreadId(), text != nullptr ? text : L"<bad format>");
  LeaveCriticalSection(&lock_);
  free(text);
}

void CaptureLogger::StartThreadLog(const wchar_t*, bool) {
  EnterCriticalSection(&lock_);
  ++started_;
  LeaveCriticalSection(&lock_);
}

void CaptureLogger::SetLogKey(const char*) {}

std::vector<std::wstring> CaptureLogger::Lines() {
  std::vector<std::wstring> lines;
  EnterCriticalSection(&lock_);
  for (auto& line : lines_) lines.push_back(line.second);
  LeaveCriticalSection(&lock_);
  return lines;
}

std::vector<std::wstring> CaptureLogger::LinesOf(DWORD threadId) {
  std::vector<std::wstring> lines;
  EnterCriticalSection(&lock_);
  for (auto& line : lines_) {
    if (line.first == threadId) lines.push_back(line.second);
  }
  LeaveCriticalSection(&lock_);
  return lines;
}

bool CaptureLogger::Contains(const std::wstring& line) {
  for (auto& logged : Lines()) {
    if (logged == line) return true;
  }
  return false;
}

bool CaptureLogger::WaitFor(const std::wstring& line, DWORD timeoutMs) {
  DWORD start = GetTickCount();
  while (!Contains(line)) {
    if (GetTickCount() - start > timeoutMs) return false;
    Sleep(5);
  }
  return true;
}

size_t CaptureLogger::StartedThreads() {
  EnterCriticalSection(&lock_);
  size_t count = started_;
  LeaveCriticalSection(&lock_);
  return count;
}
