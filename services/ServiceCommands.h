// The service commands: CreateService, StartService, StopService and
// UninstallService expose the service control manager to scripts.
//
// A service failure never stops the script: it is logged, shown through a
// variable where the command has one (int_<var> of CreateService, int_<errVar> of
// StopService), and the walk goes on with status 0. Only a CreateService whose
// texts cannot be expanded returns a status (1359), which ends the walk.
//
// All four run differently from the other commands, and scripts see it in the
// log: the begin line comes before the guard; a command that another thread is
// running skips its work without a message and returns 0, not 1359; executed is
// never set, so the warning "GetNextIndex called before Execute" follows each of
// them; and the guard is left before the end line.
//
// None of them looks at the cancel handle: StartService and StopService may block
// for their whole timeout, or as long as the service needs with "INFINITE".
#pragma once

#include "engine/InstallCommand.h"
#include "services/ServiceMgrApi.h"

class CServiceCommand : public CInstallCommand {
 protected:
  // Begin line, the work under the guard (skipped with status 0 when the guard is
  // taken), then the end line. Returns the work's status.
  template <class Work>
  int32_t RunUnmarked(const wchar_t* tag, Work work);
};

// Creates a service, or updates the one of that name, and sets int_<var> to 1 when
// that worked (0 otherwise). Every text but var may name [variables].
class CCreateServiceCommand : public CServiceCommand {
 public:
  static constexpr const wchar_t* kTag = L"CreateService";

  CCreateServiceCommand();
  ~CCreateServiceCommand();
  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  ServiceConfig config;
  char* var = nullptr;  // bare name of the success flag

  SELFFREE_DESTRUCTOR(CCreateServiceCommand)
};

// Starts a service; with waitChangeState, waits until it runs.
class CStartServiceCommand : public CServiceCommand {
 public:
  static constexpr const wchar_t* kTag = L"StartService";

  ~CStartServiceCommand();
  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  bool waitChangeState = false;
  int32_t timeout = 10;  // seconds; -1 without limit
  wchar_t* serviceName = nullptr;

  SELFFREE_DESTRUCTOR(CStartServiceCommand)
};

// Stops a service; with waitChangeState, waits until it has stopped. The only
// service command that sets int_<errVar> on failure.
class CStopServiceCommand : public CServiceCommand {
 public:
  static constexpr const wchar_t* kTag = L"StopService";

  ~CStopServiceCommand();
  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  wchar_t* serviceName = nullptr;
  bool waitChangeState = false;
  int32_t timeout = 10;  // seconds; -1 without limit

  SELFFREE_DESTRUCTOR(CStopServiceCommand)
};

// Deletes a service. It neither stops the service first (a script runs
// StopService before it) nor expands [variables] in the name.
class CUninstallServiceCommand : public CServiceCommand {
 public:
  static constexpr const wchar_t* kTag = L"UninstallService";

  ~CUninstallServiceCommand();
  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  wchar_t* serviceName = nullptr;

  SELFFREE_DESTRUCTOR(CUninstallServiceCommand)
};
