// The language select of the dialog's first page: the list of the installer's
// languages, the reaction to a pick, and the change of language on a thread of
// its own (a language known only online is downloaded first).
//
// LanguageSwitchThread works on the page from outside the window's thread,
// while that thread goes on pumping messages; the library's element functions
// take the document's lock. Nothing else keeps the two apart: a pick cannot
// come while the select is disabled, and the select stays disabled until the
// change succeeded.
#include <cwchar>
#include <string>
#include <vector>

#include "engine/Bounded.h"
#include "engine/Log.h"
#include "engine/Store.h"
#include "engine/StoreNames.h"
#include "engine/interfaces/MessageBoxProvider.h"
#include "engine/interfaces/ResourceManager.h"
#include "frontend/WelcomeInterfaceCommand.h"

using namespace welcometext;

void CVltWelcomeInterfaceCommand::BuildLanguageList(HELEMENT root) {
  if (languageApi == nullptr) return;
  const HtmlayoutLibrary& hl = *Htmlayout();
  HELEMENT select = FindElementById(root, kLanguageSelect);
  if (select == nullptr) return;
  // The library builds a dropdown select as caption, button and the list of options.
  HELEMENT options = nullptr;
  hl.HTMLayoutGetNthChild(select, 2, &options);
  HELEMENT caption = SelectFirstElement(select, kCaptionSelector);
  if (options == nullptr || caption == nullptr) return;
  hl.HTMLayout_UseElement(options);
  hl.HTMLayout_UseElement(caption);
  hl.HTMLayoutSetElementInnerText16(options, L"", 0);
  hl.HTMLayoutSetElementInnerText16(caption, L"", 0);

  LanguageList* list = languageApi->GetLanguages();
  LanguageList languages = list != nullptr ? *list : LanguageList();
  FillLanguageOptions(options, languages);
  ShowLanguageCaption(caption);
  if (languages.size() == 1) hl.HTMLayoutSetAttributeByName(select, "disabled", L"");
  hl.HTMLayout_UnuseElement(caption);
  hl.HTMLayout_UnuseElement(options);
}

void CVltWelcomeInterfaceCommand::FillLanguageOptions(HELEMENT options, const LanguageList& languages) {
  const HtmlayoutLibrary& hl = *Htmlayout();
  // The reference language's download text is copied though nothing reads it:
  // a reference language without one is a fatal error, as it has always been.
  wchar_t referenceDownload[kDownloadTextCapacity];
  for (const LanguageRecord& record : languages) {
    if (record.code && wcscmp(record.code.Get(), kReferenceLanguage) == 0) {
      if (!record.downloadText) FailFastOverrun();
      BoundedCopy(referenceDownload, kDownloadTextCapacity, record.downloadText.Get());
      break;
    }
  }

  CString* defaultLanguage = StoreGetString(storename::kDefaultLanguage);
  bool first = true;
  for (const LanguageRecord& record : languages) {
    wchar_t text[kOptionTextCapacity];
    BoundedCopy(text, kOptionTextCapacity, record.displayName ? record.displayName.Get() : L"");
    if (!record.installed) {
      // A language that has to be downloaded says so.
      std::wstring shown = text;
      BoundedFormat(text, kOptionTextCapacity, L"%s%s%s", shown.c_str(), kDownloadSeparator,
                    record.downloadText ? record.downloadText.Get() : L"");
    }
    HELEMENT option = nullptr;
    hl.HTMLayoutCreateElement(kOptionTag, text, &option);
    const wchar_t* code = record.code ? record.code.Get() : L"";
    hl.HTMLayoutSetAttributeByName(option, kLanguageCode, code);
    std::wstring id(kOptionId, kOptionId + strlen(kOptionId));
    hl.HTMLayoutSetAttributeByName(option, "id", id.c_str());
    // The default stands first; the comparison is exact, unlike the manager's.
    if (defaultLanguage != nullptr && wcscmp(defaultLanguage->text, code) == 0) {
      hl.HTMLayoutInsertElement(option, options, 0);
      if (selectedLanguage == nullptr) {
        selectedLanguage = _wcsdup(code);
        selectedLanguageRtl = record.rtl;
      }
    } else {
      hl.HTMLayoutInsertElement(option, options, kAppendIndex);
    }
    if (first) selectedLanguageRtl = record.rtl;
    first = false;
  }
  if (languages.size() == 1) hl.HTMLayoutSetAttributeByName(options, "disabled", L"");
}

void CVltWelcomeInterfaceCommand::ShowLanguageCaption(HELEMENT caption) {
  CString* defaultLanguage = StoreGetString(storename::kDefaultLanguage);
  if (defaultLanguage == nullptr) return;
  const wchar_t* name = languageApi->GetLanguageName(defaultLanguage->text);
  if (name == nullptr || *name == L'\0') {
    // The default names no known language: show the current one, and make
    // the variable say so.
    const wchar_t* current = languageApi->GetCurrentLanguage();
    if (current != nullptr) {
      std::wstring code = current;
      name = languageApi->GetLanguageName(code.c_str());
      StorePutObject(storename::kDefaultLanguage, MakeString(code.c_str()));
      SelfFreeRelease(defaultLanguage);
    }
  }
  if (name != nullptr && *name != L'\0') {
    Htmlayout()->HTMLayoutSetElementInnerText16(caption, name, static_cast<UINT>(wcslen(name)));
  }
}

void CVltWelcomeInterfaceCommand::OnLanguageSelected(HELEMENT target) {
  const HtmlayoutLibrary& hl = *Htmlayout();
  HELEMENT root = RootOf(target);
  HELEMENT current = nullptr;
  hl.HTMLayoutGetNthChild(target, 0, &current);
  free(selectedLanguage);
  selectedLanguage = nullptr;
  LPCWSTR code = nullptr;
  if (current != nullptr) hl.HTMLayoutGetAttributeByName(current, kLanguageCode, &code);
  if (code == nullptr && current != nullptr) {
    if (HELEMENT next = NextSibling(current)) hl.HTMLayoutGetAttributeByName(next, kLanguageCode, &code);
  }
  if (code == nullptr) return;
  selectedLanguage = _wcsdup(code);

  if (!languageApi->IsLanguageInstalled(selectedLanguage)) {
    if (HELEMENT overlay = FindElementById(root, kOverlay)) {
      hl.HTMLayoutSetStyleAttribute(overlay, "display", L"block");
      hl.HTMLayoutUpdateElement(overlay, FALSE);
    }
  }
  for (const char* id : {kLanguageSelect, kAgree}) {
    if (HELEMENT element = FindElementById(root, id)) {
      hl.HTMLayoutSetAttributeByName(element, "disabled", L"");
      InvalidateElement(element);
    }
  }
  // The thread's handle is not kept: nothing waits for it.
  HANDLE thread = CreateThread(nullptr, 0, LanguageSwitchThread, this, 0, nullptr);
  (void)thread;
}

DWORD WINAPI CVltWelcomeInterfaceCommand::LanguageSwitchThread(LPVOID parameter) {
  auto* self = static_cast<CVltWelcomeInterfaceCommand*>(parameter);
  const HtmlayoutLibrary& hl = *Htmlayout();
  bool selected = self->languageApi->SelectLanguage(self->selectedLanguage);
  HELEMENT root = nullptr;
  hl.HTMLayoutGetRootElement(self->hwnd, &root);
  if (selected) {
    for (const char* id : {kLanguageSelect, kAgree}) {
      if (HELEMENT element = FindElementById(root, id)) hl.HTMLayoutSetAttributeByName(element, "disabled", nullptr);
    }
    self->selectedLanguageRtl = self->languageApi->IsLanguageRtl(self->selectedLanguage);
    // The reload brings the page back with the new language's texts.
    PostMessageW(self->hwnd, WM_HTMLAYOUT_HARD_REFRESH, 0, 0);
    return 0;
  }
  if (root != nullptr) {
    if (HELEMENT overlay = FindElementById(root, kOverlay)) {
      hl.HTMLayoutSetStyleAttribute(overlay, "display", L"none");
      hl.HTMLayoutUpdateElement(overlay, TRUE);
    }
  }
  self->BuildLanguageList(root);
  // The select and the start button stay disabled: the user can only close.
  auto* box = StoreGetObject<IMessageBoxProvider>(storename::kMessageBox);
  auto* resources = StoreGetObject<IResourceManager>(storename::kResourceManager);
  if (box == nullptr || resources == nullptr) {
    LogMessage(kNoMessageBox, self->index, kTag);
    return 0;
  }
  wchar_t text[kMessageCapacity] = {};
  wchar_t title[kMessageCapacity] = {};
  resources->GetString(kLanguageFailedText, text, kMessageCapacity);
  resources->GetString(kLanguageFailedTitle, title, kMessageCapacity);
  box->ShowMessage(text, title, kButtonsOk, kIconWarning, reinterpret_cast<uintptr_t>(self->hwnd), 0);
  return 0;
}
