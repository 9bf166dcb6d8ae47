#include "reporting/UsageReportingApi.h"

#include <windows.h>

#include <string>

#include "engine/Log.h"
#include "engine/RuntimeLibrary.h"
#include "engine/ScopedHandle.h"
#include "engine/Store.h"
#include "reporting/ReportingTexts.h"

namespace {

// The client's six functions. Its members take the object first, as every x64
// member function does, so plain function pointers call them.
struct ClientLibrary {
  int32_t (*Create)(UsageReportingClient** client, int32_t version, const wchar_t* productName,
                    const wchar_t* salesChannel, const wchar_t* dbPath);
  int32_t (*Destroy)(UsageReportingClient* client, int32_t version);
  int32_t (*SetProperty)(UsageReportingClient* self, const wchar_t* name, const wchar_t* value);
  int32_t (*Report)(UsageReportingClient* self, const wchar_t* eventName);
  int32_t (*BeginReport)(UsageReportingClient* self, const wchar_t* name, int32_t* handle);
  int32_t (*EndReport)(UsageReportingClient* self, const wchar_t* name, int32_t handle);
};

// The names a Microsoft compiler gives the members of
// Norvane::UsageReportingClientT<wchar_t>, which is how the library exports them.
constexpr const char* kCreateName = "?Create@?$UsageReportingClientT@_W@Norvane@@SAHPEAPEAV12@HPEB_W11@Z";
constexpr const char* kDestroyName = "?Destroy@?$UsageReportingClientT@_W@Norvane@@SAHPEAV12@H@Z";
constexpr const char* kSetPropertyName = "?SetProperty@?$UsageReportingClientT@_W@Norvane@@QEAAHPEB_W0@Z";
constexpr const char* kReportName = "?Report@?$UsageReportingClientT@_W@Norvane@@QEAAHPEB_W@Z";
constexpr const char* kBeginReportName = "?BeginReport@?$UsageReportingClientT@_W@Norvane@@QEAAHPEB_WPEAH@Z";
constexpr const char* kEndReportName = "?EndReport@?$UsageReportingClientT@_W@Norvane@@QEAAHPEB_WH@Z";

SRWLOCK g_bindLock = SRWLOCK_INIT;
ClientLibrary g_library = {};
bool g_bound = false;

// Binds the library once; the module then stays for the life of the process, as
// the clients made from it may. A failure is tried again at the next Init, so a
// library put in place later is still found. 0 or the error, with path set.
DWORD BindLibrary(std::wstring* path) {
  *path = OwnModuleFolder() + reporttext::kLibraryName;
  AcquireSRWLockExclusive(&g_bindLock);
  DWORD status = ERROR_SUCCESS;
  if (!g_bound) {
    ScopedModule module(LoadLibraryAt(*path));
    ClientLibrary library = {};
    if (!module) {
      status = GetLastError() != ERROR_SUCCESS ? GetLastError() : ERROR_MOD_NOT_FOUND;
    } else if (!BindExport(module.Get(), kCreateName, &library.Create) ||
               !BindExport(module.Get(), kDestroyName, &library.Destroy) ||
               !BindExport(module.Get(), kSetPropertyName, &library.SetProperty) ||
               !BindExport(module.Get(), kReportName, &library.Report) ||
               !BindExport(module.Get(), kBeginReportName, &library.BeginReport) ||
               !BindExport(module.Get(), kEndReportName, &library.EndReport)) {
      status = ERROR_PROC_NOT_FOUND;
    } else {
      g_library = library;
      g_bound = true;
      module.Release();
    }
  }
  ReleaseSRWLockExclusive(&g_bindLock);
  return status;
}

const wchar_t* OrNull(const wchar_t* text) { return text != nullptr ? text : reporttext::kNullText; }

}  // namespace

CUsageReportingApi::~CUsageReportingApi() {
  if (initialized && client != nullptr) g_library.Destroy(client, reporttext::kClientVersion);
  initialized = false;
  client = nullptr;
}

bool CUsageReportingApi::Ready(const wchar_t* notReadyLine) const {
  if (initialized && client != nullptr) return true;
  LogMessage(notReadyLine);
  return false;
}

int32_t CUsageReportingApi::Init(const wchar_t* productName, const wchar_t* salesChannel, const wchar_t* dbPath) {
  if (productName == nullptr) {
    LogMessage(reporttext::kNullProductName);
    return reportstatus::kBadArguments;
  }
  LogMessage(reporttext::kInitCall, productName, OrNull(salesChannel), OrNull(dbPath));
  std::wstring path;
  DWORD bound = BindLibrary(&path);
  if (bound != ERROR_SUCCESS) {
    LogMessage(reporttext::kNoLibrary, path.c_str(), static_cast<int>(bound));
    return static_cast<int32_t>(bound);
  }
  int32_t status = g_library.Create(&client, reporttext::kClientVersion, productName, salesChannel, dbPath);
  if (status == reportstatus::kOk) {
    LogMessage(reporttext::kCreated);
    initialized = true;
  }
  return status;
}

int32_t CUsageReportingApi::SetProperty(const wchar_t* name, const wchar_t* value) {
  if (name == nullptr || value == nullptr) return reportstatus::kBadArguments;
  if (!Ready(reporttext::kSetPropertyNotReady)) return reportstatus::kNotReady;
  LogMessage(reporttext::kSetPropertyCall, name, value);
  return g_library.SetProperty(client, name, value);
}

int32_t CUsageReportingApi::Report(const wchar_t* eventName) {
  if (eventName == nullptr) return reportstatus::kBadArguments;
  if (!Ready(reporttext::kReportNotReady)) return reportstatus::kNotReady;
  LogMessage(reporttext::kReportCall, eventName);
  return g_library.Report(client, eventName);
}

int32_t CUsageReportingApi::BeginReport(const wchar_t* name, const char* variable) {
  if (name == nullptr || variable == nullptr) return reportstatus::kBadArguments;
  if (!Ready(reporttext::kReportNotReady)) return reportstatus::kNotReady;
  LogMessage(reporttext::kBeginReportCall, name, variable);
  int32_t handle = 0;
  int32_t status = g_library.BeginReport(client, name, &handle);
  if (status != reportstatus::kOk) return status;
  StorePut(variable, static_cast<StoreValue>(static_cast<int64_t>(handle)));
  return reportstatus::kOk;
}

int32_t CUsageReportingApi::EndReport(const wchar_t* name, const char* variable) {
  if (name == nullptr || variable == nullptr) return reportstatus::kBadArguments;
  if (!Ready(reporttext::kReportNotReady)) return reportstatus::kNotReady;
  LogMessage(reporttext::kEndReportCall, name, variable);
  // Not atomic with the Put, as scripts have always had it: one report's end
  // belongs to one thread.
  StoreValue handle = StoreGet(variable);
  StorePut(variable, 0);
  return g_library.EndReport(client, name, static_cast<int32_t>(handle));
}
