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
  // The engine is the process's main module when it is named Installer.exe;
  // LoadLibraryW then only takes a reference on it.
  g_engineModule.Reset(LoadLibraryW(L"Installer.exe"));
  if (!g_engineModule) return false;
  g_get = reinterpret_cast<StoreGetFn>(reinterpret_cast<void*>(GetProcAddress(g_engineModule.Get(), "Get")));
  g_put = reinterpret_cast<StorePutFn>(reinterpret_cast<void*>(GetProcAddress(g_engineModule.Get(), "Put")));
  return true;
}

void UnbindEngine() { g_engineModule.Reset(); }

StoreValue StoreGet(const char* name) { return g_get(name); }

void StorePut(const char* name, StoreValue value) { g_put(name, value); }
