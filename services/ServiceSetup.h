// The service control calls that every creator of a service makes, shared by the
// service manager interface and the built-in install sequence. Each returns the
// system's error and logs nothing: the caller says what failed in its own words.
#pragma once

#include <windows.h>
#include <winsvc.h>

#include "engine/ScopedHandle.h"

// The local service control manager with all access (0xF003F); none on failure,
// with GetLastError kept.
ScopedServiceHandle OpenServiceManager();

// What a service does when it fails: the actions in order, and the seconds
// without a failure after which the count starts again.
struct FailurePlan {
  DWORD resetPeriodSeconds;
  const SC_ACTION* actions;
  DWORD count;
};

// Sets the failure actions of an open service. 0, or the system error.
DWORD SetFailureActions(SC_HANDLE service, const FailurePlan& plan);
