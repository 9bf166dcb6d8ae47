// Loading and walking at scale: scripts of 1,000, 10,000 and 100,000 trivial
// commands, each loaded from a file through MSXML and the plug-in's factories,
// walked, and released, as Installer.exe does. Prints the time per command of
// each step; the cost per command should not grow with the script, and 100,000
// commands may take at most 12 times as long as 10,000. Built as Installer.exe
// with the plug-in beside it, so the library's store link binds to it.
#include <windows.h>
#include <objbase.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "engine/RuntimeLibrary.h"
#include "engine/ScopedHandle.h"
#include "host/HostServices.h"
#include "host/ScriptLoader.h"
#include "host/VariableStore.h"
#include "host/Walker.h"

namespace {

LARGE_INTEGER Now() {
  LARGE_INTEGER now;
  QueryPerformanceCounter(&now);
  return now;
}

double Seconds(LARGE_INTEGER start, LARGE_INTEGER end) {
  LARGE_INTEGER frequency;
  QueryPerformanceFrequency(&frequency);
  return static_cast<double>(end.QuadPart - start.QuadPart) / frequency.QuadPart;
}

// One event made first, then commands that set it: each visit runs a real
// command (guard, lines, a store look-up, a system call) and nothing more.
// SCALE_BODY replaces the repeated element, to weigh the walk alone
// (<SetEvent eventVar="Tick" execCondition="Never"/> is visited and not run).
void WriteScript(const std::wstring& path, int count) {
  std::string text = "<install><commands>\n<CreateEvent eventVar=\"Tick\" manualReset=\"1\"/>\n";
  const char* body = getenv("SCALE_BODY") ? getenv("SCALE_BODY") : "<SetEvent eventVar=\"Tick\"/>";
  for (int i = 2; i < count; ++i) text += std::string(body) + "\n";
  text += "<SetEvent eventVar=\"Tick\" next=\"0\"/>\n</commands></install>\n";
  HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  DWORD written = 0;
  WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
  CloseHandle(file);
}

struct Timing {
  double load = 1e9;
  double walk = 1e9;
  double release = 1e9;
  double Total() const { return load + walk + release; }
};

bool Round(const std::wstring& path, HMODULE plugin, Timing* best) {
  CRITICAL_SECTION storeLock;
  InitializeCriticalSection(&storeLock);
  CancelSignal cancel;
  LoadedScript script;
  std::wstring error;
  LARGE_INTEGER start = Now();
  bool loaded = LoadScript(path, plugin, &script, &error);
  LARGE_INTEGER walked = Now();
  if (!loaded) {
    fprintf(stderr, "%ls\n", error.c_str());
    DeleteCriticalSection(&storeLock);
    return false;
  }
  WalkOutcome outcome = WalkCommands(*script.commands, script.entry, cancel, &storeLock);
  LARGE_INTEGER released = Now();
  FreeCommands(script.commands);
  LARGE_INTEGER end = Now();
  CloseHandle(reinterpret_cast<HANDLE>(VariableStore::Instance().Get("HANDLE_Tick")));
  VariableStore::Instance().Put("HANDLE_Tick", 0);
  DeleteCriticalSection(&storeLock);
  best->load = std::min(best->load, Seconds(start, walked));
  best->walk = std::min(best->walk, Seconds(walked, released));
  best->release = std::min(best->release, Seconds(released, end));
  return outcome.status == 0 && outcome.missingIndex == 0;
}

}  // namespace

int main() {
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  VariableStore::Instance().Put("SelfFree_Decrypter", reinterpret_cast<StoreValue>(new CPlainDecrypter()));
  ScopedModule plugin(LoadLibraryAt(OwnModuleFolder() + L"InstallCommands.dll"));
  if (!plugin) {
    fprintf(stderr, "cannot load InstallCommands.dll beside the benchmark (error %lu)\n", GetLastError());
    return 1;
  }
  wchar_t temp[MAX_PATH];
  GetTempPathW(MAX_PATH, temp);
  std::wstring path = std::wstring(temp) + L"scale-bench.xml";
  const int kCounts[] = {1000, 10000, 100000};
  Timing timings[3];
  printf("%9s %12s %12s %12s %12s %10s\n", "commands", "load us/cmd", "walk us/cmd", "free us/cmd", "total us/cmd",
         "total s");
  for (int i = 0; i < 3; ++i) {
    WriteScript(path, kCounts[i]);
    // The best of a few rounds, so that other load on the machine weighs less.
    int rounds = kCounts[i] >= 100000 ? 2 : 3;
    for (int round = 0; round < rounds; ++round) {
      if (!Round(path, plugin.Get(), &timings[i])) return 1;
    }
    double perCommand = 1e6 / kCounts[i];
    printf("%9d %12.2f %12.2f %12.2f %12.2f %10.3f\n", kCounts[i], timings[i].load * perCommand,
           timings[i].walk * perCommand, timings[i].release * perCommand, timings[i].Total() * perCommand,
           timings[i].Total());
  }
  DeleteFileW(path.c_str());
  double ratio = timings[2].Total() / timings[1].Total();
  printf("100,000 commands take %.1f times as long as 10,000 (at most 12)\n", ratio);
  CoUninitialize();
  return ratio <= 12.0 ? 0 : 1;
}
