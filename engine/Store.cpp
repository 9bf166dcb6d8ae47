#include "engine/Store.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "engine/ScopedHandle.h"

namespace {
// The library's only state of its own: the engine's module and its two exports.
ScopedModule g_engineModule;
StoreGetFn g_get = nullptr;
StorePutFn g_put = nullptr;
}  // namespace

bool BindEngine() {
  // The engine is the module of the process named Installer.exe; this takes a
  // reference on it. It is never searched for: in a process whose engine is not
  // Installer.exe, a copy found on the search path would be loaded and its Get
  // and Put called, so the library refuses to load instead.
  HMODULE engine = nullptr;
  if (!GetModuleHandleExW(0, L"Installer.exe", &engine)) return false;
  g_engineModule.Reset(engine);
  g_get = reinterpret_cast<StoreGetFn>(reinterpret_cast<void*>(GetProcAddress(g_engineModule.Get(), "Get")));
  g_put = reinterpret_cast<StorePutFn>(reinterpret_cast<void*>(GetProcAddress(g_engineModule.Get(), "Put")));
  return true;
}

void UnbindEngine() { g_engineModule.Reset(); }

StoreValue StoreGet(const char* name) { return g_get(name); }

void StorePut(const char* name, StoreValue value) { g_put(name, value); }
