#include "services/ServiceSetup.h"

ScopedServiceHandle OpenServiceManager() {
  return ScopedServiceHandle(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
}

DWORD SetFailureActions(SC_HANDLE service, const FailurePlan& plan) {
  SERVICE_FAILURE_ACTIONSW failureActions = {};
  failureActions.dwResetPeriod = plan.resetPeriodSeconds;
  failureActions.cActions = plan.count;
  failureActions.lpsaActions = const_cast<SC_ACTION*>(plan.actions);
  if (ChangeServiceConfig2W(service, SERVICE_CONFIG_FAILURE_ACTIONS, &failureActions)) return 0;
  return GetLastError();
}
