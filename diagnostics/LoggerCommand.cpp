#include "diagnostics/LoggerCommand.h"

#include <new>

#include "diagnostics/ErrorApi.h"
#include "diagnostics/LogTransform.h"
#include "diagnostics/LoggerApi.h"
#include "engine/Log.h"
#include "engine/Store.h"

int32_t CLoggerCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  int32_t number = 0;
  if (reader.ReadNumber(L"isMainThread", &number) == S_OK) isMainThread = number != 0;
  return kStatusOk;
}

int32_t CLoggerCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  if (!EnterGuard(L"Jump")) return kStatusBusy;
  // Lost on the first run: there is no logger yet.
  LogBegin(L"Logger");
  CLoggerApi* logger = new (std::nothrow) CLoggerApi();
  if (logger == nullptr) return kStatusOk;
  logger->SetLogKey(kLogContentKey);
  logger->StartThreadLog(L"Installer main thread", isMainThread);
  StorePutObject("SelfFree_LoggerApi", logger);
  StorePutObject("SelfFree_ErrorApi", new (std::nothrow) CErrorApi());
  return kStatusOk;
}
