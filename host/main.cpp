// Installer.exe, the reference engine: keeps the variable store, loads the plug-in
// and an install script, walks the commands and returns int_ReturnCode.
#include <windows.h>
#include <objbase.h>
#include <shlobj.h>

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <vector>

#include "engine/interfaces/ErrorCollector.h"
#include "engine/RuntimeLibrary.h"
#include "engine/ScopedHandle.h"
#include "engine/SelfFree.h"
#include "host/Downloader.h"
#include "host/HostServices.h"
#include "host/LanguageReport.h"
#include "host/MultiStrings.h"
#include "host/Options.h"
#include "host/ScriptLoader.h"
#include "host/Shutdown.h"
#include "host/VariableStore.h"
#include "host/Walker.h"

namespace {

enum ExitCode : int {
  kExitFileNotFound = 2,       // ERROR_FILE_NOT_FOUND
  kExitBadScript = 13,         // ERROR_INVALID_DATA
  kExitBadCommandLine = 87,    // ERROR_INVALID_PARAMETER
  kExitNoPlugin = 126,         // ERROR_MOD_NOT_FOUND
  kExitCancelled = 1223,       // ERROR_CANCELLED
};

// The run's cancel event for the console handler; owned by the run, and the handler
// is gone before the event is.
HANDLE g_cancelEvent = nullptr;
const WORD kEmbeddedScriptId = 20003;

void PrintUtf8(FILE* stream, const std::wstring& text) {
  int bytes = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr);
  std::string narrow(bytes > 0 ? bytes - 1 : 0, '\0');
  if (bytes > 1) WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, &narrow[0], bytes, nullptr, nullptr);
  fwrite(narrow.data(), 1, narrow.size(), stream);
  fflush(stream);
}

void Fail(const std::wstring& message) { PrintUtf8(stderr, L"Installer: " + message + L"\n"); }

// A path given on the command line, made absolute against the current folder,
// where the user who typed it meant it.
std::wstring FullPath(const std::wstring& path) {
  wchar_t full[MAX_PATH * 4] = {};
  DWORD length = GetFullPathNameW(path.c_str(), MAX_PATH * 4, full, nullptr);
  return length > 0 && length < MAX_PATH * 4 ? std::wstring(full) : path;
}

void PutString(const char* name, const std::wstring& value) {
  VariableStore& store = VariableStore::Instance();
  auto* old = reinterpret_cast<CSelfFree*>(store.Get(name));
  store.Put(name, reinterpret_cast<StoreValue>(MakeString(value.c_str())));
  SelfFreeRelease(old);
}

void PutShellFolder(const char* name, int folder) {
  wchar_t path[MAX_PATH] = {};
  if (SHGetSpecialFolderPathW(nullptr, path, folder, FALSE)) PutString(name, std::wstring(path) + L"\\");
}

// A preset from the script or the command line. Names were checked to be int_ or
// String_ when they were read.
void PutPreset(const std::wstring& name, const std::wstring& value) {
  std::string narrow(name.begin(), name.end());
  if (name.compare(0, 4, L"int_") == 0) {
    VariableStore::Instance().Put(narrow.c_str(), static_cast<StoreValue>(wcstoll(value.c_str(), nullptr, 0)));
  } else {
    PutString(narrow.c_str(), value);
  }
}

// The errors the run collected, if a Logger command published a collector.
void PrintCollectedErrors() {
  auto* errors = reinterpret_cast<IErrorApi*>(VariableStore::Instance().Get("SelfFree_ErrorApi"));
  if (errors == nullptr) return;
  uint32_t size = 0;
  if (errors->GetErrors(nullptr, &size) != ERROR_INSUFFICIENT_BUFFER || size <= 1) return;
  std::wstring text(size, L'\0');
  if (errors->GetErrors(&text[0], &size) != 0) return;
  text.resize(wcslen(text.c_str()));
  Fail(L"errors reported during the run:\n" + text);
}

// The script the plug-in carries: resource type "XML", id 20003, UTF-8.
bool EmbeddedScript(HMODULE plugin, std::wstring* text) {
  HRSRC resource = FindResourceW(plugin, MAKEINTRESOURCEW(kEmbeddedScriptId), L"XML");
  if (resource == nullptr) return false;
  HGLOBAL loaded = LoadResource(plugin, resource);
  DWORD size = SizeofResource(plugin, resource);
  const char* bytes = static_cast<const char*>(LockResource(loaded));
  if (bytes == nullptr || size == 0) return false;
  int count = MultiByteToWideChar(CP_UTF8, 0, bytes, static_cast<int>(size), nullptr, 0);
  text->assign(count, L'\0');
  MultiByteToWideChar(CP_UTF8, 0, bytes, static_cast<int>(size), &(*text)[0], count);
  return true;
}

BOOL WINAPI OnConsoleControl(DWORD type) {
  if (type != CTRL_C_EVENT && type != CTRL_BREAK_EVENT) return FALSE;
  SetEvent(g_cancelEvent);
  CancelForkedChains();
  return TRUE;
}

int Run(const HostOptions& options) {
  if (!options.script.empty() && GetFileAttributesW(options.script.c_str()) == INVALID_FILE_ATTRIBUTES) {
    Fail(L"script '" + options.script + L"' not found");
    return kExitFileNotFound;
  }
  // The plug-in comes from the engine's own folder unless the command line names
  // one, and is never searched for by name.
  std::wstring pluginPath =
      options.plugin.empty() ? OwnModuleFolder() + L"InstallCommands.dll" : FullPath(options.plugin);

  VariableStore& store = VariableStore::Instance();
  CSelfFree* decrypter = new CPlainDecrypter();
  CSelfFree* lists = new CMultiStringApi();
  CSelfFree* downloader = new CDownloaderApi(options.verifyDownloads);
  CTraceLogger* trace = options.trace ? new CTraceLogger() : nullptr;
  store.Put("SelfFree_Decrypter", reinterpret_cast<StoreValue>(decrypter));
  store.Put("SelfFree_MultiStringApi", reinterpret_cast<StoreValue>(lists));
  store.Put("SelfFree_DownloaderApi", reinterpret_cast<StoreValue>(downloader));
  if (trace != nullptr) {
    store.Put("SelfFree_LoggerApi", reinterpret_cast<StoreValue>(trace));
    // A logger the script publishes later is wrapped so the trace goes on.
    store.SetPutFilter("SelfFree_LoggerApi", [trace](StoreValue value) {
      if (value == 0 || value == reinterpret_cast<StoreValue>(trace)) return value;
      return reinterpret_cast<StoreValue>(new CTeeLogger(static_cast<ILoggerApi*>(trace),
                                                         reinterpret_cast<ILoggerApi*>(value)));
    });
  }
  PutString("String_CommandLine", GetCommandLineW());
  PutString("String_ApplicationPath", OwnModuleFolder());
  // The shell folders scripts put links in, each with a trailing backslash.
  PutShellFolder("String_CommonDesktopPath", CSIDL_COMMON_DESKTOPDIRECTORY);
  PutShellFolder("String_CommonPrograms", CSIDL_COMMON_PROGRAMS);
  PutShellFolder("String_CommonStartup", CSIDL_COMMON_STARTUP);
  if (options.autoAnswer) {
    // Runs without a desktop: every message is printed and answered at once. A
    // script's VltMessageBox would store the blocking provider; it is replaced.
    uint32_t answer = options.answer;
    store.Put("MessageBox", reinterpret_cast<StoreValue>(new CAutoAnswerMessageBox(answer)));
    store.SetPutFilter("MessageBox", [answer](StoreValue value) {
      if (value == 0 || dynamic_cast<CAutoAnswerMessageBox*>(reinterpret_cast<CSelfFree*>(value)) != nullptr) {
        return value;
      }
      reinterpret_cast<CSelfFree*>(value)->Free();
      return reinterpret_cast<StoreValue>(new CAutoAnswerMessageBox(answer));
    });
  }
  std::set<CSelfFree*> owned = {decrypter, lists, downloader};
  if (trace != nullptr) owned.insert(trace);

  // Freed when Run returns: every way out releases the store, and with it what the
  // plug-in made, first.
  ScopedModule plugin(LoadLibraryAt(pluginPath));
  if (!plugin) {
    Fail(L"cannot load the plug-in library '" + pluginPath + L"' (error " + std::to_wstring(GetLastError()) + L")");
    ReleaseStore(owned);
    return kExitNoPlugin;
  }

  // Resource modules: the plug-in's own, the engine's (Installer.exe), and a
  // language module when /langdll= names one. A language module is loaded as data
  // only: nothing of it runs.
  store.Put("HMODULE_CurrentDll", reinterpret_cast<StoreValue>(plugin.Get()));
  store.Put("HMODULE_AdditionalDll", reinterpret_cast<StoreValue>(GetModuleHandleW(nullptr)));
  ScopedModule langDll;
  if (!options.langDll.empty()) {
    langDll.Reset(LoadLibraryExW(FullPath(options.langDll).c_str(), nullptr,
                                 LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE));
    if (!langDll) {
      Fail(L"cannot load the language module '" + options.langDll + L"' (error " + std::to_wstring(GetLastError()) +
           L"); going on without it");
    }
    store.Put("HMODULE_LangDll", reinterpret_cast<StoreValue>(langDll.Get()));
  }

  LoadedScript script;
  std::wstring error;
  bool loaded = false;
  if (!options.script.empty()) {
    loaded = LoadScript(options.script, plugin.Get(), &script, &error);
  } else {
    std::wstring embedded;
    if (!EmbeddedScript(plugin.Get(), &embedded)) {
      Fail(L"no script given, and the plug-in library '" + pluginPath + L"' carries none");
      PrintUtf8(stderr, kUsage);
      ReleaseStore(owned);
      return kExitBadCommandLine;
    }
    loaded = LoadScriptText(embedded, L"<embedded script>", plugin.Get(), &script, &error);
  }
  if (!loaded) {
    Fail(error);
    ReleaseStore(owned);
    return kExitBadScript;
  }
  for (auto& variable : script.variables) PutPreset(variable.first, variable.second);
  for (auto& preset : options.presets) PutPreset(preset.first, preset.second);
  store.Put("commands", reinterpret_cast<StoreValue>(script.commands));

  CRITICAL_SECTION storeLock;
  InitializeCriticalSection(&storeLock);
  ScopedKernelHandle cancelEvent(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  g_cancelEvent = cancelEvent.Get();
  SetConsoleCtrlHandler(OnConsoleControl, TRUE);

  WalkOutcome outcome = WalkCommands(*script.commands, script.entry, g_cancelEvent, &storeLock);
  WaitForForkedChains();
  SetConsoleCtrlHandler(OnConsoleControl, FALSE);

  int exitCode = static_cast<int32_t>(store.Get("int_ReturnCode"));
  if (outcome.status != 0) {
    Fail(L"command " + std::to_wstring(outcome.failedIndex) + L" <" + script.elementNames[outcome.failedIndex] +
         L"> stopped the run with status " + std::to_wstring(outcome.status));
    if (exitCode == 0) exitCode = outcome.status;
  }
  if (outcome.missingIndex != 0) {
    Fail(L"the walk was sent to index " + std::to_wstring(outcome.missingIndex) + L", which names no command");
  }
  if (outcome.cancelled) {
    Fail(L"the run was cancelled");
    if (exitCode == 0) exitCode = kExitCancelled;
  }

  std::wstring report = LanguageReport(options);
  if (!report.empty()) PrintUtf8(stdout, report);

  PrintCollectedErrors();
  ReleaseStore(owned);
  store.SetPutFilter("SelfFree_LoggerApi", nullptr);
  store.SetPutFilter("MessageBox", nullptr);
  g_cancelEvent = nullptr;
  DeleteCriticalSection(&storeLock);
  return exitCode;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  // Lines end in "\n" as written: the trace is read through pipes and on Linux
  // terminals as often as in a console.
  _setmode(_fileno(stdout), _O_BINARY);
  _setmode(_fileno(stderr), _O_BINARY);
  std::vector<std::wstring> arguments(argv + 1, argv + argc);
  HostOptions options;
  std::wstring error;
  if (!ParseOptions(arguments, &options, &error)) {
    Fail(error);
    PrintUtf8(stderr, kUsage);
    return kExitBadCommandLine;
  }
  if (options.help) {
    PrintUtf8(stdout, kUsage);
    return 0;
  }
  HRESULT com = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  int exitCode = Run(options);
  if (SUCCEEDED(com)) CoUninitialize();
  return exitCode;
}
