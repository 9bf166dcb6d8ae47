// CopyDir: copies a directory tree.
//
//   <CopyDir sourceDir="[Media]app\" destinationDir="[InstallPath]" overwriteExistingFilesAndFolders="0"/>
//
// Both paths must end in a backslash (see CopyTree). Unlike most commands it runs
// without the execution guard: it never answers 1359, is never marked executed
// (so GetNextIndex warns after it) and logs no end line. It returns 0 whatever
// happens to the copy; only the log tells.
#pragma once

#include "engine/InstallCommand.h"
#include "files/FileTexts.h"

class CCopyDirCommand : public CInstallCommand {
 public:
  static constexpr FrameStyle kFrame{filetext::kCopyDirTag, kFrameBare};  // no guard, no frame lines, never marked

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  // sourceDir and destinationDir are required.
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  ScopedText sourceDir;
  ScopedText destinationDir;
  bool overwrite = true;

  SELFFREE_DESTRUCTOR(CCopyDirCommand)
};
