// Fault caught: an install script's registry values not where a user's programs read them, or left at uninstall.
#include "tests/host/HostRun.h"

TEST_F(HostRunTest, RegistryScriptInstallsReadsBackAndUninstalls) {
  std::string product = "Software\\InstallCommandsTests\\Script" + std::to_string(GetCurrentProcessId());
  std::wstring key = Widen(product);
  std::string set = R"(<RegSetValue base="HKEY_LOCAL_MACHINE" subkey="[Product]\)";
  std::wstring install = Script(R"(<install><variables>
    <variable name="String_Product" value=")" + product + R"("/><variable name="int_Count" value="42"/>
  </variables><commands>
    )" + set + R"(Settings" value="Path" stringValue="C:\Product"/>
    )" + set + R"(Settings" value="Count" dwordVar="Count"/>
    )" + set + R"(Settings" value="Names" stringValue="first" forceMultiSz="1"/>
    <RegGetValue base="HKEY_LOCAL_MACHINE" subkey="[Product]\Settings" value="Path" var="Path"/>
    <RegGetValue base="HKEY_LOCAL_MACHINE" subkey="[Product]\Settings" value="Count" var="ReturnCode"/>
    <RegGetValue base="HKEY_LOCAL_MACHINE" subkey="[Product]\Settings" value="Names" var="ReadNames"/>
    )" + set + R"(Copies" value="Path" stringValue="[Path]\bin"/>
    )" + set + R"(Copies" value="Names" multiStringVar="ReadNames"/>
    <RegKeyExists base="HKEY_LOCAL_MACHINE" subkey="[Product]\Copies" variable="Copied"/>
    <RegSetValue base="ALL_USERS" subkey="[Product]" value="Seen" dwordVar="Copied" next="0"/>
  </commands></install>)");
  EXPECT_EQ(RunInstaller(install).exitCode, 42u) << "int_ReturnCode was read back from the registry";
  DWORD type = 0;
  std::vector<BYTE> data;
  EXPECT_EQ(ReadValue(HKEY_LOCAL_MACHINE, key + L"\\Copies", L"Path", 0, &type, &data), 0);
  EXPECT_EQ(data, Bytes(L"C:\\Product\\bin", 30));
  // The forced string had one terminator; the list read from it is written back with two.
  EXPECT_EQ(ReadValue(HKEY_LOCAL_MACHINE, key + L"\\Copies", L"Names", 0, &type, &data), 0);
  EXPECT_EQ(data, Bytes(L"first\0", 14));
  EXPECT_EQ(type, static_cast<DWORD>(REG_MULTI_SZ));
  for (const std::wstring& hive : UserHives()) {
    EXPECT_EQ(ReadValue(HKEY_USERS, hive + L"\\" + key, L"Seen", 0, &type, &data), 0) << Narrow(hive);
    EXPECT_EQ(data, Bytes("\1\0\0\0", 4)) << Narrow(hive);
  }
  std::wstring uninstall = Script(R"(<install><variables>
    <variable name="String_Product" value=")" + product + R"("/></variables><commands>
    <RegDeleteValue base="ALL_USERS" subkey="[Product]" value="Seen"/>
    <RegDeleteKey base="ALL_USERS" subkey="[Product]" recursive="1"/>
    <RegDeleteKey base="HKEY_LOCAL_MACHINE" subkey="[Product]" recursive="1"/>
    <RegKeyExists base="HKEY_LOCAL_MACHINE" subkey="[Product]" variable="ReturnCode" next="0"/>
  </commands></install>)");
  EXPECT_EQ(RunInstaller(uninstall).exitCode, 0u);
  EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, key));
  for (const std::wstring& hive : UserHives()) EXPECT_FALSE(KeyExists(HKEY_USERS, hive + L"\\" + key));
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, key.c_str());
}
