// The registry commands end to end: an install script writes every value type
// to a product key and to every user hive, reads the values back into variables
// and writes copies from them; an uninstall script deletes what it made. The
// engine runs both against Wine's registry, and the test reads the registry
// between and after the runs.
#include <string>
#include <vector>

#include "tests/host/HostRun.h"

namespace {

std::vector<BYTE> ValueOf(HKEY root, const std::wstring& path, const wchar_t* name, DWORD* type) {
  std::vector<BYTE> data;
  *type = REG_NONE;
  HKEY key = nullptr;
  if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &key) != 0) return data;
  DWORD size = 0;
  if (RegQueryValueExW(key, name, nullptr, type, nullptr, &size) == 0) {
    data.resize(size);
    RegQueryValueExW(key, name, nullptr, type, data.data(), &size);
  }
  RegCloseKey(key);
  return data;
}

std::vector<BYTE> Bytes(const void* data, size_t size) {
  return std::vector<BYTE>(static_cast<const BYTE*>(data), static_cast<const BYTE*>(data) + size);
}

bool KeyExists(HKEY root, const std::wstring& path) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &key) != 0) return false;
  RegCloseKey(key);
  return true;
}

std::vector<std::wstring> UserHives() {
  std::vector<std::wstring> hives;
  wchar_t name[256];
  for (DWORD i = 0;; ++i) {
    DWORD size = 256;
    if (RegEnumKeyExW(HKEY_USERS, i, name, &size, nullptr, nullptr, nullptr, nullptr) != 0) break;
    hives.push_back(name);
  }
  return hives;
}

class RegistryScriptTest : public HostRunTest {
 protected:
  void SetUp() override {
    HostRunTest::SetUp();
    product_ = "Software\\InstallCommandsTests\\Script" + std::to_string(GetCurrentProcessId()) + "_" +
               std::to_string(GetTickCount());
    wproduct_.assign(product_.begin(), product_.end());
  }
  void TearDown() override {
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, wproduct_.c_str());
    for (const std::wstring& hive : UserHives()) RegDeleteTreeW(HKEY_USERS, (hive + L"\\" + wproduct_).c_str());
    HostRunTest::TearDown();
  }

  std::string product_;
  std::wstring wproduct_;
};

}  // namespace

TEST_F(RegistryScriptTest, InstallWritesEveryTypeReadsItBackAndUninstallRemovesIt) {
  std::wstring install = Script(R"(<install>
  <variables>
    <variable name="String_Product" value=")" + product_ + R"("/>
    <variable name="int_Count" value="42"/>
  </variables>
  <commands>
    <RegCreateKey index="1" base="HKEY_LOCAL_MACHINE" subkey="[Product]\Settings"/>
    <RegSetValue index="2" base="HKEY_LOCAL_MACHINE" subkey="[Product]\Settings" value="Path" stringValue="C:\Product"/>
    <RegSetValue index="3" base="HKEY_LOCAL_MACHINE" subkey="[Product]\Settings" value="Count" dwordVar="Count"/>
    <RegSetValue index="4" base="HKEY_LOCAL_MACHINE" subkey="[Product]\Settings" value="Flags" dwordValue="0x10"/>
    <RegSetValue index="5" base="HKEY_LOCAL_MACHINE" subkey="[Product]\Settings" value="Blob" binaryVar="Blob"/>
    <RegSetValue index="6" base="HKEY_LOCAL_MACHINE" subkey="[Product]\Settings" value="Names" stringValue="first" forceMultiSz="1"/>
    <RegGetValue index="7" base="HKEY_LOCAL_MACHINE" subkey="[Product]\Settings" value="Path" var="Path"/>
    <RegGetValue index="8" base="HKEY_LOCAL_MACHINE" subkey="[Product]\Settings" value="Count" var="ReturnCode"/>
    <RegGetValue index="9" base="HKEY_LOCAL_MACHINE" subkey="[Product]\Settings" value="Blob" var="ReadBlob"/>
    <RegGetValue index="10" base="HKEY_LOCAL_MACHINE" subkey="[Product]\Settings" value="Names" var="ReadNames"/>
    <RegSetValue index="11" base="HKEY_LOCAL_MACHINE" subkey="[Product]\Copies" value="Path" stringValue="[Path]\bin"/>
    <RegSetValue index="12" base="HKEY_LOCAL_MACHINE" subkey="[Product]\Copies" value="Blob" binaryVar="ReadBlob"/>
    <RegSetValue index="13" base="HKEY_LOCAL_MACHINE" subkey="[Product]\Copies" value="Names" multiStringVar="ReadNames"/>
    <RegKeyExists index="14" base="HKEY_LOCAL_MACHINE" subkey="[Product]\Copies" variable="Copied"/>
    <RegSetValue index="15" base="ALL_USERS" subkey="[Product]" value="Seen" dwordVar="Copied" next="0"/>
  </commands>
</install>)");
  RunResult run = RunInstaller(L"/trace " + install);
  EXPECT_EQ(run.exitCode, 42u) << "int_ReturnCode was read back from the registry\n" << run.err;
  const std::string settings = "'" + product_ + "\\Settings'";
  for (const std::string& line : std::vector<std::string>{
           "2: RegSetValue " + settings + " \\ 'Path'='C:\\Product' Begin.\n",
           "3: RegSetValue " + settings + " \\ 'Count'=(int_Count)42 Begin.\n",
           "4: RegSetValue " + settings + " \\ 'Flags'=16 Begin.\n",
           "5: RegSetValue " + settings + " \\ 'Blob' Binary Begin.\n",
           "[2]Multi string variable is null; setting string value!!!\nForce Multi Sz is not null!!!\n",
           "7: RegGetValue Loaded 'String_Path'='C:\\Product'.\n",
           "8: RegGetValue Loaded 'int_ReturnCode'=42.\n",
           "14: RegKeyExists Opened key '" + product_ + "\\Copies'.\n",
       }) {
    EXPECT_TRUE(Has(run.err, line)) << line << "\nnot in:\n" << run.err;
  }
  EXPECT_FALSE(Has(run.err, "Could")) << run.err;

  DWORD type = 0;
  std::wstring copies = wproduct_ + L"\\Copies";
  EXPECT_EQ(ValueOf(HKEY_LOCAL_MACHINE, wproduct_ + L"\\Settings", L"Flags", &type), Bytes("\x10\0\0\0", 4));
  EXPECT_EQ(ValueOf(HKEY_LOCAL_MACHINE, copies, L"Path", &type), Bytes(L"C:\\Product\\bin", 30));
  EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
  EXPECT_EQ(ValueOf(HKEY_LOCAL_MACHINE, copies, L"Blob", &type), std::vector<BYTE>{0});
  EXPECT_EQ(type, static_cast<DWORD>(REG_BINARY));
  // The forced string had one terminator; the list read from it is written back
  // as a well-formed list with two.
  EXPECT_EQ(ValueOf(HKEY_LOCAL_MACHINE, copies, L"Names", &type), Bytes(L"first\0", 14));
  EXPECT_EQ(type, static_cast<DWORD>(REG_MULTI_SZ));
  std::vector<std::wstring> hives = UserHives();
  for (const std::wstring& hive : hives) {
    EXPECT_TRUE(Has(run.err, "15: RegSetValue Using from key root '" + std::string(hive.begin(), hive.end()) + "'.\n"));
    EXPECT_EQ(ValueOf(HKEY_USERS, hive + L"\\" + wproduct_, L"Seen", &type), Bytes("\1\0\0\0", 4))
        << std::string(hive.begin(), hive.end());
  }

  std::wstring uninstall = Script(R"(<install>
  <variables><variable name="String_Product" value=")" + product_ + R"("/></variables>
  <commands>
    <RegDeleteValue index="1" base="ALL_USERS" subkey="[Product]" value="Seen"/>
    <RegDeleteKey index="2" base="ALL_USERS" subkey="[Product]" recursive="1"/>
    <RegDeleteKey index="3" base="HKEY_LOCAL_MACHINE" subkey="[Product]" recursive="1"/>
    <RegKeyExists index="4" base="HKEY_LOCAL_MACHINE" subkey="[Product]" variable="ReturnCode" next="0"/>
  </commands>
</install>)");
  run = RunInstaller(L"/trace " + uninstall);
  EXPECT_EQ(run.exitCode, 0u) << run.err;
  // The last hive is visited twice: its value and key are gone the second time.
  const std::string last(hives.back().begin(), hives.back().end());
  for (const std::string& line : std::vector<std::string>{
           "1: RegDeleteValue Could delete value 'Seen' from key '" + product_ + "'.\n1: RegDeleteValue End execute.",
           "2: RegDeleteKey Deleting from key root '" + last + "'.\nKey not found.\n2: RegDeleteKey End execute.",
           "3: RegDeleteKey '" + product_ + "' Begin, recursive='TRUE'.\n3: RegDeleteKey End execute.",
           "4: RegKeyExists Cannot open key '" + product_ + "'.\n",
       }) {
    EXPECT_TRUE(Has(run.err, line)) << line << "\nnot in:\n" << run.err;
  }
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, wproduct_));
  for (const std::wstring& hive : hives) EXPECT_FALSE(KeyExists(HKEY_USERS, hive + L"\\" + wproduct_));
}
