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

#include "diagnostics/Downloader.h"
#include "diagnostics/LanguageRecord.h"
#include "engine/HostInterfaces.h"
#include "engine/ScopedHandle.h"
#include "engine/SelfFree.h"

class IMultiLanguageApi : public CSelfFree {
 public:
  // Slot 2. False for a null or unknown code, or when the package cannot be
  // fetched or started.
  virtual bool SelectLanguage(const wchar_t* code) = 0;
  // Slot 3. The list, after waiting for the online language file (once, without
  // a time limit) unless the list is final. Stays the manager's.
  virtual LanguageList* GetLanguages() = 0;
  // Slot 4. The display name, valid until the next call; empty for an unknown code.
  virtual const wchar_t* GetLanguageName(const wchar_t* code) = 0;
  // Slot 5. The selected language's code, null before the first selection.
  virtual const wchar_t* GetCurrentLanguage() = 0;
  virtual bool IsLanguageInstalled(const wchar_t* code) = 0;  // slot 6
  virtual bool IsLanguageRtl(const wchar_t* code) = 0;        // slot 7
  // Slot 8. Reduces the list to that one language; false for an unknown code.
  virtual bool ForceSingleLanguage(const wchar_t* code) = 0;
  // Slot 9. The list as it stands, at once.
  virtual LanguageList* PeekLanguages() = 0;
};

class CMultiLanguageApi : public IMultiLanguageApi {
 public:
  CMultiLanguageApi();
  ~CMultiLanguageApi();

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
  CFileInfo* onlineFile;  // released with Free; a clone of the downloader's record once it took the request
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
