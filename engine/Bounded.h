// Copies and formats into fixed buffers where an overlong source is a fatal
// error of the program, not a cut: the process ends at once with
// STATUS_STACK_BUFFER_OVERRUN, the same way on Windows and under Wine (whose CRT
// only returns an error from the _s functions).
#pragma once

#include <cstddef>

// Before it ends the process it writes one line, to standard error and to the
// log, naming the running command, its index and, where given, the overlong text
// (length characters, of which capacity would have fitted, terminator included).
[[noreturn]] void FailFastOverrun();
[[noreturn]] void FailFastOverrun(const wchar_t* text, size_t length, size_t capacity);

// Copies source with its terminator into target of capacity characters.
void BoundedCopy(wchar_t* target, size_t capacity, const wchar_t* source);
// Formats with Microsoft rules into target of capacity characters.
void BoundedFormat(wchar_t* target, size_t capacity, const wchar_t* format, ...);
// The narrow form, for store names.
void BoundedFormatA(char* target, size_t capacity, const char* format, ...);
