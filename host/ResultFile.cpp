#include "host/ResultFile.h"

#include <windows.h>
#include <shlobj.h>

#include <string>

#include "engine/ScopedHandle.h"
#include "host/HostServices.h"

namespace {

std::string Quoted(const std::wstring& text) {
  std::string out = "\"";
  for (char c : Utf8(text)) {
    unsigned char byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      out += '\\';
      out += c;
    } else if (c == '\n') {
      out += "\\n";
    } else if (c == '\r') {
      out += "\\r";
    } else if (c == '\t') {
      out += "\\t";
    } else if (byte < 0x20) {
      const char* hex = "0123456789abcdef";
      out += "\\u00";
      out += hex[byte >> 4];
      out += hex[byte & 15];
    } else {
      out += c;
    }
  }
  return out + "\"";
}

std::string Json(const RunRecord& record) {
  std::string json = "{\n";
  json += "  \"exitCode\": " + std::to_string(record.exitCode) + ",\n";
  json += "  \"meaning\": " + Quoted(record.meaning) + ",\n";
  json += "  \"message\": " + (record.message.empty() ? std::string("null") : Quoted(record.message)) + ",\n";
  json += "  \"returnCode\": " + (record.walked ? std::to_string(record.returnCode) : std::string("null")) + ",\n";
  json += std::string("  \"cancelled\": ") + (record.cancelled ? "true" : "false") + ",\n";
  if (record.stoppedIndex != 0) {
    json += "  \"stoppedBy\": {\"index\": " + std::to_string(record.stoppedIndex) +
            ", \"element\": " + Quoted(record.stoppedElement) + ", \"line\": " + std::to_string(record.stoppedLine) +
            ", \"status\": " + std::to_string(record.stoppedStatus) + "},\n";
  } else {
    json += "  \"stoppedBy\": null,\n";
  }
  json += "  \"errors\": " + Quoted(record.errors) + ",\n";
  json += "  \"log\": " + (record.logPath.empty() ? std::string("null") : Quoted(record.logPath)) + ",\n";
  json += std::string("  \"restartNeeded\": ") + (record.pendingRenamesAdded > 0 ? "true" : "false") + ",\n";
  json += "  \"pendingRenamesAdded\": " + std::to_string(record.pendingRenamesAdded) + ",\n";
  json += "  \"commandsRun\": {\"main\": " + std::to_string(record.mainCommands);
  for (const auto& chain : record.chainCommands) {
    json += ", \"thread" + std::to_string(chain.first) + "\": " + std::to_string(chain.second);
  }
  json += "},\n";
  json += "  \"durationMs\": " + std::to_string(GetTickCount64() - record.startTick) + "\n}\n";
  return json;
}

}  // namespace

bool WriteResultFile(const std::wstring& path, const RunRecord& record, uint32_t* error) {
  std::string json = Json(record);
  std::wstring temporary = path + L"." + std::to_wstring(GetCurrentProcessId()) + L".tmp";
  {
    ScopedKernelHandle file(
        CreateFileW(temporary.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD written = 0;
    if (!file || !WriteFile(file.Get(), json.data(), static_cast<DWORD>(json.size()), &written, nullptr) ||
        written != json.size() || !FlushFileBuffers(file.Get())) {
      *error = GetLastError();
      if (file) {
        file.Reset();
        DeleteFileW(temporary.c_str());
      }
      return false;
    }
  }
  if (!MoveFileExW(temporary.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
    *error = GetLastError();
    DeleteFileW(temporary.c_str());
    return false;
  }
  return true;
}

uint32_t PendingRenameCount() {
  ScopedKey key;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Control\\Session Manager", 0, KEY_QUERY_VALUE,
                    key.Receive()) != ERROR_SUCCESS) {
    return 0;
  }
  DWORD bytes = 0;
  if (RegQueryValueExW(key.Get(), L"PendingFileRenameOperations", nullptr, nullptr, nullptr, &bytes) != ERROR_SUCCESS) {
    return 0;
  }
  std::wstring data(bytes / sizeof(wchar_t) + 1, L'\0');
  if (RegQueryValueExW(key.Get(), L"PendingFileRenameOperations", nullptr, nullptr,
                       reinterpret_cast<BYTE*>(&data[0]), &bytes) != ERROR_SUCCESS) {
    return 0;
  }
  // Each entry is a source and a target, and an empty target (a deletion) is an
  // empty string inside the list, so the strings are counted by their
  // terminators, not up to the first empty one; the last is the list's own.
  data.resize(bytes / sizeof(wchar_t));
  if (data.size() >= 2 && data[data.size() - 1] == L'\0' && data[data.size() - 2] == L'\0') data.pop_back();
  uint32_t strings = 0;
  for (wchar_t c : data) strings += c == L'\0' ? 1 : 0;
  if (!data.empty() && data.back() != L'\0') ++strings;
  return strings / 2;
}

std::set<std::wstring> MergedLogs() {
  std::set<std::wstring> logs;
  wchar_t folder[MAX_PATH] = {};
  if (!SHGetSpecialFolderPathW(nullptr, folder, CSIDL_COMMON_APPDATA, FALSE)) return logs;
  WIN32_FIND_DATAW found;
  ScopedFindHandle find(FindFirstFileW((std::wstring(folder) + L"\\*.nvinstall.bin").c_str(), &found));
  if (!find) return logs;
  do {
    logs.insert(std::wstring(folder) + L"\\" + found.cFileName);
  } while (FindNextFileW(find.Get(), &found));
  return logs;
}
