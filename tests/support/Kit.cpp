#include "tests/support/Kit.h"

#include <objbase.h>
#include <winsvc.h>

#include <algorithm>
#include <fstream>
#include <iterator>

namespace {

const wchar_t kSessionManager[] = L"SYSTEM\\CurrentControlSet\\Control\\Session Manager";
const wchar_t kPendingValue[] = L"PendingFileRenameOperations";

std::wstring WithSlash(const std::wstring& folder) {
  return !folder.empty() && folder.back() != L'\\' ? folder + L"\\" : folder;
}

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

void Walk(const std::wstring& root, const std::wstring& relative, std::vector<std::wstring>* entries) {
  WIN32_FIND_DATAW data;
  HANDLE find = FindFirstFileW((root + relative + L"*").c_str(), &data);
  if (find == INVALID_HANDLE_VALUE) return;
  do {
    std::wstring name = data.cFileName;
    if (name == L"." || name == L"..") continue;
    bool folder = (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    entries->push_back(relative + name + (folder ? L"\\" : L""));
    if (folder) Walk(root, relative + name + L"\\", entries);
  } while (FindNextFileW(find, &data));
  FindClose(find);
}

// The service, opened with every right, and the manager that opened it.
struct Service {
  explicit Service(const std::wstring& name)
      : manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS)),
        handle(manager != nullptr ? OpenServiceW(manager, name.c_str(), SERVICE_ALL_ACCESS) : nullptr),
        error(handle != nullptr ? 0 : GetLastError()) {}
  ~Service() {
    if (handle != nullptr) CloseServiceHandle(handle);
    if (manager != nullptr) CloseServiceHandle(manager);
  }
  SC_HANDLE manager, handle;
  DWORD error;
};

}  // namespace

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

std::wstring ProgramFolder() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  std::wstring folder(path);
  return folder.substr(0, folder.find_last_of(L"\\/") + 1);
}

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

bool Exists(const std::wstring& path) { return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

void RemoveTree(const std::wstring& path) {
  std::wstring bare = path;
  if (!bare.empty() && bare.back() == L'\\') bare.pop_back();
  if (bare.size() < 4) return;  // never a root or the current folder
  WIN32_FIND_DATAW found;
  HANDLE search = FindFirstFileW((bare + L"\\*").c_str(), &found);
  if (search != INVALID_HANDLE_VALUE) {
    do {
      std::wstring name = found.cFileName, child = bare + L"\\" + name;
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
  std::vector<std::wstring> want = ListTree(expected), got = ListTree(actual);
  if (want.empty()) return "the expected tree " + Narrow(expected) + " is empty or missing";
  if (want != got) return "the trees hold different names";
  for (const std::wstring& name : want) {
    if (ReadAll(WithSlash(expected) + name) != ReadAll(WithSlash(actual) + name)) return "bytes differ: " + Narrow(name);
  }
  return "";
}

ProcessResult RunProcess(const std::wstring& commandLine, DWORD timeoutMs) {
  ProcessResult result;
  static LONG runs = 0;
  std::wstring stem = TempFolder() + L"run-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
                      std::to_wstring(InterlockedIncrement(&runs));
  std::wstring paths[2] = {stem + L".out", stem + L".err"};
  SECURITY_ATTRIBUTES inherit = {sizeof(inherit), nullptr, TRUE};
  STARTUPINFOW startup = {sizeof(startup)};
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
  HANDLE* files[2] = {&startup.hStdOutput, &startup.hStdError};
  for (int i = 0; i < 2; ++i) {
    *files[i] = CreateFileW(paths[i].c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                            &inherit, CREATE_ALWAYS, 0, nullptr);
  }
  std::wstring line = commandLine;
  PROCESS_INFORMATION process = {};
  BOOL started = CreateProcessW(nullptr, &line[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process);
  CloseHandle(startup.hStdOutput);
  CloseHandle(startup.hStdError);
  if (!started) {
    ADD_FAILURE() << "cannot start " << Narrow(commandLine) << ": " << GetLastError();
    return result;
  }
  if (WaitForSingleObject(process.hProcess, timeoutMs) != WAIT_OBJECT_0) {
    ADD_FAILURE() << Narrow(commandLine) << " did not end in time";
    TerminateProcess(process.hProcess, 999);
    WaitForSingleObject(process.hProcess, 5000);
  }
  GetExitCodeProcess(process.hProcess, &result.exitCode);
  CloseHandle(process.hProcess);
  CloseHandle(process.hThread);
  result.out = ReadAll(paths[0]);
  result.err = ReadAll(paths[1]);
  DeleteFileW(paths[0].c_str());
  DeleteFileW(paths[1].c_str());
  return result;
}

std::vector<PendingRename> PendingRenames() {
  std::vector<PendingRename> list;
  DWORD size = 0;
  RegGetValueW(HKEY_LOCAL_MACHINE, kSessionManager, kPendingValue, RRF_RT_REG_MULTI_SZ, nullptr, nullptr, &size);
  std::vector<wchar_t> data(size / sizeof(wchar_t) + 3, L'\0');
  size = static_cast<DWORD>(data.size() * sizeof(wchar_t));
  if (data.size() == 3 || RegGetValueW(HKEY_LOCAL_MACHINE, kSessionManager, kPendingValue, RRF_RT_REG_MULTI_SZ, nullptr,
                                data.data(), &size) != 0) {
    return list;
  }
  for (const wchar_t* cursor = data.data(); *cursor != L'\0';) {
    std::wstring source = cursor;
    cursor += source.size() + 1;
    list.emplace_back(source, cursor);
    cursor += list.back().second.size() + 1;
  }
  return list;
}

void SetPendingRenames(const std::vector<PendingRename>& list) {
  std::wstring data;
  for (const PendingRename& pair : list) data += pair.first + L'\0' + pair.second + L'\0';
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kSessionManager, 0, KEY_SET_VALUE, &key) != ERROR_SUCCESS) return;
  if (data.empty()) {
    RegDeleteValueW(key, kPendingValue);
  } else {
    data.push_back(L'\0');
    RegSetValueExW(key, kPendingValue, 0, REG_MULTI_SZ, reinterpret_cast<const BYTE*>(data.data()),
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
  std::vector<PendingRename> list = PendingRenames(), kept;
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

FileHolder::~FileHolder() {
  if (process_ == nullptr) return;
  TerminateProcess(process_, 0);
  WaitForSingleObject(process_, 5000);
  CloseHandle(process_);
}

std::wstring FileHolder::ProgramPath() { return ProgramFolder() + L"..\\files\\file_holder.exe"; }

std::unique_ptr<FileHolder> FileHolder::Start(const std::wstring& exePath, const std::wstring& arguments) {
  static LONG counter = 0;
  std::wstring eventName = L"Local\\file_holder_" + std::to_wstring(GetCurrentProcessId()) + L"_" +
                           std::to_wstring(InterlockedIncrement(&counter));
  HANDLE ready = CreateEventW(nullptr, TRUE, FALSE, eventName.c_str());
  std::wstring line = L"\"" + exePath + L"\" " + arguments + L" " + eventName;
  STARTUPINFOW startup = {sizeof(startup)};
  PROCESS_INFORMATION process = {};
  std::unique_ptr<FileHolder> holder(new FileHolder());
  if (CreateProcessW(nullptr, &line[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process)) {
    CloseHandle(process.hThread);
    holder->process_ = process.hProcess;
    HANDLE waits[2] = {ready, process.hProcess};
    if (WaitForMultipleObjects(2, waits, FALSE, 10000) != WAIT_OBJECT_0) ADD_FAILURE() << "the holder was not ready";
  } else {
    ADD_FAILURE() << "cannot start the holder: " << GetLastError();
  }
  CloseHandle(ready);
  return holder;
}

std::unique_ptr<FileHolder> FileHolder::Hold(const std::wstring& path) {
  return Start(ProgramPath(), L"hold \"" + path + L"\"");
}

std::unique_ptr<FileHolder> FileHolder::Run(const std::wstring& exePath) { return Start(exePath, L"run"); }

std::vector<std::wstring> UserHives() {
  std::vector<std::wstring> hives;
  wchar_t name[256];
  for (DWORD i = 0;; ++i) {
    DWORD size = 256;
    if (RegEnumKeyExW(HKEY_USERS, i, name, &size, nullptr, nullptr, nullptr, nullptr) != 0) break;
    hives.push_back(name);
  }
  return hives;
}

LONG ReadValue(HKEY root, const std::wstring& path, const wchar_t* name, REGSAM view, DWORD* type,
               std::vector<BYTE>* data) {
  *type = REG_NONE;
  HKEY key = nullptr;
  LONG status = RegOpenKeyExW(root, path.c_str(), 0, KEY_READ | view, &key);
  if (status != 0) return status;
  DWORD size = 0;
  status = RegQueryValueExW(key, name, nullptr, type, nullptr, &size);
  if (status == 0 && data != nullptr) {
    data->assign(size, 0);
    status = RegQueryValueExW(key, name, nullptr, type, data->data(), &size);
    data->resize(size);
  }
  RegCloseKey(key);
  return status;
}

bool KeyExists(HKEY root, const std::wstring& path, REGSAM view) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ | view, &key) != 0) return false;
  RegCloseKey(key);
  return true;
}

void WriteValue(HKEY root, const std::wstring& path, const wchar_t* name, DWORD type, const void* data, DWORD size) {
  HKEY key = nullptr;
  ASSERT_EQ(RegCreateKeyExW(root, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr), 0);
  EXPECT_EQ(RegSetValueExW(key, name, 0, type, static_cast<const BYTE*>(data), size), 0);
  RegCloseKey(key);
}

std::vector<BYTE> Bytes(const void* data, size_t size) {
  return std::vector<BYTE>(static_cast<const BYTE*>(data), static_cast<const BYTE*>(data) + size);
}

std::wstring TestServicePath(const std::wstring& switches) {
  wchar_t full[MAX_PATH] = {};
  GetFullPathNameW((ProgramFolder() + L"..\\services\\TestService.exe").c_str(), MAX_PATH, full, nullptr);
  return L"\"" + std::wstring(full) + L"\"" + (switches.empty() ? L"" : L" " + switches);
}

bool InstallTestService(const std::wstring& name, const std::wstring& switches) {
  SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
  SC_HANDLE service = CreateServiceW(manager, name.c_str(), name.c_str(), SERVICE_ALL_ACCESS, SERVICE_WIN32_OWN_PROCESS,
                                     SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL, TestServicePath(switches).c_str(),
                                     nullptr, nullptr, nullptr, nullptr, nullptr);
  if (service != nullptr) CloseServiceHandle(service);
  CloseServiceHandle(manager);
  return service != nullptr;
}

bool ServiceExists(const std::wstring& name) { return Service(name).handle != nullptr; }

DWORD ServiceState(const std::wstring& name) {
  Service service(name);
  SERVICE_STATUS status = {};
  return service.handle != nullptr && QueryServiceStatus(service.handle, &status) ? status.dwCurrentState : 0;
}

bool WaitForServiceState(const std::wstring& name, DWORD state, DWORD timeoutMs) {
  for (ULONGLONG deadline = GetTickCount64() + timeoutMs; ServiceState(name) != state; Sleep(50)) {
    if (GetTickCount64() >= deadline) return false;
  }
  return true;
}

DWORD SendServiceControl(const std::wstring& name, DWORD control) {
  Service service(name);
  SERVICE_STATUS status = {};
  if (service.handle == nullptr) return service.error;
  return ControlService(service.handle, control, &status) ? 0 : GetLastError();
}

DWORD StartTestService(const std::wstring& name) {
  Service service(name);
  if (service.handle == nullptr) return service.error;
  return StartServiceW(service.handle, 0, nullptr) ? 0 : GetLastError();
}

void RemoveTestService(const std::wstring& name) {
  Service service(name);
  if (service.handle == nullptr) return;
  // A pending service takes no control: wait until it has settled, then end it.
  SERVICE_STATUS status = {};
  for (ULONGLONG deadline = GetTickCount64() + 15000; GetTickCount64() < deadline; Sleep(50)) {
    if (!QueryServiceStatus(service.handle, &status) || status.dwCurrentState == SERVICE_STOPPED) break;
    if (status.dwCurrentState == SERVICE_RUNNING || status.dwCurrentState == SERVICE_PAUSED) {
      ControlService(service.handle, 200, &status);
    }
  }
  DeleteService(service.handle);
}

std::wstring Archive(const wchar_t* name) {
  wchar_t full[MAX_PATH * 4] = {};
  GetFullPathNameW((ProgramFolder() + L"..\\unrar-archives\\" + name).c_str(), MAX_PATH * 4, full, nullptr);
  return full;
}

std::wstring SourceTree() { return Archive(L"tree\\"); }
