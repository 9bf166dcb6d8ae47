#include "files/ShortcutCommand.h"

#include <propidl.h>
#include <propsys.h>
#include <shlobj.h>
#include <shlwapi.h>

#include <cstdlib>
#include <cwchar>

#include "engine/LogLibrary.h"
#include "engine/Bounded.h"
#include "engine/Log.h"
#include "engine/SelfFree.h"
#include "engine/Store.h"
#include "files/FileTexts.h"
#include "files/PathHelpers.h"

namespace {

constexpr const char* kSite = "CShortcutCommand::Execute";
constexpr const wchar_t* kWideSite = L"CShortcutCommand::Execute";
constexpr const char* kLinkSite = "CShortcutCommand::CreateLink";
constexpr const wchar_t* kWideLinkSite = L"CShortcutCommand::CreateLink";

// Link paths and targets are built in buffers of this many characters.
constexpr size_t kLinkBuffer = 2048;

// {9F4C2855-9F79-4B39-A8D0-E1D42DE1D5F3}, 5
const PROPERTYKEY kAppUserModelId = {{0x9F4C2855, 0x9F79, 0x4B39, {0xA8, 0xD0, 0xE1, 0xD4, 0x2D, 0xE1, 0xD5, 0xF3}}, 5};
// {886D8EEB-8CF2-4446-8D02-CDBA1DBDCF99}
const IID kIidPropertyStore = {0x886D8EEB, 0x8CF2, 0x4446, {0x8D, 0x02, 0xCD, 0xBA, 0x1D, 0xBD, 0xCF, 0x99}};

const wchar_t* StoreText(const char* name) {
  CString* value = StoreGetString(name);
  return value != nullptr ? value->text : nullptr;
}

// The product name for the desktop link's description and the menu folder.
const wchar_t* ProductName() {
  const wchar_t* clear = StoreText("String_ClearProductName");
  return clear != nullptr ? clear : StoreText("String_ProductName");
}

// The number in int_<bare>, on its low 32 bits; 0 when unset.
int32_t SwitchVariable(const wchar_t* bare) {
  char name[256] = {};
  char* narrow = NarrowText(bare);
  BoundedFormatA(name, sizeof(name), "int_%s", narrow != nullptr ? narrow : "");
  free(narrow);
  return StoreGetInt32(name);
}

const wchar_t* OrEmpty(const wchar_t* text) { return text != nullptr ? text : L""; }

}  // namespace

CShortcutCommand::~CShortcutCommand() {
  wchar_t** fields[] = {&file, &linkName, &otherPath, &currentDir, &appName, &arguments, &startMenuVar, &desktopVar};
  for (wchar_t** field : fields) {
    free(*field);
    *field = nullptr;
  }
}

int32_t CShortcutCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  reader.ReadCopy(L"file", &file);
  reader.ReadCopy(L"currentDir", &currentDir);
  reader.ReadCopy(L"linkName", &linkName);
  reader.ReadCopy(L"otherPath", &otherPath);
  reader.ReadNumber(L"desktop", &desktop);
  reader.ReadNumber(L"startMenu", &startMenu);
  reader.ReadCopy(L"appName", &appName);
  reader.ReadCopy(L"arguments", &arguments);
  reader.ReadCopy(L"startMenuVar", &startMenuVar);
  reader.ReadCopy(L"desktopVar", &desktopVar);
  return kStatusOk;
}

int32_t CShortcutCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  using namespace filetext;
  if (!TryEnterCriticalSection(&lock)) {
    MirrorLog(kSite, kWideSite, kLogLevelError, kBusy, index, kShortcutGuardTag);
    return kStatusBusy;
  }
  MirrorLog(kSite, kWideSite, kLogLevelInfo, kBegin, index, kShortcutTag);
  // arguments is deliberately not expanded.
  ReplaceWithExpansion(&file);
  ReplaceWithExpansion(&currentDir);
  ReplaceWithExpansion(&linkName);
  ReplaceWithExpansion(&otherPath);
  ReplaceWithExpansion(&appName);
  if (startMenuVar != nullptr) startMenu = SwitchVariable(startMenuVar);
  if (desktopVar != nullptr) desktop = SwitchVariable(desktopVar);

  // Each link replaces the result of the one before: an earlier failure goes
  // unnoticed when a later link works.
  HRESULT result = S_OK;
  if (desktop != 0) result = DesktopLink();
  if (startMenu != 0) result = MenuLink();
  if (otherPath != nullptr) result = OtherLink();
  if (FAILED(result)) {
    MirrorLog(kSite, kWideSite, kLogLevelError, kShortcutFailed, linkName);
  } else {
    MirrorLog(kSite, kWideSite, kLogLevelInfo, kShortcutCreated, linkName);
  }
  MirrorLog(kSite, kWideSite, kLogLevelInfo, kEnd, index, kShortcutTag, GetNextIndex());
  LeaveCriticalSection(&lock);
  return kStatusOk;
}

bool CShortcutCommand::BuildTarget(wchar_t* target) {
  // The two are joined as they stand: a currentDir without its trailing
  // backslash runs into the file name.
  if (file == nullptr) return false;
  BoundedAppend(target, kLinkBuffer, currentDir);
  BoundedAppend(target, kLinkBuffer, file);
  return true;
}

HRESULT CShortcutCommand::DesktopLink() {
  const wchar_t* folder = StoreText("String_CommonDesktopPath");
  wchar_t linkPath[kLinkBuffer] = {};
  wchar_t target[kLinkBuffer] = {};
  if (folder == nullptr || !BuildTarget(target)) return E_INVALIDARG;
  BoundedAppend(linkPath, kLinkBuffer, folder);
  BoundedAppend(linkPath, kLinkBuffer, linkName);
  return CreateLink(target, arguments, linkPath, OrEmpty(ProductName()));
}

HRESULT CShortcutCommand::MenuLink() {
  const wchar_t* programs = StoreText("String_CommonPrograms");
  const wchar_t* product = ProductName();
  wchar_t folder[kLinkBuffer] = {};
  wchar_t target[kLinkBuffer] = {};
  if (programs == nullptr || product == nullptr || !BuildTarget(target)) return E_INVALIDARG;
  BoundedAppend(folder, kLinkBuffer, programs);
  BoundedAppend(folder, kLinkBuffer, product);
  if (!PathFileExistsW(folder)) SHCreateDirectoryExW(nullptr, folder, nullptr);
  wchar_t linkPath[kLinkBuffer] = {};
  BoundedAppend(linkPath, kLinkBuffer, folder);
  BoundedAppend(linkPath, kLinkBuffer, L"\\");
  BoundedAppend(linkPath, kLinkBuffer, linkName);
  // The menu link is described by the plain product name, whatever the desktop
  // link and the folder use.
  return CreateLink(target, arguments, linkPath, OrEmpty(StoreText("String_ProductName")));
}

HRESULT CShortcutCommand::OtherLink() {
  wchar_t linkPath[kLinkBuffer] = {};
  wchar_t target[kLinkBuffer] = {};
  if (!BuildTarget(target)) return E_INVALIDARG;
  BoundedAppend(linkPath, kLinkBuffer, otherPath);
  PathAddBackslashW(linkPath);
  BoundedAppend(linkPath, kLinkBuffer, linkName);
  return CreateLink(target, arguments, linkPath, OrEmpty(StoreText("String_ProductName")));
}

HRESULT CShortcutCommand::CreateLink(const wchar_t* target, const wchar_t* linkArguments, const wchar_t* linkPath,
                                     const wchar_t* description) {
  using namespace filetext;
  HRESULT com = CoInitialize(nullptr);
  IShellLinkW* link = nullptr;
  HRESULT hr = CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                                reinterpret_cast<void**>(&link));
  if (SUCCEEDED(hr)) {
    link->SetPath(target);
    if (linkArguments != nullptr && *linkArguments != L'\0') link->SetArguments(linkArguments);
    link->SetDescription(description);
    link->SetIconLocation(target, 0);
    link->SetWorkingDirectory(OrEmpty(currentDir));
    // A link without an application id is still saved.
    AddAppUserModelId(link, appName);
    IPersistFile* persist = nullptr;
    hr = link->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(&persist));
    if (FAILED(hr)) {
      MirrorLog(kLinkSite, kWideLinkSite, kLogLevelError, kQueryInterfaceFailed);
    } else {
      // An existing link of that name is replaced.
      hr = persist->Save(linkPath, TRUE);
      if (FAILED(hr)) MirrorLog(kLinkSite, kWideLinkSite, kLogLevelError, kSaveFailed);
      persist->Release();
    }
    link->Release();
  }
  if (SUCCEEDED(com)) CoUninitialize();
  return hr;
}

HRESULT AddAppUserModelId(IUnknown* link, const wchar_t* appId) {
  if (StoreGetInt32("int_IsWindowsXp") == 1 || StoreGetInt32("int_IsWindowsVista") == 1 ||
      StoreGetInt32("int_IsWindows7") == 1) {
    LogMessage(filetext::kNotWindows8);
    return S_OK;
  }
  // Any other system is taken for Windows 8 or later.
  LogMessage(filetext::kWindows8);
  if (link == nullptr || appId == nullptr) return E_FAIL;
  IPropertyStore* store = nullptr;
  HRESULT hr = link->QueryInterface(kIidPropertyStore, reinterpret_cast<void**>(&store));
  if (FAILED(hr)) return hr;
  PROPVARIANT value;
  PropVariantInit(&value);
  value.vt = VT_LPWSTR;
  hr = SHStrDupW(appId, &value.pwszVal);
  if (FAILED(hr)) {
    store->Release();
    return hr;
  }
  hr = store->SetValue(kAppUserModelId, value);
  if (SUCCEEDED(hr)) hr = store->Commit();
  store->Release();
  PropVariantClear(&value);
  return FAILED(hr) ? hr : S_OK;
}
