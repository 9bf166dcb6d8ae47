// Libraries bound at run time are loaded by full path only, never searched for.
//
// An installer runs with the highest rights a machine gives. A library asked for
// by bare name is looked for in the current folder and on the search path, where
// anyone who can write a file can put their own; so every optional library is
// taken from the folder of the module that asks for it, and what that library
// imports comes from its own folder and System32, never from the current folder.
#pragma once

#include <windows.h>

#include <string>

// The folder, with a trailing backslash, of the module this code is linked into:
// the plug-in for the plug-in's code, the engine for the engine's. Empty when the
// module's path cannot be read.
std::wstring OwnModuleFolder();

// Loads the library at path, which must be absolute ("C:\..." or "\\server\..."),
// with the safe search flags. Null on failure, with GetLastError set;
// ERROR_MOD_NOT_FOUND for a path that is not absolute.
HMODULE LoadLibraryAt(const std::wstring& path);

// A system library, from System32 only.
HMODULE LoadSystemLibrary(const wchar_t* name);

// Sets *slot to the library's function name; false when the library lacks it.
template <class Fn>
bool BindExport(HMODULE module, const char* name, Fn* slot) {
  *slot = reinterpret_cast<Fn>(reinterpret_cast<void*>(GetProcAddress(module, name)));
  return *slot != nullptr;
}
