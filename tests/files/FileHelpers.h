// Helpers of the file command tests, for the plug-in tests and the script tests
// alike: child processes that keep files in use, the system's pending rename
// list, and plain file chores.
#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

// A file_holder.exe child, ready when made (at most 10 s); ended and waited for
// (at most 5 s) when destroyed.
class FileHolder {
 public:
  ~FileHolder();
  // Keeps path open without delete sharing, as another program would.
  static std::unique_ptr<FileHolder> Hold(const std::wstring& path);
  // Runs the image at exePath (a copy of file_holder.exe), which is then in use.
  static std::unique_ptr<FileHolder> Run(const std::wstring& exePath);
  // The holder program built beside the tests.
  static std::wstring ProgramPath();

 private:
  static std::unique_ptr<FileHolder> Start(const std::wstring& exePath, const std::wstring& arguments);
  HANDLE process_ = nullptr;
};

// One pair of the pending rename list: the source as the list holds it
// ("\??\C:\..."), the target ("" to delete, "!"-prefixed to replace).
typedef std::pair<std::wstring, std::wstring> PendingRename;
std::vector<PendingRename> PendingRenames();
// Writes the list back; an empty list removes the value.
void SetPendingRenames(const std::vector<PendingRename>& list);
// The sources, without their prefix, that are path or lie below it, in list order.
std::vector<std::wstring> QueuedUnder(const std::wstring& path);
// Drops those pairs from the list.
void ForgetPendingRenames(const std::wstring& path);

// Where DeleteFile moved a file aside: the target of its line
// "CDeleteFileCommand MoveFile <source> to <target> res = <n>" in log, or "".
std::wstring MovedTo(const std::wstring& log);

// Removes a tree, read-only files included; for clean-up only.
void RemoveTree(const std::wstring& path);
bool Exists(const std::wstring& path);
std::string ReadAll(const std::wstring& path);
// Writes content to path, making the missing directories above it.
void WriteAll(const std::wstring& path, const std::string& content);
// %TEMP% with its trailing backslash.
std::wstring TempFolder();
// A new folder under %TEMP% named after stem and a GUID, with a trailing backslash.
std::wstring NewTempFolder(const wchar_t* stem);
