// CopyFile: copies one file, optionally as the user logged on to the desktop.
//
//   <CopyFile sourceFile="[Media]readme.txt" destinationFile="[InstallPath]doc\readme.txt" allUsersAccess="1"/>
//
// The destination's directory is created with its parents, and an existing file
// is replaced. With allUsersAccess the copy runs under the token of explorer.exe,
// so that what it creates belongs to the desktop user; when no such token can be
// had, it runs under the process's own identity. Like CopyDir it runs without the
// execution guard, is never marked executed, logs no end line and returns 0: a
// failed copy shows only as the error in "Finished copying file: %d".
#pragma once

#include <vector>

#include "engine/InstallCommand.h"
#include "files/FileTexts.h"

class CCopyFileCommand : public CInstallCommand {
 public:
  static constexpr FrameStyle kFrame{filetext::kCopyFileTag, kFrameBare};  // no guard, no frame lines, never marked

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  // sourceFile and destinationFile are required.
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  ScopedText sourceFile;
  ScopedText destinationFile;
  bool allUsersAccess = false;
  // Set once an impersonation worked and never cleared: a later run of the same
  // object reverts even when its own impersonation failed.
  bool impersonated = false;

  SELFFREE_DESTRUCTOR(CCopyFileCommand)
};

// Puts the calling thread under the token of the desktop user, taken from the
// running explorer.exe processes; sets command->impersonated on success.
void ImpersonateExplorerUser(CCopyFileCommand* command);
// Appends the ids of all processes named explorer.exe (any case) to ids. Closes
// snapshot, a Toolhelp process snapshot, in every case. 1 on success, 0 when the
// snapshot could not be read.
int FindExplorerProcesses(std::vector<DWORD>* ids, HANDLE snapshot);
// Turns on SeImpersonatePrivilege for the process where it may; silent.
void EnablePrivilege();
// The primary token of the last of ids whose token could be duplicated, or null
// (the caller closes it). A process whose token cannot be duplicated throws away
// what earlier ones gave: it is the last id that decides. Logs each step.
HANDLE DuplicateExplorerToken(const std::vector<DWORD>& ids);
