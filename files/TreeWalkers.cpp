#include "files/TreeWalkers.h"

#include <windows.h>
#include <shlwapi.h>

#include <cwchar>
#include <io.h>

#include "engine/Bounded.h"
#include "engine/Log.h"
#include "engine/ScopedHandle.h"
#include "files/FileTexts.h"
#include "files/PathHelpers.h"

namespace {

bool IsDirectory(const WIN32_FIND_DATAW& found) { return (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }

}  // namespace

uint32_t CopyTree(const wchar_t* sourceDir, const wchar_t* destinationDir, bool overwrite) {
  if (sourceDir == nullptr || destinationDir == nullptr) return ERROR_INVALID_PARAMETER;
  if (!CreateDirectoryW(destinationDir, nullptr)) {
    DWORD error = GetLastError();
    if (error != ERROR_ALREADY_EXISTS) return error;
  }
  wchar_t pattern[MAX_PATH] = {};
  BoundedFormat(pattern, MAX_PATH, L"%s*", sourceDir);
  WIN32_FIND_DATAW found;
  ScopedFindHandle search(FindFirstFileW(pattern, &found));
  if (!search) return GetLastError();

  uint32_t result = 0;
  do {
    if (IsDotEntry(found.cFileName)) continue;
    wchar_t source[MAX_PATH] = {};
    BoundedFormat(source, MAX_PATH, L"%s%s", sourceDir, found.cFileName);
    wchar_t target[MAX_PATH] = {};
    BoundedCopy(target, MAX_PATH, destinationDir);
    BoundedAppend(target, MAX_PATH, found.cFileName);
    if (IsDirectory(found)) {
      AddBackslashOrFail(source);
      AddBackslashOrFail(target);
      result = CopyTree(source, target, overwrite);
      if (result != 0) break;
    } else {
      if (!overwrite && _waccess(target, 0) == 0) continue;
      if (!CopyFileW(source, target, FALSE)) {
        result = GetLastError();
        break;
      }
    }
  } while (FindNextFileW(search.Get(), &found));
  return result;
}

uint32_t ScheduleTreeDelete(const wchar_t* path, uint32_t* fileCount, const wchar_t* filter) {
  if (path == nullptr) return filetext::kCannotListTree;
  wchar_t pattern[MAX_PATH] = {};
  BoundedFormat(pattern, MAX_PATH, L"%s\\*", path);
  WIN32_FIND_DATAW found;
  ScopedFindHandle search(FindFirstFileW(pattern, &found));
  if (!search) return filetext::kCannotListTree;

  do {
    if (IsDotEntry(found.cFileName)) continue;
    wchar_t child[MAX_PATH] = {};
    BoundedFormat(child, MAX_PATH, L"%s\\%s", path, found.cFileName);
    if (IsDirectory(found)) {
      if (wcslen(child) >= 2 && ScheduleTreeDelete(child, fileCount, filter) != 0) break;
    } else {
      if (fileCount != nullptr) ++*fileCount;
      if (filter != nullptr && StrStrW(child, filter) == nullptr) continue;
      MoveFileExW(child, nullptr, MOVEFILE_DELAY_UNTIL_REBOOT);
    }
  } while (FindNextFileW(search.Get(), &found));
  // The loop ends on FindNextFileW's ERROR_NO_MORE_FILES, or early on a failed
  // subdirectory, whose error is still the thread's last one.
  DWORD code = GetLastError();
  if (code == ERROR_NO_MORE_FILES) code = 0;
  search.Reset();
  if (code != 0 || filter != nullptr) return code;
  MoveFileExW(path, nullptr, MOVEFILE_DELAY_UNTIL_REBOOT);
  return 0;
}

namespace {

void DeleteTreeLevel(const wchar_t* path, const TreeDelete& options, bool isRoot) {
  if (path == nullptr) return;
  if (options.skipFolders != nullptr) {
    for (const wchar_t* skip : *options.skipFolders) {
      if (_wcsicmp(path, skip) == 0) return;
    }
  }
  wchar_t pattern[MAX_PATH] = {};
  BoundedFormat(pattern, MAX_PATH, L"%s\\*", path);
  WIN32_FIND_DATAW found;
  ScopedFindHandle search(FindFirstFileW(pattern, &found));
  if (!search) return;

  DWORD failure = 0;
  do {
    if (IsDotEntry(found.cFileName)) continue;
    wchar_t child[MAX_PATH] = {};
    BoundedCopy(child, MAX_PATH, path);
    AppendPathOrFail(child, found.cFileName);
    if (IsDirectory(found)) {
      if (wcslen(child) >= 2) DeleteTreeLevel(child, options, false);
      continue;
    }
    SetFileAttributesW(child, FILE_ATTRIBUTE_NORMAL);
    if (options.fileCount != nullptr) ++*options.fileCount;
    if (options.filter != nullptr && StrStrW(child, options.filter) == nullptr) continue;
    if (DeleteFileW(child)) continue;
    DWORD error = GetLastError();
    if (!options.deleteAfterReboot) {
      failure = error;
    } else if (!MoveFileExW(child, nullptr, MOVEFILE_DELAY_UNTIL_REBOOT)) {
      failure = GetLastError();
      LogMessage(filetext::kCannotMoveFileEx, child, failure);
    }
  } while (FindNextFileW(search.Get(), &found));
  DWORD code = GetLastError();
  search.Reset();
  if (code == ERROR_NO_MORE_FILES) code = failure;
  if (code != 0 || options.filter != nullptr || (isRoot && options.keepRoot)) return;
  if (!RemoveDirectoryW(path) && options.deleteAfterReboot) MoveFileExW(path, nullptr, MOVEFILE_DELAY_UNTIL_REBOOT);
}

}  // namespace

void DeleteTree(const wchar_t* path, const TreeDelete& options) { DeleteTreeLevel(path, options, true); }

void DeleteTree(const wchar_t* path, bool deleteAfterReboot, uint32_t* fileCount, const wchar_t* filter,
                const std::vector<wchar_t*>* skipFolders) {
  TreeDelete options;
  options.deleteAfterReboot = deleteAfterReboot;
  options.fileCount = fileCount;
  options.filter = filter;
  options.skipFolders = skipFolders;
  DeleteTree(path, options);
}
