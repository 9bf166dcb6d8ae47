// VltRunAsUser: starts a program in the session of the user who is logged on,
// with that user's token, so that a service-run or elevated installer can open
// the installed program on the user's desktop with the user's rights. When no
// user can be found it starts the program as its own child instead.
//
//   <VltRunAsUser command="[InstallPath]\tool.exe" args="/first-run"
//                 currentDir="[InstallPath]" waitAmount="0"/>
//
// The command never fails the script: what happens is in the log only. Its lock
// is entered twice and left once, so the first thread that runs it keeps it.
#pragma once

#include <windows.h>
#include <wtsapi32.h>

#include "engine/InstallCommand.h"
#include "frontend/FrontendTexts.h"

class CVltRunAsUserCommand : public CInstallCommand {
 public:
  static constexpr const wchar_t* kTag = frontendtext::kRunAsUserTag;
  static constexpr FrameStyle kFrame{kTag, kFrameEntersTwice};
  // The process ran, but in the installer's own context, not as the user.
  static constexpr int32_t kStartedNotAsUser = 1245;  // ERROR_NOT_LOGGED_ON
  // The command line, quotes and terminator included; longer is fatal.
  static constexpr size_t kCommandLineCapacity = 260;

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  // waitAmount is optional, but the status of its lookup is Load's answer: a
  // script without it fails to load, and gives waitAmount="0" for no wait.
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  // Starts commandLine in the chosen user session, or as a plain child when
  // that fails; waits waitAmount for it. 0, 1245 for the plain child, or the
  // error of the start.
  int32_t RunProcessInUserSession(wchar_t* commandLine, const wchar_t* workingDir);

  ScopedText command;
  ScopedText args;        // or none
  ScopedText currentDir;  // or none: the installer's own
  int32_t waitAmount = 0;  // milliseconds, -1 without limit

  SELFFREE_DESTRUCTOR(CVltRunAsUserCommand)
};

// The session whose user gets the program: the highest id among the active
// sessions, or 0 when none is active.
DWORD ChooseUserSession(const WTS_SESSION_INFOW* sessions, DWORD count);
