#include "reporting/UsageReportingCommands.h"

#include <new>

#include "engine/Expand.h"
#include "engine/Log.h"
#include "engine/Store.h"
#include "engine/StoreNames.h"
#include "reporting/UsageReportingApi.h"

namespace {

// The published object, or null after the line that says so: the command then
// goes on as a no-op, so that an install without reporting still runs.
IUsageReportingApi* PublishedApi() {
  IUsageReportingApi* api = StoreGetObject<IUsageReportingApi>(storename::kUsageReportingApi);
  if (api == nullptr) LogMessage(reporttext::kNoApi);
  return api;
}

}  // namespace

int32_t CUsageReportingInitCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  HRESULT hr = reader.ReadCopy(L"productName", productName);
  if (hr != S_OK) return hr;
  reader.ReadCopy(L"salesChannel", salesChannel);
  reader.ReadCopy(L"dbPath", dbPath);
  return kStatusOk;
}

int32_t CUsageReportingInitCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  // The product name is the client's key and is taken as written.
  ExpandField(salesChannel, OnFailure::KeepText);
  ExpandField(dbPath, OnFailure::KeepText);
  if (StoreGet(storename::kUsageReportingApi) != 0) return frame.Done();
  LogMessage(reporttext::kCreating);
  CUsageReportingApi* api = new (std::nothrow) CUsageReportingApi();
  if (api == nullptr) return frame.Done();
  int32_t status = api->Init(productName.Get(), salesChannel.Get(), dbPath.Get());
  if (status == reportstatus::kOk) {
    LogMessage(reporttext::kInitialized);
    StorePutObject(storename::kUsageReportingApi, api);
  } else {
    // The object is left as it is: a client half made by the library is not ours
    // to end, and a later Init tries again with a new one.
    LogMessage(reporttext::kInitFailed, status);
  }
  return frame.Done();
}

int32_t CUsageReportingSetPropertyCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  HRESULT hr = reader.ReadCopy(L"name", name);
  if (hr != S_OK) return hr;
  return reader.ReadCopy(L"value", value);
}

int32_t CUsageReportingSetPropertyCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  ExpandField(value, OnFailure::KeepText);
  if (IUsageReportingApi* api = PublishedApi()) {
    int32_t status = api->SetProperty(name.Get(), value.Get());
    LogMessage(reporttext::kSetPropertyResult, name.Get(), value.Get(), status);
  }
  return frame.Done();
}

int32_t CUsageReportingReportCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  return reader.ReadCopy(L"eventName", eventName);
}

int32_t CUsageReportingReportCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  if (IUsageReportingApi* api = PublishedApi()) {
    int32_t status = api->Report(eventName.Get());
    LogMessage(reporttext::kReportResult, eventName.Get(), status);
  }
  return frame.Done();
}

int32_t CUsageReportingSpanCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  HRESULT hr = reader.ReadCopy(L"name", name);
  if (hr != S_OK) return hr;
  wchar_t* text = nullptr;
  hr = reader.ReadText(L"variable", &text);
  if (hr != S_OK) return hr;
  variable = VarName("int_", text);
  return variable ? kStatusOk : kStatusMissingAttribute;
}

int32_t CUsageReportingBeginReportCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  if (IUsageReportingApi* api = PublishedApi()) {
    int32_t status = api->BeginReport(name.Get(), variable.Get());
    LogMessage(reporttext::kBeginReportResult, name.Get(), variable.Get(), status);
  }
  return frame.Done();
}

int32_t CUsageReportingEndReportCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  if (IUsageReportingApi* api = PublishedApi()) {
    // Gives the client time to finish what the report sent before the install
    // goes on (and, at the end of a script, before the process ends). Only when
    // there is a client: without one there is nothing to wait for.
    Sleep(reporttext::kEndReportDelayMs);
    int32_t status = api->EndReport(name.Get(), variable.Get());
    LogMessage(reporttext::kEndReportResult, name.Get(), variable.Get(), status);
  }
  return frame.Done();
}
