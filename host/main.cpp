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
#include "engine/StoreNames.h"
#include "host/Autopilot.h"
#include "host/Downloader.h"
#include "host/HostServices.h"
#include "host/HostTexts.h"
#include "host/LanguageReport.h"
#include "host/MultiStrings.h"
#include "host/Options.h"
#include "host/ResultFile.h"
#include "host/ScriptCheck.h"
#include "host/ScriptLoader.h"
#include "host/Shutdown.h"
#include "host/VariableStore.h"
#include "host/Walker.h"

namespace {

// The run's cancel signal for the console handler; owned by the run, and the handler
// is gone before the event is.
CancelSignal* g_cancel = nullptr;
const WORD kEmbeddedScriptId = 20003;

void PrintUtf8(FILE* stream, const std::wstring& text) {
  std::string narrow = Utf8(text);
  fwrite(narrow.data(), 1, narrow.size(), stream);
  fflush(stream);
}

// The run's account for /result=; filled as the run goes.
RunRecord g_record;

// Says what failed; the first such message of a run also goes to the result file.
void Fail(const std::wstring& message) {
  PrintUtf8(stderr, L"Installer: " + message + L"\n");
  if (g_record.message.empty()) g_record.message = message;
}

// Ends the run with one of the engine's own failures.
int EndWith(int code, const wchar_t* meaning) {
  g_record.exitCode = code;
  g_record.meaning = meaning;
  return code;
}

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
  g_record.errors = text;
  PrintUtf8(stderr, L"Installer: errors reported during the run:\n" + text + L"\n");
}

// The script the plug-in carries: resource type "XML", id 20003, UTF-8.
bool EmbeddedScript(HMODULE plugin, std::wstring* text) {
  HRSRC resource = FindResourceW(plugin, MAKEINTRESOURCEW(kEmbeddedScriptId), L"XML");
  if (resource == nullptr) return false;
  HGLOBAL loaded = LoadResource(plugin, resource);
  DWORD size = SizeofResource(plugin, resource);
  const char* bytes = static_cast<const char*>(LockResource(loaded));
  if (bytes == nullptr || size == 0) return false;
  *text = FromUtf8(bytes, size);
  return true;
}

BOOL WINAPI OnConsoleControl(DWORD type) {
  if (type != CTRL_C_EVENT && type != CTRL_BREAK_EVENT) return FALSE;
  g_cancel->Raise();
  CancelForkedChains();
  return TRUE;
}

int Run(const HostOptions& options) {
  if (!options.script.empty() && GetFileAttributesW(options.script.c_str()) == INVALID_FILE_ATTRIBUTES) {
    Fail(L"script '" + options.script + L"' not found");
    return EndWith(hostexit::kFileNotFound, hosttext::kMeaningFileNotFound);
  }
  // The plug-in comes from the engine's own folder unless the command line names
  // one, and is never searched for by name.
  std::wstring pluginPath =
      options.plugin.empty() ? OwnModuleFolder() + L"InstallCommands.dll" : FullPath(options.plugin);

  VariableStore& store = VariableStore::Instance();
  CSelfFree* decrypter = new CPlainDecrypter();
  CSelfFree* lists = new CMultiStringApi();
  CSelfFree* downloader = new CDownloaderApi(options.verifyDownloads);
  // The engine's logger is there from the start: it counts what the chains run,
  // and with /trace prints every line. A logger the script publishes later is
  // wrapped, so that both go on.
  CTraceLogger* trace = new CTraceLogger(options.trace);
  store.Put("SelfFree_Decrypter", reinterpret_cast<StoreValue>(decrypter));
  store.Put("SelfFree_MultiStringApi", reinterpret_cast<StoreValue>(lists));
  store.Put("SelfFree_DownloaderApi", reinterpret_cast<StoreValue>(downloader));
  store.Put("SelfFree_LoggerApi", reinterpret_cast<StoreValue>(trace));
  store.SetPutFilter("SelfFree_LoggerApi", [trace](StoreValue value) {
    if (value == 0 || value == reinterpret_cast<StoreValue>(trace)) return value;
    return reinterpret_cast<StoreValue>(new CTeeLogger(static_cast<ILoggerApi*>(trace),
                                                       reinterpret_cast<ILoggerApi*>(value)));
  });
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
  std::set<CSelfFree*> owned = {decrypter, lists, downloader, trace};

  // Freed when Run returns: every way out releases the store, and with it what the
  // plug-in made, first.
  ScopedModule plugin(LoadLibraryAt(pluginPath));
  if (!plugin) {
    Fail(L"cannot load the plug-in library '" + pluginPath + L"' (error " + std::to_wstring(GetLastError()) + L")");
    ReleaseStore(owned);
    return EndWith(hostexit::kNoPlugin, hosttext::kMeaningNoPlugin);
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
  LoadCheck check;
  LoadCheck* checking = options.check ? &check : nullptr;
  std::wstring scriptName = options.script.empty() ? std::wstring(L"<embedded script>") : options.script;
  if (!options.script.empty()) {
    loaded = LoadScript(options.script, plugin.Get(), &script, &error, checking);
  } else {
    std::wstring embedded;
    if (!EmbeddedScript(plugin.Get(), &embedded)) {
      Fail(L"no script given, and the plug-in library '" + pluginPath + L"' carries none");
      PrintUtf8(stderr, kUsage);
      ReleaseStore(owned);
      return EndWith(hostexit::kBadCommandLine, hosttext::kMeaningBadCommandLine);
    }
    loaded = LoadScriptText(embedded, scriptName, plugin.Get(), &script, &error, checking);
  }
  if (options.check) {
    // Presets of the command line are set before the walk as the script's are.
    if (loaded) {
      script.variables.insert(script.variables.end(), options.presets.begin(), options.presets.end());
      CheckScript(script, &check);
    }
    PrintUtf8(stdout, FindingsText(scriptName, check.findings));
    FreeCommands(script.commands);
    ReleaseStore(owned);
    return CheckExitCode(check.findings);
  }
  if (!loaded) {
    Fail(error);
    ReleaseStore(owned);
    return EndWith(hostexit::kBadScript, hosttext::kMeaningBadScript);
  }
  for (auto& variable : script.variables) PutPreset(variable.first, variable.second);
  for (auto& preset : options.presets) PutPreset(preset.first, preset.second);
  store.Put("commands", reinterpret_cast<StoreValue>(script.commands));

  CRITICAL_SECTION storeLock;
  InitializeCriticalSection(&storeLock);
  CancelSignal cancel;
  g_cancel = &cancel;
  SetConsoleCtrlHandler(OnConsoleControl, TRUE);

  // The autopilot binds htmlayout.dll where the plug-in binds it, beside the
  // plug-in, and watches for the dialog for as long as the chains run.
  Autopilot pilot;
  AutopilotPlan plan{options.autoClicks, options.screens.empty() ? std::wstring() : FullPath(options.screens),
                     options.autoClickSeconds * 1000};
  std::wstring why;
  if (!plan.Empty() && !pilot.Start(plan, pluginPath.substr(0, pluginPath.find_last_of(L'\\') + 1), &why)) {
    PrintUtf8(stderr, hosttext::kPilotPrefix + why + L"\n");
  }

  std::set<std::wstring> logsBefore = MergedLogs();
  uint32_t renamesBefore = PendingRenameCount();
  WalkOutcome outcome = WalkCommands(*script.commands, script.entry, cancel, &storeLock);
  WaitForForkedChains();
  pilot.Stop();
  SetConsoleCtrlHandler(OnConsoleControl, FALSE);
  // A Ctrl+C that ended a wait in the last command leaves no command for the walk
  // to stop before, and is a cancel all the same.
  if (cancel.Raised()) outcome.cancelled = true;

  g_record.walked = true;
  g_record.returnCode = static_cast<int64_t>(store.Get(storename::kReturnCode));
  g_record.mainCommands = outcome.commandsRun;
  g_record.chainCommands = trace->ChainCommands();
  int exitCode = static_cast<int32_t>(g_record.returnCode);
  g_record.meaning = exitCode == 0 ? hosttext::kMeaningSuccess : hosttext::kMeaningReturnCode;
  int32_t stopped = outcome.status != 0 ? outcome.failedIndex : outcome.missingFrom;
  if (stopped != 0) {
    const CommandSource& source = script.sources[stopped];
    g_record.stoppedIndex = stopped;
    g_record.stoppedElement = source.element;
    g_record.stoppedLine = source.at.line;
    g_record.stoppedStatus = outcome.status;
  }
  std::wstring at = stopped != 0 && script.sources[stopped].at.line > 0
                        ? L" (" + PositionText(script.sources[stopped].at) + L")"
                        : std::wstring();
  if (outcome.status != 0) {
    Fail(L"command " + std::to_wstring(stopped) + L" <" + g_record.stoppedElement + L"> stopped the run with status " +
         std::to_wstring(outcome.status) + at);
    if (exitCode == 0) {
      exitCode = outcome.status;
      g_record.meaning = hosttext::kMeaningCommandStatus;
    }
  } else if (outcome.missingIndex != 0) {
    Fail((stopped != 0 ? L"command " + std::to_wstring(stopped) + L" <" + g_record.stoppedElement + L">" + at +
                             L" sends the walk to index "
                       : std::wstring(L"the walk starts at index ")) +
         std::to_wstring(outcome.missingIndex) + L", which names no command");
    if (exitCode == 0) {
      exitCode = hostexit::kNoSuchCommand;
      g_record.meaning = hosttext::kMeaningNoSuchCommand;
    }
  }
  if (outcome.cancelled) {
    Fail(L"the run was cancelled");
    exitCode = hostexit::kCancelled;
    g_record.cancelled = true;
    g_record.meaning = hosttext::kMeaningCancelled;
  }

  std::wstring report = LanguageReport(options);
  if (!report.empty()) PrintUtf8(stdout, report);

  PrintCollectedErrors();
  ReleaseStore(owned);
  store.SetPutFilter("SelfFree_LoggerApi", nullptr);
  store.SetPutFilter("MessageBox", nullptr);
  g_cancel = nullptr;
  DeleteCriticalSection(&storeLock);
  uint32_t renamesAfter = PendingRenameCount();
  g_record.pendingRenamesAdded = renamesAfter > renamesBefore ? renamesAfter - renamesBefore : 0;
  for (const std::wstring& log : MergedLogs()) {
    if (logsBefore.count(log) == 0) g_record.logPath = log;
  }
  g_record.exitCode = exitCode;
  return exitCode;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  // Lines end in "\n" as written: the trace is read through pipes and on Linux
  // terminals as often as in a console.
  _setmode(_fileno(stdout), _O_BINARY);
  _setmode(_fileno(stderr), _O_BINARY);
  g_record.startTick = GetTickCount64();
  std::vector<std::wstring> arguments(argv + 1, argv + argc);
  HostOptions options;
  std::wstring error;
  int exitCode = 0;
  if (!ParseOptions(arguments, &options, &error)) {
    Fail(error);
    PrintUtf8(stderr, kUsage);
    exitCode = EndWith(hostexit::kBadCommandLine, hosttext::kMeaningBadCommandLine);
  } else if (options.help) {
    PrintUtf8(stdout, kUsage);
    return 0;
  } else {
    HRESULT com = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    exitCode = Run(options);
    if (SUCCEEDED(com)) CoUninitialize();
  }
  uint32_t written = 0;
  if (!options.resultPath.empty() && !options.check && !WriteResultFile(FullPath(options.resultPath), g_record, &written)) {
    Fail(L"cannot write the result file '" + options.resultPath + L"' (error " + std::to_wstring(written) + L")");
  }
  return exitCode;
}
