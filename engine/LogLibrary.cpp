#include "engine/LogLibrary.h"

#include <cstdlib>
#include <memory>
#include <new>

#include "engine/Log.h"
#include "engine/RuntimeLibrary.h"

namespace {

std::unique_ptr<LogLibraryTable> g_table;
volatile LONG g_stickyCount = 0;
volatile LONG g_referenceCount = 0;
volatile LONG g_spinLock = 0;

HRESULT LogWriteStub(uint16_t, int32_t*, const char*, const wchar_t*, const wchar_t*, va_list) { return E_NOINTERFACE; }

void Lock() {
  while (InterlockedExchange(&g_spinLock, 1) != 0) Sleep(1);
}

void Unlock() { InterlockedExchange(&g_spinLock, 0); }

template <class T>
T Resolve(HMODULE module, const char* name) {
  return reinterpret_cast<T>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

std::unique_ptr<LogLibraryTable> Bind() {
  std::unique_ptr<LogLibraryTable> table(new (std::nothrow) LogLibraryTable());
  if (!table) return table;
  // Only ever the copy beside the plug-in: a search by name could find a planted one.
  table->module.Reset(LoadLibraryAt(OwnModuleFolder() + L"log.dll"));
  if (!table->module) {
    table->logWrite = LogWriteStub;
    return table;
  }
  HMODULE module = table->module.Get();
  LogVoidFn init = Resolve<LogVoidFn>(module, "LogInit");
  if (init != nullptr) init();
  table->logApplySettings = GetProcAddress(module, "LogApplySettings");
  table->logSetSettingsFile = GetProcAddress(module, "LogSetSettingsFile");
  table->logEnable = GetProcAddress(module, "LogEnable");
  table->logSetLevel = GetProcAddress(module, "LogSetLevel");
  table->logSetPath = GetProcAddress(module, "LogSetPath");
  table->logSetType = GetProcAddress(module, "LogSetType");
  table->logSetMode = GetProcAddress(module, "LogSetMode");
  table->logSetMaxSize = GetProcAddress(module, "LogSetMaxSize");
  table->logSetDepth = GetProcAddress(module, "LogSetDepth");
  table->logWrite = Resolve<LogWriteFn>(module, "LogWrite");
  table->logIsEnabled = GetProcAddress(module, "LogIsEnabled");
  table->logUninitDeskMetrics = Resolve<LogVoidFn>(module, "LogUninitDeskMetrics");
  table->logTrackEvent = GetProcAddress(module, "LogTrackEvent");
  table->logTrackEventData = GetProcAddress(module, "LogTrackEventData");
  if (table->logWrite == nullptr) table->logWrite = LogWriteStub;
  return table;
}

// Tells log.dll it is going, then lets the table go and the module with it.
void Unbind(std::unique_ptr<LogLibraryTable>& table) {
  if (!table) return;
  if (table->module) {
    LogVoidFn deinit = Resolve<LogVoidFn>(table->module.Get(), "LogDeinit");
    if (deinit != nullptr) deinit();
    if (table->logUninitDeskMetrics != nullptr) table->logUninitDeskMetrics();
  }
  table.reset();
}

LogLibraryTable* TakeReference() {
  Lock();
  if (g_stickyCount == 0 && g_referenceCount == 0) {
    Unbind(g_table);
    g_table = Bind();
  }
  ++g_referenceCount;
  LogLibraryTable* table = g_table.get();
  Unlock();
  return table;
}

}  // namespace

void LogLibraryRef::Take() {
  table = TakeReference();
  InterlockedIncrement(&count);
}

void LogLibraryRef::Release() {
  table = nullptr;
  while (count > 0) {
    Lock();
    if (g_referenceCount > 0) {
      --g_referenceCount;
    } else if (g_stickyCount > 0) {
      g_stickyCount = 0;
    }
    if (g_table && g_referenceCount == 0 && g_stickyCount == 0) Unbind(g_table);
    Unlock();
    InterlockedDecrement(&count);
  }
}

void MirrorLog(const char* function, const wchar_t* wideFunction, int32_t level, const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  MirrorLogV(function, wideFunction, level, format, args);
  va_end(args);
}

void MirrorLogV(const char* function, const wchar_t* wideFunction, int32_t level, const wchar_t* format,
                va_list args) {
  va_list mirrored;
  va_copy(mirrored, args);
  LogMessageV(format, args);
  // The gate, read without the spin lock. Both counts start at zero and nothing
  // raises them before this point, so the rest never runs.
  if (g_stickyCount + g_referenceCount != 0) {
    int32_t siteLevel = level;
    LogLibraryRef reference;
    reference.Take();
    if (reference.table == nullptr) reference.Take();
    if (reference.table != nullptr) {
      reference.table->logWrite(0, &siteLevel, function, wideFunction, format, mirrored);
    }
    reference.Release();
  }
  va_end(mirrored);
}

LONG LogLibraryStickyCount() { return g_stickyCount; }

LONG LogLibraryReferenceCount() { return g_referenceCount; }
