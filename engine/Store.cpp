#include "engine/Store.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {
// The library's only state of its own: the engine's module and its two exports.
HMODULE g_engineModule = nullptr;
StoreGetFn g_get = nullptr;
StorePutFn g_put = nullptr;
}  // namespace

bool BindEngine() {
  // The engine is the process's main module when it is named Installer.exe;
  // LoadLibraryW then only takes a reference on it.
  g_engineModule = LoadLibraryW(L"Installer.exe");
  if (g_engineModule == nullptr) return false;
  g_get = reinterpret_cast<StoreGetFn>(reinterpret_cast<void*>(GetProcAddress(g_engineModule, "Get")));
  g_put = reinterpret_cast<StorePutFn>(reinterpret_cast<void*>(GetProcAddress(g_engineModule, "Put")));
  return true;
}

void UnbindEngine() {
  if (g_engineModule != nullptr) {
    FreeLibrary(g_engineModule);
    g_engineModule = nullptr;
  }
}

StoreValue StoreGet(const char* name) { return g_get(name); }

void StorePut(const char* name, StoreValue value) { g_put(name, value); }
