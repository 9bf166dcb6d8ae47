// Where a client's report file lives, and opening it.
//
// With a dbPath the file goes into that folder, made if missing. Without one it
// goes into the common application data folder (C:\ProgramData), in a folder
// named after the product; the product name then comes from the caller's script
// and must stay one plain folder name, never a way out of that folder.
#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <string>

constexpr wchar_t kReportFileName[] = L"UsageReport.jsonl";

struct FileCloser {
  void operator()(HANDLE file) const { CloseHandle(file); }
};
typedef std::unique_ptr<void, FileCloser> ScopedFile;

// True for a name that stays one folder below its parent: no separators, no
// ':', no wildcard or other character Windows refuses, not '.' or '..', no
// trailing dot or blank (Windows would drop them), no device name (CON, NUL.txt).
bool IsPlainFolderName(const wchar_t* name);

// The report folder for productName and dbPath (null or empty: none); 0 or a
// Windows error (123 for a product that is no plain folder name).
int32_t ChooseReportFolder(const wchar_t* productName, const wchar_t* dbPath, std::wstring* folder);

// Makes folder and the folders above it; 0, 267 when one of them is a file, or
// the system's error.
int32_t MakeFolders(std::wstring folder);

// Opens folder\UsageReport.jsonl for appending (made if missing), leaving others
// free to read, append and delete it; 0 or the system's error.
int32_t OpenReportFile(const std::wstring& folder, ScopedFile* file);
