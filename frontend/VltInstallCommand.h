// VltInstall: a whole install in one command, for scripts that need no file and
// service commands of their own. It unpacks "installerpackage.exe" from the
// application folder into String_InstallPath with progress from 0 to 75 by
// unpacked bytes, registers the "vlserv" service (85), writes the start-menu and
// startup shortcuts (90, then 100). A failure publishes its text and -1 through
// the progress protocol; the command itself still returns 0 and nothing done so
// far is rolled back.
//
// The steps are the units of the subsystems below: the RAR passes and the link
// writer and tree delete of files/, the service calls of services/, the progress
// publisher of the progress commands. What is the sequence's own is its fixed
// names, its log lines and its percentages.
#pragma once

#include "engine/InstallCommand.h"

class CVltInstallCommand : public CInstallCommand {
 public:
  // Writes no begin line and never marks itself executed, so the engine's
  // warning follows every run.
  static constexpr FrameStyle kFrame{L"VltInstall", kFrameNoBeginLine | kFrameNeverMarked};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  // The steps, each 0 or a Windows or UnRAR error.
  int32_t ExtractPackage(const wchar_t* archive, const wchar_t* target);
  int32_t InstallVlservService(const wchar_t* installPath);
  int32_t SetShortcuts(const wchar_t* installPath);
  int32_t CreateLnkShortcut(const wchar_t* target, const wchar_t* folder, const wchar_t* name,
                            const wchar_t* description);

  HANDLE cancelHandle = INVALID_HANDLE_VALUE;
  HANDLE progressEvent = nullptr;
  CRITICAL_SECTION* storeLock = nullptr;

  SELFFREE_DESTRUCTOR(CVltInstallCommand)
};
