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
  ScopedKey key;
  LONG result = RegCreateKeyExW(parent, subkey.Get(), 0, nullptr, options, RegWriteMask(X64Requested()), nullptr,
                                key.Receive(), nullptr);
  return result == ERROR_SUCCESS;
}

int32_t CRegCreateKeyCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  ExpandSubkey();
  LogMessage(regtext::kCreateBegin, index, kTag, subkey.Get(), isVolatile);
  if (!allUsers) {
    if (!CreateBelow(root)) LogMessage(regtext::kCreateFailed, index, kTag, subkey.Get());
  } else {
    WalkOpenedHives(kTag, regtext::kCreateHiveRoot, [this](ScopedKey& hive) {
      bool created = CreateBelow(hive.Get());
      hive.Reset();
      if (!created) LogMessage(regtext::kCreateFailed, index, kTag, subkey.Get());
    });
  }
  return frame.Done();
}
