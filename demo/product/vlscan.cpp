// The demo product's service: runs as "vlserv" until it is asked to stop, and
// keeps a heartbeat file beside itself so one can see that it runs.
//
//   vlscan.exe \svc     run under the service control manager
#include <windows.h>

#include <cstdio>
#include <string>

namespace {

SERVICE_STATUS_HANDLE g_status = nullptr;
HANDLE g_stop = nullptr;

void Report(DWORD state, DWORD waitHint = 0) {
  SERVICE_STATUS status = {};
  status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
  status.dwCurrentState = state;
  status.dwControlsAccepted = state == SERVICE_RUNNING ? SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN : 0;
  status.dwWaitHint = waitHint;
  SetServiceStatus(g_status, &status);
}

DWORD WINAPI OnControl(DWORD control, DWORD, LPVOID, LPVOID) {
  if (control == SERVICE_CONTROL_STOP || control == SERVICE_CONTROL_SHUTDOWN) {
    Report(SERVICE_STOP_PENDING, 1000);
    SetEvent(g_stop);
  }
  return NO_ERROR;
}

std::wstring Heartbeat() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  std::wstring file(path);
  return file.substr(0, file.find_last_of(L'\\') + 1) + L"vlscan.heartbeat";
}

void WINAPI ServiceMain(DWORD, LPWSTR*) {
  g_status = RegisterServiceCtrlHandlerExW(L"vlserv", OnControl, nullptr);
  g_stop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  Report(SERVICE_START_PENDING, 1000);
  Report(SERVICE_RUNNING);
  std::wstring heartbeat = Heartbeat();
  while (WaitForSingleObject(g_stop, 1000) == WAIT_TIMEOUT) {
    FILE* file = _wfopen(heartbeat.c_str(), L"w");
    if (file != nullptr) {
      fprintf(file, "vlserv running, tick %lu\n", GetTickCount());
      fclose(file);
    }
  }
  Report(SERVICE_STOPPED);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc > 1 && std::wstring(argv[1]) == L"\\svc") {
    SERVICE_TABLE_ENTRYW table[] = {{const_cast<wchar_t*>(L"vlserv"), ServiceMain}, {nullptr, nullptr}};
    return StartServiceCtrlDispatcherW(table) ? 0 : static_cast<int>(GetLastError());
  }
  fputs("vlscan: the demo product's service; the service manager starts it with \\svc\n", stderr);
  return 87;
}
