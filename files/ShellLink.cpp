#include "files/ShellLink.h"

#include <propidl.h>
#include <propsys.h>
#include <shlobj.h>
#include <shlwapi.h>

#include "engine/Log.h"
#include "engine/ScopedHandle.h"
#include "engine/Store.h"
#include "engine/StoreNames.h"
#include "files/FileTexts.h"

namespace {

// {9F4C2855-9F79-4B39-A8D0-E1D42DE1D5F3}, 5
const PROPERTYKEY kAppUserModelId = {{0x9F4C2855, 0x9F79, 0x4B39, {0xA8, 0xD0, 0xE1, 0xD4, 0x2D, 0xE1, 0xD5, 0xF3}}, 5};
// {886D8EEB-8CF2-4446-8D02-CDBA1DBDCF99}
const IID kIidPropertyStore = {0x886D8EEB, 0x8CF2, 0x4446, {0x8D, 0x02, 0xCD, 0xBA, 0x1D, 0xBD, 0xCF, 0x99}};

}  // namespace

HRESULT WriteShellLink(const wchar_t* linkPath, const ShellLinkContent& content, ShellLinkStep* failedAt) {
  ShellLinkStep step = ShellLinkStep::kNone;
  ScopedCom<IShellLinkW> link;
  HRESULT hr = CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                                reinterpret_cast<void**>(link.Receive()));
  if (FAILED(hr)) {
    step = ShellLinkStep::kCreate;
  } else {
    link.Get()->SetPath(content.target);
    if (content.arguments != nullptr && *content.arguments != L'\0') link.Get()->SetArguments(content.arguments);
    if (content.description != nullptr) link.Get()->SetDescription(content.description);
    if (content.iconPath != nullptr) link.Get()->SetIconLocation(content.iconPath, content.iconIndex);
    if (content.workingDirectory != nullptr) link.Get()->SetWorkingDirectory(content.workingDirectory);
    // A link without its application id is still saved.
    if (content.setAppUserModelId) AddAppUserModelId(link.Get(), content.appUserModelId);
    ScopedCom<IPersistFile> persist;
    hr = link.Get()->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(persist.Receive()));
    if (FAILED(hr)) {
      step = ShellLinkStep::kQueryInterface;
    } else {
      hr = persist.Get()->Save(linkPath, TRUE);
      if (FAILED(hr)) step = ShellLinkStep::kSave;
    }
  }
  if (failedAt != nullptr) *failedAt = step;
  return hr;
}

HRESULT AddAppUserModelId(IUnknown* link, const wchar_t* appId) {
  if (StoreGetInt32(storename::kIsWindowsXp) == 1 || StoreGetInt32(storename::kIsWindowsVista) == 1 ||
      StoreGetInt32(storename::kIsWindows7) == 1) {
    LogMessage(filetext::kNotWindows8);
    return S_OK;
  }
  // Any other system is taken for Windows 8 or later.
  LogMessage(filetext::kWindows8);
  if (link == nullptr || appId == nullptr) return E_FAIL;
  ScopedCom<IPropertyStore> store;
  HRESULT hr = link->QueryInterface(kIidPropertyStore, reinterpret_cast<void**>(store.Receive()));
  if (FAILED(hr)) return hr;
  PROPVARIANT value;
  PropVariantInit(&value);
  value.vt = VT_LPWSTR;
  hr = SHStrDupW(appId, &value.pwszVal);
  if (FAILED(hr)) return hr;
  hr = store.Get()->SetValue(kAppUserModelId, value);
  if (SUCCEEDED(hr)) hr = store.Get()->Commit();
  PropVariantClear(&value);
  return FAILED(hr) ? hr : S_OK;
}
