#include "engine/Bounded.h"

#include <windows.h>

#include <cstdarg>
#include <cstdio>
#include <cwchar>
#include <string>

#include "engine/EngineTexts.h"
#include "engine/ExecuteFrame.h"
#include "engine/Format.h"
#include "engine/Log.h"
#include "engine/ScopedHandle.h"

#ifndef STATUS_STACK_BUFFER_OVERRUN
#define STATUS_STACK_BUFFER_OVERRUN ((DWORD)0xC0000409L)
#endif

namespace {

// Set while the last line is written: an overrun inside the logger itself must
// not log again on its way out.
thread_local bool t_ending = false;

// Writes the line to standard error and to the log; formats with Microsoft rules.
void LastLine(const wchar_t* format, ...) {
  if (t_ending) return;
  t_ending = true;
  va_list args;
  va_start(args, format);
  va_list copy;
  va_copy(copy, args);
  ScopedText line(FormatWideV(format, copy));
  va_end(copy);
  if (line) {
    int bytes = WideCharToMultiByte(CP_UTF8, 0, line.Get(), -1, nullptr, 0, nullptr, nullptr);
    std::string text(bytes > 0 ? bytes - 1 : 0, '\0');
    if (bytes > 1) WideCharToMultiByte(CP_UTF8, 0, line.Get(), -1, &text[0], bytes, nullptr, nullptr);
    text = "Installer: " + text;
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
  }
  LogMessageV(format, args);
  va_end(args);
}

}  // namespace

void FailFastOverrun(const wchar_t* text, size_t length, size_t capacity) {
  const ExecuteFrame* frame = ExecuteFrame::Current();
  unsigned shown = static_cast<unsigned>(length);
  unsigned room = static_cast<unsigned>(capacity);
  if (frame != nullptr) {
    LastLine(enginetext::kOverrunInCommand, frame->Index(), frame->Tag(), shown, room, text);
  } else {
    LastLine(enginetext::kOverrunOutside, shown, room, text);
  }
  TerminateProcess(GetCurrentProcess(), STATUS_STACK_BUFFER_OVERRUN);
  for (;;) Sleep(INFINITE);
}

void FailFastOverrun() {
  const ExecuteFrame* frame = ExecuteFrame::Current();
  if (frame != nullptr) {
    LastLine(enginetext::kOverrunUnknownText, frame->Index(), frame->Tag());
  } else {
    LastLine(enginetext::kOverrunUnknownOutside);
  }
  TerminateProcess(GetCurrentProcess(), STATUS_STACK_BUFFER_OVERRUN);
  // TerminateProcess of the own process does not return; this is for the compiler.
  for (;;) Sleep(INFINITE);
}

void BoundedCopy(wchar_t* target, size_t capacity, const wchar_t* source) {
  size_t length = wcslen(source);
  if (length >= capacity) FailFastOverrun(source, length, capacity);
  wmemcpy(target, source, length + 1);
}

void BoundedFormat(wchar_t* target, size_t capacity, const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  va_list measure;
  va_copy(measure, args);
  int length = _vscwprintf(format, measure);
  va_end(measure);
  if (length < 0) FailFastOverrun();
  if (static_cast<size_t>(length) >= capacity) {
    ScopedText whole(FormatWideV(format, args));
    FailFastOverrun(whole ? whole.Get() : L"", static_cast<size_t>(length), capacity);
  }
  _vsnwprintf(target, capacity, format, args);
  target[length] = L'\0';
  va_end(args);
}

void BoundedFormatA(char* target, size_t capacity, const char* format, ...) {
  va_list args;
  va_start(args, format);
  va_list measure;
  va_copy(measure, args);
  int length = vsnprintf(nullptr, 0, format, measure);
  va_end(measure);
  if (length < 0 || static_cast<size_t>(length) >= capacity) FailFastOverrun();
  vsnprintf(target, capacity, format, args);
  va_end(args);
}
