#include "diagnostics/MultiLanguageCommand.h"

#include <cstdlib>
#include <new>

#include "diagnostics/MultiLanguageApi.h"
#include "engine/Expand.h"
#include "engine/interfaces/HostInterfaces.h"
#include "engine/Log.h"
#include "engine/Store.h"

namespace {

const wchar_t kTag[] = L"Multilanguage";

void ExpandField(wchar_t** field) {
  if (*field == nullptr) return;
  wchar_t* expanded = nullptr;
  if (ExpandVariables(*field, &expanded) && expanded != nullptr) {
    free(*field);
    *field = expanded;
  }
}

}  // namespace

CMultiLanguageCommand::~CMultiLanguageCommand() {
  for (wchar_t** field : {&langDir, &configFile, &onlineConfigLocation}) {
    free(*field);
    *field = nullptr;
  }
}

int32_t CMultiLanguageCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  HRESULT hr = reader.ReadCopy(L"langDir", &langDir);
  if (hr != S_OK) return static_cast<int32_t>(hr);
  hr = reader.ReadCopy(L"configFile", &configFile);
  if (hr != S_OK) return static_cast<int32_t>(hr);
  hr = reader.ReadCopy(L"onlineConfigLocation", &onlineConfigLocation);
  if (hr != S_OK && !reader.LastWasAbsent()) return static_cast<int32_t>(hr);
  return kStatusOk;
}

int32_t CMultiLanguageCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  if (!EnterGuard(kTag)) return kStatusBusy;
  LogBegin(kTag);
  ExpandField(&langDir);
  ExpandField(&configFile);
  ExpandField(&onlineConfigLocation);

  auto* manager = StoreGetObject<CMultiLanguageApi>("SelfFree_MultiLanguageApi");
  auto* cloud = StoreGetObject<MultiStringList>("MultiString_CloudLanguages");
  CString* commandLineLanguage = StoreGetString("String_CmdLineDefaultLanguage");
  CString* defaultLanguage = StoreGetString("String_DefaultLanguage");
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
      manager->Initialize(langDir, configFile, onlineConfigLocation, initial);
      StorePutObject("SelfFree_MultiLanguageApi", manager);
    }
  }
  if (manager != nullptr) {
    if (cloudHasLanguages)
      manager->ApplyCloudList(cloud, commandLineLanguage != nullptr ? commandLineLanguage->text : nullptr);
    if (manager->PeekLanguages()->size() > 1) StorePut("int_MultiLanguageAvailable", 1);
    defaultLanguage = StoreGetString("String_DefaultLanguage");
    if (defaultLanguage != nullptr) manager->SelectLanguage(defaultLanguage->text);
  }

  LogMessage(L"%i: %s End execute. Next command %i.\n", index, kTag, GetNextIndex());
  LeaveCriticalSection(&lock);
  return kStatusOk;
}
