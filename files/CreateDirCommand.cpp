#include "files/CreateDirCommand.h"

#include <shlobj.h>
#include <shlwapi.h>

#include <cstdlib>

#include "engine/LogLibrary.h"
#include "files/FileTexts.h"
#include "files/PathHelpers.h"

namespace {
constexpr const char* kSite = "CCreateDirCommand::Execute";
constexpr const wchar_t* kWideSite = L"CCreateDirCommand::Execute";
}  // namespace

CCreateDirCommand::~CCreateDirCommand() {
  free(path);
  path = nullptr;
}

int32_t CCreateDirCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  reader.ReadCopy(L"path", &path);
  return kStatusOk;
}

int32_t CCreateDirCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  using namespace filetext;
  if (!TryEnterCriticalSection(&lock)) {
    MirrorLog(kSite, kWideSite, kLogLevelError, kBusy, index, kCreateDirTag);
    return kStatusBusy;
  }
  MirrorLog(kSite, kWideSite, kLogLevelInfo, kBegin, index, kCreateDirTag);
  ReplaceWithExpansion(&path);
  if (!PathFileExistsW(path)) {
    int result = SHCreateDirectoryExW(nullptr, path, nullptr);
    // Another process (or a forked chain) may make the same directory between
    // the test and the creation; that is the outcome the script wanted.
    if (result != ERROR_SUCCESS && result != ERROR_FILE_EXISTS && result != ERROR_ALREADY_EXISTS) SetErrorVar();
  }
  MirrorLog(kSite, kWideSite, kLogLevelInfo, kEnd, index, kCreateDirTag, GetNextIndex());
  LeaveCriticalSection(&lock);
  return kStatusOk;
}
