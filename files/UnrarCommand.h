// Unrar: extracts a RAR archive into a folder through the UnRAR library.
//
// Two passes over the archive (files/RarExtraction.h): the first sums the
// unpacked sizes, the second extracts and publishes progress, counted in unpacked
// bytes, in int_<progressVar> (percent) and String_<progressVar> (the file just
// extracted), both under storeLock so that a reader sees a pair. The walk may
// cancel it between two files.
//
// Failures are logged and reported through errVar and int_ReturnCode with the
// library's code (15: cannot open, 12: broken data, 22: password needed, ...) or
// 1223 when cancelled; Execute itself returns 0 so the script decides. A file that
// cannot be created (16) ends the extraction but counts as a success.
//
// refresh="0" turns the whole command off, not only its progress: nothing is
// extracted then.
#pragma once

#include <cstdint>

#include "engine/InstallCommand.h"
#include "files/FileTexts.h"

class CUnrarCommand : public CInstallCommand {
 public:
  static constexpr const wchar_t* kTag = filetext::kUnrarTag;
  static constexpr FrameStyle kFrame{kTag};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  ScopedText archive;
  ScopedText destination;
  bool refreshEnabled = true;
  int32_t refreshInterval = 300;
  ScopedNarrowText progressIntName;   // "int_" and the progressVar name
  ScopedNarrowText progressTextName;  // "String_" and the progressVar name

  SELFFREE_DESTRUCTOR(CUnrarCommand)

 private:
  // The two passes with the command's log lines. 0, the library's code of what
  // failed, 87 without a folder, or 1223 when cancelled.
  int32_t Unpack(const wchar_t* archivePath, const wchar_t* target, HANDLE cancelHandle,
                 CRITICAL_SECTION* storeLock);
  void PublishProgress(int64_t done, int64_t size, const wchar_t* fileName, CRITICAL_SECTION* storeLock);
  void SetProgressNames(const wchar_t* name);
};
