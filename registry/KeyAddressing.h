// Key addressing shared by the registry commands: the base names, the registry
// view, the walk over the loaded user hives and the recursive key delete.
//
// Every registry command names its key with a `base` attribute (a root) and a
// `subkey` path below it. RegCreateKey, RegDeleteKey, RegDeleteValue and
// RegSetValue also take the pseudo root ALL_USERS, which repeats their work in
// every hive loaded under HKEY_USERS. The variable int_x64 asks for the 64-bit
// registry view; it is read from the store at each step that uses it, never
// cached, because a script may change it between two commands or two hives.
//
// The commands differ in small ways that scripts depend on: which step looks at
// int_x64 and which at the system's bitness, which handles they close, and the
// last hive of a walk being handled twice. Those differences live in the
// commands; what is the same lives here.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>

#include "engine/Expand.h"
#include "engine/InstallCommand.h"
#include "engine/ScopedHandle.h"

// Access masks. KEY_WOW64_32KEY is never asked for: a 64-bit process reads and
// writes the 64-bit view with or without KEY_WOW64_64KEY, so the flag only
// documents the intent of a script that set int_x64.
constexpr REGSAM kRegReadMask = 0x20019;   // KEY_READ
constexpr REGSAM kRegWriteMask = 0xF003F;  // KEY_ALL_ACCESS
constexpr REGSAM kRegView64 = 0x100;       // KEY_WOW64_64KEY

inline REGSAM RegReadMask(bool view64) { return view64 ? kRegReadMask | kRegView64 : kRegReadMask; }
inline REGSAM RegWriteMask(bool view64) { return view64 ? kRegWriteMask | kRegView64 : kRegWriteMask; }

// Whether the script asks for the 64-bit view: int_x64, low 32 bits, non-zero.
bool X64Requested();

// RegDeleteKeyExW, bound at run time so that the library still loads on systems
// without it.
typedef LONG(WINAPI* RegDeleteKeyExFn)(HKEY root, const wchar_t* subkey, REGSAM view, DWORD reserved);
// Binds it from System32's advapi32.dll, which advapi keeps loaded while the
// pointer is used; null when the system lacks it.
RegDeleteKeyExFn BindRegDeleteKeyEx(ScopedModule* advapi);

// Deletes one key without subkeys: through deleteKeyEx in the 64-bit view on a
// 64-bit system, else with RegDeleteKeyW. A null deleteKeyEx also falls back to
// RegDeleteKeyW, which on a 64-bit process addresses the same view.
LONG DeleteKeyInSystemView(HKEY root, const wchar_t* subkey, RegDeleteKeyExFn deleteKeyEx);

// Deletes subkey below root with everything under it. True when the key is gone
// or was not there. The path is worked on in a buffer of 520 characters; a longer
// subkey is cut to 519.
bool DeleteRegistryTree(HKEY root, const wchar_t* subkey);

// Walks the hives loaded under HKEY_USERS. For each hive that is not one of the
// three service accounts (S-1-5-18, S-1-5-19, S-1-5-20, compared exactly), logs
// rootMessage with commandIndex, commandName and the hive's name, then calls
// action with the name.
//
// The result of each enumeration is looked at only after the pass, so the pass
// that finds no further hive repeats the last one: the last hive is acted on
// twice, and when the very first enumeration fails the action runs once with an
// empty name, which addresses HKEY_USERS itself. Scripts have always run against
// that behaviour, so it stays. When HKEY_USERS cannot even be queried, nothing
// happens and nothing is logged.
void UserHiveWalk(int32_t commandIndex, const wchar_t* commandName, const wchar_t* rootMessage,
                  const std::function<void(const wchar_t* hive)>& action);

// The common part of every registry command: the root and the subkey path.
class CRegistryCommand : public CInstallCommand {
 public:
  // The named root, one of the predefined keys, which are never closed. Stays
  // null for ALL_USERS, whose walk hands each hive to its action instead.
  HKEY root = nullptr;
  // The path below root. Expanded in place at Execute.
  ScopedText subkey;

  SELFFREE_DESTRUCTOR(CRegistryCommand)

 protected:
  // Sets root from one of the base names, compared exactly (case and all):
  // HKEY_CLASSES_ROOT, HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE, HKEY_USERS, and,
  // when allUsers is not null, ALL_USERS, which sets *allUsers instead. 1 for any
  // other text.
  int32_t ParseKeyBase(const wchar_t* text, bool* allUsers);
  // Reads the required base and subkey attributes, in that order. The lookup's
  // status when one is missing, 1 for an unknown base (subkey then stays unread).
  int32_t ReadKeyAttributes(AttributeReader& reader, bool* allUsers);

  // Replaces subkey by its expansion. When the expansion fails the text stays as
  // it is, brackets included, and is used like that: the expansion has logged why.
  void ExpandSubkey() { ExpandField(subkey, OnFailure::KeepText); }

  // UserHiveWalk with the open of each hive: the hive is opened with the write
  // mask that int_x64 selects, and action runs only when that worked. A hive that
  // cannot be opened is logged and skipped. The hive's handle is closed when
  // action returns, unless action keeps it open by releasing it: the commands
  // differ in that, and scripts have run against each of their ways.
  void WalkOpenedHives(const wchar_t* tag, const wchar_t* rootMessage,
                       const std::function<void(ScopedKey& hive)>& action);
};
