#include "files/RmdirCommand.h"

#include <shlwapi.h>

#include <cwchar>
#include <string>
#include <vector>

#include "engine/Expand.h"
#include "engine/Log.h"
#include "files/TreeWalkers.h"

namespace {

// The entries of skipFolders; empty entries are not kept.
std::vector<std::wstring> SplitSkipFolders(const wchar_t* text) {
  std::vector<std::wstring> entries;
  ScopedText copy = CopyText(text);
  if (!copy) return entries;
  wchar_t* context = nullptr;
  for (wchar_t* token = wcstok_s(copy.Get(), L";", &context); token != nullptr;
       token = wcstok_s(nullptr, L";", &context)) {
    entries.emplace_back(token);
  }
  return entries;
}

}  // namespace

int32_t CRmdirCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  HRESULT hr = reader.ReadCopy(L"path", path);
  if (hr != S_OK) return hr;
  reader.ReadCopy(L"skipFolders", skipFolders);
  int32_t number = 0;
  hr = reader.ReadNumber(L"recursive", &number);
  if (hr != S_OK) return hr;
  recursive = number != 0;
  if (reader.ReadNumber(L"onlyOnReboot", &number) == S_OK) onlyOnReboot = number != 0;
  if (reader.ReadNumber(L"deleteAfterReboot", &number) == S_OK) deleteAfterReboot = number != 0;
  return kStatusOk;
}

int32_t CRmdirCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  using namespace filetext;
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  // The path is logged as given, as expanded and as canonicalized. A path that
  // cannot be expanded goes on as it stands, without the second line.
  LogMessage(kRmdirPath, index, kRmdirTag, path.Get());
  bool expanded = false;
  if (path) ExpandField(path, OnFailure::KeepText, &expanded);
  if (expanded) LogMessage(kRmdirPath, index, kRmdirTag, path.Get());

  if (path && *path.Get() != L'\0') {
    wchar_t canonical[2 * MAX_PATH] = {};
    if (PathCanonicalizeW(canonical, path.Get())) {
      ScopedText copy = CopyText(canonical);
      if (copy) path = std::move(copy);
    }
    LogMessage(kRmdirPath, index, kRmdirTag, path.Get());

    // The results are not looked at: whatever could not be removed stays, or
    // waits for the next boot.
    if (onlyOnReboot && recursive) {
      if (wcslen(path.Get()) > 1) ScheduleTreeDelete(path.Get(), nullptr, nullptr);
    } else if (onlyOnReboot) {
      MoveFileExW(path.Get(), nullptr, MOVEFILE_DELAY_UNTIL_REBOOT);
    } else if (recursive) {
      std::vector<std::wstring> entries;
      if (skipFolders && *skipFolders.Get() != L'\0') {
        bool skipExpanded = false;
        ExpandField(skipFolders, OnFailure::KeepText, &skipExpanded);
        if (skipExpanded) LogMessage(kRmdirSkipFolders, index, kRmdirTag, skipFolders.Get());
        entries = SplitSkipFolders(skipFolders.Get());
      }
      std::vector<wchar_t*> skip;
      for (std::wstring& entry : entries) skip.push_back(&entry[0]);
      TreeDelete options;
      options.deleteAfterReboot = deleteAfterReboot;
      options.skipFolders = skip.empty() ? nullptr : &skip;
      if (wcslen(path.Get()) > 1) DeleteTree(path.Get(), options);
    } else {
      RemoveDirectoryW(path.Get());
    }
  }
  return frame.Done();
}
