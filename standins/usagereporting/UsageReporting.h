// UsageReporting.dll's entry points and the statuses they answer.
//
// The callers are built against Norvane::UsageReportingClientT<wchar_t>, a class
// of six functions compiled by Microsoft's x64 compiler. On x64 a member function
// takes `this` in the first argument register and a static one takes nothing
// hidden, so these plain C functions, with the object first where the class has
// one, are called exactly as the class's functions would be. UsageReporting.def
// exports them under the class's decorated names.
//
// Every entry answers 0 or a Windows error number and never throws.
#pragma once

#include <windows.h>

#include <cstdint>

class Client;

// The one interface version this library speaks.
constexpr int kInterfaceVersion = 2;

// The statuses of this library, beside the system errors it passes on.
constexpr int32_t kOk = 0;
constexpr int32_t kMissingArgument = ERROR_BAD_ARGUMENTS;        // 160: a required pointer or text is null
constexpr int32_t kVersionMismatch = ERROR_REVISION_MISMATCH;    // 1306: version is not 2
constexpr int32_t kNotPlainName = ERROR_INVALID_NAME;            // 123: product is no plain folder name
constexpr int32_t kFolderIsFile = ERROR_DIRECTORY;               // 267: the report folder is a file
constexpr int32_t kUnknownHandle = ERROR_NOT_FOUND;              // 1168: EndReport of no running report
constexpr int32_t kHandlesUsedUp = ERROR_NO_MORE_ITEMS;          // 259: a client gave out every positive int
constexpr int32_t kBadFaultSetting = ERROR_INVALID_DATA;         // 13: USAGEREPORTING_FAULT not understood
constexpr int32_t kOutOfMemory = ERROR_NOT_ENOUGH_MEMORY;        // 8

extern "C" {
// Norvane::UsageReportingClientT<wchar_t>::Create (static).
int UsageReportingCreate(Client** client, int version, const wchar_t* productName, const wchar_t* salesChannel,
                         const wchar_t* dbPath);
// ::Destroy (static).
int UsageReportingDestroy(Client* client, int version);
// The members: self is the object the caller holds.
int UsageReportingSetProperty(Client* self, const wchar_t* name, const wchar_t* value);
int UsageReportingReport(Client* self, const wchar_t* eventName);
int UsageReportingBeginReport(Client* self, const wchar_t* name, int* handle);
int UsageReportingEndReport(Client* self, const wchar_t* name, int handle);
}
