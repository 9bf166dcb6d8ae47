// RegDeleteKey: deletes a key below a named root, or below every loaded user hive
// with ALL_USERS; with recursive="1" everything under it too.
//
//   <RegDeleteKey base="HKEY_LOCAL_MACHINE" subkey="Software\Vendor\Product" recursive="1"/>
//
// The delete itself always addresses the system's own view (the 64-bit one on a
// 64-bit system), whatever int_x64 says; int_x64 only chooses how each user hive
// is opened. A key that is not there is no failure for the recursive delete; the
// plain delete reports the system's number for it, as for a key with subkeys.
#pragma once

#include "registry/KeyAddressing.h"

class CRegDeleteKeyCommand : public CRegistryCommand {
 public:
  static constexpr const wchar_t* kTag = L"RegDeleteKey";
  // Its begin line is its own, naming the key.
  static constexpr FrameStyle kFrame{kTag, kFrameNoBeginLine};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  bool recursive = false;
  bool allUsers = false;

  SELFFREE_DESTRUCTOR(CRegDeleteKeyCommand)
};
