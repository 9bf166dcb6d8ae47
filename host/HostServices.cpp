#include "host/HostServices.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include "engine/EngineTexts.h"
#include "engine/Format.h"
#include "engine/ScopedHandle.h"
#include "host/VariableStore.h"

CPlainDecrypter::CPlainDecrypter() { InitializeCriticalSection(&lock_); }

CPlainDecrypter::~CPlainDecrypter() { DeleteCriticalSection(&lock_); }

wchar_t* CPlainDecrypter::Decrypt(const wchar_t* text) {
  EnterCriticalSection(&lock_);
  results_.emplace_back(text != nullptr ? text : L"");
  wchar_t* result = &results_.back()[0];
  LeaveCriticalSection(&lock_);
  return result;
}

CTraceLogger::CTraceLogger(bool print) : print_(print) { InitializeCriticalSection(&lock_); }

CTraceLogger::~CTraceLogger() { DeleteCriticalSection(&lock_); }

std::map<int32_t, uint32_t> CTraceLogger::ChainCommands() {
  EnterCriticalSection(&lock_);
  std::map<int32_t, uint32_t> counts = chainCommands_;
  LeaveCriticalSection(&lock_);
  return counts;
}

void CTraceLogger::Log(const wchar_t* format, va_list args) {
  if (format != nullptr && wcscmp(format, enginetext::kChainExecuting) == 0) {
    va_list copy;
    va_copy(copy, args);
    int32_t threadId = va_arg(copy, int32_t);
    va_end(copy);
    EnterCriticalSection(&lock_);
    ++chainCommands_[threadId];
    LeaveCriticalSection(&lock_);
  }
  if (!print_) return;
  ScopedText line(FormatWideV(format, args));
  if (!line) return;
  std::string text = Utf8(line.Get());
  if (text.empty() || text.back() != '\n') text.push_back('\n');
  EnterCriticalSection(&lock_);
  fwrite(text.data(), 1, text.size(), stderr);
  fflush(stderr);
  LeaveCriticalSection(&lock_);
}

void CTraceLogger::StartThreadLog(const wchar_t*, bool) {}

void CTraceLogger::SetLogKey(const char*) {}

void CTeeLogger::Log(const wchar_t* format, va_list args) {
  va_list copy;
  va_copy(copy, args);
  trace_->Log(format, copy);
  va_end(copy);
  inner_.Get()->Log(format, args);
}

void CTeeLogger::StartThreadLog(const wchar_t* description, bool isMain) {
  inner_.Get()->StartThreadLog(description, isMain);
}

void CTeeLogger::SetLogKey(const char* key) { inner_.Get()->SetLogKey(key); }

uint32_t CAutoAnswerMessageBox::ShowMessage(const wchar_t* text, const wchar_t* title, uint32_t buttons,
                                           uint32_t icon, uintptr_t, uintptr_t) {
  std::wstring line = L"Installer: message box '" + std::wstring(title != nullptr ? title : L"") + L"': " +
                      (text != nullptr ? text : L"") + L" (buttons " + std::to_wstring(buttons) + L", icon " +
                      std::to_wstring(icon) + L", answered " + std::to_wstring(answer_) + L")\n";
  std::string narrow = Utf8(line);
  fwrite(narrow.data(), 1, narrow.size(), stderr);
  fflush(stderr);
  HostLog(L"%s", line.c_str() + 11);
  return answer_;
}

void CAutoAnswerMessageBox::SetDefaultParent(uintptr_t) {}

std::string Utf8(const std::wstring& text) {
  int bytes = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr);
  std::string narrow(bytes > 0 ? bytes - 1 : 0, '\0');
  if (bytes > 1) WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, &narrow[0], bytes, nullptr, nullptr);
  return narrow;
}

std::wstring FromUtf8(const char* bytes, size_t size) {
  int count = MultiByteToWideChar(CP_UTF8, 0, bytes, static_cast<int>(size), nullptr, 0);
  std::wstring text(count > 0 ? count : 0, L'\0');
  if (count > 0) MultiByteToWideChar(CP_UTF8, 0, bytes, static_cast<int>(size), &text[0], count);
  return text;
}

void HostLog(const wchar_t* format, ...) {
  ILoggerApi* logger = reinterpret_cast<ILoggerApi*>(VariableStore::Instance().Get("SelfFree_LoggerApi"));
  if (logger == nullptr) return;
  va_list args;
  va_start(args, format);
  logger->Log(format, args);
  va_end(args);
}
