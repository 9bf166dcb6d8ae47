#include "tests/support/CaptureLogger.h"

#include <cstdlib>
#include <cwctype>

#include "engine/Format.h"

const wchar_t kNotExecutedWarning[] = L"[InstallCommand] Warning: GetNextIndex called before Execute\n";

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

size_t CaptureLogger::Mark() {
  EnterCriticalSection(&lock_);
  size_t count = lines_.size();
  LeaveCriticalSection(&lock_);
  return count;
}

Lines CaptureLogger::Since(size_t mark, DWORD threadId) {
  Lines lines;
  EnterCriticalSection(&lock_);
  for (size_t i = mark; i < lines_.size(); ++i) {
    if (threadId == 0 || lines_[i].first == threadId) lines.push_back(lines_[i].second);
  }
  LeaveCriticalSection(&lock_);
  return lines;
}

Lines CaptureLogger::Work(size_t mark, DWORD threadId) {
  Lines work;
  for (std::wstring& line : Since(mark, threadId)) {
    if (!IsFrameLine(line)) work.push_back(line);
  }
  return work;
}

// "<index>: <tag> Begin execute..." / "End execute. Next command" / "Error: Multiple
// threads attempting execution.", and the warning of a command not marked executed.
bool CaptureLogger::IsFrameLine(const std::wstring& line) {
  if (line == kNotExecutedWarning || line == L"[InstallCommand] Error: Multiple threads attempting execution\n") {
    return true;
  }
  size_t at = line[0] == L'-' ? 1 : 0;
  size_t digits = at;
  while (digits < line.size() && iswdigit(line[digits])) ++digits;
  if (digits == at || line.compare(digits, 2, L": ") != 0) return false;
  size_t tagEnd = line.find(L' ', digits + 2);
  if (tagEnd == std::wstring::npos) return false;
  std::wstring rest = line.substr(tagEnd + 1);
  return rest.compare(0, 13, L"Begin execute") == 0 || rest.compare(0, 26, L"End execute. Next command ") == 0 ||
         rest == L"Error: Multiple threads attempting execution.\n";
}

bool CaptureLogger::Contains(const std::wstring& line) {
  for (auto& logged : Since()) {
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
