#include "frontend/VltInstallCommand.h"

#include <objbase.h>
#include <shlobj.h>

#include "engine/Bounded.h"
#include "engine/Log.h"
#include "engine/Store.h"
#include "engine/StoreNames.h"
#include "files/RarExtraction.h"
#include "files/ShellLink.h"
#include "files/TreeWalkers.h"
#include "frontend/FrontendTexts.h"
#include "frontend/ProgressCommands.h"
#include "services/ServiceSetup.h"

namespace {

using namespace installtext;

const size_t kPathCapacity = 260;
const size_t kReasonCapacity = 1024;

// The product's service restarts after one, five and ten seconds, then stays
// stopped; the count starts again after an hour without a failure.
const SC_ACTION kServiceActions[4] = {
    {SC_ACTION_RESTART, 1000}, {SC_ACTION_RESTART, 5000}, {SC_ACTION_RESTART, 10000}, {SC_ACTION_NONE, 0}};
const FailurePlan kServiceFailurePlan = {3600, kServiceActions, 4};

}  // namespace

int32_t CVltInstallCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  // Load owns the reference it is given; this command reads nothing of it.
  ScopedCom<IXMLDOMNamedNodeMap> unread(attributes);
  return kStatusOk;
}

int32_t CVltInstallCommand::Execute(HANDLE cancel, CRITICAL_SECTION* lockOfStore) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  cancelHandle = cancel;
  storeLock = lockOfStore;
  progressEvent = reinterpret_cast<HANDLE>(StoreGet(storename::kInstallProgressEvent));

  const wchar_t* failure = nullptr;
  CString* applicationPath = StoreGetString(storename::kApplicationPath);
  CString* installPath = StoreGetString(storename::kInstallPath);
  if (applicationPath == nullptr) {
    LogMessage(kNoApplicationPath, index);
    failure = kFailInternal;
  } else if (installPath == nullptr) {
    LogMessage(kNoInstallPath, index);
    failure = kFailInternal;
  } else {
    wchar_t archive[kPathCapacity];
    BoundedFormat(archive, kPathCapacity, L"%s%s", applicationPath->text, kArchiveName);
    int32_t result = ExtractPackage(archive, installPath->text);
    if (result != 0) {
      LogMessage(kExtractFailed, index, result);
      failure = kFailExtract;
    } else {
      PublishProgress(storeLock, 75, progressEvent);
      result = InstallVlservService(installPath->text);
      if (result != 0) {
        LogMessage(kServiceFailed, index, result);
        failure = kFailService;
      } else {
        PublishProgress(storeLock, 85, progressEvent);
        result = SetShortcuts(installPath->text);
        if (result != 0) {
          LogMessage(kShortcutsFailed, index, result);
          failure = kFailShortcuts;
        } else {
          PublishProgress(storeLock, 90, progressEvent);
          PublishProgress(storeLock, 100, progressEvent);
        }
      }
    }
  }
  if (failure != nullptr) {
    wchar_t reason[kReasonCapacity];
    BoundedCopy(reason, kReasonCapacity, failure);
    EnterCriticalSection(storeLock);
    // Here the old reason goes before the new one is stored.
    PublishFailure(reason, progressEvent, OldReason::FreedFirst);
    LeaveCriticalSection(storeLock);
  }
  // Unpaired on purpose: SetShortcuts balances its own initialisation, and the
  // script's engine thread is expected to have initialised COM once more.
  CoUninitialize();
  return frame.Done();
}

int32_t CVltInstallCommand::ExtractPackage(const wchar_t* archive, const wchar_t* target) {
  // Any end of the headers, a damaged one included, is a normal end here; a
  // failed skip in the first pass ends the sum quietly.
  RarPass sum = SumRarArchive(archive);
  if (sum.stop == RarStop::kLibrary || sum.stop == RarStop::kOpen) {
    // The line hands the wide path to the narrow specifier and so shows its first
    // character only; log readers know the line as it stands.
    LogMessage(kNoUnpackedSize, archive, sum.code);
    return sum.code;
  }
  const int64_t total = sum.bytes;
  RarPass pass = ExtractRarArchive(archive, target, cancelHandle, [this, total](const wchar_t*, int64_t done) {
    // Entries whose sizes sum to zero would divide by zero here; the safe choice
    // is to count such an archive as done.
    PublishProgress(storeLock, total > 0 ? static_cast<int32_t>(done * 75 / total) : 75, progressEvent);
  });
  // The extraction pass closes the archive on a cancel too, so the library is
  // left ready for the next user.
  if (pass.stop == RarStop::kEnd || pass.stop == RarStop::kBrokenHeader) return 0;
  return pass.code;
}

int32_t CVltInstallCommand::InstallVlservService(const wchar_t* installPath) {
  wchar_t binary[kPathCapacity];
  BoundedFormat(binary, kPathCapacity, L"%s%s", installPath, kServiceBinary);
  ScopedServiceHandle manager = OpenServiceManager();
  if (!manager) {
    DWORD error = GetLastError();
    LogMessage(kNoServiceManager, index, error);
    return static_cast<int32_t>(error);
  }
  ScopedServiceHandle service(CreateServiceW(manager.Get(), kServiceName, kServiceName, SERVICE_ALL_ACCESS,
                                             SERVICE_WIN32_OWN_PROCESS, SERVICE_AUTO_START, SERVICE_ERROR_NORMAL,
                                             binary, kServiceGroup, nullptr, nullptr, nullptr, nullptr));
  if (!service) {
    DWORD error = GetLastError();
    LogMessage(kServiceCreateFailed, index, error);
    return static_cast<int32_t>(error);
  }
  // The service stays when its failure actions cannot be set: nothing done so
  // far is rolled back.
  DWORD error = SetFailureActions(service.Get(), kServiceFailurePlan);
  if (error != 0) LogMessage(kServiceConfigFailed, index, error);
  return static_cast<int32_t>(error);
}

int32_t CVltInstallCommand::SetShortcuts(const wchar_t* installPath) {
  CoInitializeEx(nullptr, 0);
  int32_t result = 0;
  CString* product = StoreGetString(storename::kProductName);
  CString* manufacturer = StoreGetString(storename::kManufacturerName);
  wchar_t folder[kPathCapacity] = {};
  wchar_t target[kPathCapacity];
  if (product == nullptr || manufacturer == nullptr) {
    result = kStatusBusy;
  } else if (!SHGetSpecialFolderPathW(nullptr, folder, CSIDL_COMMON_STARTMENU, FALSE)) {
    result = static_cast<int32_t>(GetLastError());
    LogMessage(kNoStartMenu, index, result);
  } else {
    wchar_t group[kPathCapacity];
    BoundedFormat(group, kPathCapacity, L"%s\\Programs\\%s %s", folder, manufacturer->text, product->text);
    CreateDirectoryW(group, nullptr);
    // Stale entries of the program group go, the group itself stays.
    TreeDelete contents;
    contents.keepRoot = true;
    DeleteTree(group, contents);
    BoundedFormat(folder, kPathCapacity, L"%s\\", group);
    BoundedFormat(target, kPathCapacity, L"%s%s", installPath, kShortcutTarget);
    result = CreateLnkShortcut(target, folder, product->text, product->text);
    if (result != 0) {
      LogMessage(kStartMenuShortcutFailed, index, result);
    } else if (!SHGetSpecialFolderPathW(nullptr, folder, CSIDL_COMMON_STARTUP, FALSE)) {
      result = static_cast<int32_t>(GetLastError());
      LogMessage(kNoStartup, index, result);
    } else {
      BoundedFormat(group, kPathCapacity, L"%s\\", folder);
      result = CreateLnkShortcut(target, group, product->text, product->text);
      if (result != 0) LogMessage(kStartupShortcutFailed, index, result);
    }
  }
  CoUninitialize();
  return result;
}

int32_t CVltInstallCommand::CreateLnkShortcut(const wchar_t* target, const wchar_t* folder, const wchar_t* name,
                                              const wchar_t* description) {
  wchar_t path[kPathCapacity];
  BoundedFormat(path, kPathCapacity, L"%s%s%s", folder, name, kShortcutExtension);
  ShellLinkContent content;
  content.target = target;
  content.description = description;
  ShellLinkStep failedAt = ShellLinkStep::kNone;
  HRESULT hr = WriteShellLink(path, content, &failedAt);
  switch (failedAt) {
    case ShellLinkStep::kNone: return 0;
    case ShellLinkStep::kCreate: LogMessage(kLinkCreateFailed, index, hr); break;
    case ShellLinkStep::kQueryInterface: LogMessage(kLinkPersistFailed, index, hr); break;
    case ShellLinkStep::kSave: LogMessage(kLinkSaveFailed, index, path, hr); break;
  }
  return kStatusBusy;
}
