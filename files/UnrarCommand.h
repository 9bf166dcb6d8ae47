// Unrar: extracts a RAR archive into a folder through the UnRAR library.
//
// Two passes over the archive: the first sums the unpacked sizes, the second
// extracts and publishes progress, counted in unpacked bytes, in
// int_<progressVar> (percent) and String_<progressVar> (the file just extracted),
// both under storeLock so that a reader sees a pair. The walk may cancel it
// between two files.
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

struct RARHeaderDataEx;

class CUnrarCommand : public CInstallCommand {
 public:
  static constexpr const wchar_t* kTag = L"Unrar";

  CUnrarCommand() = default;
  ~CUnrarCommand();

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  wchar_t* archive = nullptr;
  wchar_t* destination = nullptr;
  bool refreshEnabled = true;
  int32_t refreshInterval = 300;
  char* progressIntName = nullptr;   // "int_" and the progressVar name
  char* progressTextName = nullptr;  // "String_" and the progressVar name

  SELFFREE_DESTRUCTOR(CUnrarCommand)

 private:
  // First pass: the sum of the unpacked sizes. Only a failed open fails it.
  int32_t GetUnpackedSize(wchar_t* archivePath, int64_t* size);
  // Second pass: extracts into target with progress. 0, the library's code of the
  // file that failed, 12 for a broken header, or 1223 when cancelled.
  int32_t ExtractArchive(wchar_t* archivePath, wchar_t* target, int64_t size, HANDLE cancelHandle,
                         CRITICAL_SECTION* storeLock);
  void PublishProgress(int64_t done, int64_t size, const wchar_t* fileName, CRITICAL_SECTION* storeLock);
  void SetProgressNames(const wchar_t* name);
  void FreeProgressNames();
};
