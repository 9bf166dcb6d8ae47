#include "registry/VltRegSetLicenseCommand.h"

#include <cwchar>

#include "engine/Log.h"
#include "engine/SelfFree.h"
#include "engine/Store.h"
#include "engine/StoreNames.h"
#include "registry/RegistryTexts.h"

namespace {

// The licence key comes first: without it nothing is written.
const struct {
  const char* variable;
  const wchar_t* valueName;
} kLicenceValues[] = {
    {storename::kLicenseKey, regtext::kLicenceKeyValue},
    {storename::kLicenseOwner, regtext::kLicenceOwnerValue},
    {storename::kLicenseCompany, regtext::kLicenceCompanyValue},
    {storename::kLicenseEdition, regtext::kLicenceEditionValue},
    {storename::kLicenseExpiry, regtext::kLicenceExpiryValue},
};

}  // namespace

int32_t CVltRegSetLicenseCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  return ReadKeyAttributes(reader, nullptr);
}

int32_t CVltRegSetLicenseCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  ExpandSubkey();
  LogMessage(regtext::kLicenceBegin, index, kTag, subkey.Get());
  CString* licenceKey = StoreGetString(kLicenceValues[0].variable);
  if (licenceKey == nullptr || licenceKey->text == nullptr || licenceKey->text[0] == L'\0') {
    LogMessage(regtext::kNoLicenceKey, index, kTag, kLicenceValues[0].variable);
    SetErrorVar();
    return frame.Done();
  }
  ScopedKey key;
  LONG created = RegCreateKeyExW(root, subkey.Get(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                 RegWriteMask(X64Requested()), nullptr, key.Receive(), nullptr);
  if (created != ERROR_SUCCESS) {
    LogMessage(regtext::kLicenceCreateFailed, index, kTag, subkey.Get(), created);
    SetErrorVar();
    return frame.Done();
  }
  bool failed = false;
  for (const auto& entry : kLicenceValues) {
    CString* value = StoreGetString(entry.variable);
    if (value == nullptr || value->text == nullptr) continue;
    DWORD size = static_cast<DWORD>((wcslen(value->text) + 1) * sizeof(wchar_t));
    LONG written =
        RegSetValueExW(key.Get(), entry.valueName, 0, REG_SZ, reinterpret_cast<const BYTE*>(value->text), size);
    if (written != ERROR_SUCCESS) {
      LogMessage(regtext::kLicenceSetFailed, index, kTag, entry.valueName, subkey.Get(), written);
      failed = true;
    } else {
      LogMessage(regtext::kLicenceStored, index, kTag, entry.variable, entry.valueName);
    }
  }
  key.Reset();
  if (failed) SetErrorVar();
  return frame.Done();
}
