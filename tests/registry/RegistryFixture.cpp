#include "tests/registry/RegistryFixture.h"

#include "host/MultiStrings.h"

namespace {

typedef LONG(NTAPI* NtDeleteKeyFn)(HANDLE);

void DeleteLinkKey(HKEY parent, const std::wstring& path) {
  HKEY link = nullptr;
  if (RegOpenKeyExW(parent, path.c_str(), REG_OPTION_OPEN_LINK, DELETE | KEY_QUERY_VALUE, &link) != 0) return;
  auto deleteKey = reinterpret_cast<NtDeleteKeyFn>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtDeleteKey")));
  deleteKey(link);
  RegCloseKey(link);
}

}  // namespace

std::wstring AsWidePrinted(const std::string& narrow) {
  std::string bytes = narrow + std::string(4, '\0');
  std::wstring printed;
  for (size_t i = 0; i + 1 < bytes.size() && (bytes[i] != 0 || bytes[i + 1] != 0); i += 2) {
    printed.push_back(static_cast<wchar_t>(static_cast<unsigned char>(bytes[i]) |
                                           static_cast<unsigned char>(bytes[i + 1]) << 8));
  }
  return printed;
}

void RegistryTest::SetUp() {
  PluginTest::SetUp();
  VariableStore::Instance().Put("SelfFree_MultiStringApi", reinterpret_cast<StoreValue>(new CMultiStringApi()));
  key_ = L"Software\\InstallCommandsTests\\" + UniqueName(L"Key");
}

void RegistryTest::TearDown() {
  if (redirected_) RegOverridePredefKey(HKEY_USERS, nullptr);
  for (auto& link : links_) DeleteLinkKey(link.first, link.second);
  RegDeleteTreeW(HKEY_CURRENT_USER, key_.c_str());
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, key_.c_str());
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, (L"Software\\Wow6432Node\\" + key_.substr(9)).c_str());
  for (const std::wstring& hive : UserHives()) RegDeleteTreeW(HKEY_USERS, (hive + L"\\" + key_).c_str());
  EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, key_)) << "test key left behind";
  PluginTest::TearDown();
}

std::string RegistryTest::Landing(const std::wstring& path, const wchar_t* name) {
  DWORD type = 0;
  bool plain = ReadValue(HKEY_LOCAL_MACHINE, path, name, 0, &type) == 0;
  bool wow = ReadValue(HKEY_LOCAL_MACHINE, path, name, KEY_WOW64_32KEY, &type) == 0;
  return plain && wow ? "both" : plain ? "plain" : wow ? "Wow6432Node" : "nowhere";
}

void RegistryTest::CreateDanglingLink(HKEY parent, const std::wstring& path) {
  HKEY link = nullptr;
  ASSERT_EQ(RegCreateKeyExW(parent, path.c_str(), 0, nullptr, REG_OPTION_CREATE_LINK, KEY_ALL_ACCESS | KEY_CREATE_LINK,
                            nullptr, &link, nullptr),
            0);
  std::wstring target = L"\\Registry\\Machine\\Software\\InstallCommandsTests\\" + UniqueName(L"Missing");
  EXPECT_EQ(RegSetValueExW(link, L"SymbolicLinkValue", 0, REG_LINK, reinterpret_cast<const BYTE*>(target.c_str()),
                           static_cast<DWORD>(target.size() * sizeof(wchar_t))),
            0);
  RegCloseKey(link);
  links_.emplace_back(parent, path);
}

std::wstring RegistryTest::RedirectUsers(const std::vector<std::wstring>& hives,
                                         const std::vector<std::wstring>& dangling) {
  std::wstring users = key_ + L"\\Users";
  for (const std::wstring& hive : hives) WriteValue(HKEY_CURRENT_USER, users + L"\\" + hive, L"", REG_SZ, L"", 2);
  WriteValue(HKEY_CURRENT_USER, users, L"", REG_SZ, L"", 2);
  for (const std::wstring& hive : dangling) CreateDanglingLink(HKEY_CURRENT_USER, users + L"\\" + hive);
  HKEY redirected = nullptr;
  EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, users.c_str(), 0, KEY_ALL_ACCESS, &redirected), 0);
  EXPECT_EQ(RegOverridePredefKey(HKEY_USERS, redirected), 0);
  RegCloseKey(redirected);
  redirected_ = true;
  return users;
}
