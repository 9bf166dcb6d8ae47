// RegKeyExists: sets int_<variable> to 1 when the key can be opened for reading.
//
//   <RegKeyExists base="HKEY_LOCAL_MACHINE" subkey="Software\Vendor\Product" variable="ProductFound"/>
//
// The flag is only ever set, never cleared: a script that tests it after a key
// went missing must clear it first. ALL_USERS is not a base here. "int_" and the
// variable's name must fit 99 characters; a longer name ends the process, like
// any overrun of a fixed buffer.
#pragma once

#include "registry/KeyAddressing.h"

class CRegKeyExistsCommand : public CRegistryCommand {
 public:
  static constexpr const wchar_t* kTag = L"RegKeyExists";
  // Its begin line is its own, naming the key.
  static constexpr FrameStyle kFrame{kTag, kFrameNoBeginLine};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  ScopedText variable;  // bare, without prefix

  SELFFREE_DESTRUCTOR(CRegKeyExistsCommand)
};
