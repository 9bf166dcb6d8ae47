#include "engine/Format.h"

#include <cstdio>
#include <cstdlib>

wchar_t* FormatWideV(const wchar_t* format, va_list args) {
  // _vscwprintf and _vsnwprintf come from msvcrt and keep its rules.
  va_list measure;
  va_copy(measure, args);
  int length = _vscwprintf(format, measure);
  va_end(measure);
  if (length < 0) return nullptr;
  wchar_t* text = static_cast<wchar_t*>(malloc((length + 1) * sizeof(wchar_t)));
  if (text == nullptr) return nullptr;
  _vsnwprintf(text, length + 1, format, args);
  text[length] = L'\0';
  return text;
}
