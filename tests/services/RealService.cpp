#include "tests/services/RealService.h"

#include <winsvc.h>

namespace {

class Scm {
 public:
  Scm() : manager_(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS)) {}
  ~Scm() {
    if (manager_ != nullptr) CloseServiceHandle(manager_);
  }
  SC_HANDLE Get() const { return manager_; }

 private:
  SC_HANDLE manager_;
};

class Service {
 public:
  explicit Service(const std::wstring& name)
      : service_(scm_.Get() != nullptr ? OpenServiceW(scm_.Get(), name.c_str(), SERVICE_ALL_ACCESS) : nullptr),
        error_(service_ != nullptr ? 0 : GetLastError()) {}
  ~Service() {
    if (service_ != nullptr) CloseServiceHandle(service_);
  }
  SC_HANDLE Get() const { return service_; }
  DWORD Error() const { return error_; }

 private:
  Scm scm_;
  SC_HANDLE service_;
  DWORD error_;
};

}  // namespace

std::wstring TestServiceBinary() {
  // Both test programs that use it sit one folder below tests\.
  wchar_t self[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, self, MAX_PATH);
  std::wstring relative = self;
  relative = relative.substr(0, relative.find_last_of(L"\\/") + 1) + L"..\\services\\TestService.exe";
  wchar_t full[MAX_PATH] = {};
  GetFullPathNameW(relative.c_str(), MAX_PATH, full, nullptr);
  return full;
}

std::wstring TestServicePath(const std::wstring& switches) {
  std::wstring path = L"\"" + TestServiceBinary() + L"\"";
  return switches.empty() ? path : path + L" " + switches;
}

bool InstallServiceWithPath(const std::wstring& name, const std::wstring& binaryPath) {
  Scm scm;
  SC_HANDLE service = CreateServiceW(scm.Get(), name.c_str(), name.c_str(), SERVICE_ALL_ACCESS,
                                     SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL,
                                     binaryPath.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr);
  if (service == nullptr) return false;
  CloseServiceHandle(service);
  return true;
}

bool InstallTestService(const std::wstring& name, const std::wstring& switches) {
  return InstallServiceWithPath(name, TestServicePath(switches));
}

bool ServiceExists(const std::wstring& name) { return Service(name).Get() != nullptr; }

DWORD ServiceState(const std::wstring& name) {
  Service service(name);
  SERVICE_STATUS_PROCESS status = {};
  DWORD needed = 0;
  if (service.Get() == nullptr || !QueryServiceStatusEx(service.Get(), SC_STATUS_PROCESS_INFO,
                                                        reinterpret_cast<BYTE*>(&status), sizeof(status), &needed)) {
    return 0;
  }
  return status.dwCurrentState;
}

bool WaitForServiceState(const std::wstring& name, DWORD state, DWORD timeoutMs) {
  ULONGLONG deadline = GetTickCount64() + timeoutMs;
  for (;;) {
    if (ServiceState(name) == state) return true;
    if (GetTickCount64() >= deadline) return false;
    Sleep(50);
  }
}

DWORD SendServiceControl(const std::wstring& name, DWORD control) {
  Service service(name);
  if (service.Get() == nullptr) return service.Error();
  SERVICE_STATUS status = {};
  return ControlService(service.Get(), control, &status) ? 0 : GetLastError();
}

DWORD StartTestService(const std::wstring& name) {
  Service service(name);
  if (service.Get() == nullptr) return service.Error();
  return StartServiceW(service.Get(), 0, nullptr) ? 0 : GetLastError();
}

void RemoveTestService(const std::wstring& name) {
  Service service(name);
  if (service.Get() == nullptr) return;
  // A pending service takes no control: wait until it has settled, then end it.
  ULONGLONG deadline = GetTickCount64() + 15000;
  while (GetTickCount64() < deadline) {
    SERVICE_STATUS_PROCESS status = {};
    DWORD needed = 0;
    if (!QueryServiceStatusEx(service.Get(), SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status),
                              sizeof(status), &needed) ||
        status.dwCurrentState == SERVICE_STOPPED) {
      break;
    }
    if (status.dwCurrentState == SERVICE_RUNNING || status.dwCurrentState == SERVICE_PAUSED) {
      SERVICE_STATUS reply = {};
      ControlService(service.Get(), kTestServiceEnd, &reply);
    }
    Sleep(50);
  }
  DeleteService(service.Get());
}
