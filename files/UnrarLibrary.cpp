#include "files/UnrarLibrary.h"

#include <string>

#include "engine/RuntimeLibrary.h"

namespace {

// Guards the library and the binding below. A slim lock needs no initialisation,
// so nothing has to run in the library entry.
SRWLOCK g_unrarLock = SRWLOCK_INIT;
HMODULE g_unrarModule = nullptr;
UnrarApi g_unrarApi = {};
std::wstring g_unrarPath;

// Called under the lock. The module stays loaded for the life of the process once
// all its calls are found.
DWORD BindLibrary() {
  if (g_unrarModule != nullptr) return ERROR_SUCCESS;
  // Beside the plug-in, whatever the process's search path: the engine's folder
  // need not be the plug-in's, and a copy in the current folder is never taken.
  if (g_unrarPath.empty()) g_unrarPath = OwnModuleFolder() + L"unrar64.dll";
  ScopedModule module(LoadLibraryAt(g_unrarPath));
  if (!module) {
    DWORD error = GetLastError();
    return error != ERROR_SUCCESS ? error : ERROR_MOD_NOT_FOUND;
  }
  UnrarApi api = {};
  if (!BindExport(module.Get(), "RAROpenArchiveEx", &api.RAROpenArchiveEx) ||
      !BindExport(module.Get(), "RARCloseArchive", &api.RARCloseArchive) ||
      !BindExport(module.Get(), "RARReadHeaderEx", &api.RARReadHeaderEx) ||
      !BindExport(module.Get(), "RARProcessFile", &api.RARProcessFile) ||
      !BindExport(module.Get(), "RARProcessFileW", &api.RARProcessFileW)) {
    return ERROR_PROC_NOT_FOUND;
  }
  g_unrarApi = api;
  g_unrarModule = module.Release();
  return ERROR_SUCCESS;
}

}  // namespace

UnrarSession::UnrarSession() {
  AcquireSRWLockExclusive(&g_unrarLock);
  status_ = BindLibrary();
}

UnrarSession::~UnrarSession() { ReleaseSRWLockExclusive(&g_unrarLock); }

const UnrarApi& UnrarSession::Api() const { return g_unrarApi; }

const wchar_t* UnrarSession::LibraryPath() { return g_unrarPath.c_str(); }

void RarArchiveTraits::Close(Handle archive) { g_unrarApi.RARCloseArchive(archive); }
