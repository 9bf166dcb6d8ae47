// RegCreateKey: creates a key (and the path to it) below a named root, or below
// every loaded user hive with ALL_USERS. A key that exists already is no failure.
//
//   <RegCreateKey base="HKEY_LOCAL_MACHINE" subkey="Software\Vendor\Product" volatile="0"/>
#pragma once

#include "registry/KeyAddressing.h"

class CRegCreateKeyCommand : public CRegistryCommand {
 public:
  static constexpr const wchar_t* kTag = L"RegCreateKey";
  // Its begin line is its own, naming the key.
  static constexpr FrameStyle kFrame{kTag, kFrameNoBeginLine};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  // Non-zero: the key is created volatile (gone at the next restart). It has no
  // effect on a key that exists already.
  int32_t isVolatile = 0;
  bool allUsers = false;

  SELFFREE_DESTRUCTOR(CRegCreateKeyCommand)

 private:
  // Creates subkey below root with the write mask int_x64 selects. True on success.
  bool CreateBelow(HKEY parent);
};
