// VltRegSetLicense: stores the product's licence data, which earlier steps (the
// dialog, the command line, a licence file) left in String_ variables of its own,
// as REG_SZ values of one key:
//
//   String_LicenseKey      -> "LicenseKey"   required: without it nothing is written
//   String_LicenseOwner    -> "Owner"
//   String_LicenseCompany  -> "Company"
//   String_LicenseEdition  -> "Edition"
//   String_LicenseExpiry   -> "Expiry"
//
//   <VltRegSetLicense base="HKEY_LOCAL_MACHINE" subkey="Software\Vendor\Product\License" errVar="LicenseFailed"/>
//
// The key is addressed like that of the other registry commands: a named base
// (ALL_USERS is refused, licences belong to the machine or to one user), a subkey
// that expands [variables] and is created when missing, and the 64-bit view when
// int_x64 is non-zero. The variables' texts are stored as they are, never
// expanded. A variable that is absent leaves its value as it was, so a repair
// that knows less than the first install loses nothing. The log names the values
// written but never their data, since the key is a secret.
//
// Failures (no licence key, a key that cannot be created, a value that cannot be
// written) are logged and set int_<errVar> to 1; Execute returns 0.
#pragma once

#include "registry/KeyAddressing.h"

class CVltRegSetLicenseCommand : public CRegistryCommand {
 public:
  static constexpr const wchar_t* kTag = L"VltRegSetLicense";
  // Its begin line is its own, naming the key.
  static constexpr FrameStyle kFrame{kTag, kFrameNoBeginLine};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  SELFFREE_DESTRUCTOR(CVltRegSetLicenseCommand)
};
