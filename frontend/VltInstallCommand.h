// VltInstall: a whole install in one command, for scripts that need no file and
// service commands of their own. It unpacks "installerpackage.exe" from the
// application folder into String_InstallPath with progress from 0 to 75 by
// unpacked bytes, registers the "vlserv" service (85), writes the start-menu and
// startup shortcuts (90, then 100). A failure publishes its text and -1 through
// the progress protocol; the command itself still returns 0 and nothing done so
// far is rolled back.
#pragma once

#include "engine/InstallCommand.h"

class CVltInstallCommand : public CInstallCommand {
 public:
  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  // The steps, each 0 or a Windows or UnRAR error.
  int32_t SumUnpackedSize(const wchar_t* archive, int64_t* total);
  int32_t ExtractPackage(const wchar_t* archive, const wchar_t* target);
  int32_t InstallVlservService(const wchar_t* installPath);
  int32_t SetShortcuts(const wchar_t* installPath);
  int32_t CreateLnkShortcut(const wchar_t* target, const wchar_t* folder, const wchar_t* name,
                            const wchar_t* description);

  HANDLE cancelHandle = INVALID_HANDLE_VALUE;
  HANDLE progressEvent = nullptr;
  CRITICAL_SECTION* storeLock = nullptr;

  SELFFREE_DESTRUCTOR(CVltInstallCommand)

 private:
  void Publish(int32_t percent);
  void PublishFailure(const wchar_t* text);
};

// Empties folder: files are deleted (a failure is kept, the last one wins, and the
// walk goes on), subfolders are emptied and removed. With keepFolder false the
// folder itself goes too. 0, or the error that stands.
DWORD DeleteTreeContents(const wchar_t* folder, bool keepFolder);
