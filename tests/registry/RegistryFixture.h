// Shared set-up of the registry tests: a key of each test's own, removed again in
// every place a command may have put it, the engine's list service, readers of
// the real registry, and a recorder of the library's registry calls.
//
// Why a recorder: this library is 64-bit, and a 64-bit process lands in the same
// place with KEY_WOW64_64KEY as without it, on Windows as under Wine. Where a
// value lands shows a view mistake in one direction (a stray KEY_WOW64_32KEY puts
// it under Wow6432Node), but not which steps asked for the 64-bit view. The
// recorder sees that: it replaces the library's imports of the registry calls
// (and the run-time look-up of RegDeleteKeyExW) with functions that note the
// arguments and call the real ones, so every call still reaches the real
// registry.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "tests/support/PluginFixture.h"

struct RegCall {
  std::wstring function;  // RegOpenKeyExW, RegCreateKeyExW, RegCloseKey, RegDeleteKeyExW, RegDeleteKeyW
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
  static std::vector<RegCall> All();
  static std::vector<RegCall> Of(const wchar_t* function);
  // The handles that the library opened below HKEY_USERS (its hive handles) and
  // did not close afterwards.
  static size_t UnclosedHives();
};

class RegistryTest : public PluginTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  int32_t Run(CInstallCommand* command) { return command->Execute(INVALID_HANDLE_VALUE, &storeLock_); }
  // Creates and loads one command, expecting Load to return 0, and files it in the
  // command map.
  CInstallCommand* Make(const std::wstring& elementXml);
  // Makes and runs one command, expecting Execute to return 0.
  void RunElement(const std::wstring& elementXml);
  void SetX64(int value);
  void Clear() { seenLines_ = log_->Lines().size(); }
  // The lines logged since the last Clear.
  std::vector<std::wstring> NewLines();

  // Test data written directly, not through the library.
  void WriteValue(HKEY root, const std::wstring& path, const wchar_t* name, DWORD type, const void* data, DWORD size);
  void WriteText(HKEY root, const std::wstring& path, const wchar_t* name, const std::wstring& text);

  // Reads a value in the plain view (view 0) or under Wow6432Node (KEY_WOW64_32KEY).
  // Returns the type, REG_NONE with status 2 when the value or key is missing.
  LONG ReadValue(HKEY root, const std::wstring& path, const wchar_t* name, REGSAM view, DWORD* type,
                 std::vector<BYTE>* data = nullptr);
  bool KeyExists(HKEY root, const std::wstring& path, REGSAM view = 0);
  // "plain", "Wow6432Node", "both" or "nowhere": where HKLM\path holds the value.
  std::string Landing(const std::wstring& path, const wchar_t* name);

  // A symbolic link key that points to a key that does not exist: it is listed
  // by the enumeration but every open of it fails with 2. Removed by TearDown.
  void CreateDanglingLink(HKEY parent, const std::wstring& path);

  // HKEY_USERS of this process redirected to a key of the test's own, with
  // hives of the given names, until TearDown. Returns the redirected path below
  // HKEY_CURRENT_USER.
  std::wstring RedirectUsers(const std::vector<std::wstring>& hives, const std::vector<std::wstring>& danglingHives);

  // base='HKEY_LOCAL_MACHINE' subkey='<key_>[\<below>]', for an element.
  std::wstring Hklm(const std::wstring& below = L"") const;

  std::wstring key_;  // Software\InstallCommandsTests\<unique>, in every root

 private:
  size_t seenLines_ = 0;
  std::vector<std::pair<HKEY, std::wstring>> links_;
  bool redirected_ = false;
};

// The text of a narrow name as a wide %s prints it: its bytes taken two by two
// as one wide character, up to the first zero character.
std::wstring AsWidePrinted(const std::string& narrow);
