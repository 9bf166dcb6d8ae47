// Reading and writing values with RegGetValue, RegKeyExists, RegSetValue and
// VltRegSetLicense, against Wine's real registry.
#include <algorithm>
#include <cstring>

#include "engine/interfaces/HostInterfaces.h"
#include "engine/SelfFree.h"
#include "host/VariableStore.h"
#include "tests/registry/RegistryFixture.h"

namespace {

StoreValue Var(const char* name) { return VariableStore::Instance().Get(name); }
void SetVar(const char* name, StoreValue value) { VariableStore::Instance().Put(name, value); }
std::wstring Text(const char* name) {
  auto* value = reinterpret_cast<CString*>(Var(name));
  return value != nullptr ? value->text : L"<absent>";
}
std::vector<BYTE> Bytes(const void* data, size_t size) {
  return std::vector<BYTE>(static_cast<const BYTE*>(data), static_cast<const BYTE*>(data) + size);
}

const wchar_t kList[] = L"one\0two\0";  // with the implicit terminator: a REG_MULTI_SZ of two texts

}  // namespace

TEST_F(RegistryTest, EachTypeLandsInItsVariableAndOnlyNumbersAndTextsCountAsFound) {
  DWORD number = 0xFFFFFFFE;
  const BYTE bytes[] = {0, 1, 2, 0xFF, 7};
  WriteValue(HKEY_LOCAL_MACHINE, key_, L"Number", REG_DWORD, &number, sizeof(number));
  WriteText(HKEY_LOCAL_MACHINE, key_, L"Text", L"C:\\Program Files\\Product");
  WriteValue(HKEY_LOCAL_MACHINE, key_, L"Bytes", REG_BINARY, bytes, sizeof(bytes));
  WriteValue(HKEY_LOCAL_MACHINE, key_, L"List", REG_MULTI_SZ, kList, sizeof(kList));

  std::wstring found = AsWidePrinted("int_Found");
  auto expectedLines = [&](int index, const wchar_t* value, const wchar_t* var, std::vector<std::wstring> middle) {
    std::wstring head = std::to_wstring(index) + L": RegGetValue ";
    std::vector<std::wstring> lines = {head + L"Loaded '" + found + L"'= 0.\n",
                                       head + L"'" + key_ + L"' \\ '" + value + L"'=>'" + var + L"' Begin.\n"};
    lines.insert(lines.end(), middle.begin(), middle.end());
    lines.push_back(head + L"End execute. Next command " + std::to_wstring(index + 1) + L".\n");
    return lines;
  };

  Clear();
  RunElement(L"<RegGetValue index='1' " + Hklm() + L" value='Number' var='N' VarExists='Found'/>");
  EXPECT_EQ(Var("int_N"), 0xFFFFFFFEu);
  EXPECT_EQ(Var("int_Found"), 1u);
  EXPECT_EQ(NewLines(), expectedLines(1, L"Number", L"N",
                                      {L"1: RegGetValue Loaded 'int_N'=-2.\n", L"1: RegGetValue Loaded '" + found + L"'= 1.\n"}));

  Clear();
  RunElement(L"<RegGetValue index='2' " + Hklm() + L" value='Text' var='T' VarExists='Found'/>");
  EXPECT_EQ(Text("String_T"), L"C:\\Program Files\\Product");
  EXPECT_EQ(Var("int_Found"), 1u);
  EXPECT_EQ(NewLines(), expectedLines(2, L"Text", L"T",
                                      {L"2: RegGetValue Loaded 'String_T'='C:\\Program Files\\Product'.\n",
                                       L"2: RegGetValue Loaded '" + found + L"'= 1.\n"}));

  // Binary data and lists load silently and leave the flag at 0.
  Clear();
  RunElement(L"<RegGetValue index='3' " + Hklm() + L" value='Bytes' var='B' VarExists='Found'/>");
  auto* buffer = reinterpret_cast<CBuffer*>(Var("SelfFree_B"));
  ASSERT_NE(buffer, nullptr);
  EXPECT_EQ(Bytes(buffer->data, buffer->size), Bytes(bytes, sizeof(bytes)));
  EXPECT_EQ(Var("int_Found"), 0u);
  EXPECT_EQ(NewLines(), expectedLines(3, L"Bytes", L"B", {}));

  Clear();
  RunElement(L"<RegGetValue index='4' " + Hklm() + L" value='List' var='L' VarExists='Found'/>");
  auto* list = reinterpret_cast<MultiStringList*>(Var("MultiString_L"));
  ASSERT_NE(list, nullptr);
  ASSERT_EQ(list->GetCount(), 2);
  EXPECT_STREQ(list->GetItem(0), L"one");
  EXPECT_STREQ(list->GetItem(1), L"two");
  EXPECT_EQ(Var("int_Found"), 0u);
  EXPECT_EQ(NewLines(), expectedLines(4, L"List", L"L", {}));
}

TEST_F(RegistryTest, RefusedTypesAndFailedReadsLeaveTheFlagAtZero) {
  const wchar_t expandable[] = L"%TEMP%\\x";
  uint64_t quad = 5;
  WriteValue(HKEY_LOCAL_MACHINE, key_, L"Expand", REG_EXPAND_SZ, expandable, sizeof(expandable));
  WriteValue(HKEY_LOCAL_MACHINE, key_, L"Quad", REG_QWORD, &quad, sizeof(quad));
  WriteValue(HKEY_LOCAL_MACHINE, key_, L"EmptyBytes", REG_BINARY, nullptr, 0);
  WriteValue(HKEY_LOCAL_MACHINE, key_, L"EmptyList", REG_MULTI_SZ, nullptr, 0);
  WriteText(HKEY_LOCAL_MACHINE, key_, L"[Name]", L"literal");
  VariableStore::Instance().Put("String_Name", reinterpret_cast<StoreValue>(MakeString(L"Text")));
  const std::wstring refused = L"RegGetValue Can only get REG_DWORD , REG_SZ, REG_MULTI_SZ and REG_BINARY.\n";
  struct Case {
    std::wstring base;
    const wchar_t* value;
    std::wstring line;
  } cases[] = {
      {Hklm(), L"Expand", refused},
      {Hklm(), L"Quad", refused},
      {Hklm(), L"EmptyBytes", refused},
      {Hklm(), L"EmptyList", refused},
      {Hklm(), L"Missing", L"RegGetValue Could get value 'Missing' in key '" + key_ + L"'.\n"},
      {Hklm(L"Nowhere"), L"Text",
       L"RegGetValue Could not open key '" + key_ + L"\\Nowhere' (errCode:2).\n"},
  };
  int index = 10;
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.value, c.value + wcslen(c.value)));
    SetVar("int_Found", 1);
    Clear();
    RunElement(L"<RegGetValue index='" + std::to_wstring(index) + L"' " + c.base + L" value='" + c.value +
               L"' var='R' VarExists='Found'/>");
    std::vector<std::wstring> lines = NewLines();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[2], std::to_wstring(index) + L": " + c.line);
    EXPECT_EQ(Var("int_Found"), 0u);
    ++index;
  }
  EXPECT_EQ(Var("String_R"), 0u);
  EXPECT_EQ(Var("SelfFree_R"), 0u);
  EXPECT_EQ(Var("MultiString_R"), 0u);

  // The value's name is looked up as it stands, brackets and all.
  RunElement(L"<RegGetValue " + Hklm() + L" value='[Name]' var='R'/>");
  EXPECT_EQ(Text("String_R"), L"literal");
}

TEST_F(RegistryTest, KeyExistsSetsItsFlagAndNeverClearsIt) {
  WriteText(HKEY_LOCAL_MACHINE, key_, L"v", L"x");
  Clear();
  RunElement(L"<RegKeyExists index='1' " + Hklm() + L" variable='Here'/>");
  RunElement(L"<RegKeyExists index='2' " + Hklm(L"Gone") + L" variable='Here'/>");
  EXPECT_EQ(Var("int_Here"), 1u);
  EXPECT_EQ(NewLines(), (std::vector<std::wstring>{L"1: RegKeyExists '" + key_ + L"' Begin.\n",
                                                   L"1: RegKeyExists Opened key '" + key_ + L"'.\n",
                                                   L"1: RegKeyExists End execute. Next command 2.\n",
                                                   L"2: RegKeyExists '" + key_ + L"\\Gone' Begin.\n",
                                                   L"2: RegKeyExists Cannot open key '" + key_ + L"\\Gone'.\n",
                                                   L"2: RegKeyExists End execute. Next command 3.\n"}));
}

TEST_F(RegistryTest, SetValueTakesTheFirstDataSourceAndItsType) {
  SetVar("int_Count", 0x100000005ull);
  VariableStore::Instance().Put("String_Name", reinterpret_cast<StoreValue>(MakeString(L"Expanded")));
  Clear();
  RunElement(L"<RegSetValue index='1' " + Hklm() + L" value='S' stringValue='text' dwordValue='9'/>");
  RunElement(L"<RegSetValue index='2' " + Hklm() + L" value='D' dwordVar='Count' dwordValue='9'/>");
  RunElement(L"<RegSetValue index='3' " + Hklm() + L" value='[Name]' dwordValue='0x10' binaryVar='B'/>");
  RunElement(L"<RegSetValue index='4' " + Hklm() + L" value='B' binaryVar='Fresh'/>");
  RunElement(L"<RegSetValue index='5' " + Hklm(L"Bare") + L" value='None'/>");
  RunElement(L"<RegSetValue index='6' " + Hklm() + L" value='U' stringValue='[Unknown]'/>");
  const std::wstring k = L"'" + key_ + L"' \\ ";
  EXPECT_EQ(NewLines(), (std::vector<std::wstring>{
                            L"1: RegSetValue " + k + L"'S'='text' Begin.\n", L"1: RegSetValue End execute. Next command 2.\n",
                            L"2: RegSetValue " + k + L"'D'=(int_Count)5 Begin.\n",
                            L"2: RegSetValue End execute. Next command 3.\n",
                            L"3: RegSetValue " + k + L"'Expanded'=16 Begin.\n",
                            L"3: RegSetValue End execute. Next command 4.\n",
                            L"4: RegSetValue " + k + L"'B' Binary Begin.\n", L"4: RegSetValue End execute. Next command 5.\n",
                            L"5: RegSetValue End execute. Next command 6.\n",
                            L"ExpandVariables: No variable 'String_Unknown' could be found.\n",
                            L"6: RegSetValue " + k + L"'U'='[Unknown]' Begin.\n",
                            L"6: RegSetValue End execute. Next command 7.\n"}));
  DWORD type = 0;
  std::vector<BYTE> data;
  ASSERT_EQ(ReadValue(HKEY_LOCAL_MACHINE, key_, L"S", 0, &type, &data), 0);
  EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
  EXPECT_EQ(data, Bytes(L"text", 10));
  ASSERT_EQ(ReadValue(HKEY_LOCAL_MACHINE, key_, L"D", 0, &type, &data), 0);
  EXPECT_EQ(type, static_cast<DWORD>(REG_DWORD));
  EXPECT_EQ(data, (std::vector<BYTE>{5, 0, 0, 0}));
  ASSERT_EQ(ReadValue(HKEY_LOCAL_MACHINE, key_, L"Expanded", 0, &type, &data), 0);
  EXPECT_EQ(data, (std::vector<BYTE>{16, 0, 0, 0}));
  // A missing binary variable gives one zero byte, and a buffer left in the store.
  ASSERT_EQ(ReadValue(HKEY_LOCAL_MACHINE, key_, L"B", 0, &type, &data), 0);
  EXPECT_EQ(type, static_cast<DWORD>(REG_BINARY));
  EXPECT_EQ(data, std::vector<BYTE>{0});
  EXPECT_NE(Var("SelfFree_Fresh"), 0u);
  // No data: only the key. A text that does not expand: nothing on a first run.
  EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, key_ + L"\\Bare"));
  EXPECT_NE(ReadValue(HKEY_LOCAL_MACHINE, key_ + L"\\Bare", L"None", 0, &type), 0);
  EXPECT_NE(ReadValue(HKEY_LOCAL_MACHINE, key_, L"U", 0, &type), 0);
}

TEST_F(RegistryTest, ListsRoundTripAndAStringForcedToAListKeepsOneTerminator) {
  WriteValue(HKEY_LOCAL_MACHINE, key_, L"List", REG_MULTI_SZ, kList, sizeof(kList));
  RunElement(L"<RegGetValue " + Hklm() + L" value='List' var='L'/>");
  Clear();
  RunElement(L"<RegSetValue index='1' " + Hklm() + L" value='Copy' multiStringVar='L'/>");
  RunElement(L"<RegSetValue index='2' " + Hklm() + L" value='Forced' stringValue='single' forceMultiSz='1'/>");
  RunElement(L"<RegSetValue index='3' " + Hklm() + L" value='NoList' multiStringVar='Absent'/>");
  const std::wstring k = L"'" + key_ + L"' \\ ";
  EXPECT_EQ(NewLines(), (std::vector<std::wstring>{
                            L"1: RegSetValue " + k + L"'Copy' Multisz Begin.\n",
                            L"1: RegSetValue End execute. Next command 2.\n",
                            L"2: RegSetValue " + k + L"'Forced'='single' Begin.\n",
                            L"[2]Multi string variable is null; setting string value!!!", L"Force Multi Sz is not null!!!",
                            L"2: RegSetValue End execute. Next command 3.\n",
                            L"3: RegSetValue " + k + L"'NoList' Multisz Begin.\n",
                            L"[2]Multi string variable is null; setting string value!!!",
                            L"3: RegSetValue End execute. Next command 4.\n"}));
  DWORD type = 0;
  std::vector<BYTE> data;
  ASSERT_EQ(ReadValue(HKEY_LOCAL_MACHINE, key_, L"Copy", 0, &type, &data), 0);
  EXPECT_EQ(type, static_cast<DWORD>(REG_MULTI_SZ));
  EXPECT_EQ(data, Bytes(kList, sizeof(kList)));
  ASSERT_EQ(ReadValue(HKEY_LOCAL_MACHINE, key_, L"Forced", 0, &type, &data), 0);
  EXPECT_EQ(type, static_cast<DWORD>(REG_MULTI_SZ));
  EXPECT_EQ(data, Bytes(L"single", 14)) << "the size of a REG_SZ";
  EXPECT_NE(ReadValue(HKEY_LOCAL_MACHINE, key_, L"NoList", 0, &type), 0);

  // With ALL_USERS the string is written as a list in every hive, forced or not.
  std::wstring users = RedirectUsers({L"S-1-5-21-1-2-3-1001"}, {});
  Clear();
  RunElement(L"<RegSetValue index='4' base='ALL_USERS' subkey='Software\\P' value='Forced' stringValue='s' "
             L"forceMultiSz='1'/>");
  std::vector<std::wstring> lines = NewLines();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), L"[1]Multi string variable is null; setting string value!!!"), 2);
  ASSERT_EQ(ReadValue(HKEY_CURRENT_USER, users + L"\\S-1-5-21-1-2-3-1001\\Software\\P", L"Forced", 0, &type, &data), 0);
  EXPECT_EQ(type, static_cast<DWORD>(REG_MULTI_SZ));
}

TEST_F(RegistryTest, WriteFailuresNameTheKeyAndValue) {
  RunElement(L"<RegCreateKey " + Hklm(L"Volatile") + L" volatile='1'/>");
  std::wstring longName(20000, L'n');
  Clear();
  // A lasting key cannot live below a volatile one.
  RunElement(L"<RegSetValue index='1' " + Hklm(L"Volatile\\Child") + L" value='v' dwordValue='1'/>");
  RunElement(L"<RegSetValue index='2' " + Hklm() + L" value='" + longName + L"' dwordValue='1'/>");
  std::vector<std::wstring> lines = NewLines();
  ASSERT_EQ(lines.size(), 6u);
  EXPECT_EQ(lines[1], L"1: RegSetValue Could not create key '" + key_ + L"\\Volatile\\Child'. Error 1021.\n");
  EXPECT_EQ(lines[4], L"2: RegSetValue Could set value '" + longName + L"' in key '" + key_ + L"'.\n");
}

TEST_F(RegistryTest, LicenceGoesToItsValuesWithoutItsDataInTheLog) {
  SetX64(1);
  auto& store = VariableStore::Instance();
  Clear();
  RunElement(L"<VltRegSetLicense index='1' " + Hklm(L"Licence") + L" errVar='LicenceFailed'/>");
  EXPECT_EQ(Var("int_LicenceFailed"), 1u) << "no key, nothing stored";
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, key_ + L"\\Licence"));

  store.Put("String_LicenseKey", reinterpret_cast<StoreValue>(MakeString(L"ABCD-EFGH")));
  store.Put("String_LicenseOwner", reinterpret_cast<StoreValue>(MakeString(L"Ann Example")));
  SetVar("int_LicenceFailed", 0);
  RunElement(L"<VltRegSetLicense index='2' " + Hklm(L"Licence") + L" errVar='LicenceFailed'/>");
  EXPECT_EQ(Var("int_LicenceFailed"), 0u);
  EXPECT_EQ(RegistryCalls::Of(L"RegCreateKeyExW").back().sam, static_cast<REGSAM>(0xF013F));
  std::vector<BYTE> data;
  DWORD type = 0;
  ASSERT_EQ(ReadValue(HKEY_LOCAL_MACHINE, key_ + L"\\Licence", L"LicenseKey", 0, &type, &data), 0);
  EXPECT_EQ(data, Bytes(L"ABCD-EFGH", 20));
  ASSERT_EQ(ReadValue(HKEY_LOCAL_MACHINE, key_ + L"\\Licence", L"Owner", 0, &type, &data), 0);
  EXPECT_NE(ReadValue(HKEY_LOCAL_MACHINE, key_ + L"\\Licence", L"Company", 0, &type), 0);
  const std::wstring licence = key_ + L"\\Licence";
  EXPECT_EQ(NewLines(), (std::vector<std::wstring>{
                            L"1: VltRegSetLicense '" + licence + L"' Begin.\n",
                            L"1: VltRegSetLicense No licence key in 'String_LicenseKey'; nothing stored.\n",
                            L"1: VltRegSetLicense End execute. Next command 2.\n",
                            L"2: VltRegSetLicense '" + licence + L"' Begin.\n",
                            L"2: VltRegSetLicense Stored 'String_LicenseKey' as value 'LicenseKey'.\n",
                            L"2: VltRegSetLicense Stored 'String_LicenseOwner' as value 'Owner'.\n",
                            L"2: VltRegSetLicense End execute. Next command 3.\n"}));
}
