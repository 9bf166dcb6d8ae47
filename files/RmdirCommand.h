// Rmdir: removes a directory, now or at the next boot.
//
//   <Rmdir path="[InstallPath]" recursive="1" deleteAfterReboot="1" skipFolders="[InstallPath]logs;[InstallPath]user"/>
//
// The path is expanded and canonicalized, and the two flags choose the action:
//
//   onlyOnReboot  recursive  action
//   1             1          queue every file and directory of the tree for the next boot
//   1             0          queue the directory alone for the next boot
//   0             1          delete the tree now; with deleteAfterReboot (the
//                            default) queue what cannot go now; leave skipFolders
//   0             0          remove the directory if it is empty
//
// skipFolders (";"-separated full paths, compared without regard to case and not
// canonicalized) only matter in the third row. A recursive action on a path of a
// single character does nothing. Failures are not reported: the command returns 0.
#pragma once

#include "engine/InstallCommand.h"
#include "files/FileTexts.h"

class CRmdirCommand : public CInstallCommand {
 public:
  static constexpr FrameStyle kFrame{filetext::kRmdirTag, kFrameNoBeginLine};  // begins with the path instead

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  // path and recursive are required.
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  ScopedText path;
  bool recursive = false;
  bool onlyOnReboot = false;
  bool deleteAfterReboot = true;
  ScopedText skipFolders;

  SELFFREE_DESTRUCTOR(CRmdirCommand)
};
