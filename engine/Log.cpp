#include "engine/Log.h"

#include "engine/Store.h"

void LogMessage(const wchar_t* format, ...) {
  ILoggerApi* logger = StoreGetObject<ILoggerApi>("SelfFree_LoggerApi");
  if (logger == nullptr) return;
  va_list args;
  va_start(args, format);
  logger->Log(format, args);
  va_end(args);
}

void LogMessageV(const wchar_t* format, va_list args) {
  ILoggerApi* logger = StoreGetObject<ILoggerApi>("SelfFree_LoggerApi");
  if (logger != nullptr) logger->Log(format, args);
}
