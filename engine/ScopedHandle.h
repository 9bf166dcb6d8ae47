// Scoped ownership of everything a command opens: kernel objects, processes,
// registry keys, service handles, find handles, internet handles, modules, C
// streams, CryptoAPI contexts and hashes, COM references, system strings, the
// objects of the CSelfFree family and heap texts. One template, one small traits
// class per kind.
//
// Closing keeps the thread's last error: many log lines print GetLastError()
// after the handle that failed has gone out of scope, and they must print the
// failure's error, not the close's.
//
// The wrapper is exactly one pointer wide, so a field of this type keeps the
// layout of the raw pointer it replaces.
#pragma once

#include <windows.h>
#include <winsvc.h>

#include <cstdio>
#include <cstdlib>
#include <type_traits>
#include <utility>

#include "engine/ComError.h"
#include "engine/SelfFree.h"

template <class Traits>
class ScopedHandle {
 public:
  typedef typename Traits::Handle Handle;

  ScopedHandle() : handle_(Traits::Null()) {}
  explicit ScopedHandle(Handle handle) : handle_(handle) {}
  ~ScopedHandle() { Close(); }
  ScopedHandle(const ScopedHandle&) = delete;
  ScopedHandle& operator=(const ScopedHandle&) = delete;
  ScopedHandle(ScopedHandle&& other) noexcept : handle_(other.Release()) {}
  ScopedHandle& operator=(ScopedHandle&& other) noexcept {
    if (this != &other) Reset(other.Release());
    return *this;
  }

  Handle Get() const { return handle_; }
  bool IsValid() const { return Traits::IsValid(handle_); }
  explicit operator bool() const { return IsValid(); }

  // Closes what is held and takes handle.
  void Reset(Handle handle = Traits::Null()) {
    Close();
    handle_ = handle;
  }
  // Gives up ownership without closing.
  Handle Release() {
    Handle handle = handle_;
    handle_ = Traits::Null();
    return handle;
  }
  // For calls that return a handle through a pointer: closes what is held first.
  Handle* Receive() {
    Close();
    return &handle_;
  }

 private:
  void Close() {
    if (!Traits::IsValid(handle_)) return;
    DWORD error = GetLastError();
    Traits::Close(handle_);
    SetLastError(error);
    handle_ = Traits::Null();
  }

  Handle handle_;
};

// Kernel objects and processes: events, threads, processes, tokens, files,
// snapshots. Both null and INVALID_HANDLE_VALUE mean "none".
struct KernelHandleTraits {
  typedef HANDLE Handle;
  static Handle Null() { return nullptr; }
  static bool IsValid(Handle handle) { return handle != nullptr && handle != INVALID_HANDLE_VALUE; }
  static void Close(Handle handle) { CloseHandle(handle); }
};
typedef ScopedHandle<KernelHandleTraits> ScopedKernelHandle;

struct FindHandleTraits {
  typedef HANDLE Handle;
  static Handle Null() { return INVALID_HANDLE_VALUE; }
  static bool IsValid(Handle handle) { return handle != nullptr && handle != INVALID_HANDLE_VALUE; }
  static void Close(Handle handle) { FindClose(handle); }
};
typedef ScopedHandle<FindHandleTraits> ScopedFindHandle;

// Registry keys. The predefined roots are never closed: they are not ours.
struct RegKeyTraits {
  typedef HKEY Handle;
  static Handle Null() { return nullptr; }
  static bool IsValid(Handle key) {
    return key != nullptr && (reinterpret_cast<ULONG_PTR>(key) & 0x80000000u) == 0;
  }
  static void Close(Handle key) { RegCloseKey(key); }
};
typedef ScopedHandle<RegKeyTraits> ScopedKey;

struct ServiceHandleTraits {
  typedef SC_HANDLE Handle;
  static Handle Null() { return nullptr; }
  static bool IsValid(Handle handle) { return handle != nullptr; }
  static void Close(Handle handle) { CloseServiceHandle(handle); }
};
typedef ScopedHandle<ServiceHandleTraits> ScopedServiceHandle;

// Handles of WinHTTP. The traits take the close function of the one module that
// uses them, so the plug-in itself does not import WinHTTP.
template <BOOL(WINAPI* CloseFn)(void*)>
struct InternetHandleTraits {
  typedef void* Handle;
  static Handle Null() { return nullptr; }
  static bool IsValid(Handle handle) { return handle != nullptr; }
  static void Close(Handle handle) { CloseFn(handle); }
};

// Modules of LoadLibrary and LoadLibraryEx: one reference each.
struct ModuleTraits {
  typedef HMODULE Handle;
  static Handle Null() { return nullptr; }
  static bool IsValid(Handle module) { return module != nullptr; }
  static void Close(Handle module) { FreeLibrary(module); }
};
typedef ScopedHandle<ModuleTraits> ScopedModule;

// C runtime streams of fopen and _wfsopen.
struct FileStreamTraits {
  typedef FILE* Handle;
  static Handle Null() { return nullptr; }
  static bool IsValid(Handle stream) { return stream != nullptr; }
  static void Close(Handle stream) { fclose(stream); }
};
typedef ScopedHandle<FileStreamTraits> ScopedFile;

// CryptoAPI: a provider context and a hash made in it (destroy the hash first).
struct CryptContextTraits {
  typedef HCRYPTPROV Handle;
  static Handle Null() { return 0; }
  static bool IsValid(Handle context) { return context != 0; }
  static void Close(Handle context) { CryptReleaseContext(context, 0); }
};
typedef ScopedHandle<CryptContextTraits> ScopedCryptContext;

struct CryptHashTraits {
  typedef HCRYPTHASH Handle;
  static Handle Null() { return 0; }
  static bool IsValid(Handle hash) { return hash != 0; }
  static void Close(Handle hash) { CryptDestroyHash(hash); }
};
typedef ScopedHandle<CryptHashTraits> ScopedCryptHash;

// A counted COM reference.
template <class T>
struct ComTraits {
  typedef T* Handle;
  static Handle Null() { return nullptr; }
  static bool IsValid(Handle object) { return object != nullptr; }
  static void Close(Handle object) { object->Release(); }
};
template <class T>
using ScopedCom = ScopedHandle<ComTraits<T>>;

// A system string. Receive() takes what a COM call hands out.
struct BstrTraits {
  typedef BSTR Handle;
  static Handle Null() { return nullptr; }
  static bool IsValid(Handle text) { return text != nullptr; }
  static void Close(Handle text) { SysFreeString(text); }
};
typedef ScopedHandle<BstrTraits> ScopedBstr;

// A system string copied from text; null for null. Raises ComError(E_OUTOFMEMORY)
// when it cannot be made. Where an old path went on with a null string instead,
// it builds ScopedBstr(SysAllocString(text)) itself.
inline ScopedBstr MakeBstr(const wchar_t* text) {
  ScopedBstr copy(SysAllocString(text));
  if (!copy && text != nullptr) throw ComError{E_OUTOFMEMORY};
  return copy;
}
// The text of a system string; a null one reads as empty, as COM defines it.
inline const wchar_t* BstrText(const ScopedBstr& text) { return text ? text.Get() : L""; }

// An object of the CSelfFree family that is ours, released through its Free slot,
// so the class that made it also frees it.
template <class T>
struct SelfFreeTraits {
  static_assert(std::is_base_of<CSelfFree, T>::value, "Free is the slot of CSelfFree");
  typedef T* Handle;
  static Handle Null() { return nullptr; }
  static bool IsValid(Handle object) { return object != nullptr; }
  static void Close(Handle object) { object->Free(); }
};
template <class T>
using ScopedSelfFree = ScopedHandle<SelfFreeTraits<T>>;

// Heap texts made by _wcsdup, _strdup or calloc and released by free: the texts
// commands keep from their attributes, and store names.
template <class Char>
struct HeapTextTraits {
  typedef Char* Handle;
  static Handle Null() { return nullptr; }
  static bool IsValid(Handle text) { return text != nullptr; }
  static void Close(Handle text) { free(text); }
};
typedef ScopedHandle<HeapTextTraits<wchar_t>> ScopedText;
typedef ScopedHandle<HeapTextTraits<char>> ScopedNarrowText;

// A heap copy of text, or none for null.
inline ScopedText CopyText(const wchar_t* text) { return ScopedText(text != nullptr ? _wcsdup(text) : nullptr); }
