#include "files/CopyDirCommand.h"

#include "engine/Expand.h"
#include "engine/Log.h"
#include "files/TreeWalkers.h"

int32_t CCopyDirCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  HRESULT hr = reader.ReadCopy(L"sourceDir", sourceDir);
  if (hr != S_OK) return hr;
  hr = reader.ReadCopy(L"destinationDir", destinationDir);
  if (hr != S_OK) return hr;
  int32_t number = 0;
  if (reader.ReadNumber(L"overwriteExistingFilesAndFolders", &number) == S_OK) overwrite = number != 0;
  return kStatusOk;
}

int32_t CCopyDirCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  using namespace filetext;
  ExecuteFrame frame(*this, kFrame);
  LogMessage(kCopyDirExecuting);
  LogMessage(kCopyDirRoughSource, sourceDir.Get());
  LogMessage(kCopyDirRoughDestination, destinationDir.Get());
  // A path that cannot be expanded (an unknown variable among them) is used with
  // its brackets, after a line that blames it on there being nothing to expand.
  bool expanded = true;
  ScopedText source = Expand(sourceDir.Get(), OnFailure::KeepText, &expanded);
  if (!expanded || !source) LogMessage(kCopyDirSourceKept);
  ScopedText destination = Expand(destinationDir.Get(), OnFailure::KeepText, &expanded);
  if (!expanded || !destination) LogMessage(kCopyDirDestinationKept);
  LogMessage(kCopyDirPreparing, source.Get(), destination.Get());
  // The walk reports by its result only, and CopyDir goes on whatever it is.
  CopyTree(source.Get(), destination.Get(), overwrite);
  LogMessage(kCopyDirFinished);
  return frame.Done(kStatusOk);
}
