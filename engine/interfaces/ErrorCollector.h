// The error collector's interface, the object under SelfFree_ErrorApi: the lines
// a front end shows the user when an install fails.
#pragma once

#include <cstdarg>
#include <cstdint>

#include "engine/SelfFree.h"

class IErrorApi : public CSelfFree {
 public:
  // Slot 2. Adds one line. A message longer than a line allows is cut.
  virtual void ReportError(uint32_t code, const wchar_t* source, const wchar_t* format, va_list args) = 0;
  // Slot 3. Copies the text into destination. 122 with the needed size in *size
  // when *size is too small by the collector's own test (see CErrorApi).
  virtual uint32_t GetErrors(wchar_t* destination, uint32_t* size) = 0;
};
