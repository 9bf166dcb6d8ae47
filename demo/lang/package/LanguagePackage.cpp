// A language package: the program the language manager starts, from the language
// folder, when a language is selected. It carries the language's texts as
// resource 1 and writes them as installer.xlf beside itself, replacing the texts
// of the language selected before; the manager then reloads the folder.
//
// It writes to its own folder, not the current one: the manager starts it in
// the application folder. Exit code 0, or the Windows error that stopped it.
//
// A windows program without a window rather than a console one: no console is
// made for it, nor, under Wine, a console host process that outlives it.
// Plain buffers only: the package is downloaded, and the C++ library would add
// most of its size.
#include <windows.h>

#include <cwchar>

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
  wchar_t target[MAX_PATH + 16] = {};
  DWORD length = GetModuleFileNameW(nullptr, target, MAX_PATH);
  if (length == 0 || length >= MAX_PATH) return ERROR_FILENAME_EXCED_RANGE;
  wchar_t* name = wcsrchr(target, L'\\');
  name = name != nullptr ? name + 1 : target;
  wcscpy_s(name, MAX_PATH + 16 - (name - target), L"installer.xlf");

  HRSRC resource = FindResourceW(nullptr, MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(10) /* RT_RCDATA */);
  HGLOBAL loaded = resource != nullptr ? LoadResource(nullptr, resource) : nullptr;
  const void* data = loaded != nullptr ? LockResource(loaded) : nullptr;
  if (data == nullptr) return ERROR_RESOURCE_DATA_NOT_FOUND;
  DWORD size = SizeofResource(nullptr, resource);

  // Through a temporary name, so that the folder never holds half a file.
  wchar_t partial[MAX_PATH + 32] = {};
  swprintf_s(partial, MAX_PATH + 32, L"%s.part", target);
  HANDLE file = CreateFileW(partial, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return static_cast<int>(GetLastError());
  DWORD written = 0;
  BOOL ok = WriteFile(file, data, size, &written, nullptr) && written == size;
  DWORD error = ok ? 0 : GetLastError();
  CloseHandle(file);
  if (ok && !MoveFileExW(partial, target, MOVEFILE_REPLACE_EXISTING)) error = GetLastError();
  if (error != 0) DeleteFileW(partial);
  return static_cast<int>(error);
}
