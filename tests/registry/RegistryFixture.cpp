#include "tests/registry/RegistryFixture.h"

#include <cstring>
#include <mutex>

#include "host/MultiStrings.h"

namespace {

typedef LONG(WINAPI* OpenFn)(HKEY, LPCWSTR, DWORD, REGSAM, PHKEY);
typedef LONG(WINAPI* CreateFn)(HKEY, LPCWSTR, DWORD, LPWSTR, DWORD, REGSAM, LPSECURITY_ATTRIBUTES, PHKEY, LPDWORD);
typedef LONG(WINAPI* CloseFn)(HKEY);
typedef LONG(WINAPI* DeleteExFn)(HKEY, LPCWSTR, REGSAM, DWORD);
typedef FARPROC(WINAPI* LookupFn)(HMODULE, LPCSTR);
typedef LONG(NTAPI* NtDeleteKeyFn)(HANDLE);

OpenFn g_open = nullptr;
CreateFn g_create = nullptr;
CloseFn g_close = nullptr;
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
    PatchImport<LookupFn>(plugin, "KERNEL32.dll", "GetProcAddress", RecordLookup, &g_lookup);
  }
  std::lock_guard<std::mutex> hold(g_callsLock);
  g_calls.clear();
}

std::vector<RegCall> RegistryCalls::Of(const wchar_t* function) {
  std::vector<RegCall> found;
  std::lock_guard<std::mutex> hold(g_callsLock);
  for (const RegCall& call : g_calls) {
    if (call.function == function) found.push_back(call);
  }
  return found;
}

size_t RegistryCalls::UnclosedHives() {
  std::vector<RegCall> calls;
  {
    std::lock_guard<std::mutex> hold(g_callsLock);
    calls = g_calls;
  }
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
  RegistryCalls::Start();
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
