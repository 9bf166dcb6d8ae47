#include "registry/RegDeleteValueCommand.h"

#include "engine/Log.h"
#include "registry/RegistryTexts.h"

int32_t CRegDeleteValueCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  int32_t status = ReadKeyAttributes(reader, &allUsers);
  if (status != kStatusOk) return status;
  return reader.ReadCopy(L"value", valueName);
}

void CRegDeleteValueCommand::DeleteFrom(HKEY key) {
  if (RegDeleteValueW(key, valueName.Get()) != ERROR_SUCCESS) {
    LogMessage(regtext::kDeleteValueFailed, index, kTag, valueName.Get(), subkey.Get());
  }
}

int32_t CRegDeleteValueCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  ExpandSubkey();
  ExpandField(valueName, OnFailure::KeepText);
  LogMessage(regtext::kDeleteValueBegin, index, kTag, subkey.Get(), valueName.Get());
  // A second expansion of the path: it changes nothing unless a variable's own
  // text held [brackets], which then expand in turn. Scripts have come to rely on
  // that, so it stays.
  ExpandSubkey();
  if (!allUsers) {
    ScopedKey key;
    if (RegOpenKeyExW(root, subkey.Get(), 0, RegWriteMask(X64Requested()), key.Receive()) != ERROR_SUCCESS) {
      LogMessage(regtext::kOpenFailed, index, kTag, subkey.Get());
    } else {
      DeleteFrom(key.Get());
    }
  } else {
    WalkOpenedHives(kTag, regtext::kDeleteHiveRoot, [this](ScopedKey& hive) {
      ScopedKey key;
      if (RegOpenKeyExW(hive.Get(), subkey.Get(), 0, RegWriteMask(X64Requested()), key.Receive()) != ERROR_SUCCESS) {
        // The hive's handle is left open on this path, one per hive that lacks
        // the key, until the process ends.
        hive.Release();
        LogMessage(regtext::kOpenFailed, index, kTag, subkey.Get());
        return;
      }
      hive.Reset();
      DeleteFrom(key.Get());
    });
  }
  return frame.Done();
}
