#include "frontend/RunAsUserCommand.h"

#include <shlobj.h>

#include "engine/Bounded.h"
#include "engine/Expand.h"
#include "engine/Log.h"

namespace {

// What the process start functions share: no application name, no security
// attributes, no inherited handles, no flags, the installer's environment, and
// an empty startup record (size field included), which both accept.
struct StartRecord {
  STARTUPINFOW startup = {};
  PROCESS_INFORMATION process = {};
};
static_assert(sizeof(STARTUPINFOW) == 104, "the startup record of a 64-bit process");

// Waits as long as the script asked, then lets the handles go. The program's exit
// code is not read and a timeout is no failure: the install goes on either way.
void WaitAndClose(PROCESS_INFORMATION& process, int32_t waitAmount) {
  ScopedKernelHandle program(process.hProcess), thread(process.hThread);
  WaitForSingleObject(program.Get(), static_cast<DWORD>(waitAmount));
}

}  // namespace

DWORD ChooseUserSession(const WTS_SESSION_INFOW* sessions, DWORD count) {
  DWORD chosen = 0;
  for (DWORD i = 0; i < count; ++i) {
    if (sessions[i].State == WTSActive && sessions[i].SessionId > chosen) chosen = sessions[i].SessionId;
  }
  return chosen;
}

int32_t CVltRunAsUserCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  HRESULT hr = reader.ReadCopy(L"command", command);
  if (hr != S_OK) return hr;
  reader.ReadCopy(L"args", args);
  wchar_t* text = nullptr;
  if (reader.ReadText(L"currentDir", &text) == S_OK && text[0] != L'\0') currentDir = CopyText(text);
  return reader.ReadWaitAmount(L"waitAmount", &waitAmount);
}

int32_t CVltRunAsUserCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  // A text that does not expand is not run as it stands: a program started with
  // a half-made path or argument could be any program. The expansion logs
  // "Cannot expand command. Error" and the command ends.
  if (ExpandField(command, OnFailure::Stop) != kStatusOk || ExpandField(args, OnFailure::Stop) != kStatusOk ||
      ExpandField(currentDir, OnFailure::Stop) != kStatusOk) {
    return frame.Done();
  }
  if (currentDir) {
    int made = SHCreateDirectoryExW(nullptr, currentDir.Get(), nullptr);
    if (made != ERROR_SUCCESS && made != ERROR_FILE_EXISTS && made != ERROR_ALREADY_EXISTS) {
      LogMessage(frontendtext::kCannotCreateDir, currentDir.Get(), made);
    }
  }
  wchar_t commandLine[kCommandLineCapacity];
  if (args) {
    BoundedFormat(commandLine, kCommandLineCapacity, frontendtext::kCommandLineWithArgs, command.Get(), args.Get());
  } else {
    BoundedFormat(commandLine, kCommandLineCapacity, frontendtext::kCommandLineQuoted, command.Get());
  }
  RunProcessInUserSession(commandLine, currentDir.Get());
  return frame.Done();
}

int32_t CVltRunAsUserCommand::RunProcessInUserSession(wchar_t* commandLine, const wchar_t* workingDir) {
  // Each failure is logged and kept, the last one winning; any of them sends the
  // program to the plain start below.
  DWORD kept = ERROR_SUCCESS;
  HANDLE server = WTSOpenServerW(nullptr);
  if (server == nullptr) {
    kept = GetLastError();
    LogMessage(frontendtext::kNoTerminalServer, kept);
  }
  WTS_SESSION_INFOW* sessions = nullptr;
  DWORD count = 0;
  if (!WTSEnumerateSessionsW(server, 0, 1, &sessions, &count)) {
    kept = GetLastError();
    LogMessage(frontendtext::kNoSessionList, kept);
    sessions = nullptr;
    count = 0;
  }
  DWORD session = ChooseUserSession(sessions, count);
  // The user's token stays open for the life of the process: the program it
  // started may still be using the session.
  HANDLE token = nullptr;
  if (!WTSQueryUserToken(session, &token)) {
    kept = GetLastError();
    LogMessage(frontendtext::kNoUserToken, session, kept);
  }
  // Let go of the terminal server before the program starts, not after its wait.
  if (sessions != nullptr) WTSFreeMemory(sessions);
  WTSCloseServer(server);

  StartRecord start;
  if (kept == ERROR_SUCCESS) {
    if (!CreateProcessAsUserW(token, nullptr, commandLine, nullptr, nullptr, FALSE, 0, nullptr, workingDir,
                              &start.startup, &start.process)) {
      DWORD error = GetLastError();
      LogMessage(frontendtext::kStartAsUserFailed, commandLine, session, error);
      return static_cast<int32_t>(error);
    }
    LogMessage(frontendtext::kStartedAsUser, commandLine, session, start.process.dwProcessId);
    WaitAndClose(start.process, waitAmount);
    return kStatusOk;
  }
  LogMessage(frontendtext::kNoUserLoggedIn, kept);
  if (!CreateProcessW(nullptr, commandLine, nullptr, nullptr, FALSE, 0, nullptr, workingDir, &start.startup,
                      &start.process)) {
    DWORD error = GetLastError();
    LogMessage(frontendtext::kStartFailed, commandLine, error);
    return static_cast<int32_t>(error);
  }
  LogMessage(frontendtext::kStarted, commandLine, start.process.dwProcessId);
  WaitAndClose(start.process, waitAmount);
  return kStartedNotAsUser;
}
