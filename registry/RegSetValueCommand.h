// RegSetValue: writes one registry value, creating the key when it is missing,
// below a named root or in every loaded user hive with ALL_USERS.
//
//   <RegSetValue base="HKEY_LOCAL_MACHINE" subkey="Software\Vendor\Product"
//                value="InstallPath" stringValue="[InstallPath]"/>
//
// The data comes from the first of these that the element has, and its source
// decides the type:
//
//   stringValue          REG_SZ (REG_MULTI_SZ with forceMultiSz="1"), [variables] expanded
//   dwordVar             REG_DWORD, the number in int_<dwordVar>
//   dwordValue           REG_DWORD, a literal number
//   multiStringVar       REG_MULTI_SZ, the list in MultiString_<multiStringVar>
//   binaryVar            REG_BINARY, the CBuffer in SelfFree_<binaryVar>; when
//                        there is none, one zero byte (and that buffer is left in
//                        the store)
//
// With none of them the key is only created. On a named base the 64-bit view is
// asked for only when both int_x64 and win32ProcToX64Regs are non-zero; with
// ALL_USERS int_x64 alone decides. The subkey and the value's name expand
// [variables].
//
// With ALL_USERS the handle of each user hive is never closed: one stays open per
// hive and run, until the process ends.
#pragma once

#include "engine/interfaces/HostInterfaces.h"
#include "engine/SelfFree.h"
#include "registry/KeyAddressing.h"

class CRegSetValueCommand : public CRegistryCommand {
 public:
  static constexpr const wchar_t* kTag = L"RegSetValue";
  // Its begin line is its own, naming the key, the value and the data.
  static constexpr FrameStyle kFrame{kTag, kFrameNoBeginLine};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  ScopedText valueName;                    // expanded in place at Execute
  ScopedText stringValue;                  // expanded in place at Execute
  MultiStringList* multiString = nullptr;  // the store's, fetched by Execute
  ScopedNarrowText multiStringVarName;     // "MultiString_<name>"
  uint32_t dwordValue = 0;
  bool hasDwordValue = false;
  ScopedNarrowText dwordVarName;   // "int_<name>"
  ScopedNarrowText binaryVarName;  // "SelfFree_<name>"
  bool allUsers = false;
  // The registry type chosen by the last run: 0 (none yet), REG_SZ, REG_BINARY,
  // REG_DWORD or REG_MULTI_SZ. A run whose string does not expand keeps it.
  uint32_t valueKind = 0;
  bool forceMultiSz = false;
  int32_t win32ProcToX64Regs = 0;

  SELFFREE_DESTRUCTOR(CRegSetValueCommand)

 private:
  // The data of one run, beside valueKind.
  struct Data {
    uint32_t number = 0;
    CBuffer* binary = nullptr;
  };

  // Reads a variable-name attribute into field as prefix + name. False when the
  // name does not convert byte for byte: Load then ends with 0, the remaining
  // attributes unread.
  bool ReadVarName(AttributeReader& reader, const wchar_t* attribute, const char* prefix, ScopedNarrowText& field);
  Data ChooseData();
  // Creates subkey below parent with mask, writes the value and closes the key.
  void CreateAndWrite(HKEY parent, REGSAM mask, const Data& data, bool allUsersPath);
  void WriteValue(HKEY key, const Data& data, bool allUsersPath);
  void SetValue(HKEY key, DWORD type, const void* bytes, DWORD size);
};
