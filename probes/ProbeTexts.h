// The fixed texts of the start-up guards, in one place, exactly as scripts, log
// readers and the resource files know them. Formats are Microsoft-style: %s is
// wide text, %S narrow.
#pragma once

#include <cstdint>

namespace probetext {

// ArchitectureCheck
constexpr const wchar_t* kSystemIsX64 = L"%i: %s System is x64.\n";
constexpr const wchar_t* kSystemIsX86 = L"%i: %s System is x86.\n";
constexpr const wchar_t* kArchitectureFailed = L"%i: %s Failed.\n";
// The texts of String_Arhitecture.
constexpr const wchar_t* kArchitectureX64 = L"x64";
constexpr const wchar_t* kArchitectureX86 = L"x86";
constexpr const wchar_t* kWrongArchitectureTextKey = L"IDS_WrongArchitectureText";
constexpr const wchar_t* kWrongArchitectureTitleKey = L"IDS_WrongArchitectureTitle";

// ForceSingleInstance
constexpr const wchar_t* kSingleInstanceFailed = L"%i: %s Single instance check failed.\n";
constexpr const wchar_t* kSingleInstanceTextKey = L"IDS_SingleInstanceText";
constexpr const wchar_t* kSingleInstanceTitleKey = L"IDS_SingleInstanceTitle";
// The event's name: a per-session name of the script's eventName, or of this
// default when the script gives none.
constexpr const wchar_t* kInstanceEventFormat = L"Local\\%s";
constexpr const wchar_t* kDefaultInstanceEvent = L"{5AF88D85-B1ED-4FA0-A26E-C13E7A7AD060}";

}  // namespace probetext

// Status numbers of the guards, Windows error numbers all.
enum : int32_t {
  // int_ReturnCode of a second instance: ERROR_ALREADY_EXISTS.
  kReturnCodeAlreadyRunning = 183,
};
