// A real service for the service tests: START_PENDING, RUNNING, STOP_PENDING, STOPPED as a real one goes.
// Switches in its binary path: /startpending=<ms> and /stoppending=<ms> (default 200), /nostop (refuses stop
// requests; user control 200 ends it), /paused (PAUSED instead of RUNNING). It ends by itself after 5 minutes.
#include <windows.h>

#include <cwchar>

namespace {

// The user control that ends the service even when it refuses to stop.
const DWORD kTestServiceEnd = 200;
SERVICE_STATUS_HANDLE g_statusHandle = nullptr;
SERVICE_STATUS g_status = {};
HANDLE g_stopRequested = nullptr;
DWORD g_startPendingMs = 200;
DWORD g_stopPendingMs = 200;
bool g_noStop = false;
bool g_paused = false;

void Report(DWORD state, DWORD waitHint) {
  g_status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
  g_status.dwCurrentState = state;
  bool settled = state == SERVICE_RUNNING || state == SERVICE_PAUSED;
  g_status.dwControlsAccepted = settled && !g_noStop ? SERVICE_ACCEPT_STOP : 0;
  g_status.dwWin32ExitCode = NO_ERROR;
  g_status.dwCheckPoint = state == SERVICE_START_PENDING || state == SERVICE_STOP_PENDING ? g_status.dwCheckPoint + 1 : 0;
  g_status.dwWaitHint = waitHint;
  SetServiceStatus(g_statusHandle, &g_status);
}

DWORD WINAPI Handler(DWORD control, DWORD, void*, void*) {
  switch (control) {
    case SERVICE_CONTROL_STOP:
      if (g_noStop) return ERROR_CALL_NOT_IMPLEMENTED;
      Report(SERVICE_STOP_PENDING, g_stopPendingMs + 1000);
      SetEvent(g_stopRequested);
      return NO_ERROR;
    case kTestServiceEnd:
      // A user control, which the manager passes on whatever the service accepts:
      // the tests' way to end a service that refuses to stop.
      Report(SERVICE_STOP_PENDING, g_stopPendingMs + 1000);
      SetEvent(g_stopRequested);
      return NO_ERROR;
    case SERVICE_CONTROL_INTERROGATE:
      return NO_ERROR;
    default:
      return ERROR_CALL_NOT_IMPLEMENTED;
  }
}

void WINAPI ServiceMain(DWORD, LPWSTR*) {
  g_statusHandle = RegisterServiceCtrlHandlerExW(L"", Handler, nullptr);
  if (g_statusHandle == nullptr) return;
  Report(SERVICE_START_PENDING, g_startPendingMs + 1000);
  Sleep(g_startPendingMs);
  Report(g_paused ? SERVICE_PAUSED : SERVICE_RUNNING, 0);
  WaitForSingleObject(g_stopRequested, 5 * 60 * 1000);
  Sleep(g_stopPendingMs);
  Report(SERVICE_STOPPED, 0);
}

void ReadSwitches() {
  int count = 0;
  wchar_t** arguments = CommandLineToArgvW(GetCommandLineW(), &count);
  if (arguments == nullptr) return;
  for (int i = 1; i < count; ++i) {
    const wchar_t* argument = arguments[i];
    if (wcsncmp(argument, L"/startpending=", 14) == 0) g_startPendingMs = wcstoul(argument + 14, nullptr, 10);
    else if (wcsncmp(argument, L"/stoppending=", 13) == 0) g_stopPendingMs = wcstoul(argument + 13, nullptr, 10);
    else if (wcscmp(argument, L"/nostop") == 0) g_noStop = true;
    else if (wcscmp(argument, L"/paused") == 0) g_paused = true;
  }
  LocalFree(arguments);
}

}  // namespace

int main() {
  ReadSwitches();
  g_stopRequested = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  // An own-process service: the name in the table is not looked at.
  SERVICE_TABLE_ENTRYW table[] = {{const_cast<wchar_t*>(L""), ServiceMain}, {nullptr, nullptr}};
  // Started by hand rather than by the service control manager, this fails at
  // once (1063) and the program ends.
  return StartServiceCtrlDispatcherW(table) ? 0 : static_cast<int>(GetLastError());
}
