#include "registry/RegDeleteValueCommand.h"

#include <cstdlib>

#include "engine/Log.h"
#include "registry/RegistryTexts.h"

CRegDeleteValueCommand::~CRegDeleteValueCommand() {
  free(valueName);
  valueName = nullptr;
}

int32_t CRegDeleteValueCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  int32_t status = ReadKeyAttributes(reader, &allUsers);
  if (status != kStatusOk) return status;
  return reader.ReadCopy(L"value", &valueName);
}

void CRegDeleteValueCommand::DeleteFrom(HKEY key) {
  if (RegDeleteValueW(key, valueName) != ERROR_SUCCESS) {
    LogMessage(regtext::kDeleteValueFailed, index, kTag, valueName, subkey);
  }
  RegCloseKey(key);
}

int32_t CRegDeleteValueCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  if (!EnterGuard(kTag)) return kStatusBusy;
  ExpandSubkey();
  ExpandRegistryText(&valueName);
  LogMessage(regtext::kDeleteValueBegin, index, kTag, subkey, valueName);
  // A second expansion of the path: it changes nothing unless a variable's own
  // text held [brackets], which then expand in turn. Scripts have come to rely on
  // that, so it stays.
  ExpandSubkey();
  if (!allUsers) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(root, subkey, 0, RegWriteMask(X64Requested()), &key) != ERROR_SUCCESS) {
      LogMessage(regtext::kOpenFailed, index, kTag, subkey);
    } else {
      DeleteFrom(key);
    }
  } else {
    WalkOpenedHives(kTag, regtext::kDeleteHiveRoot, [this](const wchar_t*) {
      HKEY key = nullptr;
      if (RegOpenKeyExW(root, subkey, 0, RegWriteMask(X64Requested()), &key) != ERROR_SUCCESS) {
        // The hive's handle is left open on this path, one per hive that lacks
        // the key, until the process ends.
        LogMessage(regtext::kOpenFailed, index, kTag, subkey);
        return;
      }
      RegCloseKey(root);
      DeleteFrom(key);
    });
  }
  return FinishExecute(kTag, kStatusOk);
}
