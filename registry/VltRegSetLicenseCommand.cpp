#include "registry/VltRegSetLicenseCommand.h"

#include <cwchar>

#include "engine/Log.h"
#include "engine/SelfFree.h"
#include "engine/Store.h"

namespace {

const struct {
  const char* variable;
  const wchar_t* valueName;
} kLicenceValues[] = {
    {"String_LicenseKey", L"LicenseKey"},
    {"String_LicenseOwner", L"Owner"},
    {"String_LicenseCompany", L"Company"},
    {"String_LicenseEdition", L"Edition"},
    {"String_LicenseExpiry", L"Expiry"},
};

constexpr const wchar_t* kBegin = L"%i: %s '%s' Begin.\n";
constexpr const wchar_t* kNoLicenceKey = L"%i: %s No licence key in '%S'; nothing stored.\n";
constexpr const wchar_t* kCreateFailed = L"%i: %s Could not create key '%s'. Error %d.\n";
constexpr const wchar_t* kStored = L"%i: %s Stored '%S' as value '%s'.\n";
constexpr const wchar_t* kSetFailed = L"%i: %s Could not set value '%s' in key '%s'. Error %d.\n";

}  // namespace

int32_t CVltRegSetLicenseCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  return ReadKeyAttributes(reader, nullptr);
}

int32_t CVltRegSetLicenseCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  if (!EnterGuard(kTag)) return kStatusBusy;
  ExpandSubkey();
  LogMessage(kBegin, index, kTag, subkey);
  CString* licenceKey = StoreGetString(kLicenceValues[0].variable);
  if (licenceKey == nullptr || licenceKey->text == nullptr || licenceKey->text[0] == L'\0') {
    LogMessage(kNoLicenceKey, index, kTag, kLicenceValues[0].variable);
    SetErrorVar();
    return FinishExecute(kTag, kStatusOk);
  }
  HKEY key = nullptr;
  LONG created = RegCreateKeyExW(root, subkey, 0, nullptr, REG_OPTION_NON_VOLATILE, RegWriteMask(X64Requested()),
                                 nullptr, &key, nullptr);
  if (created != ERROR_SUCCESS) {
    LogMessage(kCreateFailed, index, kTag, subkey, created);
    SetErrorVar();
    return FinishExecute(kTag, kStatusOk);
  }
  bool failed = false;
  for (const auto& entry : kLicenceValues) {
    CString* value = StoreGetString(entry.variable);
    if (value == nullptr || value->text == nullptr) continue;
    DWORD size = static_cast<DWORD>((wcslen(value->text) + 1) * sizeof(wchar_t));
    LONG written = RegSetValueExW(key, entry.valueName, 0, REG_SZ, reinterpret_cast<const BYTE*>(value->text), size);
    if (written != ERROR_SUCCESS) {
      LogMessage(kSetFailed, index, kTag, entry.valueName, subkey, written);
      failed = true;
    } else {
      LogMessage(kStored, index, kTag, entry.variable, entry.valueName);
    }
  }
  RegCloseKey(key);
  if (failed) SetErrorVar();
  return FinishExecute(kTag, kStatusOk);
}
