// LanguageRecord: one language an install offers, as the language file
// describes it. Records are copied freely (the list is reordered by copying), so
// a copy owns copies of the texts.
#pragma once

#include <list>
#include <map>
#include <string>

#include "engine/ScopedHandle.h"

class LanguageRecord {
 public:
  LanguageRecord() = default;
  LanguageRecord(const wchar_t* code, const wchar_t* displayName, const wchar_t* package, const wchar_t* downloadText,
                 bool rtl, bool installed);
  LanguageRecord(const LanguageRecord& other);
  LanguageRecord& operator=(const LanguageRecord& other);

  // Adds a variable unless the name is already there: the first value stands.
  void AddVariable(const std::string& name, const std::wstring& value);

  ScopedText code;                                // element name, e.g. en-US; compared without case
  ScopedText displayName;                         // attribute name
  ScopedText package;                             // attribute package: a file of the language folder
  ScopedText downloadText;                        // attribute downloadRequired, or null: shown while not installed
  bool rtl = false;                               // attribute rtl is exactly "true"
  bool installed = false;                         // false for a language known only online, until its package came
  std::map<std::string, std::wstring> variables;  // store name -> text
};

typedef std::list<LanguageRecord> LanguageList;
