#include "frontend/CommandLineParserCommand.h"

#include <cwchar>
#include <vector>

#include "engine/Bounded.h"
#include "engine/Log.h"
#include "engine/Store.h"
#include "engine/StoreNames.h"
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
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  wchar_t installPath[kPathCapacity] = L" ";
  wchar_t defaultLanguage[kLanguageCapacity] = L" ";
  bool silent = false;
  bool update = false;
  bool sendAur = false;
  bool forceFail = false;

  CString* own = StoreGetString(storename::kCommandLine);
  CString* parent = StoreGetString(storename::kParentCommandLine);
  if (parent == nullptr) {
    parent = MakeString(GetParentCommandLine().c_str());
    StorePutObject(storename::kParentCommandLine, parent);
  }

  std::vector<wchar_t> buffer(kSearchCapacity);
  wchar_t* search = buffer.data();
  bool haveText = true;
  if (own != nullptr) {
    BoundedCopy(search, kSearchCapacity, own->text);
    if (parent != nullptr) BoundedCopy(search + wcslen(search), kSearchCapacity - wcslen(search), parent->text);
  } else if (parent != nullptr) {
    BoundedCopy(search, kSearchCapacity, parent->text);
  } else {
    LogMessage(frontendtext::kNoCommandLine, index);
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
      LogMessage(frontendtext::kInstallPathSwitch, index, installPath);
    }
    if (wchar_t* language = wcsstr(search, L"/lang=")) {
      wchar_t* value = language + 6;
      size_t length = wcsnlen(value, kLanguageLength);
      wchar_t saved = value[length];
      value[length] = L'\0';
      BoundedCopy(defaultLanguage, kLanguageCapacity, value);
      value[length] = saved;
      LogMessage(frontendtext::kLanguageSwitch, index, defaultLanguage);
    }
  }

  StorePut(storename::kIsSilent, silent ? 1 : 0);
  StorePut(storename::kIsUpdate, update ? 1 : 0);
  if (sendAur) StorePut(storename::kSendAur, 1);
  StorePut(storename::kForceFail, forceFail ? 1 : 0);
  StorePutObject(storename::kCmdLineInstallPath, MakeString(installPath));
  StorePutObject(storename::kCmdLineDefaultLanguage, MakeString(defaultLanguage));
  return frame.Done();
}
