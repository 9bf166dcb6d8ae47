#include "files/WriteIEADSCommand.h"

#include "engine/Bounded.h"
#include "engine/Expand.h"
#include "engine/Log.h"
#include "files/PathHelpers.h"

namespace {
// The terminating zero is part of the stream.
constexpr char kZoneContent[] = "[ZoneTransfer]\r\nZoneId=3";
static_assert(sizeof(kZoneContent) == 25, "24 characters and the zero byte");
constexpr const wchar_t* kZoneStream = L":Zone.Identifier";
}  // namespace

int32_t CWriteIEADSCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  return reader.ReadCopy(L"pathFile", pathFile);
}

int32_t CWriteIEADSCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  using namespace filetext;
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  ExpandField(pathFile, OnFailure::DropText);
  LogMessage(kZoneBegin, index, pathFile.Get());
  wchar_t stream[MAX_PATH] = {};
  if (!pathFile) {
    // A path whose variable could not be expanded: the bare stream name would
    // mark the current directory, so nothing is opened.
    BoundedAppend(stream, MAX_PATH, kZoneStream);
    LogMessage(kZoneOpenFailed, index, stream, ERROR_INVALID_PARAMETER);
    return frame.Done();
  }
  BoundedCopy(stream, MAX_PATH, pathFile.Get());
  BoundedAppend(stream, MAX_PATH, kZoneStream);
  // No sharing, and an earlier stream of that name is replaced.
  ScopedKernelHandle file(CreateFileW(stream, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
  if (!file) {
    LogMessage(kZoneOpenFailed, index, stream, GetLastError());
    return frame.Done();
  }
  DWORD written = 0;
  if (!WriteFile(file.Get(), kZoneContent, sizeof(kZoneContent), &written, nullptr)) {
    LogMessage(kZoneWriteFailed, index, stream, GetLastError());
  }
  return frame.Done();
}
