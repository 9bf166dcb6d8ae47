#include "registry/RegDeleteKeyCommand.h"

#include "engine/Log.h"
#include "registry/RegistryTexts.h"

int32_t CRegDeleteKeyCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  int32_t status = ReadKeyAttributes(reader, &allUsers);
  if (status != kStatusOk) return status;
  // Required: a script must say whether it means the whole tree.
  int32_t number = 0;
  HRESULT hr = reader.ReadNumber(L"recursive", &number);
  if (hr != S_OK) return hr;
  recursive = number != 0;
  return kStatusOk;
}

int32_t CRegDeleteKeyCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  ExpandSubkey();
  LogMessage(regtext::kDeleteKeyBegin, index, kTag, subkey.Get(),
             recursive ? regtext::kRecursiveTrue : regtext::kRecursiveFalse);
  ScopedModule advapi;
  RegDeleteKeyExFn deleteKeyEx = BindRegDeleteKeyEx(&advapi);
  if (!allUsers) {
    if (recursive) {
      if (!DeleteRegistryTree(root, subkey.Get())) LogMessage(regtext::kDeleteTreeFailed, index, kTag, subkey.Get());
    } else {
      LogMessage(regtext::kDeleteKeyReturned, index, kTag, DeleteKeyInSystemView(root, subkey.Get(), deleteKeyEx));
    }
  } else {
    // Each hive's handle is closed when its turn ends.
    WalkOpenedHives(kTag, regtext::kDeleteHiveRoot, [&](ScopedKey& hive) {
      if (recursive) {
        // The failure text of this path has the word "not" that the named path lacks.
        if (!DeleteRegistryTree(hive.Get(), subkey.Get())) {
          LogMessage(regtext::kDeleteTreeFailedInHive, index, kTag, subkey.Get());
        }
      } else {
        LogMessage(regtext::kDeleteKeyReturned, index, kTag,
                   DeleteKeyInSystemView(hive.Get(), subkey.Get(), deleteKeyEx));
      }
    });
  }
  return frame.Done();
}
