// The log lines of the registry commands, in one place, exactly as scripts and
// log readers know them. Formats are Microsoft-style: %s is wide text, %S narrow text.
//
// Several failure texts lack the word "not" ("Could set value", "Could get
// value", "Could delete key", "Could delete value"): scripts and log readers
// search for them as they are, so they stay. Likewise the two VarExists lines of
// RegGetValue print a narrow name through %s.
#pragma once

namespace regtext {

// Shared by the walk over the user hives and the tree delete.
constexpr const wchar_t* kHiveOpenFailed = L"%i: %s Could not open key 'HKEY_USERS\\%s'.\n";
constexpr const wchar_t* kTreeKeyNotFound = L"Key not found.\n";
constexpr const wchar_t* kTreeOpenFailed = L"Error opening key.\n";
// Lines of this library's own, for cases no older log shows: an empty path, a
// child whose path does not fit the working buffer, or one that stays after it
// was removed (a dangling symbolic link) ends the delete instead of wiping a
// root, overrunning the buffer or looping.
constexpr const wchar_t* kTreePathTooLong = L"Key path too long to delete: '%s%s'.\n";
constexpr const wchar_t* kTreeWholeRoot = L"An empty key path names the root: not deleted.\n";
constexpr const wchar_t* kTreeChildStays = L"Key '%s' stays after it was deleted.\n";

// RegCreateKey
constexpr const wchar_t* kCreateBegin = L"%i: %s '%s' volatile=%i Begin.\n";
constexpr const wchar_t* kCreateFailed = L"%i: %s Could not create key '%s'.\n";
constexpr const wchar_t* kCreateHiveRoot = L"%i: %s Writing to key root '%s'.\n";

// RegDeleteKey
constexpr const wchar_t* kDeleteKeyBegin = L"%i: %s '%s' Begin, recursive='%s'.\n";
constexpr const wchar_t* kRecursiveTrue = L"TRUE";
constexpr const wchar_t* kRecursiveFalse = L"FALSE";
constexpr const wchar_t* kDeleteTreeFailed = L"%i: %s Could delete key '%s'.\n";
constexpr const wchar_t* kDeleteTreeFailedInHive = L"%i: %s Could not delete key '%s'.\n";
constexpr const wchar_t* kDeleteKeyReturned = L"%i: %s Returned %d.\n";
constexpr const wchar_t* kDeleteHiveRoot = L"%i: %s Deleting from key root '%s'.\n";

// RegDeleteValue
constexpr const wchar_t* kDeleteValueBegin = L"%i: %s '%s' \\ '%s'.\n";
constexpr const wchar_t* kOpenFailed = L"%i: %s Could not open key '%s'.\n";
constexpr const wchar_t* kDeleteValueFailed = L"%i: %s Could delete value '%s' from key '%s'.\n";

// RegGetValue
constexpr const wchar_t* kVarExistsCleared = L"%i: %s Loaded '%s'= 0.\n";
constexpr const wchar_t* kVarExistsSet = L"%i: %s Loaded '%s'= 1.\n";
constexpr const wchar_t* kGetBegin = L"%i: %s '%s' \\ '%s'=>'%S' Begin.\n";
constexpr const wchar_t* kGetOpenFailed = L"%i: %s Could not open key '%s' (errCode:%d).\n";
constexpr const wchar_t* kGetValueFailed = L"%i: %s Could get value '%s' in key '%s'.\n";
constexpr const wchar_t* kLoadedNumber = L"%i: %s Loaded '%S'=%i.\n";
constexpr const wchar_t* kLoadedText = L"%i: %s Loaded '%S'='%s'.\n";
constexpr const wchar_t* kUnsupportedType = L"%i: %s Can only get REG_DWORD , REG_SZ, REG_MULTI_SZ and REG_BINARY.\n";
// Of this library's own: an engine without the list service.
constexpr const wchar_t* kNoListService = L"%i: %s Cannot load '%S': the engine offers no SelfFree_MultiStringApi.\n";

// RegKeyExists
constexpr const wchar_t* kExistsBegin = L"%i: %s '%s' Begin.\n";
constexpr const wchar_t* kExistsOpenFailed = L"%i: %s Cannot open key '%s'.\n";
constexpr const wchar_t* kExistsOpened = L"%i: %s Opened key '%s'.\n";

// RegSetValue
constexpr const wchar_t* kSetStringBegin = L"%i: %s '%s' \\ '%s'='%s' Begin.\n";
constexpr const wchar_t* kSetNumberVarBegin = L"%i: %s '%s' \\ '%s'=(%S)%i Begin.\n";
constexpr const wchar_t* kSetNumberBegin = L"%i: %s '%s' \\ '%s'=%i Begin.\n";
constexpr const wchar_t* kSetMultiBegin = L"%i: %s '%s' \\ '%s' Multisz Begin.\n";
constexpr const wchar_t* kSetBinaryBegin = L"%i: %s '%s' \\ '%s' Binary Begin.\n";
constexpr const wchar_t* kSetHiveRoot = L"%i: %s Using from key root '%s'.\n";
constexpr const wchar_t* kSetCreateFailed = L"%i: %s Could not create key '%s'. Error %d.\n";
// These three have no line break of their own: the logger drops their last "!"
// instead, as it always has.
constexpr const wchar_t* kSetNullListAllUsers = L"[1]Multi string variable is null; setting string value!!!";
constexpr const wchar_t* kSetNullListNamed = L"[2]Multi string variable is null; setting string value!!!";
constexpr const wchar_t* kSetForceMultiSz = L"Force Multi Sz is not null!!!";
constexpr const wchar_t* kSetValueFailed = L"%i: %s Could set value '%s' in key '%s'.\n";

// VltRegSetLicense
constexpr const wchar_t* kLicenceBegin = L"%i: %s '%s' Begin.\n";
constexpr const wchar_t* kNoLicenceKey = L"%i: %s No licence key in '%S'; nothing stored.\n";
constexpr const wchar_t* kLicenceCreateFailed = L"%i: %s Could not create key '%s'. Error %d.\n";
constexpr const wchar_t* kLicenceStored = L"%i: %s Stored '%S' as value '%s'.\n";
constexpr const wchar_t* kLicenceSetFailed = L"%i: %s Could not set value '%s' in key '%s'. Error %d.\n";
// The names of the licence's values, which the log prints too.
constexpr const wchar_t* kLicenceKeyValue = L"LicenseKey";
constexpr const wchar_t* kLicenceOwnerValue = L"Owner";
constexpr const wchar_t* kLicenceCompanyValue = L"Company";
constexpr const wchar_t* kLicenceEditionValue = L"Edition";
constexpr const wchar_t* kLicenceExpiryValue = L"Expiry";

}  // namespace regtext
