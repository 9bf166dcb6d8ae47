#include "tests/files/UnrarFixtures.h"

#include <algorithm>
#include <fstream>
#include <iterator>

namespace {

std::wstring ProgramFolder() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  std::wstring folder(path);
  return folder.substr(0, folder.find_last_of(L"\\/") + 1);
}

std::wstring FullPath(const std::wstring& path) {
  wchar_t full[MAX_PATH * 4] = {};
  DWORD length = GetFullPathNameW(path.c_str(), MAX_PATH * 4, full, nullptr);
  return length > 0 && length < MAX_PATH * 4 ? std::wstring(full) : path;
}

void Walk(const std::wstring& root, const std::wstring& relative, std::vector<std::wstring>* entries) {
  WIN32_FIND_DATAW data;
  HANDLE find = FindFirstFileW((root + relative + L"*").c_str(), &data);
  if (find == INVALID_HANDLE_VALUE) return;
  do {
    std::wstring name = data.cFileName;
    if (name == L"." || name == L"..") continue;
    if (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
      entries->push_back(relative + name + L"\\");
      Walk(root, relative + name + L"\\", entries);
    } else {
      entries->push_back(relative + name);
    }
  } while (FindNextFileW(find, &data));
  FindClose(find);
}

std::wstring WithSlash(const std::wstring& folder) {
  return !folder.empty() && folder.back() != L'\\' ? folder + L"\\" : folder;
}

}  // namespace

std::wstring ArchivesFolder() { return FullPath(ProgramFolder() + L"..\\unrar-archives\\"); }

std::wstring Archive(const wchar_t* name) { return ArchivesFolder() + name; }

std::wstring SourceTree() { return ArchivesFolder() + L"tree\\"; }

std::wstring MakeTempFolder(const wchar_t* stem) {
  static LONG counter = 0;
  wchar_t temp[MAX_PATH] = {};
  GetTempPathW(MAX_PATH, temp);
  std::wstring folder = std::wstring(temp) + stem + L"-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
                        std::to_wstring(InterlockedIncrement(&counter)) + L"\\";
  RemoveTree(folder);
  CreateDirectoryW(folder.c_str(), nullptr);
  return folder;
}


std::vector<std::wstring> ListTree(const std::wstring& root) {
  std::vector<std::wstring> entries;
  Walk(WithSlash(root), L"", &entries);
  std::sort(entries.begin(), entries.end());
  return entries;
}

size_t CountFiles(const std::wstring& root) {
  std::vector<std::wstring> entries = ListTree(root);
  return std::count_if(entries.begin(), entries.end(), [](const std::wstring& e) { return e.back() != L'\\'; });
}



std::string CompareTrees(const std::wstring& expected, const std::wstring& actual) {
  std::vector<std::wstring> want = ListTree(expected);
  std::vector<std::wstring> got = ListTree(actual);
  if (want.empty()) return "the expected tree " + Narrow(expected) + " is empty or missing";
  if (want != got) {
    std::string report = "the trees hold different names:";
    for (auto& name : want) {
      if (std::find(got.begin(), got.end(), name) == got.end()) report += "\n  missing " + Narrow(name);
    }
    for (auto& name : got) {
      if (std::find(want.begin(), want.end(), name) == want.end()) report += "\n  extra " + Narrow(name);
    }
    return report;
  }
  for (const std::wstring& name : want) {
    if (name.back() == L'\\') continue;
    if (ReadAll(WithSlash(expected) + name) != ReadAll(WithSlash(actual) + name)) {
      return "the bytes of " + Narrow(name) + " differ";
    }
  }
  return "";
}

std::string Narrow(const std::wstring& text) {
  int bytes = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr);
  std::string narrow(bytes > 0 ? bytes - 1 : 0, '\0');
  if (bytes > 1) WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, &narrow[0], bytes, nullptr, nullptr);
  return narrow;
}

std::wstring Widen(const std::string& text) {
  int chars = MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, nullptr, 0);
  std::wstring wide(chars > 0 ? chars - 1 : 0, L'\0');
  if (chars > 1) MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, &wide[0], chars);
  return wide;
}
