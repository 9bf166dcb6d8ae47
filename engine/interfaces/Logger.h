// The logger's interface, the object under SelfFree_LoggerApi. The Logger command
// publishes it; LogMessage and the engine's trace write through it.
#pragma once

#include <cstdarg>

#include "engine/SelfFree.h"

class ILoggerApi : public CSelfFree {
 public:
  // Slot 2. Writes one line for the calling thread.
  virtual void Log(const wchar_t* format, va_list args) = 0;
  // Slot 3. Registers the calling thread; description may be null.
  virtual void StartThreadLog(const wchar_t* description, bool isMain) = 0;
  // Slot 4. Sets a parameter of the logger; key may be null.
  virtual void SetLogKey(const char* key) = 0;
};
