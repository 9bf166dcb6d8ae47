// The test kit of every test program: text, files and temporary folders, child processes, raw slot calls,
// the pending rename list, the registry, real services and the RAR fixtures.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

// UTF-8 and back.
std::string Narrow(const std::wstring& text);
std::wstring Widen(const std::string& text);

// The folder of the running program, with a trailing backslash.
std::wstring ProgramFolder();
std::string ReadAll(const std::wstring& path);
// Writes content, making the folders above path.
void WriteAll(const std::wstring& path, const std::string& content);
bool Exists(const std::wstring& path);
// Removes a tree, read-only files included.
void RemoveTree(const std::wstring& path);
// %TEMP% with its trailing backslash.
std::wstring TempFolder();
// A new folder under %TEMP% named after stem and a GUID, with a trailing backslash.
std::wstring NewTempFolder(const wchar_t* stem);
// Every file and folder under root, relative and sorted; folders end in '\'.
std::vector<std::wstring> ListTree(const std::wstring& root);
size_t CountFiles(const std::wstring& root);
// Empty when both trees hold the same names and bytes, otherwise what differs.
std::string CompareTrees(const std::wstring& expected, const std::wstring& actual);

// A child process, at most timeoutMs, its output through files (children Wine starts may hold pipes).
struct ProcessResult {
  DWORD exitCode = ~0u;
  std::string out, err;
};
ProcessResult RunProcess(const std::wstring& commandLine, DWORD timeoutMs = 30000);

// Calls virtual slot `slot` of object as a caller built by another compiler would.
template <class R, class... A>
R CallSlot(void* object, int slot, A... args) {
  using Fn = R (*)(void*, A...);
  return reinterpret_cast<Fn>((*reinterpret_cast<void***>(object))[slot])(object, args...);
}

// The pending rename list: (source "\??\C:\...", target: "" deletes, "!"-prefixed replaces).
typedef std::pair<std::wstring, std::wstring> PendingRename;
std::vector<PendingRename> PendingRenames();
// An empty list removes the value (Wine mis-appends to a value of no data).
void SetPendingRenames(const std::vector<PendingRename>& list);
// The sources, without prefix, that are path or lie below it, in list order.
std::vector<std::wstring> QueuedUnder(const std::wstring& path);
void ForgetPendingRenames(const std::wstring& path);
// Where DeleteFile moved a file aside, from its "MoveFile <a> to <b> res" line.
std::wstring MovedTo(const std::wstring& log);

// A file_holder.exe child: keeps a file open without delete sharing, or runs as a copied image in use.
class FileHolder {
 public:
  ~FileHolder();
  static std::unique_ptr<FileHolder> Hold(const std::wstring& path);
  static std::unique_ptr<FileHolder> Run(const std::wstring& exePath);
  static std::wstring ProgramPath();

 private:
  static std::unique_ptr<FileHolder> Start(const std::wstring& exePath, const std::wstring& arguments);
  HANDLE process_ = nullptr;
};

// The registry, read and written directly.
std::vector<std::wstring> UserHives();
// Reads a value (view 0 or KEY_WOW64_32KEY); 0 or the error.
LONG ReadValue(HKEY root, const std::wstring& path, const wchar_t* name, REGSAM view, DWORD* type,
               std::vector<BYTE>* data = nullptr);
bool KeyExists(HKEY root, const std::wstring& path, REGSAM view = 0);
void WriteValue(HKEY root, const std::wstring& path, const wchar_t* name, DWORD type, const void* data, DWORD size);
std::vector<BYTE> Bytes(const void* data, size_t size);

// Real services of tests\services\TestService.exe (switches: see TestService.cpp).
std::wstring TestServicePath(const std::wstring& switches);
bool InstallTestService(const std::wstring& name, const std::wstring& switches);
bool ServiceExists(const std::wstring& name);
DWORD ServiceState(const std::wstring& name);  // 0 when it cannot be queried
bool WaitForServiceState(const std::wstring& name, DWORD state, DWORD timeoutMs = 10000);
DWORD SendServiceControl(const std::wstring& name, DWORD control);
DWORD StartTestService(const std::wstring& name);
// Ends the service whatever it does (user control 200 ends one that refuses to stop) and deletes it.
void RemoveTestService(const std::wstring& name);

// The RAR archives make-unrar-archives.sh made before the run.
std::wstring Archive(const wchar_t* name);
// The tree that compressed.rar, stored.rar and solid.rar hold.
std::wstring SourceTree();
