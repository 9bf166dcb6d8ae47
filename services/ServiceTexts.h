// The log lines of the service commands and the service manager, in one place,
// exactly as scripts and log readers know them. Formats are Microsoft-style: %s is
// wide text, %S narrow text.
//
// The texts keep their old spellings and spacing: "Interogate", the missing blank
// after "[OpenWindowsService]", "[CreateWinService]The" and "[StartService]", the
// blank before "\n" in "serviceStatus: %d \n". Several lines have no "\n" of their
// own; the logger then drops their last character, which is how those lines have
// always looked.
#pragma once

#include <cstdint>

namespace servicetext {

// Tags of the frame lines "%i: %s Begin execute." and the like.
constexpr const wchar_t* kCreateServiceTag = L"CreateService";
constexpr const wchar_t* kStartServiceTag = L"StartService";
constexpr const wchar_t* kStopServiceTag = L"StopService";
constexpr const wchar_t* kUninstallServiceTag = L"UninstallService";

// The commands: the name printed is the one of the script, before expansion.
constexpr const wchar_t* kCreateFailed = L"[CreateWinService] Create windows service (%s) failed";
constexpr const wchar_t* kStartFailed = L"[StartWinService] Start windows service (%s) failed";
constexpr const wchar_t* kStopFailed = L"[StopWinService] Stop windows service (%s) failed";
constexpr const wchar_t* kUninstallFailed = L"[UninstallWinService] Uninstall windows service (%s) failed";

// OpenWindowsService: both lines print the number 0, not the error.
constexpr const wchar_t* kNoManager = L"[OpenWindowsService]Error getting Service Control Manager %d.\n";
constexpr const wchar_t* kOpenFailed = L"[OpenWindowsService]Cannot open service. Service handle: %d";

// CreateWinService
constexpr const wchar_t* kCreateNoManager = L"[CreateWinService] Error opening SCM, errCode : %d.\n";
constexpr const wchar_t* kCreateExists = L"[CreateWinService]The service already exists. Service handle: %d";
constexpr const wchar_t* kChangeConfigFailed = L"[CreateWinService]ChangeServiceConfig failed (%d)\n";
constexpr const wchar_t* kCreateCallFailed = L"[CreateWinService] Error creating service, errCode : %d.\n";
constexpr const wchar_t* kFailureActionsFailed = L"Could not change service config (%d)\n";

// StartWinService
constexpr const wchar_t* kStartOpenFailed = L"Cannot open service with name: %s. Lasterror: %d";
constexpr const wchar_t* kStartQueryFailed = L"[StartService]InterogateServiceStatus failed (%d)";
constexpr const wchar_t* kStartState = L"serviceStatus: %d \n";
constexpr const wchar_t* kStarting = L"Starting service: \n";
constexpr const wchar_t* kStartCallFailed = L"Start service failed %s. Lasterror: %d";

// StopWinService
constexpr const wchar_t* kStopQueryFailed = L"[StopService]InterogateServiceStatus failed (%d)";

}  // namespace servicetext

// What the service manager's operations other than CreateWinService return.
enum : int32_t {
  kServiceCallOk = 0,
  kServiceCallFailed = 1,
};
