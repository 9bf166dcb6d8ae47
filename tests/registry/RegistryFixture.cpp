#include "tests/registry/RegistryFixture.h"

#include <algorithm>
#include <cstring>
#include <mutex>

#include "host/MultiStrings.h"
#include "host/VariableStore.h"

namespace {

typedef LONG(WINAPI* OpenFn)(HKEY, LPCWSTR, DWORD, REGSAM, PHKEY);
typedef LONG(WINAPI* CreateFn)(HKEY, LPCWSTR, DWORD, LPWSTR, DWORD, REGSAM, LPSECURITY_ATTRIBUTES, PHKEY, LPDWORD);
typedef LONG(WINAPI* CloseFn)(HKEY);
typedef LONG(WINAPI* DeleteFn)(HKEY, LPCWSTR);
typedef LONG(WINAPI* DeleteExFn)(HKEY, LPCWSTR, REGSAM, DWORD);
typedef FARPROC(WINAPI* LookupFn)(HMODULE, LPCSTR);
typedef LONG(NTAPI* NtDeleteKeyFn)(HANDLE);

OpenFn g_open = nullptr;
CreateFn g_create = nullptr;
CloseFn g_close = nullptr;
DeleteFn g_delete = nullptr;
DeleteExFn g_deleteEx = nullptr;
LookupFn g_lookup = nullptr;

std::mutex g_callsLock;
std::vector<RegCall> g_calls;

void Note(RegCall call) {
  std::lock_guard<std::mutex> hold(g_callsLock);
  g_calls.push_back(std::move(call));
}

LONG WINAPI RecordOpen(HKEY parent, LPCWSTR path, DWORD options, REGSAM sam, PHKEY result) {
  LONG status = g_open(parent, path, options, sam, result);
  Note({L"RegOpenKeyExW", parent, path != nullptr ? path : L"", sam, options, status == 0 ? *result : nullptr, status});
  return status;
}

LONG WINAPI RecordCreate(HKEY parent, LPCWSTR path, DWORD reserved, LPWSTR keyClass, DWORD options, REGSAM sam,
                         LPSECURITY_ATTRIBUTES security, PHKEY result, LPDWORD disposition) {
  LONG status = g_create(parent, path, reserved, keyClass, options, sam, security, result, disposition);
  Note({L"RegCreateKeyExW", parent, path != nullptr ? path : L"", sam, options, status == 0 ? *result : nullptr,
        status});
  return status;
}

LONG WINAPI RecordClose(HKEY key) {
  LONG status = g_close(key);
  Note({L"RegCloseKey", nullptr, L"", 0, 0, key, status});
  return status;
}

LONG WINAPI RecordDelete(HKEY parent, LPCWSTR path) {
  LONG status = g_delete(parent, path);
  Note({L"RegDeleteKeyW", parent, path, 0, 0, nullptr, status});
  return status;
}

LONG WINAPI RecordDeleteEx(HKEY parent, LPCWSTR path, REGSAM view, DWORD reserved) {
  LONG status = g_deleteEx(parent, path, view, reserved);
  Note({L"RegDeleteKeyExW", parent, path, view, 0, nullptr, status});
  return status;
}

// The library binds RegDeleteKeyExW at run time; it gets the recorder instead.
FARPROC WINAPI RecordLookup(HMODULE module, LPCSTR name) {
  FARPROC found = g_lookup(module, name);
  if (HIWORD(reinterpret_cast<ULONG_PTR>(name)) != 0 && strcmp(name, "RegDeleteKeyExW") == 0 && found != nullptr) {
    g_deleteEx = reinterpret_cast<DeleteExFn>(reinterpret_cast<void*>(found));
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(RecordDeleteEx));
  }
  return found;
}

// Replaces the import of function from dll in module's import table.
template <class Fn>
void PatchImport(HMODULE module, const char* dll, const char* function, Fn replacement, Fn* original) {
  auto* base = reinterpret_cast<BYTE*>(module);
  auto* nt = reinterpret_cast<IMAGE_NT_HEADERS*>(base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
  const IMAGE_DATA_DIRECTORY& directory = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  for (auto* entry = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress); entry->Name != 0;
       ++entry) {
    if (_stricmp(reinterpret_cast<char*>(base + entry->Name), dll) != 0) continue;
    auto* names = reinterpret_cast<IMAGE_THUNK_DATA*>(base + entry->OriginalFirstThunk);
    auto* slots = reinterpret_cast<IMAGE_THUNK_DATA*>(base + entry->FirstThunk);
    for (; names->u1.AddressOfData != 0; ++names, ++slots) {
      if (IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal)) continue;
      auto* byName = reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(base + names->u1.AddressOfData);
      if (strcmp(reinterpret_cast<char*>(byName->Name), function) != 0) continue;
      DWORD protection = 0;
      VirtualProtect(&slots->u1.Function, sizeof(void*), PAGE_READWRITE, &protection);
      *original = reinterpret_cast<Fn>(slots->u1.Function);
      slots->u1.Function = reinterpret_cast<ULONG_PTR>(replacement);
      VirtualProtect(&slots->u1.Function, sizeof(void*), protection, &protection);
      return;
    }
  }
  ADD_FAILURE() << "the library does not import " << function << " from " << dll;
}

void DeleteLinkKey(HKEY parent, const std::wstring& path) {
  HKEY link = nullptr;
  if (RegOpenKeyExW(parent, path.c_str(), REG_OPTION_OPEN_LINK, DELETE | KEY_QUERY_VALUE, &link) != 0) return;
  auto deleteKey = reinterpret_cast<NtDeleteKeyFn>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtDeleteKey")));
  deleteKey(link);
  RegCloseKey(link);
}

}  // namespace

void RegistryCalls::Start() {
  static bool patched = false;
  if (!patched) {
    patched = true;
    HMODULE plugin = Plugin();
    PatchImport<OpenFn>(plugin, "ADVAPI32.dll", "RegOpenKeyExW", RecordOpen, &g_open);
    PatchImport<CreateFn>(plugin, "ADVAPI32.dll", "RegCreateKeyExW", RecordCreate, &g_create);
    PatchImport<CloseFn>(plugin, "ADVAPI32.dll", "RegCloseKey", RecordClose, &g_close);
    PatchImport<DeleteFn>(plugin, "ADVAPI32.dll", "RegDeleteKeyW", RecordDelete, &g_delete);
    PatchImport<LookupFn>(plugin, "KERNEL32.dll", "GetProcAddress", RecordLookup, &g_lookup);
  }
  std::lock_guard<std::mutex> hold(g_callsLock);
  g_calls.clear();
}

std::vector<RegCall> RegistryCalls::All() {
  std::lock_guard<std::mutex> hold(g_callsLock);
  return g_calls;
}

std::vector<RegCall> RegistryCalls::Of(const wchar_t* function) {
  std::vector<RegCall> found;
  for (const RegCall& call : All()) {
    if (call.function == function) found.push_back(call);
  }
  return found;
}

size_t RegistryCalls::UnclosedHives() {
  std::vector<RegCall> calls = All();
  size_t unclosed = 0;
  for (size_t i = 0; i < calls.size(); ++i) {
    if (calls[i].function != L"RegOpenKeyExW" || calls[i].parent != HKEY_USERS || calls[i].result == nullptr) continue;
    bool closed = false;
    // A handle value comes back once it was closed, so only the closes before the
    // next open that returns the same value count.
    for (size_t j = i + 1; j < calls.size() && !closed; ++j) {
      if (calls[j].result != calls[i].result) continue;
      if (calls[j].function != L"RegCloseKey") break;
      closed = true;
    }
    if (!closed) ++unclosed;
  }
  return unclosed;
}

std::wstring AsWidePrinted(const std::string& narrow) {
  std::string bytes = narrow;
  bytes.append(4, '\0');
  std::wstring printed;
  for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
    wchar_t c = static_cast<wchar_t>(static_cast<unsigned char>(bytes[i]) | static_cast<unsigned char>(bytes[i + 1]) << 8);
    if (c == 0) break;
    printed.push_back(c);
  }
  return printed;
}

void RegistryTest::SetUp() {
  PluginTest::SetUp();
  VariableStore::Instance().Put("SelfFree_MultiStringApi", reinterpret_cast<StoreValue>(new CMultiStringApi()));
  key_ = L"Software\\InstallCommandsTests\\" + UniqueName(L"Key");
  RegistryCalls::Start();
}

void RegistryTest::TearDown() {
  if (redirected_) RegOverridePredefKey(HKEY_USERS, nullptr);
  for (auto& link : links_) DeleteLinkKey(link.first, link.second);
  RegDeleteTreeW(HKEY_CURRENT_USER, key_.c_str());
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, key_.c_str());
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, (L"Software\\Wow6432Node\\" + key_.substr(9)).c_str());
  wchar_t hive[256];
  for (DWORD i = 0;; ++i) {
    DWORD size = 256;
    if (RegEnumKeyExW(HKEY_USERS, i, hive, &size, nullptr, nullptr, nullptr, nullptr) != 0) break;
    RegDeleteTreeW(HKEY_USERS, (std::wstring(hive) + L"\\" + key_).c_str());
  }
  EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, key_)) << "test key left behind";
  PluginTest::TearDown();
}

CInstallCommand* RegistryTest::Make(const std::wstring& elementXml) {
  int32_t status = -1;
  CInstallCommand* command = CreateCommand(elementXml, &status);
  EXPECT_NE(command, nullptr) << std::string(elementXml.begin(), elementXml.end());
  EXPECT_EQ(status, 0) << std::string(elementXml.begin(), elementXml.end());
  if (command == nullptr) return nullptr;
  // The map owns the commands; one without an index of its own gets a free one.
  if (command->GetIndex() == -1) command->SetIndex(1000 + static_cast<int32_t>(commands_->size()));
  (*commands_)[command->GetIndex()] = command;
  return command;
}

void RegistryTest::RunElement(const std::wstring& elementXml) {
  CInstallCommand* command = Make(elementXml);
  ASSERT_NE(command, nullptr);
  EXPECT_EQ(Run(command), 0);
}

std::wstring RegistryTest::Hklm(const std::wstring& below) const {
  return L"base='HKEY_LOCAL_MACHINE' subkey='" + key_ + (below.empty() ? L"" : L"\\" + below) + L"'";
}

void RegistryTest::SetX64(int value) { VariableStore::Instance().Put("int_x64", static_cast<StoreValue>(value)); }

std::vector<std::wstring> RegistryTest::NewLines() {
  std::vector<std::wstring> lines = log_->Lines();
  return std::vector<std::wstring>(lines.begin() + std::min(seenLines_, lines.size()), lines.end());
}

void RegistryTest::WriteValue(HKEY root, const std::wstring& path, const wchar_t* name, DWORD type, const void* data,
                              DWORD size) {
  HKEY key = nullptr;
  ASSERT_EQ(RegCreateKeyExW(root, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr), 0);
  EXPECT_EQ(RegSetValueExW(key, name, 0, type, static_cast<const BYTE*>(data), size), 0);
  RegCloseKey(key);
}

void RegistryTest::WriteText(HKEY root, const std::wstring& path, const wchar_t* name, const std::wstring& text) {
  WriteValue(root, path, name, REG_SZ, text.c_str(), static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
}

LONG RegistryTest::ReadValue(HKEY root, const std::wstring& path, const wchar_t* name, REGSAM view, DWORD* type,
                             std::vector<BYTE>* data) {
  *type = REG_NONE;
  HKEY key = nullptr;
  LONG status = RegOpenKeyExW(root, path.c_str(), 0, KEY_READ | view, &key);
  if (status != 0) return status;
  DWORD size = 0;
  status = RegQueryValueExW(key, name, nullptr, type, nullptr, &size);
  if (status == 0 && data != nullptr) {
    data->assign(size, 0);
    status = RegQueryValueExW(key, name, nullptr, type, data->data(), &size);
    data->resize(size);
  }
  RegCloseKey(key);
  return status;
}

bool RegistryTest::KeyExists(HKEY root, const std::wstring& path, REGSAM view) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ | view, &key) != 0) return false;
  RegCloseKey(key);
  return true;
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
                                         const std::vector<std::wstring>& danglingHives) {
  std::wstring users = key_ + L"\\Users";
  HKEY redirected = nullptr;
  EXPECT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, users.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &redirected,
                            nullptr),
            0);
  for (const std::wstring& hive : hives) {
    HKEY key = nullptr;
    RegCreateKeyExW(redirected, hive.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
    RegCloseKey(key);
  }
  for (const std::wstring& hive : danglingHives) CreateDanglingLink(HKEY_CURRENT_USER, users + L"\\" + hive);
  EXPECT_EQ(RegOverridePredefKey(HKEY_USERS, redirected), 0);
  RegCloseKey(redirected);
  redirected_ = true;
  return users;
}
