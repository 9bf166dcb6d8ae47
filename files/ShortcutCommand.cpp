#include "files/ShortcutCommand.h"

#include <shlobj.h>
#include <shlwapi.h>

#include <cstring>

#include "engine/Bounded.h"
#include "engine/Expand.h"
#include "engine/LogLibrary.h"
#include "engine/SelfFree.h"
#include "engine/Store.h"
#include "engine/StoreNames.h"
#include "engine/VarName.h"
#include "files/PathHelpers.h"

namespace {

// Link paths and targets are built in buffers of this many characters.
constexpr size_t kLinkBuffer = 2048;
// The switch variables' names have always been formatted into a buffer of this
// many bytes: a longer name is a fatal overrun.
constexpr size_t kSwitchNameCapacity = 256;

const wchar_t* StoreText(const char* name) {
  CString* value = StoreGetString(name);
  return value != nullptr ? value->text : nullptr;
}

// The product name for the desktop link's description and the menu folder.
const wchar_t* ProductName() {
  const wchar_t* clear = StoreText(storename::kClearProductName);
  return clear != nullptr ? clear : StoreText(storename::kProductName);
}

// The number in int_<bare>, on its low 32 bits; 0 when unset.
int32_t SwitchVariable(const wchar_t* bare) {
  VarName name("int_", bare);
  if (!name) return 0;
  if (strlen(name.Get()) >= kSwitchNameCapacity) FailFastOverrun();
  return StoreGetInt32(name.Get());
}

const wchar_t* OrEmpty(const wchar_t* text) { return text != nullptr ? text : L""; }

}  // namespace

int32_t CShortcutCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  reader.ReadCopy(L"file", file);
  reader.ReadCopy(L"currentDir", currentDir);
  reader.ReadCopy(L"linkName", linkName);
  reader.ReadCopy(L"otherPath", otherPath);
  reader.ReadNumber(L"desktop", &desktop);
  reader.ReadNumber(L"startMenu", &startMenu);
  reader.ReadCopy(L"appName", appName);
  reader.ReadCopy(L"arguments", arguments);
  reader.ReadCopy(L"startMenuVar", startMenuVar);
  reader.ReadCopy(L"desktopVar", desktopVar);
  return kStatusOk;
}

int32_t CShortcutCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  using namespace filetext;
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  // A text that cannot be expanded is dropped, so the link that needs it is not
  // written. arguments is deliberately not expanded.
  for (ScopedText* field : {&file, &currentDir, &linkName, &otherPath, &appName}) {
    ExpandField(*field, OnFailure::DropText);
  }
  if (startMenuVar) startMenu = SwitchVariable(startMenuVar.Get());
  if (desktopVar) desktop = SwitchVariable(desktopVar.Get());

  // Each link replaces the result of the one before: an earlier failure goes
  // unnoticed when a later link works.
  HRESULT result = S_OK;
  if (desktop != 0) result = DesktopLink();
  if (startMenu != 0) result = MenuLink();
  if (otherPath) result = OtherLink();
  if (FAILED(result)) {
    frame.Line(kLogLevelError, kShortcutFailed, linkName.Get());
  } else {
    frame.Line(kLogLevelInfo, kShortcutCreated, linkName.Get());
  }
  return frame.Done();
}

bool CShortcutCommand::BuildTarget(wchar_t* target) {
  // The two are joined as they stand: a currentDir without its trailing
  // backslash runs into the file name.
  if (!file) return false;
  BoundedAppend(target, kLinkBuffer, currentDir.Get());
  BoundedAppend(target, kLinkBuffer, file.Get());
  return true;
}

HRESULT CShortcutCommand::DesktopLink() {
  const wchar_t* folder = StoreText(storename::kCommonDesktopPath);
  wchar_t linkPath[kLinkBuffer] = {};
  wchar_t target[kLinkBuffer] = {};
  if (folder == nullptr || !BuildTarget(target)) return E_INVALIDARG;
  BoundedAppend(linkPath, kLinkBuffer, folder);
  BoundedAppend(linkPath, kLinkBuffer, linkName.Get());
  return CreateLink(target, linkPath, OrEmpty(ProductName()));
}

HRESULT CShortcutCommand::MenuLink() {
  const wchar_t* programs = StoreText(storename::kCommonPrograms);
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
  BoundedAppend(linkPath, kLinkBuffer, linkName.Get());
  // The menu link is described by the plain product name, whatever the desktop
  // link and the folder use.
  return CreateLink(target, linkPath, OrEmpty(StoreText(storename::kProductName)));
}

HRESULT CShortcutCommand::OtherLink() {
  wchar_t linkPath[kLinkBuffer] = {};
  wchar_t target[kLinkBuffer] = {};
  if (!BuildTarget(target)) return E_INVALIDARG;
  BoundedAppend(linkPath, kLinkBuffer, otherPath.Get());
  PathAddBackslashW(linkPath);
  BoundedAppend(linkPath, kLinkBuffer, linkName.Get());
  return CreateLink(target, linkPath, OrEmpty(StoreText(storename::kProductName)));
}

HRESULT CShortcutCommand::CreateLink(const wchar_t* target, const wchar_t* linkPath, const wchar_t* description) {
  using namespace filetext;
  HRESULT com = CoInitialize(nullptr);
  ShellLinkContent content;
  content.target = target;
  content.arguments = arguments.Get();
  content.description = description;
  content.iconPath = target;
  content.iconIndex = 0;
  content.workingDirectory = OrEmpty(currentDir.Get());
  content.setAppUserModelId = true;
  content.appUserModelId = appName.Get();
  ShellLinkStep failedAt = ShellLinkStep::kNone;
  HRESULT hr = WriteShellLink(linkPath, content, &failedAt);
  if (failedAt == ShellLinkStep::kQueryInterface) {
    MirrorLog(kShellLinkSite, kShellLinkSiteWide, kLogLevelError, kQueryInterfaceFailed);
  } else if (failedAt == ShellLinkStep::kSave) {
    MirrorLog(kShellLinkSite, kShellLinkSiteWide, kLogLevelError, kSaveFailed);
  }
  if (SUCCEEDED(com)) CoUninitialize();
  return hr;
}
