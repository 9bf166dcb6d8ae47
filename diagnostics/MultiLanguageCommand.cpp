#include "diagnostics/MultiLanguageCommand.h"

#include <new>

#include "diagnostics/MultiLanguageApi.h"
#include "engine/Expand.h"
#include "engine/interfaces/HostInterfaces.h"
#include "engine/Log.h"
#include "engine/Store.h"
#include "engine/StoreNames.h"

int32_t CMultiLanguageCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  HRESULT hr = reader.ReadCopy(L"langDir", langDir);
  if (hr != S_OK) return static_cast<int32_t>(hr);
  hr = reader.ReadCopy(L"configFile", configFile);
  if (hr != S_OK) return static_cast<int32_t>(hr);
  hr = reader.ReadCopy(L"onlineConfigLocation", onlineConfigLocation);
  if (hr != S_OK && !reader.LastWasAbsent()) return static_cast<int32_t>(hr);
  return kStatusOk;
}

int32_t CMultiLanguageCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  // The fields keep their expanded texts; one that cannot be expanded stays as it is.
  ExpandField(langDir, OnFailure::KeepText);
  ExpandField(configFile, OnFailure::KeepText);
  ExpandField(onlineConfigLocation, OnFailure::KeepText);

  auto* manager = StoreGetObject<CMultiLanguageApi>(storename::kMultiLanguageApi);
  auto* cloud = StoreGetObject<MultiStringList>(storename::kCloudLanguages);
  CString* commandLineLanguage = StoreGetString(storename::kCmdLineDefaultLanguage);
  CString* defaultLanguage = StoreGetString(storename::kDefaultLanguage);
  bool cloudHasLanguages = cloud != nullptr && cloud->GetCount() != 0;

  if (manager == nullptr) {
    manager = new (std::nothrow) CMultiLanguageApi();
    if (manager != nullptr) {
      // With a language on the command line and a cloud list, the cloud list
      // decides below; no default is applied first.
      const wchar_t* initial = nullptr;
      if (!(commandLineLanguage != nullptr && cloudHasLanguages) && defaultLanguage != nullptr) {
        initial = defaultLanguage->text;
      }
      manager->Initialize(langDir.Get(), configFile.Get(), onlineConfigLocation.Get(), initial);
      StorePutObject(storename::kMultiLanguageApi, manager);
    }
  }
  if (manager != nullptr) {
    if (cloudHasLanguages)
      manager->ApplyCloudList(cloud, commandLineLanguage != nullptr ? commandLineLanguage->text : nullptr);
    if (manager->PeekLanguages()->size() > 1) StorePut(storename::kMultiLanguageAvailable, 1);
    defaultLanguage = StoreGetString(storename::kDefaultLanguage);
    if (defaultLanguage != nullptr) manager->SelectLanguage(defaultLanguage->text);
  }
  return frame.Done();
}
