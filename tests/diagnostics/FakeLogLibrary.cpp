// A stand-in log.dll for the test that proves the library never loads it: any
// load leaves a marker file in the current folder.
#include <windows.h>

namespace {
void Mark() {
  HANDLE file = CreateFileW(L"log-dll-was-loaded.txt", GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
}
}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) Mark();
  return TRUE;
}

extern "C" __declspec(dllexport) void LogInit() { Mark(); }
extern "C" __declspec(dllexport) void LogDeinit() {}
extern "C" __declspec(dllexport) HRESULT LogWrite(unsigned short, int*, const char*, const wchar_t*, const wchar_t*,
                                                  va_list) {
  Mark();
  return S_OK;
}
