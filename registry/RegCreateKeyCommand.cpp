#include "registry/RegCreateKeyCommand.h"

#include "engine/Log.h"
#include "registry/RegistryTexts.h"

int32_t CRegCreateKeyCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  int32_t status = ReadKeyAttributes(reader, &allUsers);
  if (status != kStatusOk) return status;
  reader.ReadNumber(L"volatile", &isVolatile);
  return kStatusOk;
}

bool CRegCreateKeyCommand::CreateBelow(HKEY parent) {
  DWORD options = isVolatile != 0 ? REG_OPTION_VOLATILE : REG_OPTION_NON_VOLATILE;
  HKEY key = nullptr;
  LONG result = RegCreateKeyExW(parent, subkey, 0, nullptr, options, RegWriteMask(X64Requested()), nullptr, &key,
                                nullptr);
  if (result != ERROR_SUCCESS) return false;
  RegCloseKey(key);
  return true;
}

int32_t CRegCreateKeyCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  if (!EnterGuard(kTag)) return kStatusBusy;
  ExpandSubkey();
  LogMessage(regtext::kCreateBegin, index, kTag, subkey, isVolatile);
  if (!allUsers) {
    if (!CreateBelow(root)) LogMessage(regtext::kCreateFailed, index, kTag, subkey);
  } else {
    WalkOpenedHives(kTag, regtext::kCreateHiveRoot, [this](const wchar_t*) {
      bool created = CreateBelow(root);
      RegCloseKey(root);
      if (!created) LogMessage(regtext::kCreateFailed, index, kTag, subkey);
    });
  }
  return FinishExecute(kTag, kStatusOk);
}
