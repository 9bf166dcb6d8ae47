#include "tests/files/FileHelpers.h"

#include <objbase.h>

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "files/PathHelpers.h"

namespace {

std::wstring StripPrefix(const std::wstring& source) {
  return source.compare(0, 4, L"\\??\\") == 0 ? source.substr(4) : source;
}

bool Below(const std::wstring& source, std::wstring path) {
  if (!path.empty() && path.back() == L'\\') path.pop_back();
  std::wstring plain = StripPrefix(source);
  return _wcsicmp(plain.c_str(), path.c_str()) == 0 ||
         (plain.size() > path.size() && _wcsnicmp(plain.c_str(), path.c_str(), path.size()) == 0 &&
          plain[path.size()] == L'\\');
}

}  // namespace

FileHolder::~FileHolder() {
  if (process_ == nullptr) return;
  TerminateProcess(process_, 0);
  WaitForSingleObject(process_, 5000);
  CloseHandle(process_);
}

std::wstring FileHolder::ProgramPath() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  std::wstring self = path;
  return self.substr(0, self.find_last_of(L'\\') + 1) + L"..\\files\\file_holder.exe";
}

std::unique_ptr<FileHolder> FileHolder::Start(const std::wstring& exePath, const std::wstring& arguments) {
  static LONG counter = 0;
  std::wstring eventName = L"Local\\file_holder_" + std::to_wstring(GetCurrentProcessId()) + L"_" +
                           std::to_wstring(InterlockedIncrement(&counter));
  HANDLE ready = CreateEventW(nullptr, TRUE, FALSE, eventName.c_str());
  std::wstring commandLine = L"\"" + exePath + L"\" " + arguments + L" " + eventName;
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION process = {};
  std::unique_ptr<FileHolder> holder(new FileHolder());
  if (CreateProcessW(nullptr, &commandLine[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process)) {
    CloseHandle(process.hThread);
    holder->process_ = process.hProcess;
    HANDLE waits[2] = {ready, process.hProcess};
    if (WaitForMultipleObjects(2, waits, FALSE, 10000) != WAIT_OBJECT_0) ADD_FAILURE() << "the child was not ready";
  } else {
    ADD_FAILURE() << "cannot start the child: " << GetLastError();
  }
  CloseHandle(ready);
  return holder;
}

std::unique_ptr<FileHolder> FileHolder::Hold(const std::wstring& path) {
  return Start(ProgramPath(), L"hold \"" + path + L"\"");
}

std::unique_ptr<FileHolder> FileHolder::Run(const std::wstring& exePath) { return Start(exePath, L"run"); }

std::vector<PendingRename> PendingRenames() {
  std::vector<PendingRename> list;
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kSessionManagerKey, 0, KEY_READ, &key) != ERROR_SUCCESS) return list;
  DWORD size = 0;
  RegQueryValueExW(key, kPendingRenameValue, nullptr, nullptr, nullptr, &size);
  std::vector<wchar_t> data(size / sizeof(wchar_t) + 3, L'\0');
  if (size > 0 && RegQueryValueExW(key, kPendingRenameValue, nullptr, nullptr, reinterpret_cast<BYTE*>(data.data()),
                                   &size) == ERROR_SUCCESS) {
    for (const wchar_t* cursor = data.data(); *cursor != L'\0';) {
      std::wstring source = cursor;
      cursor += source.size() + 1;
      std::wstring target = cursor;
      cursor += target.size() + 1;
      list.emplace_back(source, target);
    }
  }
  RegCloseKey(key);
  return list;
}

void SetPendingRenames(const std::vector<PendingRename>& list) {
  std::wstring data;
  for (const PendingRename& pair : list) data += pair.first + L'\0' + pair.second + L'\0';
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kSessionManagerKey, 0, KEY_SET_VALUE, &key) != ERROR_SUCCESS) return;
  if (data.empty()) {
    // Wine's MoveFileExW mis-appends to a value of no data, cutting the first
    // character off the entry it adds: an empty list is written as no value.
    RegDeleteValueW(key, kPendingRenameValue);
  } else {
    data.push_back(L'\0');
    RegSetValueExW(key, kPendingRenameValue, 0, REG_MULTI_SZ, reinterpret_cast<const BYTE*>(data.data()),
                   static_cast<DWORD>(data.size() * sizeof(wchar_t)));
  }
  RegCloseKey(key);
}

std::vector<std::wstring> QueuedUnder(const std::wstring& path) {
  std::vector<std::wstring> sources;
  for (const PendingRename& pair : PendingRenames()) {
    if (Below(pair.first, path)) sources.push_back(StripPrefix(pair.first));
  }
  return sources;
}

void ForgetPendingRenames(const std::wstring& path) {
  std::vector<PendingRename> list = PendingRenames();
  std::vector<PendingRename> kept;
  for (const PendingRename& pair : list) {
    if (!Below(pair.first, path)) kept.push_back(pair);
  }
  if (kept.size() != list.size()) SetPendingRenames(kept);
}

std::wstring MovedTo(const std::wstring& log) {
  size_t line = log.find(L"CDeleteFileCommand MoveFile ");
  size_t to = log.find(L" to ", line);
  size_t res = log.find(L" res = ", to);
  if (line == std::wstring::npos || to == std::wstring::npos || res == std::wstring::npos) return L"";
  return log.substr(to + 4, res - to - 4);
}

void RemoveTree(const std::wstring& path) {
  std::wstring bare = path;
  if (!bare.empty() && bare.back() == L'\\') bare.pop_back();
  WIN32_FIND_DATAW found;
  HANDLE search = FindFirstFileW((bare + L"\\*").c_str(), &found);
  if (search != INVALID_HANDLE_VALUE) {
    do {
      std::wstring name = found.cFileName;
      std::wstring child = bare + L"\\" + name;
      if (name == L"." || name == L"..") continue;
      if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
        RemoveTree(child);
      } else {
        SetFileAttributesW(child.c_str(), FILE_ATTRIBUTE_NORMAL);
        DeleteFileW(child.c_str());
      }
    } while (FindNextFileW(search, &found));
    FindClose(search);
  }
  RemoveDirectoryW(bare.c_str());
}

bool Exists(const std::wstring& path) { return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

std::string ReadAll(const std::wstring& path) {
  std::ifstream file(path.c_str(), std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

void WriteAll(const std::wstring& path, const std::string& content) {
  for (size_t slash = path.find(L'\\', 3); slash != std::wstring::npos; slash = path.find(L'\\', slash + 1)) {
    CreateDirectoryW(path.substr(0, slash).c_str(), nullptr);
  }
  std::ofstream(path.c_str(), std::ios::binary) << content;
}

std::wstring TempFolder() {
  wchar_t temp[MAX_PATH] = {};
  GetTempPathW(MAX_PATH, temp);
  return temp;
}

std::wstring NewTempFolder(const wchar_t* stem) {
  GUID guid;
  CoCreateGuid(&guid);
  wchar_t name[80] = {};
  swprintf_s(name, 80, L"%s-%08lx%04x%04x", stem, guid.Data1, guid.Data2, guid.Data3);
  std::wstring folder = TempFolder() + name + L"\\";
  CreateDirectoryW(folder.c_str(), nullptr);
  return folder;
}
