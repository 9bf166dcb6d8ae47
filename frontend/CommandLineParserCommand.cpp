#include "frontend/CommandLineParserCommand.h"

#include <cwchar>

#include "engine/Bounded.h"
#include "engine/Log.h"
#include "engine/Store.h"
#include "probes/Platform.h"

namespace {
const size_t kPathCapacity = 260;
const size_t kLanguageCapacity = 64;
const size_t kSearchCapacity = 1024;
const size_t kLanguageLength = 5;
}  // namespace

int32_t CVltCommandLineParserCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  CInstallCommand::Load(attributes);
  return kStatusOk;
}

int32_t CVltCommandLineParserCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  if (!TryEnterCriticalSection(&lock)) {
    LogMessage(L"%i: VltCommandLine Error: Multiple threads attempting execution.\n", index);
    return kStatusBusy;
  }
  wchar_t installPath[kPathCapacity] = L" ";
  wchar_t defaultLanguage[kLanguageCapacity] = L" ";
  bool silent = false;
  bool update = false;
  bool sendAur = false;
  bool forceFail = false;

  CString* own = StoreGetString("String_CommandLine");
  CString* parent = StoreGetString("String_ParrentCommandLine");
  if (parent == nullptr) {
    parent = MakeString(GetParentCommandLine().c_str());
    StorePutObject("String_ParrentCommandLine", parent);
  }

  wchar_t* search = new wchar_t[kSearchCapacity];
  search[0] = L'\0';
  bool haveText = true;
  if (own != nullptr) {
    BoundedCopy(search, kSearchCapacity, own->text);
    if (parent != nullptr) BoundedCopy(search + wcslen(search), kSearchCapacity - wcslen(search), parent->text);
  } else if (parent != nullptr) {
    BoundedCopy(search, kSearchCapacity, parent->text);
  } else {
    LogMessage(L"%i: VltCommandLine Could not get command line\n", index);
    haveText = false;
  }

  if (haveText) {
    silent = wcsstr(search, L"/silent") != nullptr;
    update = wcsstr(search, L"/update") != nullptr;
    sendAur = wcsstr(search, L"/aur") != nullptr;
    forceFail = wcsstr(search, L"/crash") != nullptr;

    if (wchar_t* path = wcsstr(search, L"/path=")) {
      wchar_t* value = path + 6;
      wchar_t* end = wcschr(value, L' ');
      // Quotes mean nothing here: the value runs to the next blank, and the text
      // is put back as it was after the copy.
      wchar_t saved = L'\0';
      if (end != nullptr) {
        saved = *end;
        *end = L'\0';
      }
      BoundedCopy(installPath, kPathCapacity, value);
      if (end != nullptr) *end = saved;
      size_t length = wcslen(installPath);
      if (length > 0 && installPath[length - 1] == L'\\') installPath[length - 1] = L'\0';
      LogMessage(L"%i: VrtCommandLine Install path is %s", index, installPath);
    }
    if (wchar_t* language = wcsstr(search, L"/lang=")) {
      wchar_t* value = language + 6;
      size_t length = wcsnlen(value, kLanguageLength);
      wchar_t saved = value[length];
      value[length] = L'\0';
      BoundedCopy(defaultLanguage, kLanguageCapacity, value);
      value[length] = saved;
      LogMessage(L"%i: VrtCommandLine Default language is %s", index, defaultLanguage);
    }
  }
  delete[] search;

  StorePut("int_IsSilent", silent ? 1 : 0);
  StorePut("int_IsUpdate", update ? 1 : 0);
  if (sendAur) StorePut("int_SendAur", 1);
  StorePut("int_ForceFail", forceFail ? 1 : 0);
  StorePutObject("String_CmdLineInstallPath", MakeString(installPath));
  StorePutObject("String_CmdLineDefaultLanguage", MakeString(defaultLanguage));

  // Not marked executed: the engine's warning follows every run.
  LogMessage(L"%i: VltCommandLine End execute. Next command %i.\n", index, GetNextIndex());
  LeaveCriticalSection(&lock);
  return kStatusOk;
}
