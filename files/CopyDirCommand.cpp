#include "files/CopyDirCommand.h"

#include <cstdlib>
#include <cwchar>

#include "engine/Log.h"
#include "files/FileTexts.h"
#include "files/PathHelpers.h"
#include "files/TreeWalkers.h"

CCopyDirCommand::~CCopyDirCommand() {
  free(sourceDir);
  sourceDir = nullptr;
  free(destinationDir);
  destinationDir = nullptr;
}

int32_t CCopyDirCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  HRESULT hr = reader.ReadCopy(L"sourceDir", &sourceDir);
  if (hr != S_OK) return hr;
  hr = reader.ReadCopy(L"destinationDir", &destinationDir);
  if (hr != S_OK) return hr;
  int32_t number = 0;
  if (reader.ReadNumber(L"overwriteExistingFilesAndFolders", &number) == S_OK) overwrite = number != 0;
  return kStatusOk;
}

int32_t CCopyDirCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  LogMessage(filetext::kCopyDirExecuting);
  LogMessage(filetext::kCopyDirRoughSource, sourceDir);
  LogMessage(filetext::kCopyDirRoughDestination, destinationDir);
  wchar_t* source = ExpandOrCopy(sourceDir, filetext::kCopyDirSourceKept);
  wchar_t* destination = ExpandOrCopy(destinationDir, filetext::kCopyDirDestinationKept);
  LogMessage(filetext::kCopyDirPreparing, source, destination);
  // The walk reports by its result only, and CopyDir goes on whatever it is.
  CopyTree(source, destination, overwrite);
  LogMessage(filetext::kCopyDirFinished);
  free(source);
  free(destination);
  return kStatusOk;
}
