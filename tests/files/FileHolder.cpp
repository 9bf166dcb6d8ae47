// A child process for the tests of files that cannot be deleted while the system
// runs. It signals the named event it is given once it is ready, then stays for
// at most a minute (its parent normally ends it long before):
//
//   file_holder.exe hold <path> <event>   keeps <path> open without delete sharing
//   file_holder.exe run <event>           just runs; a copy of it is an image in use
//   file_holder.exe mark <ms> <file>      after <ms>, writes its working folder to <file>
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cwchar>

namespace {
int Ready(const wchar_t* eventName) {
  HANDLE event = OpenEventW(EVENT_MODIFY_STATE, FALSE, eventName);
  if (event == nullptr) return 3;
  SetEvent(event);
  CloseHandle(event);
  Sleep(60000);
  return 0;
}
}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc == 4 && wcscmp(argv[1], L"hold") == 0) {
    HANDLE file = CreateFileW(argv[2], GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return 2;
    return Ready(argv[3]);
  }
  if (argc == 3 && wcscmp(argv[1], L"run") == 0) return Ready(argv[2]);
  if (argc == 4 && wcscmp(argv[1], L"mark") == 0) {
    Sleep(static_cast<DWORD>(_wtoi(argv[2])));
    wchar_t folder[MAX_PATH] = {};
    FILE* file = _wfopen(argv[3], L"wb");
    if (file == nullptr) return 2;
    fwrite(folder, sizeof(wchar_t), GetCurrentDirectoryW(MAX_PATH, folder), file);
    return fclose(file);
  }
  return 1;
}
