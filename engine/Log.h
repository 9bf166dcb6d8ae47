// The system's one log call and the interface of the logger behind it.
//
// LogMessage looks the logger up in the store on every call, so a logger that is
// published or replaced later is used from the next line on, and commands log
// safely before any logger exists (the line is then dropped).
//
// Formats are Microsoft-style: in these wide formats %s is wide text and %S narrow
// text. Only format them with functions that keep those rules (_vsnwprintf,
// _vscwprintf, swprintf_s), never with mingw's C99 wide printf.
#pragma once

#include <cstdarg>

#include "engine/interfaces/Logger.h"


void LogMessage(const wchar_t* format, ...);
void LogMessageV(const wchar_t* format, va_list args);
