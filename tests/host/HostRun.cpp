#include "tests/host/HostRun.h"

#include <objbase.h>

#include <fstream>
#include <iterator>


static std::wstring Folder(const std::wstring& path) { return path.substr(0, path.find_last_of(L"\\/") + 1); }

std::wstring TestFolder() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  return Folder(path);
}

std::wstring Installer() { return TestFolder() + L"..\\..\\bin\\Installer.exe"; }

static std::string ReadFileText(const std::wstring& path) {
  std::ifstream file(path.c_str(), std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

// Runs the engine with arguments, at most 30 s. Its output goes to files, not
// pipes: a helper process Wine starts on demand may inherit the handles and keep
// a pipe open long after the engine has ended.
RunResult RunInstaller(const std::wstring& arguments) {
  RunResult result;
  wchar_t temp[MAX_PATH] = {};
  GetTempPathW(MAX_PATH, temp);
  // Names of their own for every run: a process Wine keeps alive from an earlier
  // run may still hold an earlier run's files.
  static LONG runs = 0;
  std::wstring stem = std::wstring(temp) + L"hostrun-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
                      std::to_wstring(InterlockedIncrement(&runs));
  std::wstring outPath = stem + L".out";
  std::wstring errPath = stem + L".err";
  SECURITY_ATTRIBUTES inherit = {sizeof(inherit), nullptr, TRUE};
  HANDLE out = CreateFileW(outPath.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                           &inherit, CREATE_ALWAYS, 0, nullptr);
  HANDLE err = CreateFileW(errPath.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                           &inherit, CREATE_ALWAYS, 0, nullptr);
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
  startup.hStdOutput = out;
  startup.hStdError = err;
  std::wstring commandLine = L"\"" + Installer() + L"\" " + arguments;
  PROCESS_INFORMATION process = {};
  BOOL started = CreateProcessW(nullptr, &commandLine[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process);
  CloseHandle(out);
  CloseHandle(err);
  if (!started) {
    ADD_FAILURE() << "cannot start Installer.exe: " << GetLastError();
    result.exitCode = ~0u;
    return result;
  }
  if (WaitForSingleObject(process.hProcess, 30000) != WAIT_OBJECT_0) {
    ADD_FAILURE() << "Installer.exe did not end within 30 s";
    TerminateProcess(process.hProcess, 999);
    WaitForSingleObject(process.hProcess, 5000);
  }
  GetExitCodeProcess(process.hProcess, &result.exitCode);
  CloseHandle(process.hProcess);
  CloseHandle(process.hThread);
  result.out = ReadFileText(outPath);
  result.err = ReadFileText(errPath);
  DeleteFileW(outPath.c_str());
  DeleteFileW(errPath.c_str());
  return result;
}

void HostRunTest::SetUp() {
  wchar_t temp[MAX_PATH] = {};
  GetTempPathW(MAX_PATH, temp);
  GUID guid;
  CoCreateGuid(&guid);
  wchar_t name[64] = {};
  swprintf_s(name, 64, L"hostrun-%08lx%04x", guid.Data1, guid.Data2);
  folder_ = std::wstring(temp) + name + L"\\";
  CreateDirectoryW(folder_.c_str(), nullptr);
}

void HostRunTest::TearDown() {
  for (const std::wstring& file : files_) DeleteFileW(file.c_str());
  RemoveDirectoryW(folder_.c_str());
}

std::wstring HostRunTest::Script(const std::string& body) {
  std::wstring path = folder_ + L"script" + std::to_wstring(files_.size()) + L".xml";
  std::ofstream(path.c_str(), std::ios::binary) << body;
  files_.push_back(path);
  return L"\"" + path + L"\"";
}

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

