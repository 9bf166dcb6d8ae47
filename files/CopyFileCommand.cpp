#include "files/CopyFileCommand.h"

#include <shlobj.h>
#include <shlwapi.h>
#include <tlhelp32.h>

#include <cwchar>

#include "engine/Expand.h"
#include "engine/Log.h"

int32_t CCopyFileCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  HRESULT hr = reader.ReadCopy(L"sourceFile", sourceFile);
  if (hr != S_OK) return hr;
  hr = reader.ReadCopy(L"destinationFile", destinationFile);
  if (hr != S_OK) return hr;
  int32_t number = 0;
  if (reader.ReadNumber(L"allUsersAccess", &number) == S_OK) allUsersAccess = number != 0;
  return kStatusOk;
}

int32_t CCopyFileCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  using namespace filetext;
  ExecuteFrame frame(*this, kFrame);
  LogMessage(kCopyFileExecuting);
  LogMessage(kCopyFileRoughSource, sourceFile.Get());
  LogMessage(kCopyFileRoughDestination, destinationFile.Get());
  // A path that cannot be expanded (an unknown variable among them) is used with
  // its brackets, after a line that blames it on there being nothing to expand.
  bool expanded = true;
  ScopedText source = Expand(sourceFile.Get(), OnFailure::KeepText, &expanded);
  if (!expanded || !source) LogMessage(kCopyFileSourceKept);
  ScopedText destination = Expand(destinationFile.Get(), OnFailure::KeepText, &expanded);
  if (!expanded || !destination) LogMessage(kCopyFileDestinationKept);

  ScopedText directory = CopyText(destination.Get());
  if (directory) PathRemoveFileSpecW(directory.Get());
  // From here to RevertToSelf the thread may carry the desktop user's identity:
  // the directories and the copy are made as that user.
  if (allUsersAccess) ImpersonateExplorerUser(this);
  if (directory) SHCreateDirectory(nullptr, directory.Get());

  LogMessage(kCopyFilePreparing, source.Get(), destination.Get());
  CopyFileW(source.Get(), destination.Get(), FALSE);
  LogMessage(kCopyFileFinished, GetLastError());

  if (allUsersAccess && impersonated) {
    if (!RevertToSelf()) {
      LogMessage(kRevertFailed, GetLastError());
    } else {
      LogMessage(kRevertDone);
    }
  }
  return frame.Done(kStatusOk);
}

void EnablePrivilege() {
  ScopedKernelHandle token;
  if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, token.Receive())) return;
  TOKEN_PRIVILEGES privileges = {};
  privileges.PrivilegeCount = 1;
  privileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
  // ERROR_NOT_ALL_ASSIGNED after the adjustment means the privilege was not
  // given; impersonation then works only as far as the system allows anyway.
  if (LookupPrivilegeValueW(nullptr, L"SeImpersonatePrivilege", &privileges.Privileges[0].Luid)) {
    AdjustTokenPrivileges(token.Get(), FALSE, &privileges, 0, nullptr, nullptr);
  }
}

int FindExplorerProcesses(std::vector<DWORD>* ids, HANDLE snapshot) {
  ScopedKernelHandle owned(snapshot);
  PROCESSENTRY32W entry = {};
  entry.dwSize = sizeof(entry);
  if (!Process32FirstW(snapshot, &entry)) {
    LogMessage(filetext::kFirstProcessFailed, GetLastError());
    return 0;
  }
  do {
    if (_wcsicmp(entry.szExeFile, L"explorer.exe") == 0) ids->push_back(entry.th32ProcessID);
  } while (Process32NextW(snapshot, &entry));
  return 1;
}

HANDLE DuplicateExplorerToken(const std::vector<DWORD>& ids) {
  using namespace filetext;
  ScopedKernelHandle primary;
  for (DWORD id : ids) {
    ScopedKernelHandle process(OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, id));
    if (!process) {
      LogMessage(kExplorerOpenFailed, id, GetLastError());
      continue;
    }
    LogMessage(kExplorerOpened, id);
    ScopedKernelHandle token;
    if (!OpenProcessToken(process.Get(), TOKEN_DUPLICATE, token.Receive())) {
      LogMessage(kTokenOpenFailed, GetLastError());
      continue;
    }
    LogMessage(kTokenOpened);
    const DWORD access =
        TOKEN_ASSIGN_PRIMARY | TOKEN_DUPLICATE | TOKEN_QUERY | TOKEN_ADJUST_DEFAULT | TOKEN_ADJUST_SESSIONID;
    // A later process's token replaces an earlier one.
    if (DuplicateTokenEx(token.Get(), access, nullptr, SecurityImpersonation, TokenPrimary, primary.Receive())) {
      continue;
    }
    DWORD error = GetLastError();
    // An earlier explorer's token is dropped too: the last process decides.
    primary.Reset();
    LogMessage(kTokenDuplicateFailed, id, error);
  }
  return primary.Release();
}

void ImpersonateExplorerUser(CCopyFileCommand* command) {
  using namespace filetext;
  std::vector<DWORD> ids;
  EnablePrivilege();
  ScopedKernelHandle primary;
  HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
  if (snapshot == INVALID_HANDLE_VALUE) {
    LogMessage(kSnapshotFailed, GetLastError());
  } else if (FindExplorerProcesses(&ids, snapshot) != 0) {
    LogMessage(kExplorersFound, static_cast<int>(ids.size()));
    primary.Reset(DuplicateExplorerToken(ids));
  }
  // A null token fails here, which is how "no explorer.exe" is reported. The
  // thread keeps its own reference to the token it impersonates.
  if (ImpersonateLoggedOnUser(primary.Get()) == TRUE) {
    LogMessage(kImpersonated);
    command->impersonated = true;
  } else {
    LogMessage(kImpersonationFailed, GetLastError());
  }
}
