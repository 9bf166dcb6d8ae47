#include "host/LanguageReport.h"

#include <vector>

#include "engine/interfaces/MultiLanguage.h"
#include "engine/interfaces/ResourceManager.h"
#include "host/VariableStore.h"

namespace {

const int32_t kTextCapacity = 64 * 1024;

std::wstring Text(const wchar_t* text) { return text != nullptr ? text : L"(none)"; }

void CollectId(const wchar_t* id, void* context, int) {
  static_cast<std::vector<std::wstring>*>(context)->push_back(id);
}

}  // namespace

std::wstring LanguageReport(const HostOptions& options) {
  std::wstring report;
  VariableStore& store = VariableStore::Instance();
  auto* languages = reinterpret_cast<IMultiLanguageApi*>(store.Get("SelfFree_MultiLanguageApi"));
  if (options.listLanguages || !options.selectLanguage.empty()) {
    if (languages == nullptr) {
      report += L"languages: no SelfFree_MultiLanguageApi (no Multilanguage command ran)\n";
    } else {
      // The dialog lists the languages before a pick, which is also when the
      // online list is waited for.
      LanguageList* list = languages->GetLanguages();
      report += L"languages: " + std::to_wstring(list->size()) + L" (current: " +
                Text(languages->GetCurrentLanguage()) + L")\n";
      for (const LanguageRecord& record : *list) {
        report += L"  " + Text(record.code.Get()) + L" \"" + Text(record.displayName.Get()) + L"\" " +
                  (record.installed ? L"installed" : L"not installed");
        if (!record.installed && record.downloadText) report += L" \"" + Text(record.downloadText.Get()) + L"\"";
        if (record.rtl) report += L" rtl";
        report += L"\n";
      }
      if (!options.selectLanguage.empty()) {
        bool selected = languages->SelectLanguage(options.selectLanguage.c_str());
        report += L"select-language " + options.selectLanguage + (selected ? L": done\n" : L": failed\n");
        report += L"current language: " + Text(languages->GetCurrentLanguage()) + L"\n";
      }
    }
  }
  if (options.printTexts) {
    auto* texts = reinterpret_cast<IResourceManager*>(store.Get("SelfFree_ResourceManager"));
    if (texts == nullptr) {
      report += L"texts: no SelfFree_ResourceManager (no LocalizationManager command ran)\n";
    } else {
      std::vector<std::wstring> ids;
      texts->EnumerateStrings(CollectId, &ids);
      report += L"texts: " + std::to_wstring(ids.size()) + L"\n";
      std::vector<wchar_t> buffer(kTextCapacity);
      for (const std::wstring& id : ids) {
        texts->GetString(id.c_str(), buffer.data(), kTextCapacity);
        report += L"  " + id + L"=" + buffer.data() + L"\n";
      }
    }
  }
  return report;
}
