// UndoMoveFileEx: takes entries off the system's pending rename list, so that
// what an earlier step queued for the next boot is not carried out after all.
//
//   <UndoMoveFileEx path="[InstallPath]"/>
//
// Every pair of the list whose source (after its "\??\" prefix) begins with path
// is dropped: a directory's path drops all it holds. The comparison is
// case-sensitive and of plain characters, so path has to be written the way the
// list holds it. The list is written back even when nothing changed, and when
// every entry went it stays as an empty value. The read, edit and write take no
// lock against the system or other threads. Failures are logged; the command
// returns 0.
#pragma once

#include "engine/InstallCommand.h"
#include "files/FileTexts.h"

class CUndoMoveFileExCommand : public CInstallCommand {
 public:
  // Its begin line comes after the path's expansion, whose failure lines go first.
  static constexpr FrameStyle kFrame{filetext::kUndoMoveFileExTag, kFrameNoBeginLine};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  // path is optional; without it the list is left as it is.
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  ScopedText path;

  SELFFREE_DESTRUCTOR(CUndoMoveFileExCommand)
};

// The edit itself: copies the pairs of list (a REG_MULTI_SZ of sizeBytes bytes)
// that are not below path into output, adds the list's terminator when anything
// was kept, and returns the bytes kept (0 when nothing was). list and output
// must both have 8 bytes beyond sizeBytes, zero in list, so that a list that
// lacks its own terminators still ends inside them.
// A null path drops nothing and returns -1 when the list has an entry.
int64_t FilterPendingList(const wchar_t* list, size_t sizeBytes, const wchar_t* path, wchar_t* output);
