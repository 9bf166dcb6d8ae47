// CreateDir: makes a directory with all its missing parents.
//
//   <CreateDir path="[InstallPath]data\cache" errVar="CreateFailed"/>
//
// A path that exists already is left alone. A directory that cannot be made sets
// int_<errVar> (when errVar is given) and logs nothing more; one that another
// process made a moment earlier is no failure. The command is never marked
// executed, so GetNextIndex warns before its end line. Its lines are mirrored
// into the second log sink (engine/LogLibrary.h).
#pragma once

#include "engine/InstallCommand.h"
#include "files/FileTexts.h"

class CCreateDirCommand : public CInstallCommand {
 public:
  // Guarded but never marked executed; the frame lines are mirrored.
  static constexpr FrameStyle kFrame{filetext::kCreateDirTag, kFrameNeverMarked | kFrameMirrored, nullptr,
                                     filetext::kCreateDirSite, filetext::kCreateDirSiteWide};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  // path is optional: without it the command tries to make no directory and
  // reports that as a failure.
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  ScopedText path;

  SELFFREE_DESTRUCTOR(CCreateDirCommand)
};
