// Fault caught: a registry value stored or read back wrongly, which misleads the install's next steps.
#include <algorithm>

#include "tests/registry/RegistryFixture.h"

namespace {

typedef std::pair<DWORD, std::vector<BYTE>> Value;
Value Typed(DWORD type, const void* data, size_t size) { return {type, Bytes(data, size)}; }
// The value as HKLM\path holds it; type REG_NONE when it is missing.
Value Stored(HKEY root, const std::wstring& path, const wchar_t* name) {
  Value value;
  if (ReadValue(root, path, name, 0, &value.first, &value.second) != 0) value = {REG_NONE, {}};
  return value;
}

const wchar_t kList[] = L"one\0two\0";  // with the implicit terminator: a REG_MULTI_SZ of two texts

}  // namespace

TEST_F(RegistryTest, EachTypeLandsInItsVariableAndOnlyNumbersAndTextsCountAsFound) {
  DWORD number = 0xFFFFFFFE;
  const BYTE bytes[] = {0, 1, 2, 0xFF, 7};
  WriteValue(HKEY_LOCAL_MACHINE, key_, L"Number", REG_DWORD, &number, sizeof(number));
  WriteValue(HKEY_LOCAL_MACHINE, key_, L"Text", REG_SZ, L"C:\\Product", 22);
  WriteValue(HKEY_LOCAL_MACHINE, key_, L"Bytes", REG_BINARY, bytes, sizeof(bytes));
  WriteValue(HKEY_LOCAL_MACHINE, key_, L"List", REG_MULTI_SZ, kList, sizeof(kList));
  const std::wstring found = AsWidePrinted("int_Found");
  // Per value: the variable, and the lines that follow the begin line.
  const std::pair<const wchar_t*, Lines> cases[] = {
      {L"Number", {L"1: RegGetValue Loaded 'int_N'=-2.\n", L"1: RegGetValue Loaded '" + found + L"'= 1.\n"}},
      {L"Text", {L"1: RegGetValue Loaded 'String_N'='C:\\Product'.\n", L"1: RegGetValue Loaded '" + found + L"'= 1.\n"}},
      {L"Bytes", {}},  // binary data and lists load silently and leave the flag at 0
      {L"List", {}},
  };
  for (auto& c : cases) {
    size_t mark = log_->Mark();
    RunElement(L"<RegGetValue index='1' " + Hklm() + L" value='" + c.first + L"' var='N' VarExists='Found'/>");
    Lines expected = {L"1: RegGetValue Loaded '" + found + L"'= 0.\n",
                      L"1: RegGetValue '" + key_ + L"' \\ '" + c.first + L"'=>'N' Begin.\n"};
    expected.insert(expected.end(), c.second.begin(), c.second.end());
    EXPECT_EQ(log_->Work(mark), expected) << Narrow(c.first);
    EXPECT_EQ(StoreRead("int_Found"), c.second.empty() ? 0u : 1u) << Narrow(c.first);
  }
  EXPECT_EQ(StoreRead("int_N"), 0xFFFFFFFEu);
  EXPECT_EQ(TextOf("String_N"), L"C:\\Product");
  auto* buffer = reinterpret_cast<CBuffer*>(StoreRead("SelfFree_N"));
  ASSERT_NE(buffer, nullptr);
  EXPECT_EQ(Bytes(buffer->data, buffer->size), Bytes(bytes, sizeof(bytes)));
  auto* list = reinterpret_cast<MultiStringList*>(StoreRead("MultiString_N"));
  ASSERT_NE(list, nullptr);
  ASSERT_EQ(list->GetCount(), 2);
  EXPECT_STREQ(list->GetItem(1), L"two");
}

TEST_F(RegistryTest, RefusedTypesAndFailedReadsLeaveTheFlagAtZero) {
  uint64_t quad = 5;
  WriteValue(HKEY_LOCAL_MACHINE, key_, L"Expand", REG_EXPAND_SZ, L"%TEMP%", 14);
  WriteValue(HKEY_LOCAL_MACHINE, key_, L"Quad", REG_QWORD, &quad, sizeof(quad));
  WriteValue(HKEY_LOCAL_MACHINE, key_, L"EmptyBytes", REG_BINARY, nullptr, 0);
  WriteValue(HKEY_LOCAL_MACHINE, key_, L"[Name]", REG_SZ, L"literal", 16);
  StoreText("String_Name", L"Text");
  const std::wstring refused = L"RegGetValue Can only get REG_DWORD , REG_SZ, REG_MULTI_SZ and REG_BINARY.\n";
  const std::pair<std::wstring, std::wstring> cases[] = {
      {Hklm() + L" value='Expand'", refused},
      {Hklm() + L" value='Quad'", refused},
      {Hklm() + L" value='EmptyBytes'", refused},
      {Hklm() + L" value='Missing'", L"RegGetValue Could get value 'Missing' in key '" + key_ + L"'.\n"},
      {Hklm(L"Nowhere") + L" value='Text'", L"RegGetValue Could not open key '" + key_ + L"\\Nowhere' (errCode:2).\n"},
  };
  for (auto& c : cases) {
    StoreInt("int_Found", 1);
    size_t mark = log_->Mark();
    RunElement(L"<RegGetValue index='7' " + c.first + L" var='R' VarExists='Found'/>");
    Lines lines = log_->Work(mark);
    ASSERT_EQ(lines.size(), 3u) << Narrow(c.first);
    EXPECT_EQ(lines[2], L"7: " + c.second);
    EXPECT_EQ(StoreRead("int_Found"), 0u) << Narrow(c.first);
  }
  EXPECT_EQ(StoreRead("String_R") + StoreRead("SelfFree_R") + StoreRead("MultiString_R"), 0u);
  // The value's name is looked up as it stands, brackets and all.
  RunElement(L"<RegGetValue " + Hklm() + L" value='[Name]' var='R'/>");
  EXPECT_EQ(TextOf("String_R"), L"literal");
}

TEST_F(RegistryTest, KeyExistsSetsItsFlagAndNeverClearsIt) {
  RunElement(L"<RegCreateKey index='1' " + Hklm() + L"/>");
  size_t mark = log_->Mark();
  RunElement(L"<RegKeyExists index='1' " + Hklm() + L" variable='Here'/>");
  RunElement(L"<RegKeyExists index='2' " + Hklm(L"Gone") + L" variable='Here'/>");
  EXPECT_EQ(StoreRead("int_Here"), 1u);
  EXPECT_EQ(log_->Work(mark), (Lines{L"1: RegKeyExists '" + key_ + L"' Begin.\n",
                                     L"1: RegKeyExists Opened key '" + key_ + L"'.\n",
                                     L"2: RegKeyExists '" + key_ + L"\\Gone' Begin.\n",
                                     L"2: RegKeyExists Cannot open key '" + key_ + L"\\Gone'.\n"}));
}

TEST_F(RegistryTest, SetValueTakesTheFirstDataSourceAndItsType) {
  StoreInt("int_Count", 0x100000005ll);
  StoreText("String_Name", L"Expanded");
  WriteValue(HKEY_LOCAL_MACHINE, key_, L"List", REG_MULTI_SZ, kList, sizeof(kList));
  RunElement(L"<RegGetValue " + Hklm() + L" value='List' var='L'/>");
  size_t mark = log_->Mark();
  const wchar_t* elements[] = {
      L"value='S' stringValue='text' dwordValue='9'",     L"value='D' dwordVar='Count' dwordValue='9'",
      L"value='[Name]' dwordValue='0x10' binaryVar='B'",  L"value='B' binaryVar='Fresh'",
      L"value='U' stringValue='[Unknown]'",               L"value='Copy' multiStringVar='L'",
      L"value='Forced' stringValue='single' forceMultiSz='1'", L"value='NoList' multiStringVar='Absent'",
  };
  for (const wchar_t* element : elements) RunElement(L"<RegSetValue index='1' " + Hklm() + L" " + element + L"/>");
  RunElement(L"<RegSetValue index='2' " + Hklm(L"Bare") + L" value='None'/>");
  const std::wstring k = L"1: RegSetValue '" + key_ + L"' \\ ";
  const std::wstring noList = L"[2]Multi string variable is null; setting string value!!!";
  EXPECT_EQ(log_->Work(mark),
            (Lines{k + L"'S'='text' Begin.\n", k + L"'D'=(int_Count)5 Begin.\n", k + L"'Expanded'=16 Begin.\n",
                   k + L"'B' Binary Begin.\n", L"ExpandVariables: No variable 'String_Unknown' could be found.\n",
                   k + L"'U'='[Unknown]' Begin.\n", k + L"'Copy' Multisz Begin.\n", k + L"'Forced'='single' Begin.\n",
                   noList, L"Force Multi Sz is not null!!!", k + L"'NoList' Multisz Begin.\n", noList}));
  EXPECT_EQ(Stored(HKEY_LOCAL_MACHINE, key_, L"S"), Typed(REG_SZ, L"text", 10));
  EXPECT_EQ(Stored(HKEY_LOCAL_MACHINE, key_, L"D"), Typed(REG_DWORD, "\5\0\0\0", 4));
  EXPECT_EQ(Stored(HKEY_LOCAL_MACHINE, key_, L"Expanded"), Typed(REG_DWORD, "\x10\0\0\0", 4));
  // A missing binary variable gives one zero byte, and a buffer left in the store.
  EXPECT_EQ(Stored(HKEY_LOCAL_MACHINE, key_, L"B"), Typed(REG_BINARY, "", 1));
  EXPECT_NE(StoreRead("SelfFree_Fresh"), 0u);
  EXPECT_EQ(Stored(HKEY_LOCAL_MACHINE, key_, L"U").first, static_cast<DWORD>(REG_NONE)) << "not on a first run";
  EXPECT_EQ(Stored(HKEY_LOCAL_MACHINE, key_, L"Copy"), Typed(REG_MULTI_SZ, kList, sizeof(kList)));
  EXPECT_EQ(Stored(HKEY_LOCAL_MACHINE, key_, L"Forced"), Typed(REG_MULTI_SZ, L"single", 14)) << "one terminator";
  EXPECT_EQ(Stored(HKEY_LOCAL_MACHINE, key_, L"NoList").first, static_cast<DWORD>(REG_NONE));
  EXPECT_TRUE(KeyExists(HKEY_LOCAL_MACHINE, key_ + L"\\Bare")) << "no data: only the key";
  EXPECT_EQ(Stored(HKEY_LOCAL_MACHINE, key_ + L"\\Bare", L"None").first, static_cast<DWORD>(REG_NONE));

  // With ALL_USERS the string is written as a list in every hive, forced or not.
  std::wstring users = RedirectUsers({L"S-1-5-21-1-2-3-1001"}, {});
  mark = log_->Mark();
  RunElement(L"<RegSetValue base='ALL_USERS' subkey='Software\\P' value='Forced' stringValue='s' forceMultiSz='1'/>");
  Lines lines = log_->Work(mark);
  EXPECT_EQ(std::count(lines.begin(), lines.end(), L"[1]Multi string variable is null; setting string value!!!"), 2);
  EXPECT_EQ(Stored(HKEY_CURRENT_USER, users + L"\\S-1-5-21-1-2-3-1001\\Software\\P", L"Forced").first,
            static_cast<DWORD>(REG_MULTI_SZ));
}

TEST_F(RegistryTest, LicenceGoesToItsValuesWithoutItsDataInTheLog) {
  StoreInt("int_x64", 1);
  const std::wstring element = L"<VltRegSetLicense index='1' " + Hklm(L"Licence") + L" errVar='Failed'/>";
  const std::wstring licence = key_ + L"\\Licence";
  size_t mark = log_->Mark();
  RunElement(element);
  EXPECT_EQ(StoreRead("int_Failed"), 1u) << "no key, nothing stored";
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, licence));
  StoreText("String_LicenseKey", L"ABCD-EFGH");
  StoreText("String_LicenseOwner", L"Ann Example");
  StoreInt("int_Failed", 0);
  RunElement(element);
  EXPECT_EQ(StoreRead("int_Failed"), 0u);
  EXPECT_EQ(Stored(HKEY_LOCAL_MACHINE, licence, L"LicenseKey"), Typed(REG_SZ, L"ABCD-EFGH", 20));
  EXPECT_EQ(Stored(HKEY_LOCAL_MACHINE, licence, L"Owner"), Typed(REG_SZ, L"Ann Example", 24));
  EXPECT_EQ(Stored(HKEY_LOCAL_MACHINE, licence, L"Company").first, static_cast<DWORD>(REG_NONE));
  EXPECT_EQ(log_->Work(mark), (Lines{L"1: VltRegSetLicense '" + licence + L"' Begin.\n",
                                     L"1: VltRegSetLicense No licence key in 'String_LicenseKey'; nothing stored.\n",
                                     L"1: VltRegSetLicense '" + licence + L"' Begin.\n",
                                     L"1: VltRegSetLicense Stored 'String_LicenseKey' as value 'LicenseKey'.\n",
                                     L"1: VltRegSetLicense Stored 'String_LicenseOwner' as value 'Owner'.\n"}));
}
