#include "engine/Bounded.h"

#include <windows.h>

#include <cstdarg>
#include <cstdio>
#include <cwchar>

#ifndef STATUS_STACK_BUFFER_OVERRUN
#define STATUS_STACK_BUFFER_OVERRUN ((DWORD)0xC0000409L)
#endif

void FailFastOverrun() {
  TerminateProcess(GetCurrentProcess(), STATUS_STACK_BUFFER_OVERRUN);
  // TerminateProcess of the own process does not return; this is for the compiler.
  for (;;) Sleep(INFINITE);
}

void BoundedCopy(wchar_t* target, size_t capacity, const wchar_t* source) {
  size_t length = wcslen(source);
  if (length >= capacity) FailFastOverrun();
  wmemcpy(target, source, length + 1);
}

void BoundedFormat(wchar_t* target, size_t capacity, const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  va_list measure;
  va_copy(measure, args);
  int length = _vscwprintf(format, measure);
  va_end(measure);
  if (length < 0 || static_cast<size_t>(length) >= capacity) FailFastOverrun();
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
