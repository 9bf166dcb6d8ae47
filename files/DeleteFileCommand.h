// DeleteFile: deletes one file, read-only or not.
//
//   <DeleteFile pathFile="[InstallPath]old.dll" renameFile="1"/>
//
// With renameFile="1" (only 1 counts), a file that cannot be deleted, but
// exists, is moved out of the way to a new name in the temporary folder, and
// that name is queued for deletion at the next boot. That frees its place at
// once for a file that is in use but may be renamed, such as a running program.
// A file that cannot even be renamed stays where it is; what is queued then is
// only the empty placeholder GetTempFileNameW made.
//
// The command has no execution guard, is never marked executed and returns 0:
// failures show in the log only. Its main lines are mirrored into the second log
// sink (engine/LogLibrary.h).
#pragma once

#include "engine/InstallCommand.h"
#include "files/FileTexts.h"

class CDeleteFileCommand : public CInstallCommand {
 public:
  // No frame at all; only the command's own lines are mirrored, through
  // frame.Line.
  static constexpr FrameStyle kFrame{filetext::kDeleteFileTag, kFrameBare | kFrameMirrored, nullptr,
                                     filetext::kDeleteFileSite, filetext::kDeleteFileSiteWide};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  // pathFile is required.
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  ScopedText pathFile;
  bool renameFile = false;

  SELFFREE_DESTRUCTOR(CDeleteFileCommand)
};
