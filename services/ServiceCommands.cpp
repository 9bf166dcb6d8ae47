#include "services/ServiceCommands.h"

#include <cstdlib>
#include <cwchar>
#include <new>

#include "engine/Expand.h"
#include "engine/Log.h"
#include "engine/Store.h"
#include "engine/VarName.h"
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
void ReadControlAttributes(AttributeReader& reader, ScopedText& serviceName, bool* waitChangeState,
                           int32_t* timeout) {
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

ServiceConfig ServiceSettings::View() const {
  return ServiceConfig{serviceName.Get(),    displayName.Get(), description.Get(),  desiredAccess,
                       serviceType,          startType,         errorControl,       pathName.Get(),
                       loadOrderGroup.Get(), nullptr,           dependencies.Get(), serviceStartName.Get(),
                       password.Get()};
}

// CreateService

CCreateServiceCommand::CCreateServiceCommand() : config{} {
  config.desiredAccess = kDefaultDesiredAccess;
  config.errorControl = kDefaultErrorControl;
}

int32_t CCreateServiceCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  wchar_t* text = nullptr;
  HRESULT hr = reader.ReadText(L"var", &text);
  if (hr != S_OK) return hr;
  // The name must narrow to one byte a character: anything else is refused.
  VarName name(text, Narrowing::OneBytePerCharacter);
  if (!name) return kStatusMissingAttribute;
  var = std::move(name);

  if ((hr = reader.ReadCopy(L"serviceName", config.serviceName)) != S_OK) return hr;
  if ((hr = reader.ReadCopy(L"displayName", config.displayName)) != S_OK) return hr;
  if ((hr = reader.ReadCopy(L"description", config.description)) != S_OK) return hr;
  ReadDword(reader, L"desiredAccess", &config.desiredAccess);
  if ((hr = ReadDword(reader, L"serviceType", &config.serviceType)) != S_OK) return hr;
  if ((hr = ReadDword(reader, L"startType", &config.startType)) != S_OK) return hr;
  ReadDword(reader, L"errorControl", &config.errorControl);
  reader.ReadCopy(L"pathName", config.pathName);
  reader.ReadCopy(L"loadOrderGroup", config.loadOrderGroup);
  reader.ReadCopy(L"dependencies", config.dependencies);
  reader.ReadCopy(L"serviceStartName", config.serviceStartName);
  reader.ReadCopy(L"password", config.password);
  return kStatusOk;
}

int32_t CCreateServiceCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  VarName flag("int_", var.Get());
  if (flag) StorePut(flag.Get(), 0);
  // The fields keep their expanded texts. The first text that cannot be expanded
  // ends the work with 1359, the flag left at 0 and the rest unexpanded.
  ScopedText* texts[] = {&config.displayName, &config.serviceName,      &config.description,
                         &config.pathName,    &config.dependencies,     &config.serviceStartName,
                         &config.password,    &config.loadOrderGroup};
  for (ScopedText* text : texts) {
    int32_t status = ExpandField(*text, OnFailure::Stop);
    if (status != kStatusOk) return frame.Done(status);
  }
  CServiceMgrApi services = MakeServiceMgr();
  ServiceConfig settings = config.View();
  if (services.CreateWinService(&settings, true) != 0) {
    LogMessage(servicetext::kCreateFailed, config.serviceName.Get());
  } else if (flag) {
    StorePut(flag.Get(), 1);
  }
  return frame.Done();
}

// StartService

int32_t CStartServiceCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  ReadControlAttributes(reader, serviceName, &waitChangeState, &timeout);
  return kStatusOk;
}

int32_t CStartServiceCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  ScopedText name = Expand(serviceName.Get(), OnFailure::KeepText);
  CServiceMgrApi services = MakeServiceMgr();
  if (services.StartWinService(name.Get(), waitChangeState, timeout) != kServiceCallOk) {
    LogMessage(servicetext::kStartFailed, serviceName.Get());
  }
  return frame.Done();
}

// StopService

int32_t CStopServiceCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  ReadControlAttributes(reader, serviceName, &waitChangeState, &timeout);
  return kStatusOk;
}

int32_t CStopServiceCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  ScopedText name = Expand(serviceName.Get(), OnFailure::KeepText);
  CServiceMgrApi services = MakeServiceMgr();
  if (services.StopWinService(name.Get(), waitChangeState, timeout) != kServiceCallOk) {
    LogMessage(servicetext::kStopFailed, serviceName.Get());
    SetErrorVar();
  }
  return frame.Done();
}

// UninstallService

int32_t CUninstallServiceCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  reader.ReadCopy(L"serviceName", serviceName);
  return kStatusOk;
}

int32_t CUninstallServiceCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  CServiceMgrApi services = MakeServiceMgr();
  if (services.UninstallWinService(serviceName.Get()) != kServiceCallOk) {
    LogMessage(servicetext::kUninstallFailed, serviceName.Get());
  }
  return frame.Done();
}
