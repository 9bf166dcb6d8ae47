#include "frontend/VltInstallCommand.h"

#include <objbase.h>
#include <shlobj.h>
#include <shobjidl.h>

#include <cwchar>
#include <memory>

#include "engine/Bounded.h"
#include "engine/Log.h"
#include "engine/Store.h"
#include "files/UnrarLibrary.h"

namespace {

const size_t kPathCapacity = 260;
const size_t kReasonCapacity = 1024;
const wchar_t kArchiveName[] = L"installerpackage.exe";
const wchar_t kServiceName[] = L"vlserv";
const wchar_t kServiceBinary[] = L"vlscan.exe \\svc";
const wchar_t kServiceGroup[] = L"Norvane Delayed Group";
const wchar_t kShortcutTarget[] = L"vliface.exe";
const wchar_t kShortcutExtension[] = L".lnk";

// Owns a service control handle.
class ScHandle {
 public:
  explicit ScHandle(SC_HANDLE handle) : handle_(handle) {}
  ~ScHandle() {
    if (handle_ != nullptr) CloseServiceHandle(handle_);
  }
  ScHandle(const ScHandle&) = delete;
  ScHandle& operator=(const ScHandle&) = delete;
  SC_HANDLE Get() const { return handle_; }

 private:
  SC_HANDLE handle_;
};

// Opens the archive with a comment buffer, the command as user data and no
// callback. On a failed open the handle, if any, is closed and null comes back
// with the open result in *result.
HANDLE OpenPackage(const UnrarApi& rar, const wchar_t* archive, unsigned int mode, void* command, int32_t* result) {
  char comment[kUnrarCommentBufferSize];
  RAROpenArchiveDataEx open = {};
  open.ArcNameW = const_cast<wchar_t*>(archive);
  open.OpenMode = mode;
  open.CmtBuf = comment;
  open.CmtBufSize = sizeof(comment);
  open.UserData = reinterpret_cast<LPARAM>(command);
  HANDLE handle = rar.RAROpenArchiveEx(&open);
  *result = static_cast<int32_t>(open.OpenResult);
  if (*result != 0 && handle != nullptr) {
    rar.RARCloseArchive(handle);
    handle = nullptr;
  }
  return handle;
}

}  // namespace

int32_t CVltInstallCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  if (attributes != nullptr) attributes->Release();
  return kStatusOk;
}

void CVltInstallCommand::Publish(int32_t percent) {
  EnterCriticalSection(storeLock);
  StorePut("int_InstallProgressPercent", static_cast<StoreValue>(static_cast<int64_t>(percent)));
  if (progressEvent != nullptr) SetEvent(progressEvent);
  LeaveCriticalSection(storeLock);
}

void CVltInstallCommand::PublishFailure(const wchar_t* text) {
  wchar_t reason[kReasonCapacity];
  BoundedCopy(reason, kReasonCapacity, text);
  EnterCriticalSection(storeLock);
  // Here the old reason goes before the new one is stored.
  SelfFreeRelease(StoreGetObject<CSelfFree>("String_InstallFailReason"));
  StorePutObject("String_InstallFailReason", MakeString(reason));
  StorePut("int_InstallFailed", 1);
  StorePut("int_InstallProgressPercent", static_cast<StoreValue>(static_cast<int64_t>(-1)));
  if (progressEvent != nullptr) SetEvent(progressEvent);
  LeaveCriticalSection(storeLock);
}

int32_t CVltInstallCommand::Execute(HANDLE cancel, CRITICAL_SECTION* lockOfStore) {
  if (!TryEnterCriticalSection(&lock)) {
    LogMessage(L"%i: VltInstall Error: Multiple threads attempting execution.\n", index);
    return kStatusBusy;
  }
  cancelHandle = cancel;
  storeLock = lockOfStore;
  progressEvent = reinterpret_cast<HANDLE>(StoreGet("HANDLE_InstallProgressEv"));

  const wchar_t* failure = nullptr;
  CString* applicationPath = StoreGetString("String_ApplicationPath");
  CString* installPath = StoreGetString("String_InstallPath");
  if (applicationPath == nullptr) {
    LogMessage(L"%i: VltInstall Error: Could not get ApplicationPath.\n", index);
    failure = L"Internal Error";
  } else if (installPath == nullptr) {
    LogMessage(L"%i: VltInstall Error: Could not get InstallPath.\n", index);
    failure = L"Internal Error";
  } else {
    wchar_t archive[kPathCapacity];
    BoundedFormat(archive, kPathCapacity, L"%s%s", applicationPath->text, kArchiveName);
    int32_t result = ExtractPackage(archive, installPath->text);
    if (result != 0) {
      LogMessage(L"%i: VltInstall Error: Could not extract installer package. errCode:%d\n", index, result);
      failure = L"Could not extract files";
    } else {
      Publish(75);
      result = InstallVlservService(installPath->text);
      if (result != 0) {
        LogMessage(L"%i: VltInstall Error: Could not install service. errCode:%d\n", index, result);
        failure = L"Could not install service";
      } else {
        Publish(85);
        result = SetShortcuts(installPath->text);
        if (result != 0) {
          LogMessage(L"%i: VltInstall Error: Could not set shortcuts. errCode:%d\n", index, result);
          failure = L"Could not set shortcuts";
        } else {
          Publish(90);
          Publish(100);
        }
      }
    }
  }
  if (failure != nullptr) PublishFailure(failure);
  // Unpaired on purpose: SetShortcuts balances its own initialisation, and the
  // script's engine thread is expected to have initialised COM once more.
  CoUninitialize();
  LogMessage(L"%i: VltInstall End execute. Next command %i.\n", index, GetNextIndex());
  LeaveCriticalSection(&lock);
  return kStatusOk;
}

int32_t CVltInstallCommand::SumUnpackedSize(const wchar_t* archive, int64_t* total) {
  *total = 0;
  UnrarSession session;
  if (session.Status() != 0) return static_cast<int32_t>(session.Status());
  const UnrarApi& rar = session.Api();
  int32_t result = 0;
  HANDLE handle = OpenPackage(rar, archive, RAR_OM_LIST, this, &result);
  if (result != 0) return result;
  // The header is 10 KiB: it lives on the heap, not on the stack.
  std::unique_ptr<RARHeaderDataEx> header(new RARHeaderDataEx());
  while (rar.RARReadHeaderEx(handle, header.get()) == ERAR_SUCCESS) {
    *total += UnrarEntrySize(*header);
    if (rar.RARProcessFile(handle, RAR_SKIP, nullptr, nullptr) != 0) break;
  }
  rar.RARCloseArchive(handle);
  return 0;
}

int32_t CVltInstallCommand::ExtractPackage(const wchar_t* archive, const wchar_t* target) {
  int64_t total = 0;
  int32_t result = SumUnpackedSize(archive, &total);
  if (result != 0) {
    // The line hands the wide path to the narrow specifier and so shows its first
    // character only; log readers know the line as it stands.
    LogMessage(L"Could not get unpacked size for %S. errCode:%d", archive, result);
    return result;
  }
  UnrarSession session;
  if (session.Status() != 0) return static_cast<int32_t>(session.Status());
  const UnrarApi& rar = session.Api();
  HANDLE handle = OpenPackage(rar, archive, RAR_OM_EXTRACT, this, &result);
  if (result != 0) return result;
  std::unique_ptr<RARHeaderDataEx> header(new RARHeaderDataEx());
  int64_t done = 0;
  result = 0;
  while (rar.RARReadHeaderEx(handle, header.get()) == ERAR_SUCCESS) {
    done += UnrarEntrySize(*header);
    int processed = rar.RARProcessFileW(handle, RAR_EXTRACT, const_cast<wchar_t*>(target), nullptr);
    if (processed != 0) {
      result = processed;
      break;
    }
    // Entries whose sizes sum to zero would divide by zero here; the safe choice
    // is to count such an archive as done.
    Publish(total > 0 ? static_cast<int32_t>(done * 75 / total) : 75);
    if (cancelHandle != INVALID_HANDLE_VALUE && WaitForSingleObject(cancelHandle, 0) == WAIT_OBJECT_0) {
      // The archive is closed here too, so the library is left ready for the next
      // user.
      rar.RARCloseArchive(handle);
      return ERROR_CANCELLED;
    }
  }
  rar.RARCloseArchive(handle);
  return result;
}

int32_t CVltInstallCommand::InstallVlservService(const wchar_t* installPath) {
  wchar_t binary[kPathCapacity];
  BoundedFormat(binary, kPathCapacity, L"%s%s", installPath, kServiceBinary);
  DWORD error = 0;
  ScHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
  if (manager.Get() == nullptr) {
    error = GetLastError();
    LogMessage(L"%i: VltInstall Error: Could not open scMgr. errCode:%d\n", index, error);
    return static_cast<int32_t>(error);
  }
  ScHandle service(CreateServiceW(manager.Get(), kServiceName, kServiceName, SERVICE_ALL_ACCESS,
                                  SERVICE_WIN32_OWN_PROCESS, SERVICE_AUTO_START, SERVICE_ERROR_NORMAL, binary,
                                  kServiceGroup, nullptr, nullptr, nullptr, nullptr));
  if (service.Get() == nullptr) {
    error = GetLastError();
    LogMessage(L"%i: VltInstall Error: Could not create service. errCode:%d\n", index, error);
    return static_cast<int32_t>(error);
  }
  SC_ACTION actions[4] = {{SC_ACTION_RESTART, 1000}, {SC_ACTION_RESTART, 5000}, {SC_ACTION_RESTART, 10000},
                          {SC_ACTION_NONE, 0}};
  SERVICE_FAILURE_ACTIONSW failureActions = {};
  failureActions.dwResetPeriod = 3600;
  failureActions.cActions = 4;
  failureActions.lpsaActions = actions;
  if (!ChangeServiceConfig2W(service.Get(), SERVICE_CONFIG_FAILURE_ACTIONS, &failureActions)) {
    // The service stays: nothing done so far is rolled back.
    error = GetLastError();
    LogMessage(L"%i: VltInstall Error: Could not change service config. errCode:%d\n", index, error);
  }
  return static_cast<int32_t>(error);
}

int32_t CVltInstallCommand::SetShortcuts(const wchar_t* installPath) {
  CoInitializeEx(nullptr, 0);
  int32_t result = 0;
  CString* product = StoreGetString("String_ProductName");
  CString* manufacturer = StoreGetString("String_ManufacturerName");
  wchar_t folder[kPathCapacity] = {};
  wchar_t target[kPathCapacity];
  if (product == nullptr || manufacturer == nullptr) {
    result = kStatusBusy;
  } else if (!SHGetSpecialFolderPathW(nullptr, folder, CSIDL_COMMON_STARTMENU, FALSE)) {
    result = static_cast<int32_t>(GetLastError());
    LogMessage(L"%i: VltInstall Error: Could not get CSIDL_COMMON_STARTMENU. errCode:%d\n", index, result);
  } else {
    wchar_t group[kPathCapacity];
    BoundedFormat(group, kPathCapacity, L"%s\\Programs\\%s %s", folder, manufacturer->text, product->text);
    CreateDirectoryW(group, nullptr);
    // Stale entries of the program group go, the group itself stays.
    DeleteTreeContents(group, true);
    BoundedFormat(folder, kPathCapacity, L"%s\\", group);
    BoundedFormat(target, kPathCapacity, L"%s%s", installPath, kShortcutTarget);
    result = CreateLnkShortcut(target, folder, product->text, product->text);
    if (result != 0) {
      LogMessage(L"%i: VltInstall Error: Could not create start menu shortcut. errCode:%d\n", index, result);
    } else if (!SHGetSpecialFolderPathW(nullptr, folder, CSIDL_COMMON_STARTUP, FALSE)) {
      result = static_cast<int32_t>(GetLastError());
      LogMessage(L"%i: VltInstall Error: Could not get CSIDL_COMMON_STARTUP. errCode:%d\n", index, result);
    } else {
      BoundedFormat(group, kPathCapacity, L"%s\\", folder);
      result = CreateLnkShortcut(target, group, product->text, product->text);
      if (result != 0) {
        LogMessage(L"%i: VltInstall Error: Could not create startup shortcut. errCode:%d\n", index, result);
      }
    }
  }
  CoUninitialize();
  return result;
}

int32_t CVltInstallCommand::CreateLnkShortcut(const wchar_t* target, const wchar_t* folder, const wchar_t* name,
                                              const wchar_t* description) {
  wchar_t path[kPathCapacity];
  BoundedFormat(path, kPathCapacity, L"%s%s%s", folder, name, kShortcutExtension);
  IShellLinkW* link = nullptr;
  HRESULT hr = CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                                reinterpret_cast<void**>(&link));
  if (FAILED(hr)) {
    LogMessage(L"%i: VltInstall Error: Could not CoCreateInstance. errCode:0x%x\n", index, hr);
    return kStatusBusy;
  }
  link->SetPath(target);
  link->SetDescription(description);
  IPersistFile* file = nullptr;
  hr = link->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(&file));
  if (FAILED(hr)) {
    LogMessage(L"%i: VltInstall Error: Could not get IPersistFile. errCode:0x%x\n", index, hr);
    link->Release();
    return kStatusBusy;
  }
  hr = file->Save(path, TRUE);
  file->Release();
  link->Release();
  if (FAILED(hr)) {
    LogMessage(L"%i: VltInstall Error: Could not save %s. errCode:0x%x\n", index, path, hr);
    return kStatusBusy;
  }
  return 0;
}

DWORD DeleteTreeContents(const wchar_t* folder, bool keepFolder) {
  wchar_t pattern[kPathCapacity];
  BoundedFormat(pattern, kPathCapacity, L"%s\\*", folder);
  WIN32_FIND_DATAW entry;
  HANDLE search = FindFirstFileW(pattern, &entry);
  if (search == INVALID_HANDLE_VALUE) return kStatusBusy;
  DWORD error = 0;
  do {
    if (wcscmp(entry.cFileName, L".") == 0 || wcscmp(entry.cFileName, L"..") == 0) continue;
    wchar_t path[kPathCapacity];
    BoundedFormat(path, kPathCapacity, L"%s\\%s", folder, entry.cFileName);
    if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
      error = DeleteTreeContents(path, false);
      if (error != 0) break;
    } else if (!DeleteFileW(path)) {
      error = GetLastError();
    }
  } while (FindNextFileW(search, &entry));
  if (error == 0) {
    DWORD last = GetLastError();
    if (last != ERROR_NO_MORE_FILES) error = last;
  }
  FindClose(search);
  if (error == 0 && !keepFolder && !RemoveDirectoryW(folder)) error = GetLastError();
  return error;
}
