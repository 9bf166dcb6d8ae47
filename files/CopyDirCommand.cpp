#include "files/CopyDirCommand.h"

#include <cwchar>

#include "engine/Expand.h"
#include "engine/Log.h"
#include "files/TreeWalkers.h"

namespace {

// True when inner is outer or a folder below it, after both are made full paths
// (so "C:\A\..\A\B\" is seen for what it is), compared without case.
bool LiesWithin(const wchar_t* inner, const wchar_t* outer) {
  wchar_t innerFull[MAX_PATH * 2] = {};
  wchar_t outerFull[MAX_PATH * 2] = {};
  DWORD innerLength = GetFullPathNameW(inner, MAX_PATH * 2, innerFull, nullptr);
  DWORD outerLength = GetFullPathNameW(outer, MAX_PATH * 2, outerFull, nullptr);
  if (innerLength == 0 || outerLength == 0 || innerLength >= MAX_PATH * 2 - 1 || outerLength >= MAX_PATH * 2 - 1) {
    return false;
  }
  for (wchar_t* full : {innerFull, outerFull}) {
    size_t length = wcslen(full);
    if (length > 0 && full[length - 1] != L'\\') wcscat(full, L"\\");
  }
  return _wcsnicmp(innerFull, outerFull, wcslen(outerFull)) == 0;
}

}  // namespace

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
  if (LiesWithin(destination.Get(), source.Get())) {
    LogMessage(kCopyDirIntoItself, destination.Get(), source.Get());
    return frame.Done(kStatusOk);
  }
  LogMessage(kCopyDirPreparing, source.Get(), destination.Get());
  // The walk reports by its result only, and CopyDir goes on whatever it is.
  CopyTree(source.Get(), destination.Get(), overwrite);
  LogMessage(kCopyDirFinished);
  return frame.Done(kStatusOk);
}
