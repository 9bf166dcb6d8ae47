#include "engine/interfaces/LanguageRecord.h"

LanguageRecord::LanguageRecord(const wchar_t* code, const wchar_t* displayName, const wchar_t* package,
                               const wchar_t* downloadText, bool rtl, bool installed)
    : code(CopyText(code)),
      displayName(CopyText(displayName)),
      package(CopyText(package)),
      downloadText(CopyText(downloadText)),
      rtl(rtl),
      installed(installed) {}

LanguageRecord::LanguageRecord(const LanguageRecord& other)
    : LanguageRecord(other.code.Get(), other.displayName.Get(), other.package.Get(), other.downloadText.Get(),
                     other.rtl, other.installed) {
  variables = other.variables;
}

LanguageRecord& LanguageRecord::operator=(const LanguageRecord& other) {
  if (this == &other) return *this;
  code = CopyText(other.code.Get());
  displayName = CopyText(other.displayName.Get());
  package = CopyText(other.package.Get());
  downloadText = CopyText(other.downloadText.Get());
  rtl = other.rtl;
  installed = other.installed;
  variables = other.variables;
  return *this;
}

void LanguageRecord::AddVariable(const std::string& name, const std::wstring& value) { variables.emplace(name, value); }
