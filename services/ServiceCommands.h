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
// running skips its work without a message and returns 0, not 1359; and executed
// is never set, so the warning "GetNextIndex called before Execute" follows each
// of them. kFrame says so for each.
//
// None of them looks at the cancel handle: StartService and StopService may block
// for their whole timeout, or as long as the service needs with "INFINITE".
#pragma once

#include "engine/InstallCommand.h"
#include "services/ServiceMgrApi.h"
#include "services/ServiceTexts.h"

// The frame of all four: begin line before the guard, skip when busy, never marked.
constexpr unsigned kServiceFrameFlags = kFrameSkipWhenBusy | kFrameNeverMarked;

// The texts and numbers CreateService keeps from its attributes, in the order
// and with the names of ServiceConfig, which View lends them to.
struct ServiceSettings {
  ScopedText serviceName;
  ScopedText displayName;
  ScopedText description;
  DWORD desiredAccess;
  DWORD serviceType;
  DWORD startType;
  DWORD errorControl;
  ScopedText pathName;
  ScopedText loadOrderGroup;
  ScopedText dependencies;
  ScopedText serviceStartName;
  ScopedText password;

  // The settings as CreateWinService takes them; valid while these live unchanged.
  ServiceConfig View() const;
};

// Creates a service, or updates the one of that name, and sets int_<var> to 1 when
// that worked (0 otherwise). Every text but var may name [variables].
class CCreateServiceCommand : public CInstallCommand {
 public:
  static constexpr const wchar_t* kTag = servicetext::kCreateServiceTag;
  static constexpr FrameStyle kFrame{kTag, kServiceFrameFlags};

  CCreateServiceCommand();
  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  ServiceSettings config;
  ScopedNarrowText var;  // bare name of the success flag

  SELFFREE_DESTRUCTOR(CCreateServiceCommand)
};

// Starts a service; with waitChangeState, waits until it runs.
class CStartServiceCommand : public CInstallCommand {
 public:
  static constexpr const wchar_t* kTag = servicetext::kStartServiceTag;
  static constexpr FrameStyle kFrame{kTag, kServiceFrameFlags};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  bool waitChangeState = false;
  int32_t timeout = 10;  // seconds; -1 without limit
  ScopedText serviceName;

  SELFFREE_DESTRUCTOR(CStartServiceCommand)
};

// Stops a service; with waitChangeState, waits until it has stopped. The only
// service command that sets int_<errVar> on failure.
class CStopServiceCommand : public CInstallCommand {
 public:
  static constexpr const wchar_t* kTag = servicetext::kStopServiceTag;
  static constexpr FrameStyle kFrame{kTag, kServiceFrameFlags};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  ScopedText serviceName;
  bool waitChangeState = false;
  int32_t timeout = 10;  // seconds; -1 without limit

  SELFFREE_DESTRUCTOR(CStopServiceCommand)
};

// Deletes a service. It neither stops the service first (a script runs
// StopService before it) nor expands [variables] in the name.
class CUninstallServiceCommand : public CInstallCommand {
 public:
  static constexpr const wchar_t* kTag = servicetext::kUninstallServiceTag;
  static constexpr FrameStyle kFrame{kTag, kServiceFrameFlags};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  ScopedText serviceName;

  SELFFREE_DESTRUCTOR(CUninstallServiceCommand)
};
