// RegDeleteValue: deletes one value of a key below a named root, or of that key
// in every loaded user hive with ALL_USERS. Both the key path and the value's
// name expand [variables].
//
//   <RegDeleteValue base="HKEY_CURRENT_USER" subkey="Software\Vendor\Product" value="InstallPath"/>
#pragma once

#include "registry/KeyAddressing.h"

class CRegDeleteValueCommand : public CRegistryCommand {
 public:
  static constexpr const wchar_t* kTag = L"RegDeleteValue";
  // Its begin line is its own, naming the key and the value.
  static constexpr FrameStyle kFrame{kTag, kFrameNoBeginLine};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  ScopedText valueName;  // expanded in place at Execute
  bool allUsers = false;

  SELFFREE_DESTRUCTOR(CRegDeleteValueCommand)

 private:
  // Deletes the value from the open key.
  void DeleteFrom(HKEY key);
};
