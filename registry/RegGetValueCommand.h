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

  ~CRegGetValueCommand();
  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  wchar_t* valueName = nullptr;
  char* varName = nullptr;        // bare, without prefix
  char* varExistsName = nullptr;  // "int_" and the name, null when absent

  SELFFREE_DESTRUCTOR(CRegGetValueCommand)

 private:
  void ReadValue(HKEY key);
  // "<prefix><varName>" in a new heap text (free with free).
  char* VariableName(const char* prefix);
  void MarkExists();
};
