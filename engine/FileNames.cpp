#include "engine/FileNames.h"

#include <cwchar>
#include <cwctype>

#include "engine/EngineTexts.h"

namespace {

// CON, PRN, AUX, NUL, COM1-9 and LPT1-9, whatever follows a dot or blanks.
bool IsDeviceName(const wchar_t* name) {
  size_t stem = wcscspn(name, L".");
  while (stem > 0 && name[stem - 1] == L' ') --stem;
  auto is = [&](const wchar_t* device) { return stem == wcslen(device) && _wcsnicmp(name, device, stem) == 0; };
  if (is(L"CON") || is(L"PRN") || is(L"AUX") || is(L"NUL")) return true;
  return stem == 4 && (_wcsnicmp(name, L"COM", 3) == 0 || _wcsnicmp(name, L"LPT", 3) == 0) && name[3] >= L'1' &&
         name[3] <= L'9';
}

}  // namespace

const wchar_t* WhyNotBareFileName(const wchar_t* name) {
  if (name == nullptr || name[0] == L'\0') return enginetext::kNameEmpty;
  if (wcscmp(name, L".") == 0 || wcscmp(name, L"..") == 0) return enginetext::kNameDots;
  for (const wchar_t* c = name; *c != L'\0'; ++c) {
    if (*c == L'\\' || *c == L'/') return enginetext::kNameHasSeparator;
    if (*c == L':') return enginetext::kNameHasColon;
    if (*c < 0x20 || wcschr(L"<>\"|?*", *c) != nullptr) return enginetext::kNameHasForbidden;
  }
  wchar_t last = name[wcslen(name) - 1];
  if (last == L'.' || last == L' ') return enginetext::kNameTrailing;
  if (IsDeviceName(name)) return enginetext::kNameDevice;
  return nullptr;
}
