#include "diagnostics/LoggerCommand.h"

#include <new>

#include "diagnostics/ErrorApi.h"
#include "diagnostics/LogTransform.h"
#include "diagnostics/LoggerApi.h"
#include "engine/Log.h"
#include "engine/Store.h"
#include "engine/StoreNames.h"

int32_t CLoggerCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  int32_t number = 0;
  if (reader.ReadNumber(L"isMainThread", &number) == S_OK) isMainThread = number != 0;
  return kStatusOk;
}

int32_t CLoggerCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  // The begin line is lost on the first run: there is no logger yet.
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  CLoggerApi* logger = new (std::nothrow) CLoggerApi();
  if (logger == nullptr) return frame.KeepLock();
  logger->SetLogKey(kLogContentKey);
  logger->StartThreadLog(diagtext::kMainThreadDescription, isMainThread);
  StorePutObject(storename::kLoggerApi, logger);
  StorePutObject(storename::kErrorApi, new (std::nothrow) CErrorApi());
  return frame.KeepLock();
}
