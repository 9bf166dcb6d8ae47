// The error collector: the errors of a run gathered as one growing wide text, one
// line per error, "Error: 0x<code>|<source>|<message>" and a line feed, for the
// engine to fetch at the end. Published by the Logger command as
// SelfFree_ErrorApi; nothing in the library reads it.
#pragma once

#include <windows.h>

#include <cstdarg>
#include <cstdint>

#include "engine/ScopedHandle.h"
#include "engine/SelfFree.h"
#include "engine/interfaces/ErrorCollector.h"


class CErrorApi : public IErrorApi {
 public:
  CErrorApi();
  ~CErrorApi();

  void ReportError(uint32_t code, const wchar_t* source, const wchar_t* format, va_list args) override;
  uint32_t GetErrors(wchar_t* destination, uint32_t* size) override;

  SELFFREE_DESTRUCTOR(CErrorApi)

  CRITICAL_SECTION lock;
  ScopedText buffer;
  wchar_t* writePosition = nullptr;
  size_t used = 0;      // characters, each line's line feed included
  size_t capacity = 0;  // characters
};
