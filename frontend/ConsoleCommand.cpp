#include "frontend/ConsoleCommand.h"

#include <io.h>

#include <cstdio>
#include <cwchar>

#include "diagnostics/MultiLanguageApi.h"
#include "engine/Bounded.h"
#include "engine/Log.h"
#include "engine/Store.h"

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
  CString* own = StoreGetString("String_CommandLine");
  if (own != nullptr && SearchSwitches(own->text)) return;
  CString* parent = StoreGetString("String_ParrentCommandLine");
  if (parent != nullptr) SearchSwitches(parent->text);
}

int32_t CVltConsoleCommand::Execute(HANDLE, CRITICAL_SECTION* storeLock) {
  if (!TryEnterCriticalSection(&lock)) {
    LogMessage(L"%i: VltConsole Error: Multiple threads attempting execution.\n", index);
    return kStatusBusy;
  }
  int32_t result = kStatusOk;
  ParseConsoleSwitches();
  if (verbose) OpenConsole();

  HANDLE progressEvent = reinterpret_cast<HANDLE>(StoreGet("HANDLE_InstallProgressEv"));
  HANDLE startEvent = reinterpret_cast<HANDLE>(StoreGet("HANDLE_StartInstallEv"));
  if (progressEvent == nullptr) {
    LogMessage(L"%i: VltConsole Error: Could not get InstallProgressEv!\n", index);
    result = kStatusBusy;
  } else if (startEvent == nullptr) {
    LogMessage(L"%i: VltConsole Error: Could not get StartInstallEv!\n", index);
    result = kStatusBusy;
  } else {
    printf("\nRunning silent installer\n");
    IMultiLanguageApi* languages = StoreGetObject<IMultiLanguageApi>("SelfFree_MultiLanguageApi");
    if (languages == nullptr) {
      LogMessage(L"%i: %s Warning: No MultiLanguageApi.\n", index, L"VltConsole");
    } else if (CString* language = StoreGetString("String_DefaultLanguage")) {
      languages->SelectLanguage(language->text);
    }

    if (StoreGetInt32("int_IsVeltoInstalled") == 0) {
      // A product that is not there is installed, whatever the switches say.
      printf("Installing!\n");
      install = true;
      if (CString* path = StoreGetString("String_InstallPath")) printf("Install path is %S\n", path->text);
    } else if (remove || repair || update) {
      StorePut("int_UserActionInstall", 0);
      StorePut("int_UserActionUninstall", remove ? 1 : 0);
      StorePut("int_UserActionRepair", repair ? 1 : 0);
      StorePut("int_UserActionUpdate", update ? 1 : 0);
      printf(remove ? "Uninstalling!\n" : repair ? "Repairing!\n" : "Updating!\n");
    }
    fflush(stdout);
    SetEvent(startEvent);

    DWORD waited = WaitForProgress(progressEvent);
    while (result == kStatusOk) {
      if (waited != WAIT_OBJECT_0) {
        LogMessage(L"%i: VltConsole Error: InstallProgressEv returned %d on wait!\n", index, waited);
        result = kStatusBusy;
        break;
      }
      EnterCriticalSection(storeLock);
      int32_t percent = StoreGetInt32("int_InstallProgressPercent");
      CString* text = StoreGetString("String_InstallProgressText");
      if (StoreGetInt32("int_InstallFailed") != 0) {
        CString* reason = StoreGetString("String_InstallFailReason");
        LeaveCriticalSection(storeLock);
        // The reason is printed after the lock is left, as the writer may not
        // replace it in between: the work has ended.
        if (reason != nullptr) {
          printf("Error while installing: %S\n", reason->text);
        } else {
          printf("Unknown error while installing!\n");
        }
        fflush(stdout);
        break;
      }
      wchar_t progressText[kProgressTextCapacity] = L"";
      if (text != nullptr) BoundedCopy(progressText, kProgressTextCapacity, text->text);
      LeaveCriticalSection(storeLock);
      printf("%S - %d%%\n", progressText, percent);
      fflush(stdout);
      if (percent >= 100 || percent == -1) break;
      waited = WaitForProgress(progressEvent);
    }
  }
  if (verbose) FreeConsole();
  // Not marked executed: the engine's warning follows every run.
  LogMessage(L"%i: VltConsole End execute. Next command %i.\n", index, GetNextIndex());
  LeaveCriticalSection(&lock);
  return result;
}
