// The plug-in's link to the engine's variable store.
//
// The store is one flat map from a narrow name to a 64-bit value, kept by the
// engine and exported from Installer.exe as Get and Put. The type of a value is
// told by the prefix of its name alone (int_, String_, MultiString_, SelfFree_,
// HANDLE_, ...); 0 and absent are the same thing to every reader.
#pragma once

#include <windows.h>

#include <cstdint>

typedef uint64_t StoreValue;
typedef StoreValue (*StoreGetFn)(const char* name);
typedef void (*StorePutFn)(const char* name, StoreValue value);

class CString;

// Binds Get and Put from the already loaded Installer.exe. Called by the library
// entry on process attach; false when Installer.exe cannot be loaded, in which case
// the library refuses to load. The exports are not checked: a missing one faults on
// first use, as a broken engine should.
bool BindEngine();
// Releases the engine module taken by BindEngine, if any.
void UnbindEngine();

StoreValue StoreGet(const char* name);
void StorePut(const char* name, StoreValue value);

// Typed readers. Plain integers are read on their low 32 bits, except by
// IsRequired, which tests all 64.
inline int32_t StoreGetInt32(const char* name) { return static_cast<int32_t>(StoreGet(name)); }
inline CString* StoreGetString(const char* name) { return reinterpret_cast<CString*>(StoreGet(name)); }
template <class T>
T* StoreGetObject(const char* name) { return reinterpret_cast<T*>(StoreGet(name)); }
inline void StorePutObject(const char* name, const void* object) {
  StorePut(name, reinterpret_cast<StoreValue>(object));
}
