// The language manager's interface, the object under SelfFree_MultiLanguageApi:
// the languages an install offers and the current one.
#pragma once

#include "engine/SelfFree.h"
#include "engine/interfaces/LanguageRecord.h"

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
