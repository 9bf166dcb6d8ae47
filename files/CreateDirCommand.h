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

class CCreateDirCommand : public CInstallCommand {
 public:
  ~CCreateDirCommand();
  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  // path is optional: without it the command tries to make no directory and
  // reports that as a failure.
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  wchar_t* path = nullptr;

  SELFFREE_DESTRUCTOR(CCreateDirCommand)
};
