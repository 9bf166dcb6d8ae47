// Shared set-up of the registry tests: a key of each test's own, removed again in
// every place a command may have put it.
#pragma once

#include "tests/support/PluginFixture.h"

class RegistryTest : public PluginTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Makes and runs one command, expecting 0 from Load and Execute.
  void RunElement(const std::wstring& elementXml) { EXPECT_EQ(Run(Add(elementXml)), 0) << Narrow(elementXml); }
  // "plain", "Wow6432Node", "both" or "nowhere": where HKLM\path holds the value.
  std::string Landing(const std::wstring& path, const wchar_t* name);
  // A symbolic link key to a key that does not exist: listed, but every open of
  // it fails with 2. Removed by TearDown.
  void CreateDanglingLink(HKEY parent, const std::wstring& path);
  // HKEY_USERS of this process redirected to a key of the test's own holding
  // these hives, until TearDown. Returns its path below HKEY_CURRENT_USER.
  std::wstring RedirectUsers(const std::vector<std::wstring>& hives, const std::vector<std::wstring>& dangling);
  // base='HKEY_LOCAL_MACHINE' subkey='<key_>[\<below>]', for an element.
  std::wstring Hklm(const std::wstring& below = L"") const {
    return L"base='HKEY_LOCAL_MACHINE' subkey='" + key_ + (below.empty() ? L"" : L"\\" + below) + L"'";
  }

  std::wstring key_;  // Software\InstallCommandsTests\<unique>, in every root

 private:
  std::vector<std::pair<HKEY, std::wstring>> links_;
  bool redirected_ = false;
};

// A narrow name as a wide %s prints it: its bytes taken two by two.
std::wstring AsWidePrinted(const std::string& narrow);
