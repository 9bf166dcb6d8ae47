// Service control for the service commands: create or update a service, start or
// stop it and wait for the state it should reach, delete it.
//
// CServiceMgrApi turns the service control manager's state machine into a single
// yes or no. The commands make one on their stack for each run; it keeps no handle
// between calls. Waiting is by polling: one status query, then a 1000 ms sleep, so
// a timeout of N seconds allows N queries (a timeout of 0 still makes one), and -1
// waits for as long as the service needs.
//
// The interface keeps its documented slot order (0 the deleting destructor, then
// StopWinService, StartWinService, UninstallWinService, OpenWindowsService,
// InterogateServiceStatus, CreateWinService), because callers may reach it by
// slot number.
#pragma once

#include <windows.h>
#include <winsvc.h>

#include <cstdint>

#include "engine/ScopedHandle.h"
#include "engine/SelfFree.h"

class CWinapiInterface;

// The two handles of an opened service. OpenWindowsService nulls both first; the
// caller closes them, the manager first, each if not null (CloseServiceHandles).
struct ServiceHandles {
  SC_HANDLE scManager;
  SC_HANDLE service;
};

// Closes both handles, the manager first, and nulls them.
void CloseServiceHandles(ServiceHandles* handles);

// What CreateWinService makes a service of. Strings that may be null are left out
// of the call (for an existing service: left unchanged).
struct ServiceConfig {
  wchar_t* serviceName;
  wchar_t* displayName;
  wchar_t* description;       // may be null; set on a new service only
  DWORD desiredAccess;
  DWORD serviceType;
  DWORD startType;
  DWORD errorControl;
  wchar_t* pathName;
  wchar_t* loadOrderGroup;    // may be null
  DWORD* tagId;               // always null
  wchar_t* dependencies;      // may be null; one service name, not a list
  wchar_t* serviceStartName;  // may be null
  wchar_t* password;          // may be null
};

// Service states as SERVICE_STATUS_PROCESS reports them.
enum : DWORD {
  kServiceStopped = SERVICE_STOPPED,              // 1
  kServiceStartPending = SERVICE_START_PENDING,   // 2
  kServiceStopPending = SERVICE_STOP_PENDING,     // 3
  kServiceRunning = SERVICE_RUNNING,              // 4
};

// A timeout that waits without limit.
const int32_t kServiceWaitForever = -1;

class IServiceMgrApi {
 public:
  // Slot 0. Runs the destructor of the most derived class; frees the memory when
  // bit 0 of flags is set.
  virtual void* DeletingDestructor(unsigned int flags);
  // Slot 1. Stops the service (no control is sent while it is stopping already)
  // and, with wait, polls until it has stopped. 0, or 1 on any failure.
  virtual int32_t StopWinService(const wchar_t* serviceName, bool wait, int32_t timeoutSeconds) = 0;
  // Slot 2. Starts the service, after waiting for a stopping service to stop, and
  // with wait polls until it runs. A running service succeeds at once. 0, or 1.
  virtual int32_t StartWinService(const wchar_t* serviceName, bool wait, int32_t timeoutSeconds) = 0;
  // Slot 3. Deletes the service; it does not stop it first. 0, or 1.
  virtual int32_t UninstallWinService(const wchar_t* serviceName) = 0;
  // Slot 4. Opens the manager and the service with full access (access is not
  // used). 0, or 1 on failure, with the manager's handle left for the caller to
  // close when only the service could not be opened.
  virtual int32_t OpenWindowsService(const wchar_t* serviceName, DWORD access, ServiceHandles* handles) = 0;
  // Slot 5. Queries the service's status; false for a null handle or a failed query.
  virtual bool InterogateServiceStatus(SC_HANDLE service, SERVICE_STATUS_PROCESS* status) = 0;
  // Slot 6. Creates the service, or updates an existing one (whose description
  // then stays as it was), and sets the failure actions when asked. 0, or the
  // system error of the call that failed.
  virtual int32_t CreateWinService(const ServiceConfig* config, bool setFailureActions) = 0;

 protected:
  ~IServiceMgrApi() = default;
};

class CServiceMgrApi : public IServiceMgrApi {
 public:
  // The table of platform calls is deleted with this object when it is owned. The
  // service calls themselves go to the platform directly.
  CServiceMgrApi(CWinapiInterface* winapi, bool ownsWinapi);
  ~CServiceMgrApi();
  CServiceMgrApi(const CServiceMgrApi&) = delete;
  CServiceMgrApi& operator=(const CServiceMgrApi&) = delete;

  int32_t StopWinService(const wchar_t* serviceName, bool wait, int32_t timeoutSeconds) override;
  int32_t StartWinService(const wchar_t* serviceName, bool wait, int32_t timeoutSeconds) override;
  int32_t UninstallWinService(const wchar_t* serviceName) override;
  int32_t OpenWindowsService(const wchar_t* serviceName, DWORD access, ServiceHandles* handles) override;
  bool InterogateServiceStatus(SC_HANDLE service, SERVICE_STATUS_PROCESS* status) override;
  int32_t CreateWinService(const ServiceConfig* config, bool setFailureActions) override;

  CWinapiInterface* winapi;
  bool ownsWinapi;

  SELFFREE_DESTRUCTOR(CServiceMgrApi)

 private:
  // Polls until the service is in wanted. While it is in passing the wait goes on
  // (one query, then a 1000 ms sleep); any other state, a failed query or the end
  // of the timeout fails.
  bool WaitForState(SC_HANDLE service, DWORD wanted, DWORD passing, int32_t timeoutSeconds);
  // OpenWindowsService with both handles taken into owners, also when it fails.
  // True when the service opened.
  bool OpenOwned(const wchar_t* serviceName, ScopedServiceHandle* manager, ScopedServiceHandle* service);
};
