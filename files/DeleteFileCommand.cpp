#include "files/DeleteFileCommand.h"

#include <shlwapi.h>

#include "engine/Expand.h"
#include "engine/Log.h"
#include "engine/LogLibrary.h"

int32_t CDeleteFileCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  HRESULT hr = reader.ReadCopy(L"pathFile", pathFile);
  if (hr != S_OK) return hr;
  int32_t number = 0;
  if (reader.ReadNumber(L"renameFile", &number) == S_OK) renameFile = number == 1;
  return kStatusOk;
}

int32_t CDeleteFileCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  using namespace filetext;
  ExecuteFrame frame(*this, kFrame);
  frame.Line(kLogLevelInfo, kDeleteExecuting);
  frame.Line(kLogLevelInfo, kDeleteRoughPath, pathFile.Get());
  // A path whose variable cannot be expanded becomes null, and the calls below
  // then fail on it and log their error.
  ExpandField(pathFile, OnFailure::DropText);
  frame.Line(kLogLevelInfo, kDeletePreparing, pathFile.Get());

  SetFileAttributesW(pathFile.Get(), FILE_ATTRIBUTE_NORMAL);
  if (!DeleteFileW(pathFile.Get())) {
    DWORD error = GetLastError();
    frame.Line(kLogLevelError, kDeleteError, error);
    if (renameFile && error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND) {
      wchar_t folder[MAX_PATH] = {};
      wchar_t target[MAX_PATH] = {};
      GetTempPathW(MAX_PATH, folder);
      // The file's own name is the prefix, of which the system keeps three
      // characters; the call creates the target file.
      if (GetTempFileNameW(folder, PathFindFileNameW(pathFile.Get()), 0, target) == 0) {
        LogMessage(kTempNameFailed, index, kDeleteFileClass);
      } else {
        BOOL moved = MoveFileExW(pathFile.Get(), target, MOVEFILE_REPLACE_EXISTING);
        LogMessage(kDeleteMoved, pathFile.Get(), target, moved);
        // Queued even when the move failed: the placeholder goes at the next boot.
        BOOL queued = MoveFileExW(target, nullptr, MOVEFILE_DELAY_UNTIL_REBOOT);
        LogMessage(kDeleteQueued, queued);
      }
    }
  }
  frame.Line(kLogLevelInfo, kDeleteFinished);
  return frame.Done(kStatusOk);
}
