#include "standins/usagereporting/ReportFolder.h"

#include <shlobj.h>

#include <cwchar>

#include "standins/usagereporting/UsageReporting.h"

namespace {

bool IsDeviceName(const wchar_t* name) {
  // Windows takes a device name with any extension as the device itself.
  std::wstring base(name, wcscspn(name, L"."));
  static const wchar_t* const kDevices[] = {L"CON", L"PRN", L"AUX", L"NUL", L"CONIN$", L"CONOUT$", L"CLOCK$"};
  for (const wchar_t* device : kDevices) {
    if (_wcsicmp(base.c_str(), device) == 0) return true;
  }
  return base.size() == 4 && (_wcsnicmp(base.c_str(), L"COM", 3) == 0 || _wcsnicmp(base.c_str(), L"LPT", 3) == 0) &&
         base[3] >= L'1' && base[3] <= L'9';
}

bool IsSeparator(wchar_t c) { return c == L'\\' || c == L'/'; }

}  // namespace

bool IsPlainFolderName(const wchar_t* name) {
  size_t length = wcslen(name);
  if (length == 0) return false;
  for (const wchar_t* c = name; *c != 0; ++c) {
    if (*c < 0x20 || wcschr(L"\\/:*?\"<>|", *c) != nullptr) return false;
  }
  wchar_t last = name[length - 1];
  return last != L'.' && last != L' ' && !IsDeviceName(name);
}

int32_t ChooseReportFolder(const wchar_t* productName, const wchar_t* dbPath, std::wstring* folder) {
  if (dbPath != nullptr && *dbPath != 0) {
    // A relative dbPath is taken from the current folder now, once, not at
    // every later write.
    DWORD size = GetFullPathNameW(dbPath, 0, nullptr, nullptr);
    if (size == 0) return static_cast<int32_t>(GetLastError());
    folder->resize(size);
    size = GetFullPathNameW(dbPath, size, &(*folder)[0], nullptr);
    if (size == 0) return static_cast<int32_t>(GetLastError());
    folder->resize(size);
    return kOk;
  }
  if (!IsPlainFolderName(productName)) return kNotPlainName;
  wchar_t data[MAX_PATH] = {};
  HRESULT result = SHGetFolderPathW(nullptr, CSIDL_COMMON_APPDATA, nullptr, SHGFP_TYPE_CURRENT, data);
  if (FAILED(result)) return HRESULT_FACILITY(result) == FACILITY_WIN32 ? HRESULT_CODE(result) : result;
  *folder = std::wstring(data) + L"\\" + productName;
  return kOk;
}

int32_t MakeFolders(std::wstring folder) {
  while (folder.size() > 3 && IsSeparator(folder.back())) folder.pop_back();
  DWORD attributes = GetFileAttributesW(folder.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES) return (attributes & FILE_ATTRIBUTE_DIRECTORY) ? kOk : kFolderIsFile;
  size_t slash = folder.find_last_of(L"\\/");
  if (slash != std::wstring::npos && slash > 0 && !IsSeparator(folder[slash - 1])) {
    int32_t status = MakeFolders(folder.substr(0, slash));
    if (status != kOk) return status;
  }
  if (CreateDirectoryW(folder.c_str(), nullptr)) return kOk;
  DWORD error = GetLastError();
  // Another process may have made it in between; a file of that name is no folder.
  attributes = GetFileAttributesW(folder.c_str());
  if (error == ERROR_ALREADY_EXISTS && attributes != INVALID_FILE_ATTRIBUTES) {
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) ? kOk : kFolderIsFile;
  }
  return static_cast<int32_t>(error);
}

int32_t OpenReportFile(const std::wstring& folder, ScopedFile* file) {
  std::wstring path = folder;
  if (!IsSeparator(path.back())) path += L'\\';
  path += kReportFileName;
  // Append access only: every write lands at the end of the file, also when
  // another client or process appends to the same file.
  HANDLE opened = CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                              nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (opened == INVALID_HANDLE_VALUE) return static_cast<int32_t>(GetLastError());
  file->reset(opened);
  return kOk;
}
