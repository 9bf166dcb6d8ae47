// Formatting of the system's wide texts with Microsoft rules: %s is wide text and
// %S narrow text. mingw's own wide printf follows C99 rules instead, so every
// logger formats through here.
#pragma once

#include <cstdarg>

// A new heap text (free with free), or null on a bad format or when memory runs out.
wchar_t* FormatWideV(const wchar_t* format, va_list args);
