// The language manager: which languages an install offers, where each comes
// from, and what choosing one means. Published as SelfFree_MultiLanguageApi by
// the Multilanguage command.
//
// The languages come from a language file in the language folder:
//
//   <lang><languages>
//     <en-US name="English" package="lang-en-US.exe">
//       <Metrics suffix="en"/>                     -> String_LanguageMetricsSuffix
//       <WelcomeTitle string="Welcome"/>           -> String_WelcomeTitle
//     </en-US>
//     <ar-SA name="..." package="..." rtl="true" downloadRequired="(download)"/>
//   </languages></lang>
//
// and from its ".online" twin, fetched through the engine's downloader from the
// online location while the install goes on, and merged on the first
// GetLanguages: it can re-word the variables of a language and add languages
// (not installed until their package is downloaded), never remove one.
//
// Selecting a language downloads its package if needed, runs it (the package
// leaves the language's XLIFF files in the folder), publishes its variables, sets
// the process's text direction and reloads the texts of SelfFree_ResourceManager.
//
// No lock of its own: the command's thread builds it, and the front end calls
// it from one thread at a time. The waits on downloads have no time limit.
#pragma once

#include <msxml2.h>
#include <windows.h>

#include <cstdint>

#include "engine/ScopedHandle.h"
#include "engine/SelfFree.h"
#include "engine/interfaces/Downloads.h"
#include "engine/interfaces/HostInterfaces.h"
#include "engine/interfaces/LanguageRecord.h"
#include "engine/interfaces/MultiLanguage.h"

class CMultiLanguageApi : public IMultiLanguageApi {
 public:
  CMultiLanguageApi();

  bool SelectLanguage(const wchar_t* code) override;
  LanguageList* GetLanguages() override;
  const wchar_t* GetLanguageName(const wchar_t* code) override;
  const wchar_t* GetCurrentLanguage() override;
  bool IsLanguageInstalled(const wchar_t* code) override;
  bool IsLanguageRtl(const wchar_t* code) override;
  bool ForceSingleLanguage(const wchar_t* code) override;
  LanguageList* PeekLanguages() override;

  // Reads the local language file, asks the downloader for the online one when
  // an online location is given, and publishes the variables of defaultLanguage
  // (or else of the first language) without selecting it. Called once.
  void Initialize(const wchar_t* langDir, const wchar_t* configFileName, const wchar_t* onlineLocationText,
                  const wchar_t* defaultLanguage);
  // Moves the languages the cloud list names to the front, in its order, selects
  // preferred (or the first of them) and drops every other language. A list that
  // names none stays whole. Either way the list is final afterwards.
  void ApplyCloudList(MultiStringList* cloud, const wchar_t* preferred);

  LanguageList languages;
  ScopedText languageFolder;
  ScopedText configFile;
  ScopedText onlineLocation;  // may be null
  ScopedText currentLanguage;
  ScopedSelfFree<CFileInfo> onlineFile;  // a clone of the downloader's record once it took the request
  CFileSizeInfo* onlineSizeInfo;  // left to the process's end, like every size info
  ScopedText nameBuffer;
  bool onlineWaitDone = false;
  bool listFinal = false;

  SELFFREE_DESTRUCTOR(CMultiLanguageApi)

 private:
  void ReadLanguageFile(const wchar_t* path, bool local);
  void ReadVariables(IXMLDOMNode* language, LanguageRecord* record);
  void AddRecord(const LanguageRecord& record, bool local);
  LanguageList::iterator Find(const wchar_t* code);
  bool SelectRecord(LanguageRecord& record, const wchar_t* code);
  bool DownloadPackage(const LanguageRecord& record);
  void ApplyVariables(const LanguageRecord& record);
  void ApplyDefaultLanguage();
};
