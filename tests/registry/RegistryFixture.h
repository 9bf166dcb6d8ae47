// Shared set-up of the registry tests: a key of each test's own, removed again in
// every place a command may have put it, and a recorder of the library's registry
// calls.
//
// Why a recorder: this library is 64-bit, and a 64-bit process lands in the same
// place with KEY_WOW64_64KEY as without it. Where a value lands shows a stray
// KEY_WOW64_32KEY (it goes under Wow6432Node), but not which steps asked for the
// 64-bit view. The recorder replaces the library's imports of the registry calls
// (and the run-time look-up of RegDeleteKeyExW) with functions that note the
// arguments and call the real ones.
#pragma once

#include "tests/support/PluginFixture.h"

struct RegCall {
  std::wstring function;  // RegOpenKeyExW, RegCreateKeyExW, RegCloseKey, RegDeleteKeyExW
  HKEY parent = nullptr;
  std::wstring path;
  REGSAM sam = 0;         // samDesired; the view argument of RegDeleteKeyExW
  DWORD options = 0;      // RegCreateKeyExW only
  HKEY result = nullptr;  // the key opened or created; the key closed for RegCloseKey
  LONG status = 0;
};

class RegistryCalls {
 public:
  // Patches the library's imports once; later calls only clear the record.
  static void Start();
  static std::vector<RegCall> Of(const wchar_t* function);
  // The handles the library opened below HKEY_USERS and did not close.
  static size_t UnclosedHives();
};

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
