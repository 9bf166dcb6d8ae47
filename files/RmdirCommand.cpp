#include "files/RmdirCommand.h"

#include <shlwapi.h>

#include <cstdlib>
#include <cwchar>
#include <vector>

#include "engine/Log.h"
#include "files/FileTexts.h"
#include "files/PathHelpers.h"
#include "files/TreeWalkers.h"

namespace {

// The entries of skipFolders, each a heap copy; empty entries are not kept.
std::vector<wchar_t*> SplitSkipFolders(const wchar_t* text) {
  std::vector<wchar_t*> entries;
  wchar_t* copy = _wcsdup(text);
  if (copy == nullptr) return entries;
  wchar_t* context = nullptr;
  for (wchar_t* token = wcstok_s(copy, L";", &context); token != nullptr; token = wcstok_s(nullptr, L";", &context)) {
    wchar_t* entry = _wcsdup(token);
    if (entry != nullptr) entries.push_back(entry);
  }
  free(copy);
  return entries;
}

}  // namespace

CRmdirCommand::~CRmdirCommand() {
  free(path);
  path = nullptr;
  free(skipFolders);
  skipFolders = nullptr;
}

int32_t CRmdirCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  HRESULT hr = reader.ReadCopy(L"path", &path);
  if (hr != S_OK) return hr;
  reader.ReadCopy(L"skipFolders", &skipFolders);
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
  if (!EnterGuard(kRmdirTag)) return kStatusBusy;
  // The path is logged as given, as expanded and as canonicalized.
  LogMessage(kRmdirPath, index, kRmdirTag, path);
  if (path != nullptr && ReplaceIfExpanded(&path)) LogMessage(kRmdirPath, index, kRmdirTag, path);

  if (path != nullptr && *path != L'\0') {
    wchar_t canonical[2 * MAX_PATH] = {};
    if (PathCanonicalizeW(canonical, path)) {
      wchar_t* copy = _wcsdup(canonical);
      if (copy != nullptr) {
        free(path);
        path = copy;
      }
    }
    LogMessage(kRmdirPath, index, kRmdirTag, path);

    // The results are not looked at: whatever could not be removed stays, or
    // waits for the next boot.
    if (onlyOnReboot && recursive) {
      if (wcslen(path) > 1) ScheduleTreeDelete(path, nullptr, nullptr);
    } else if (onlyOnReboot) {
      MoveFileExW(path, nullptr, MOVEFILE_DELAY_UNTIL_REBOOT);
    } else if (recursive) {
      std::vector<wchar_t*> skip;
      if (skipFolders != nullptr && *skipFolders != L'\0') {
        if (ReplaceIfExpanded(&skipFolders)) LogMessage(kRmdirSkipFolders, index, kRmdirTag, skipFolders);
        skip = SplitSkipFolders(skipFolders);
      }
      if (wcslen(path) > 1) DeleteTree(path, deleteAfterReboot, nullptr, nullptr, skip.empty() ? nullptr : &skip);
      for (wchar_t* entry : skip) free(entry);
    } else {
      RemoveDirectoryW(path);
    }
  }
  return FinishExecute(kRmdirTag, kStatusOk);
}
