// The second log sink, log.dll, bound at run time by name, and the mirrored
// logging sites that feed it.
//
// A site always logs through LogMessage first. It then reads the two counts that
// keep the library bound; only when they are not both zero does it take a
// reference, which binds log.dll. Nothing raises either count from zero, so the
// gate always closes: log.dll is never loaded, even when a file of that name lies
// beside the engine. The gate comes before the one place where the count rises;
// keep that order.
#pragma once

#include <windows.h>

#include <cstdarg>
#include <cstdint>

#include "engine/ScopedHandle.h"

typedef HRESULT (*LogWriteFn)(uint16_t component, int32_t* level, const char* function, const wchar_t* wideFunction,
                              const wchar_t* format, va_list args);
typedef void (*LogVoidFn)();

// The bound calls of log.dll. The module is held as long as the table lives; a
// table made by value-initialising new starts with every call null.
struct LogLibraryTable {
  ScopedModule module;
  FARPROC logApplySettings;
  FARPROC logSetSettingsFile;
  FARPROC logEnable;
  FARPROC logSetLevel;
  FARPROC logSetPath;
  FARPROC logSetType;
  FARPROC logSetMode;
  FARPROC logSetMaxSize;
  FARPROC logSetDepth;
  LogWriteFn logWrite;
  FARPROC logIsEnabled;
  LogVoidFn logUninitDeskMetrics;
  FARPROC logTrackEvent;
  FARPROC logTrackEventData;
};

// A site's scoped hold on the table.
class LogLibraryRef {
 public:
  LogLibraryRef() = default;
  ~LogLibraryRef() { Release(); }
  LogLibraryRef(const LogLibraryRef&) = delete;
  LogLibraryRef& operator=(const LogLibraryRef&) = delete;

  // Takes one more reference; binds log.dll when none is held.
  void Take();
  void Release();
  LogLibraryTable* table = nullptr;
  volatile LONG count = 0;
};

// Levels of the second sink.
const int32_t kLogLevelInfo = 16;
const int32_t kLogLevelError = 4;

// A mirrored logging site: LogMessage, then log.dll behind its gate.
void MirrorLog(const char* function, const wchar_t* wideFunction, int32_t level, const wchar_t* format, ...);
void MirrorLogV(const char* function, const wchar_t* wideFunction, int32_t level, const wchar_t* format,
                va_list args);

// The process-wide counts the gate reads; for tests.
LONG LogLibraryStickyCount();
LONG LogLibraryReferenceCount();
