#include "services/ServiceCommands.h"

#include <cstdlib>
#include <cwchar>
#include <new>

#include "engine/Expand.h"
#include "engine/Log.h"
#include "engine/Store.h"
#include "engine/interfaces/WinapiInterface.h"

namespace {

const DWORD kDefaultDesiredAccess = 0xF003F;
const DWORD kDefaultErrorControl = SERVICE_ERROR_NORMAL;

// A required number: its read status ends Load when it is not S_OK.
HRESULT ReadDword(AttributeReader& reader, const wchar_t* name, DWORD* field) {
  int32_t number = 0;
  HRESULT hr = reader.ReadNumber(name, &number);
  if (hr == S_OK) *field = static_cast<DWORD>(number);
  return hr;
}

// serviceName, waitChangeState and timeout of Start and Stop, all optional.
void ReadControlAttributes(AttributeReader& reader, wchar_t** serviceName, bool* waitChangeState, int32_t* timeout) {
  reader.ReadCopy(L"serviceName", serviceName);
  int32_t number = 0;
  if (reader.ReadNumber(L"waitChangeState", &number) == S_OK) *waitChangeState = number != 0;
  wchar_t* text = nullptr;
  if (reader.ReadText(L"timeout", &text) == S_OK) {
    // Unlike WaitForHandle's waitAmount, "INFINITE" counts only in capitals here:
    // "infinite" reads as 0, and so does any other text that is no number.
    *timeout = static_cast<int32_t>(wcstol(text, nullptr, 0));
    if (*timeout == 0 && wcscmp(text, L"INFINITE") == 0) *timeout = kServiceWaitForever;
  }
}

// The service calls of one run, with a table of platform calls of their own.
CServiceMgrApi MakeServiceMgr() { return CServiceMgrApi(new (std::nothrow) CWinapiInterface(), true); }

}  // namespace

template <class Work>
int32_t CServiceCommand::RunUnmarked(const wchar_t* tag, Work work) {
  LogBegin(tag);
  int32_t status = kStatusOk;
  if (TryEnterCriticalSection(&lock)) {
    status = work();
    LeaveCriticalSection(&lock);
  }
  LogMessage(L"%i: %s End execute. Next command %i.\n", index, tag, GetNextIndex());
  return status;
}

// CreateService

CCreateServiceCommand::CCreateServiceCommand() : config{} {
  config.desiredAccess = kDefaultDesiredAccess;
  config.errorControl = kDefaultErrorControl;
}

CCreateServiceCommand::~CCreateServiceCommand() {
  wchar_t** texts[] = {&config.serviceName,    &config.displayName,  &config.description,
                       &config.pathName,       &config.loadOrderGroup, &config.dependencies,
                       &config.serviceStartName, &config.password};
  for (wchar_t** text : texts) {
    free(*text);
    *text = nullptr;
  }
  free(var);
  var = nullptr;
}

int32_t CCreateServiceCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  wchar_t* text = nullptr;
  HRESULT hr = reader.ReadText(L"var", &text);
  if (hr != S_OK) return hr;
  // The name must narrow to one byte a character: anything else is refused.
  int bytes = static_cast<int>(wcslen(text)) + 1;
  char* narrow = static_cast<char*>(calloc(bytes, 1));
  if (narrow == nullptr || WideCharToMultiByte(CP_ACP, 0, text, -1, narrow, bytes, nullptr, nullptr) != bytes) {
    free(narrow);
    return kStatusMissingAttribute;
  }
  free(var);
  var = narrow;

  if ((hr = reader.ReadCopy(L"serviceName", &config.serviceName)) != S_OK) return hr;
  if ((hr = reader.ReadCopy(L"displayName", &config.displayName)) != S_OK) return hr;
  if ((hr = reader.ReadCopy(L"description", &config.description)) != S_OK) return hr;
  ReadDword(reader, L"desiredAccess", &config.desiredAccess);
  if ((hr = ReadDword(reader, L"serviceType", &config.serviceType)) != S_OK) return hr;
  if ((hr = ReadDword(reader, L"startType", &config.startType)) != S_OK) return hr;
  ReadDword(reader, L"errorControl", &config.errorControl);
  reader.ReadCopy(L"pathName", &config.pathName);
  reader.ReadCopy(L"loadOrderGroup", &config.loadOrderGroup);
  reader.ReadCopy(L"dependencies", &config.dependencies);
  reader.ReadCopy(L"serviceStartName", &config.serviceStartName);
  reader.ReadCopy(L"password", &config.password);
  return kStatusOk;
}

int32_t CCreateServiceCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  return RunUnmarked(kTag, [this]() -> int32_t {
    char* flag = MakeVarNameA("int_", var);
    if (flag != nullptr) StorePut(flag, 0);
    // The fields keep their expanded texts. The first text that cannot be expanded
    // ends the work with 1359, the flag left at 0 and the rest unexpanded.
    wchar_t** texts[] = {&config.displayName, &config.serviceName,      &config.description,
                         &config.pathName,    &config.dependencies,     &config.serviceStartName,
                         &config.password,    &config.loadOrderGroup};
    int32_t status = kStatusOk;
    for (wchar_t** text : texts) {
      status = ExpandCommandString(text);
      if (status != kStatusOk) break;
    }
    if (status == kStatusOk) {
      CServiceMgrApi services = MakeServiceMgr();
      if (services.CreateWinService(&config, true) != 0) {
        LogMessage(L"[CreateWinService] Create windows service (%s) failed", config.serviceName);
      } else if (flag != nullptr) {
        StorePut(flag, 1);
      }
    }
    free(flag);
    return status;
  });
}

// StartService

CStartServiceCommand::~CStartServiceCommand() {
  free(serviceName);
  serviceName = nullptr;
}

int32_t CStartServiceCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  ReadControlAttributes(reader, &serviceName, &waitChangeState, &timeout);
  return kStatusOk;
}

int32_t CStartServiceCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  return RunUnmarked(kTag, [this]() -> int32_t {
    // A name that cannot be expanded is used as it stands.
    wchar_t* expanded = nullptr;
    ExpandVariables(serviceName, &expanded);
    CServiceMgrApi services = MakeServiceMgr();
    int32_t result = services.StartWinService(expanded != nullptr ? expanded : serviceName, waitChangeState, timeout);
    free(expanded);
    if (result != 0) LogMessage(L"[StartWinService] Start windows service (%s) failed", serviceName);
    return kStatusOk;
  });
}

// StopService

CStopServiceCommand::~CStopServiceCommand() {
  free(serviceName);
  serviceName = nullptr;
}

int32_t CStopServiceCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  ReadControlAttributes(reader, &serviceName, &waitChangeState, &timeout);
  return kStatusOk;
}

int32_t CStopServiceCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  return RunUnmarked(kTag, [this]() -> int32_t {
    wchar_t* expanded = nullptr;
    ExpandVariables(serviceName, &expanded);
    CServiceMgrApi services = MakeServiceMgr();
    int32_t result = services.StopWinService(expanded != nullptr ? expanded : serviceName, waitChangeState, timeout);
    free(expanded);
    if (result != 0) {
      LogMessage(L"[StopWinService] Stop windows service (%s) failed", serviceName);
      SetErrorVar();
    }
    return kStatusOk;
  });
}

// UninstallService

CUninstallServiceCommand::~CUninstallServiceCommand() {
  free(serviceName);
  serviceName = nullptr;
}

int32_t CUninstallServiceCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  reader.ReadCopy(L"serviceName", &serviceName);
  return kStatusOk;
}

int32_t CUninstallServiceCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  return RunUnmarked(kTag, [this]() -> int32_t {
    CServiceMgrApi services = MakeServiceMgr();
    ServiceHandles handles;
    bool removed = services.OpenWindowsService(serviceName, SERVICE_ALL_ACCESS, &handles) == 0 &&
                   DeleteService(handles.service);
    CloseServiceHandles(&handles);
    if (!removed) LogMessage(L"[UninstallWinService] Uninstall windows service (%s) failed", serviceName);
    return kStatusOk;
  });
}
