#include "frontend/ConsoleCommand.h"

#include <io.h>

#include <cstdio>
#include <cwchar>

#include "diagnostics/MultiLanguageApi.h"
#include "engine/Bounded.h"
#include "engine/Log.h"
#include "engine/Store.h"
#include "engine/StoreNames.h"

namespace {

const size_t kProgressTextCapacity = 1024;

// Waits for the next publication. 0 when it came.
DWORD WaitForProgress(HANDLE event) { return WaitForSingleObject(event, INFINITE); }

// Opens a console for /verbose: the parent's, or a new one. Standard output is
// only reopened on the console when it is not already somewhere: under Wine,
// reopening a redirected stdout (a pipe, a file) can lose or close it.
void OpenConsole() {
  if (!AttachConsole(ATTACH_PARENT_PROCESS)) AllocConsole();
  HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
  bool redirected = _fileno(stdout) >= 0 && _get_osfhandle(_fileno(stdout)) != -1 &&
                    GetFileType(output) != FILE_TYPE_UNKNOWN && GetFileType(output) != FILE_TYPE_CHAR;
  if (!redirected) freopen("conout$", "w", stdout);
}

}  // namespace

int32_t CVltConsoleCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  CInstallCommand::Load(attributes);
  return kStatusOk;
}

bool CVltConsoleCommand::SearchSwitches(const wchar_t* text) {
  if (wcsstr(text, L"/verbose") != nullptr) verbose = true;
  if (wcsstr(text, L"/remove") != nullptr) {
    remove = true;
  } else if (wcsstr(text, L"/repair") != nullptr) {
    repair = true;
  } else if (wcsstr(text, L"/update") != nullptr) {
    update = true;
  } else {
    return false;
  }
  return true;
}

void CVltConsoleCommand::ParseConsoleSwitches() {
  CString* own = StoreGetString(storename::kCommandLine);
  if (own != nullptr && SearchSwitches(own->text)) return;
  CString* parent = StoreGetString(storename::kParentCommandLine);
  if (parent != nullptr) SearchSwitches(parent->text);
}

int32_t CVltConsoleCommand::Execute(HANDLE, CRITICAL_SECTION* storeLock) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  int32_t result = kStatusOk;
  ParseConsoleSwitches();
  if (verbose) OpenConsole();

  HANDLE progressEvent = reinterpret_cast<HANDLE>(StoreGet(storename::kInstallProgressEvent));
  HANDLE startEvent = reinterpret_cast<HANDLE>(StoreGet(storename::kStartInstallEvent));
  if (progressEvent == nullptr) {
    LogMessage(frontendtext::kNoProgressEvent, index);
    result = kStatusBusy;
  } else if (startEvent == nullptr) {
    LogMessage(frontendtext::kNoStartEvent, index);
    result = kStatusBusy;
  } else {
    fputs(frontendtext::kConsoleRunning, stdout);
    IMultiLanguageApi* languages = StoreGetObject<IMultiLanguageApi>(storename::kMultiLanguageApi);
    if (languages == nullptr) {
      LogMessage(frontendtext::kNoLanguageApi, index, kTag);
    } else if (CString* language = StoreGetString(storename::kDefaultLanguage)) {
      languages->SelectLanguage(language->text);
    }

    if (StoreGetInt32(storename::kIsVeltoInstalled) == 0) {
      // A product that is not there is installed, whatever the switches say.
      fputs(frontendtext::kConsoleInstalling, stdout);
      install = true;
      if (CString* path = StoreGetString(storename::kInstallPath)) {
        printf(frontendtext::kConsoleInstallPath, path->text);
      }
    } else if (remove || repair || update) {
      StorePut(storename::kUserActionInstall, 0);
      StorePut(storename::kUserActionUninstall, remove ? 1 : 0);
      StorePut(storename::kUserActionRepair, repair ? 1 : 0);
      StorePut(storename::kUserActionUpdate, update ? 1 : 0);
      fputs(remove   ? frontendtext::kConsoleUninstalling
            : repair ? frontendtext::kConsoleRepairing
                     : frontendtext::kConsoleUpdating,
            stdout);
    }
    fflush(stdout);
    SetEvent(startEvent);

    DWORD waited = WaitForProgress(progressEvent);
    while (result == kStatusOk) {
      if (waited != WAIT_OBJECT_0) {
        LogMessage(frontendtext::kProgressWaitFailed, index, waited);
        result = kStatusBusy;
        break;
      }
      EnterCriticalSection(storeLock);
      int32_t percent = StoreGetInt32(storename::kInstallProgressPercent);
      CString* text = StoreGetString(storename::kInstallProgressText);
      if (StoreGetInt32(storename::kInstallFailed) != 0) {
        CString* reason = StoreGetString(storename::kInstallFailReason);
        LeaveCriticalSection(storeLock);
        // The reason is printed after the lock is left, as the writer may not
        // replace it in between: the work has ended.
        if (reason != nullptr) {
          printf(frontendtext::kConsoleFailed, reason->text);
        } else {
          fputs(frontendtext::kConsoleFailedUnknown, stdout);
        }
        fflush(stdout);
        break;
      }
      wchar_t progressText[kProgressTextCapacity] = L"";
      if (text != nullptr) BoundedCopy(progressText, kProgressTextCapacity, text->text);
      LeaveCriticalSection(storeLock);
      printf(frontendtext::kConsoleProgress, progressText, percent);
      fflush(stdout);
      if (percent >= 100 || percent == -1) break;
      waited = WaitForProgress(progressEvent);
    }
  }
  if (verbose) FreeConsole();
  return frame.Done(result);
}
