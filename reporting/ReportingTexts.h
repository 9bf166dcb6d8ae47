// The fixed texts and statuses of usage reporting, exactly as log readers know
// them, misspellings included ("yed!", "Sucessful", "succesfully"). Formats are
// Microsoft-style: %s is wide text, %S narrow text.
#pragma once

#include <cstdint>

namespace reporttext {

// Tags of the frame lines.
constexpr const wchar_t* kInitTag = L"UsageReportingInit";
constexpr const wchar_t* kSetPropertyTag = L"UsageReportingSetProperty";
constexpr const wchar_t* kReportTag = L"UsageReportingReport";
constexpr const wchar_t* kBeginReportTag = L"UsageReportingBeginReport";
constexpr const wchar_t* kEndReportTag = L"UsageReportingEndReport";

// CUsageReportingApi
constexpr const wchar_t* kNullProductName = L"CUsageReportingApi::Init -> productName cannot be null.\n";
constexpr const wchar_t* kInitCall = L"CUsageReportingApi::Init(%s, %s, %s)\n";
constexpr const wchar_t* kNullText = L"(NULL)";
constexpr const wchar_t* kCreated = L"UsageReportingClient::Create Sucessful\n";
// Our own: the client library could not be bound, so there is nothing to create.
constexpr const wchar_t* kNoLibrary =
    L"CUsageReportingApi::Init -> cannot use the usage reporting library '%s' (error %d).\n";
constexpr const wchar_t* kSetPropertyNotReady =
    L"CUsageReportingApi::SetProperty -> api not initialized yed! Call Init() first\n";
// Report, BeginReport and EndReport share this one.
constexpr const wchar_t* kReportNotReady = L"CUsageReportingApi::Report -> api not initialized yed! Call Init() first\n";
constexpr const wchar_t* kSetPropertyCall = L"CUsageReportingApi::SetProperty(%s, %s)\n";
constexpr const wchar_t* kReportCall = L"CUsageReportingApi::Report(%s)\n";
constexpr const wchar_t* kBeginReportCall = L"CUsageReportingApi::BeginReport(%s, %S)\n";
constexpr const wchar_t* kEndReportCall = L"CUsageReportingApi::EndReport(%s, %S)\n";

// The commands
constexpr const wchar_t* kCreating = L"Creating UsageReportingApi\n";
constexpr const wchar_t* kInitialized = L"UsageReportingApi initialized succesfully.\n";
constexpr const wchar_t* kInitFailed = L"Failed to init UsageReportingApi. Error %d\n";
constexpr const wchar_t* kNoApi = L"No UsageReportingApi, cannot report anything.\n";
constexpr const wchar_t* kSetPropertyResult = L"SetProperty name='%s', value='%s'; result=%d\n";
constexpr const wchar_t* kReportResult = L"Reported eventName='%s'; result=%d\n";
constexpr const wchar_t* kBeginReportResult = L"BeginReport name='%s', variable='%S'; result=%d\n";
constexpr const wchar_t* kEndReportResult = L"EndReport name='%s', variable='%S'; result=%d\n";

// The client library, beside the plug-in.
constexpr const wchar_t* kLibraryName = L"UsageReporting.dll";
// The version of the client's interface that Create and Destroy are told.
constexpr int32_t kClientVersion = 2;
// EndReport lets the client finish sending before the install goes on.
constexpr uint32_t kEndReportDelayMs = 10000;

}  // namespace reporttext

namespace reportstatus {
constexpr int32_t kOk = 0;
constexpr int32_t kBadArguments = 160;  // ERROR_BAD_ARGUMENTS: a null argument
constexpr int32_t kNotReady = 21;       // ERROR_NOT_READY: no client yet
}  // namespace reportstatus
