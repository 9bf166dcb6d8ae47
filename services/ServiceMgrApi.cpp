#include "services/ServiceMgrApi.h"

#include <string>
#include <utility>

#include "engine/Log.h"
#include "engine/ScopedHandle.h"
#include "engine/interfaces/WinapiInterface.h"
#include "services/ServiceSetup.h"
#include "services/ServiceTexts.h"

namespace {

// Full access to the manager (SC_MANAGER_ALL_ACCESS) and to a service
// (SERVICE_ALL_ACCESS): the failure actions need the right to start the service.
const DWORD kManagerAccess = 0xF003F;
const DWORD kServiceAccess = 0xF01FF;
const DWORD kPollIntervalMs = 1000;

// The dependencies text is one service name. The platform reads a list of names
// that ends in an empty one, so the name is passed with that second terminator
// rather than letting the platform read past the end of the text.
const wchar_t* DependencyList(const wchar_t* dependencies, std::wstring* list) {
  if (dependencies == nullptr) return nullptr;
  list->assign(dependencies);
  list->push_back(L'\0');
  return list->c_str();
}

}  // namespace

void CloseServiceHandles(ServiceHandles* handles) {
  // The record is the interface's and holds raw handles. Taken over here, they
  // close in the reverse order of these lines: the manager first.
  ScopedServiceHandle service(std::exchange(handles->service, nullptr));
  ScopedServiceHandle manager(std::exchange(handles->scManager, nullptr));
}

void* IServiceMgrApi::DeletingDestructor(unsigned int flags) {
  this->~IServiceMgrApi();
  if (flags & 1) ::operator delete(static_cast<void*>(this));
  return this;
}

CServiceMgrApi::CServiceMgrApi(CWinapiInterface* winapiTable, bool owns) : winapi(winapiTable), ownsWinapi(owns) {}

CServiceMgrApi::~CServiceMgrApi() {
  if (ownsWinapi && winapi != nullptr) winapi->DeletingDestructor(1);
  winapi = nullptr;
}

int32_t CServiceMgrApi::OpenWindowsService(const wchar_t* serviceName, DWORD, ServiceHandles* handles) {
  handles->scManager = nullptr;
  handles->service = nullptr;
  // The messages print the number 0, not the error; the error is kept for the
  // caller, whose own message reads it.
  handles->scManager = OpenSCManagerW(nullptr, nullptr, kManagerAccess);
  if (handles->scManager == nullptr) {
    DWORD error = GetLastError();
    LogMessage(servicetext::kNoManager, 0);
    SetLastError(error);
    return kServiceCallFailed;
  }
  handles->service = OpenServiceW(handles->scManager, serviceName, kServiceAccess);
  if (handles->service == nullptr) {
    DWORD error = GetLastError();
    LogMessage(servicetext::kOpenFailed, 0);
    SetLastError(error);
    return kServiceCallFailed;
  }
  return kServiceCallOk;
}

bool CServiceMgrApi::InterogateServiceStatus(SC_HANDLE service, SERVICE_STATUS_PROCESS* status) {
  if (service == nullptr) return false;
  DWORD needed = 0;
  return QueryServiceStatusEx(service, SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(status),
                              sizeof(SERVICE_STATUS_PROCESS), &needed) == 1;
}

int32_t CServiceMgrApi::CreateWinService(const ServiceConfig* config, bool setFailureActions) {
  ScopedServiceHandle manager = OpenServiceManager();
  if (!manager) {
    // Nothing further can work without the manager, and going on would only put
    // the error of a null handle in place of the real one.
    DWORD error = GetLastError();
    LogMessage(servicetext::kCreateNoManager, error);
    return static_cast<int32_t>(error);
  }
  std::wstring dependencyList;
  const wchar_t* dependencies = DependencyList(config->dependencies, &dependencyList);
  DWORD error = 0;
  ScopedServiceHandle service(OpenServiceW(manager.Get(), config->serviceName, kServiceAccess));
  if (service) {
    // Updating leaves desiredAccess and the description out: an existing service
    // keeps the description it has.
    LogMessage(servicetext::kCreateExists, static_cast<int>(reinterpret_cast<intptr_t>(service.Get())));
    if (!ChangeServiceConfigW(service.Get(), config->serviceType, config->startType, config->errorControl,
                              config->pathName, config->loadOrderGroup, config->tagId, dependencies,
                              config->serviceStartName, config->password, config->displayName)) {
      error = GetLastError();
      LogMessage(servicetext::kChangeConfigFailed, error);
    }
  } else {
    service.Reset(CreateServiceW(manager.Get(), config->serviceName, config->displayName, config->desiredAccess,
                                 config->serviceType, config->startType, config->errorControl, config->pathName,
                                 config->loadOrderGroup, config->tagId, dependencies, config->serviceStartName,
                                 config->password));
    if (!service) {
      error = GetLastError();
      LogMessage(servicetext::kCreateCallFailed, error);
    } else if (config->description != nullptr) {
      // A description that cannot be set does not undo the service.
      SERVICE_DESCRIPTIONW description = {config->description};
      ChangeServiceConfig2W(service.Get(), SERVICE_CONFIG_DESCRIPTION, &description);
    }
  }
  if (error != 0) return static_cast<int32_t>(error);

  if (setFailureActions) {
    // Restart after a second, then after five, then leave it stopped; the count
    // of failures starts again after a day without one.
    static const SC_ACTION kActions[3] = {{SC_ACTION_RESTART, 1000}, {SC_ACTION_RESTART, 5000}, {SC_ACTION_NONE, 0}};
    DWORD error = SetFailureActions(service.Get(), FailurePlan{86400, kActions, 3});
    if (error != 0) LogMessage(servicetext::kFailureActionsFailed, error);
  }
  return 0;
}

bool CServiceMgrApi::WaitForState(SC_HANDLE service, DWORD wanted, DWORD passing, int32_t timeoutSeconds) {
  int32_t queries = 0;
  for (;;) {
    SERVICE_STATUS_PROCESS status = {};
    if (!InterogateServiceStatus(service, &status)) return false;
    if (status.dwCurrentState == wanted) return true;
    if (status.dwCurrentState != passing) return false;
    // The count is tested before the sleep, so a timeout of 0 fails on the first
    // query and N gives N queries with N - 1 sleeps between them.
    if (timeoutSeconds != kServiceWaitForever && ++queries >= timeoutSeconds) return false;
    Sleep(kPollIntervalMs);
  }
}

bool CServiceMgrApi::OpenOwned(const wchar_t* serviceName, ScopedServiceHandle* manager,
                                ScopedServiceHandle* service) {
  ServiceHandles handles;
  bool opened = OpenWindowsService(serviceName, kServiceAccess, &handles) == kServiceCallOk;
  // Taken on failure too: the manager stays open when only the service failed.
  manager->Reset(handles.scManager);
  service->Reset(handles.service);
  return opened;
}

int32_t CServiceMgrApi::StartWinService(const wchar_t* serviceName, bool wait, int32_t timeoutSeconds) {
  ScopedServiceHandle manager;
  ScopedServiceHandle service;
  if (!OpenOwned(serviceName, &manager, &service)) {
    LogMessage(servicetext::kStartOpenFailed, serviceName, GetLastError());
    return kServiceCallFailed;
  }
  SERVICE_STATUS_PROCESS status = {};
  if (!InterogateServiceStatus(service.Get(), &status)) {
    LogMessage(servicetext::kStartQueryFailed, GetLastError());
    return kServiceCallFailed;
  }
  if (status.dwCurrentState == kServiceRunning) return kServiceCallOk;
  LogMessage(servicetext::kStartState, status.dwCurrentState);

  if (status.dwCurrentState != kServiceStartPending) {
    // Only a stopping service is waited for; a paused one fails here.
    if (status.dwCurrentState != kServiceStopped &&
        !WaitForState(service.Get(), kServiceStopped, kServiceStopPending, timeoutSeconds)) {
      return kServiceCallFailed;
    }
    LogMessage(servicetext::kStarting);
    if (StartServiceW(service.Get(), 0, nullptr) != 1) {
      LogMessage(servicetext::kStartCallFailed, serviceName, GetLastError());
      return kServiceCallFailed;
    }
  }
  if (!wait) return kServiceCallOk;
  bool reached = WaitForState(service.Get(), kServiceRunning, kServiceStartPending, timeoutSeconds);
  return reached ? kServiceCallOk : kServiceCallFailed;
}

int32_t CServiceMgrApi::StopWinService(const wchar_t* serviceName, bool wait, int32_t timeoutSeconds) {
  ScopedServiceHandle manager;
  ScopedServiceHandle service;
  if (!OpenOwned(serviceName, &manager, &service)) return kServiceCallFailed;
  SERVICE_STATUS_PROCESS status = {};
  if (!InterogateServiceStatus(service.Get(), &status)) {
    LogMessage(servicetext::kStopQueryFailed, GetLastError());
    return kServiceCallFailed;
  }
  if (status.dwCurrentState == kServiceStopped) return kServiceCallOk;
  // A service that is stopping already gets no second request (the manager would
  // refuse it).
  if (status.dwCurrentState != kServiceStopPending) {
    SERVICE_STATUS reply = {};
    if (ControlService(service.Get(), SERVICE_CONTROL_STOP, &reply) != 1) return kServiceCallFailed;
  }
  if (!wait) return kServiceCallOk;
  bool reached = WaitForState(service.Get(), kServiceStopped, kServiceStopPending, timeoutSeconds);
  return reached ? kServiceCallOk : kServiceCallFailed;
}

int32_t CServiceMgrApi::UninstallWinService(const wchar_t* serviceName) {
  ScopedServiceHandle manager;
  ScopedServiceHandle service;
  if (!OpenOwned(serviceName, &manager, &service)) return kServiceCallFailed;
  return DeleteService(service.Get()) ? kServiceCallOk : kServiceCallFailed;
}
