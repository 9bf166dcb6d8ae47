#include "files/WriteIEADSCommand.h"

#include <cstdlib>

#include "engine/Bounded.h"
#include "engine/Log.h"
#include "files/FileTexts.h"
#include "files/PathHelpers.h"

namespace {
// The terminating zero is part of the stream.
constexpr char kZoneContent[] = "[ZoneTransfer]\r\nZoneId=3";
static_assert(sizeof(kZoneContent) == 25, "24 characters and the zero byte");
}  // namespace

CWriteIEADSCommand::~CWriteIEADSCommand() {
  free(pathFile);
  pathFile = nullptr;
}

int32_t CWriteIEADSCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  return reader.ReadCopy(L"pathFile", &pathFile);
}

int32_t CWriteIEADSCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  using namespace filetext;
  if (!EnterGuard(kWriteIEADSTag)) return kStatusBusy;
  ReplaceWithExpansion(&pathFile);
  LogMessage(kZoneBegin, index, pathFile);
  wchar_t stream[MAX_PATH] = {};
  if (pathFile == nullptr) {
    // A path whose variable could not be expanded: the bare stream name would
    // mark the current directory, so nothing is opened.
    BoundedAppend(stream, MAX_PATH, L":Zone.Identifier");
    LogMessage(kZoneOpenFailed, index, stream, ERROR_INVALID_PARAMETER);
    return FinishExecute(kWriteIEADSTag, kStatusOk);
  }
  BoundedCopy(stream, MAX_PATH, pathFile);
  BoundedAppend(stream, MAX_PATH, L":Zone.Identifier");
  // No sharing, and an earlier stream of that name is replaced.
  HANDLE file = CreateFileW(stream, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    LogMessage(kZoneOpenFailed, index, stream, GetLastError());
  } else {
    DWORD written = 0;
    if (!WriteFile(file, kZoneContent, sizeof(kZoneContent), &written, nullptr)) {
      LogMessage(kZoneWriteFailed, index, stream, GetLastError());
    }
    CloseHandle(file);
  }
  return FinishExecute(kWriteIEADSTag, kStatusOk);
}
