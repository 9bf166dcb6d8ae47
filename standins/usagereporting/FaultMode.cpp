#include "standins/usagereporting/FaultMode.h"

#include <windows.h>

#include <cerrno>
#include <climits>
#include <cwchar>
#include <string>

namespace {

// A whole decimal int, sign allowed, nothing around it.
bool ParseInt(const std::wstring& text, int* value) {
  if (text.empty()) return false;
  wchar_t* end = nullptr;
  errno = 0;
  long long parsed = wcstoll(text.c_str(), &end, 10);
  if (*end != 0 || errno == ERANGE || parsed < INT_MIN || parsed > INT_MAX) return false;
  *value = static_cast<int>(parsed);
  return true;
}

bool ReadItem(const std::wstring& item, FaultMode* faults) {
  size_t equals = item.find(L'=');
  if (equals == std::wstring::npos) return false;
  std::wstring key = item.substr(0, equals);
  int value = 0;
  if (!ParseInt(item.substr(equals + 1), &value)) return false;
  if (_wcsicmp(key.c_str(), L"Create") == 0) {
    faults->createStatus = value;
    return true;
  }
  if (_wcsicmp(key.c_str(), L"BeginReport.handle") == 0) {
    faults->fixedHandle = true;
    faults->beginHandle = value;
    return true;
  }
  return false;
}

}  // namespace

bool ReadFaultMode(FaultMode* faults) {
  *faults = FaultMode();
  // The process environment itself, not the C runtime's copy of it, which
  // misses what the program set with SetEnvironmentVariable.
  DWORD size = GetEnvironmentVariableW(L"USAGEREPORTING_FAULT", nullptr, 0);
  if (size == 0) return true;
  std::wstring setting(size, L'\0');
  setting.resize(GetEnvironmentVariableW(L"USAGEREPORTING_FAULT", &setting[0], size));
  size_t start = 0;
  while (start <= setting.size()) {
    size_t end = setting.find(L';', start);
    if (end == std::wstring::npos) end = setting.size();
    if (end > start && !ReadItem(setting.substr(start, end - start), faults)) return false;
    start = end + 1;
  }
  return true;
}
