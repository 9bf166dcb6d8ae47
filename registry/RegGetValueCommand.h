// RegGetValue: loads one registry value into the store, under a name whose prefix
// tells its type:
//
//   REG_DWORD     int_<var>          the number
//   REG_SZ        String_<var>       a CString with the text
//   REG_BINARY    SelfFree_<var>     a CBuffer with the bytes
//   REG_MULTI_SZ  MultiString_<var>  a list made by the engine's SelfFree_MultiStringApi
//
//   <RegGetValue base="HKEY_LOCAL_MACHINE" subkey="Software\Vendor\Product"
//                value="InstallPath" var="OldPath" VarExists="HadOldPath"/>
//
// Other types (REG_EXPAND_SZ, REG_QWORD, ...) and empty binary or list data are
// refused with a log line. The value's name is taken literally, brackets and
// all. VarExists names an int_ flag that is cleared first and set to 1 only when
// a number or a text was loaded: it stays 0 for binary data and lists, which
// are loaded all the same. ALL_USERS is not a base here.
//
// A value put in the store belongs to the store: a second read into the same
// variable replaces it and leaves the earlier object to the store's owner.
#pragma once

#include "registry/KeyAddressing.h"

class CRegGetValueCommand : public CRegistryCommand {
 public:
  static constexpr const wchar_t* kTag = L"RegGetValue";
  // Its begin line is its own, naming the key, the value and the variable; the
  // VarExists flag is cleared and logged before it.
  static constexpr FrameStyle kFrame{kTag, kFrameNoBeginLine};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  ScopedText valueName;
  ScopedNarrowText varName;        // bare, without prefix
  ScopedNarrowText varExistsName;  // "int_" and the name, none when absent

  SELFFREE_DESTRUCTOR(CRegGetValueCommand)

 private:
  void ReadValue(HKEY key);
  void MarkExists();
};
