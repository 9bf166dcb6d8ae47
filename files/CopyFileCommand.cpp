#include "files/CopyFileCommand.h"

#include <shlobj.h>
#include <shlwapi.h>
#include <tlhelp32.h>

#include <cstdlib>
#include <cwchar>

#include "engine/Log.h"
#include "files/FileTexts.h"
#include "files/PathHelpers.h"

CCopyFileCommand::~CCopyFileCommand() {
  free(sourceFile);
  sourceFile = nullptr;
  free(destinationFile);
  destinationFile = nullptr;
}

int32_t CCopyFileCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  HRESULT hr = reader.ReadCopy(L"sourceFile", &sourceFile);
  if (hr != S_OK) return hr;
  hr = reader.ReadCopy(L"destinationFile", &destinationFile);
  if (hr != S_OK) return hr;
  int32_t number = 0;
  if (reader.ReadNumber(L"allUsersAccess", &number) == S_OK) allUsersAccess = number != 0;
  return kStatusOk;
}

int32_t CCopyFileCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  LogMessage(filetext::kCopyFileExecuting);
  LogMessage(filetext::kCopyFileRoughSource, sourceFile);
  LogMessage(filetext::kCopyFileRoughDestination, destinationFile);
  wchar_t* source = ExpandOrCopy(sourceFile, filetext::kCopyFileSourceKept);
  wchar_t* destination = ExpandOrCopy(destinationFile, filetext::kCopyFileDestinationKept);

  wchar_t* directory = destination != nullptr ? _wcsdup(destination) : nullptr;
  if (directory != nullptr) PathRemoveFileSpecW(directory);
  // From here to RevertToSelf the thread may carry the desktop user's identity:
  // the directories and the copy are made as that user.
  if (allUsersAccess) ImpersonateExplorerUser(this);
  if (directory != nullptr) SHCreateDirectory(nullptr, directory);
  free(directory);

  LogMessage(filetext::kCopyFilePreparing, source, destination);
  CopyFileW(source, destination, FALSE);
  LogMessage(filetext::kCopyFileFinished, GetLastError());

  if (allUsersAccess && impersonated) {
    if (!RevertToSelf()) {
      LogMessage(filetext::kRevertFailed, GetLastError());
    } else {
      LogMessage(filetext::kRevertDone);
    }
  }
  free(source);
  free(destination);
  return kStatusOk;
}

void EnablePrivilege() {
  HANDLE token = nullptr;
  if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &token)) return;
  TOKEN_PRIVILEGES privileges = {};
  privileges.PrivilegeCount = 1;
  privileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
  // ERROR_NOT_ALL_ASSIGNED after the adjustment means the privilege was not
  // given; impersonation then works only as far as the system allows anyway.
  if (LookupPrivilegeValueW(nullptr, L"SeImpersonatePrivilege", &privileges.Privileges[0].Luid)) {
    AdjustTokenPrivileges(token, FALSE, &privileges, 0, nullptr, nullptr);
  }
  CloseHandle(token);
}

int FindExplorerProcesses(std::vector<DWORD>* ids, HANDLE snapshot) {
  PROCESSENTRY32W entry = {};
  entry.dwSize = sizeof(entry);
  if (!Process32FirstW(snapshot, &entry)) {
    LogMessage(filetext::kFirstProcessFailed, GetLastError());
    CloseHandle(snapshot);
    return 0;
  }
  do {
    if (_wcsicmp(entry.szExeFile, L"explorer.exe") == 0) ids->push_back(entry.th32ProcessID);
  } while (Process32NextW(snapshot, &entry));
  CloseHandle(snapshot);
  return 1;
}

HANDLE DuplicateExplorerToken(const std::vector<DWORD>& ids) {
  HANDLE token = nullptr;
  HANDLE primary = nullptr;
  for (DWORD id : ids) {
    HANDLE process = OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, id);
    if (process == nullptr) {
      LogMessage(filetext::kExplorerOpenFailed, id, GetLastError());
      continue;
    }
    LogMessage(filetext::kExplorerOpened, id);
    if (!OpenProcessToken(process, TOKEN_DUPLICATE, &token)) {
      LogMessage(filetext::kTokenOpenFailed, GetLastError());
      CloseHandle(process);
      continue;
    }
    LogMessage(filetext::kTokenOpened);
    const DWORD access =
        TOKEN_ASSIGN_PRIMARY | TOKEN_DUPLICATE | TOKEN_QUERY | TOKEN_ADJUST_DEFAULT | TOKEN_ADJUST_SESSIONID;
    if (DuplicateTokenEx(token, access, nullptr, SecurityImpersonation, TokenPrimary, &primary)) continue;
    DWORD error = GetLastError();
    CloseHandle(token);
    CloseHandle(process);
    // An earlier explorer's token is dropped too: the last process decides.
    token = nullptr;
    primary = nullptr;
    LogMessage(filetext::kTokenDuplicateFailed, id, error);
  }
  return primary;
}

void ImpersonateExplorerUser(CCopyFileCommand* command) {
  std::vector<DWORD> ids;
  EnablePrivilege();
  HANDLE primary = nullptr;
  HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
  if (snapshot == INVALID_HANDLE_VALUE) {
    LogMessage(filetext::kSnapshotFailed, GetLastError());
  } else if (FindExplorerProcesses(&ids, snapshot) != 0) {
    LogMessage(filetext::kExplorersFound, static_cast<int>(ids.size()));
    primary = DuplicateExplorerToken(ids);
  }
  // A null token fails here, which is how "no explorer.exe" is reported.
  if (ImpersonateLoggedOnUser(primary) == TRUE) {
    LogMessage(filetext::kImpersonated);
    command->impersonated = true;
  } else {
    LogMessage(filetext::kImpersonationFailed, GetLastError());
  }
}
