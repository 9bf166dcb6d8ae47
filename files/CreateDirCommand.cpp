#include "files/CreateDirCommand.h"

#include <shlobj.h>
#include <shlwapi.h>

#include "engine/Expand.h"

int32_t CCreateDirCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  reader.ReadCopy(L"path", path);
  return kStatusOk;
}

int32_t CCreateDirCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  // A path that cannot be expanded is no path: the creation below fails on it.
  ExpandField(path, OnFailure::DropText);
  if (!PathFileExistsW(path.Get())) {
    int result = SHCreateDirectoryExW(nullptr, path.Get(), nullptr);
    // Another process (or a forked chain) may make the same directory between
    // the test and the creation; that is the outcome the script wanted.
    if (result != ERROR_SUCCESS && result != ERROR_FILE_EXISTS && result != ERROR_ALREADY_EXISTS) SetErrorVar();
  }
  return frame.Done();
}
