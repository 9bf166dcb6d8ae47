#include "engine/interfaces/LanguageRecord.h"

#include <cstdlib>
#include <cwchar>

namespace {

wchar_t* Duplicate(const wchar_t* text) { return text != nullptr ? _wcsdup(text) : nullptr; }

}  // namespace

LanguageRecord::LanguageRecord(const wchar_t* code, const wchar_t* displayName, const wchar_t* package,
                               const wchar_t* downloadText, bool rtl, bool installed)
    : code(Duplicate(code)),
      displayName(Duplicate(displayName)),
      package(Duplicate(package)),
      downloadText(Duplicate(downloadText)),
      rtl(rtl),
      installed(installed) {}

LanguageRecord::LanguageRecord(const LanguageRecord& other)
    : LanguageRecord(other.code, other.displayName, other.package, other.downloadText, other.rtl, other.installed) {
  variables = other.variables;
}

LanguageRecord& LanguageRecord::operator=(const LanguageRecord& other) {
  if (this == &other) return *this;
  Release();
  code = Duplicate(other.code);
  displayName = Duplicate(other.displayName);
  package = Duplicate(other.package);
  downloadText = Duplicate(other.downloadText);
  rtl = other.rtl;
  installed = other.installed;
  variables = other.variables;
  return *this;
}

LanguageRecord::~LanguageRecord() { Release(); }

void LanguageRecord::AddVariable(const std::string& name, const std::wstring& value) { variables.emplace(name, value); }

void LanguageRecord::Release() {
  for (wchar_t** field : {&code, &displayName, &package, &downloadText}) {
    free(*field);
    *field = nullptr;
  }
}
