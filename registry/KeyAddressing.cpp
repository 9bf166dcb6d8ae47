#include "registry/KeyAddressing.h"

#include <cstdlib>
#include <cwchar>

#include "engine/Log.h"
#include "engine/RuntimeLibrary.h"
#include "engine/Store.h"
#include "engine/StoreNames.h"
#include "probes/Platform.h"
#include "registry/RegistryTexts.h"

namespace {

// The working buffer of the tree delete, and the longest child name it asks the
// enumeration for (key names are limited to 255 characters).
constexpr size_t kTreePathCapacity = 520;
constexpr DWORD kChildNameCapacity = 260;

bool IsServiceAccount(const wchar_t* hive) {
  return wcscmp(hive, L"S-1-5-18") == 0 || wcscmp(hive, L"S-1-5-19") == 0 || wcscmp(hive, L"S-1-5-20") == 0;
}

// One level of the tree delete. path is the shared working buffer: each level
// appends "\child" behind the caller's part and cuts it off again before it
// returns, so the whole walk needs no allocation.
bool DeleteTreeRecurse(HKEY root, wchar_t* path, RegDeleteKeyExFn deleteKeyEx) {
  // A key without subkeys goes at once; this is also how every leaf ends.
  if (DeleteKeyInSystemView(root, path, deleteKeyEx) == ERROR_SUCCESS) return true;

  ScopedKey key;
  LONG opened = RegOpenKeyExW(root, path, 0, RegReadMask(IsSystem64Bit()), key.Receive());
  if (opened == ERROR_FILE_NOT_FOUND) {
    LogMessage(regtext::kTreeKeyNotFound);
    return true;
  }
  if (opened != ERROR_SUCCESS) {
    LogMessage(regtext::kTreeOpenFailed);
    return false;
  }

  size_t childPosition = wcslen(path);
  if (childPosition == 0 || path[childPosition - 1] != L'\\') {
    if (childPosition + 1 < kTreePathCapacity) path[childPosition++] = L'\\';
    path[childPosition] = L'\0';
  }

  wchar_t child[kChildNameCapacity + 1] = {};
  wchar_t previous[kChildNameCapacity + 1] = {};
  for (;;) {
    // Always index 0: the child handled last is gone, so the next one moved up.
    DWORD size = kChildNameCapacity;
    if (RegEnumKeyExW(key.Get(), 0, child, &size, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
    if (previous[0] != L'\0' && wcscmp(previous, child) == 0) {
      // Reported gone but still listed, as a symbolic link to a missing key is:
      // enumerating again would never end.
      LogMessage(regtext::kTreeChildStays, child);
      break;
    }
    size_t length = wcslen(child);
    if (path[childPosition - 1] != L'\\' || childPosition + length + 1 > kTreePathCapacity) {
      path[childPosition] = L'\0';
      LogMessage(regtext::kTreePathTooLong, path, child);
      break;
    }
    wmemcpy(path + childPosition, child, length + 1);
    bool deleted = DeleteTreeRecurse(root, path, deleteKeyEx);
    path[childPosition] = L'\0';
    if (!deleted) break;
    wmemcpy(previous, child, length + 1);
  }

  // Cuts the backslash off again, also one that the caller's path ended in: the
  // key itself is deleted by its plain name.
  if (path[childPosition - 1] == L'\\') path[childPosition - 1] = L'\0';
  // Closed before the key itself goes.
  key.Reset();
  return DeleteKeyInSystemView(root, path, deleteKeyEx) == ERROR_SUCCESS;
}

}  // namespace

bool X64Requested() { return StoreGetInt32(storename::kX64) != 0; }

RegDeleteKeyExFn BindRegDeleteKeyEx(ScopedModule* advapi) {
  // From System32 only: a search by name could find a planted advapi32.dll.
  advapi->Reset(LoadSystemLibrary(L"advapi32.dll"));
  return *advapi ? reinterpret_cast<RegDeleteKeyExFn>(
                       reinterpret_cast<void*>(GetProcAddress(advapi->Get(), "RegDeleteKeyExW")))
                 : nullptr;
}

LONG DeleteKeyInSystemView(HKEY root, const wchar_t* subkey, RegDeleteKeyExFn deleteKeyEx) {
  // The view follows the system, not int_x64: a 64-bit system deletes in its
  // 64-bit view whatever the script asked for.
  if (IsSystem64Bit() && deleteKeyEx != nullptr) return deleteKeyEx(root, subkey, kRegView64, 0);
  return RegDeleteKeyW(root, subkey);
}

bool DeleteRegistryTree(HKEY root, const wchar_t* subkey) {
  if (subkey == nullptr || subkey[0] == L'\0') {
    // An empty path names the root itself: a recursive delete would empty a whole
    // hive. No script means that.
    LogMessage(regtext::kTreeWholeRoot);
    return false;
  }
  ScopedModule advapi;
  RegDeleteKeyExFn deleteKeyEx = BindRegDeleteKeyEx(&advapi);
  // A longer path is cut, not refused: the delete then reports a key that is not
  // there, which is true of the cut path.
  wchar_t path[kTreePathCapacity] = {};
  wcsncpy(path, subkey, kTreePathCapacity - 1);
  return DeleteTreeRecurse(root, path, deleteKeyEx);
}

void UserHiveWalk(int32_t commandIndex, const wchar_t* commandName, const wchar_t* rootMessage,
                  const std::function<void(const wchar_t* hive)>& action) {
  DWORD hives = 0;
  DWORD longest = 0;
  if (RegQueryInfoKeyW(HKEY_USERS, nullptr, nullptr, nullptr, &hives, &longest, nullptr, nullptr, nullptr, nullptr,
                       nullptr, nullptr) != ERROR_SUCCESS) {
    return;
  }
  DWORD capacity = longest + 1;
  // One more character than the enumeration may fill, so the name always ends.
  ScopedText name(static_cast<wchar_t*>(calloc(capacity + 1, sizeof(wchar_t))));
  if (!name) return;
  for (DWORD index = 0;; ++index) {
    DWORD size = capacity;
    LONG result = RegEnumKeyExW(HKEY_USERS, index, name.Get(), &size, nullptr, nullptr, nullptr, nullptr);
    // The result is looked at only after the pass: the pass that runs out of hives
    // still holds the previous name, and repeats it.
    if (!IsServiceAccount(name.Get())) {
      LogMessage(rootMessage, commandIndex, commandName, name.Get());
      action(name.Get());
    }
    if (result != ERROR_SUCCESS) break;
  }
}

int32_t CRegistryCommand::ParseKeyBase(const wchar_t* text, bool* allUsers) {
  static const struct {
    const wchar_t* name;
    HKEY key;
  } kBases[] = {
      {L"HKEY_CLASSES_ROOT", HKEY_CLASSES_ROOT},
      {L"HKEY_CURRENT_USER", HKEY_CURRENT_USER},
      {L"HKEY_LOCAL_MACHINE", HKEY_LOCAL_MACHINE},
      {L"HKEY_USERS", HKEY_USERS},
  };
  for (const auto& base : kBases) {
    if (wcscmp(text, base.name) == 0) {
      root = base.key;
      return kStatusOk;
    }
  }
  if (allUsers != nullptr && wcscmp(text, L"ALL_USERS") == 0) {
    *allUsers = true;
    return kStatusOk;
  }
  return kStatusMissingAttribute;
}

int32_t CRegistryCommand::ReadKeyAttributes(AttributeReader& reader, bool* allUsers) {
  wchar_t* text = nullptr;
  HRESULT hr = reader.ReadText(L"base", &text);
  if (hr != S_OK) return hr;
  int32_t status = ParseKeyBase(text, allUsers);
  if (status != kStatusOk) return status;
  return reader.ReadCopy(L"subkey", subkey);
}

void CRegistryCommand::WalkOpenedHives(const wchar_t* tag, const wchar_t* rootMessage,
                                       const std::function<void(ScopedKey& hive)>& action) {
  UserHiveWalk(index, tag, rootMessage, [&](const wchar_t* name) {
    ScopedKey hive;
    if (RegOpenKeyExW(HKEY_USERS, name, 0, RegWriteMask(X64Requested()), hive.Receive()) != ERROR_SUCCESS) {
      LogMessage(regtext::kHiveOpenFailed, index, tag, name);
      return;
    }
    action(hive);
  });
}
