// Fault caught: a command's frame (begin/end lines, next index, executed mark, guard, lock) changed; one row per export.
#include <shlobj.h>

#include <set>
#include <thread>

#include "tests/support/PluginFixture.h"

namespace {

enum class Guard {
  kBusy,  // a second thread gets 1359 and the busy line
  kSkip,  // a second thread skips the work: begin, end, status 0
  kNone,  // no guard: a second thread runs the work
};

struct FrameRow {
  const wchar_t* element;  // {dir} temp folder, {key} HKCU test key, {name} unique, {event} set event, {thread}
  const wchar_t* begin;    // the first line, or null
  const wchar_t* endTag;   // the tag of "End execute. Next command", or null for no end line
  bool marked;             // GetNextIndex warns no more after a run
  Guard guard;
  const wchar_t* busyTag;  // the tag of the busy line
  int32_t status = 0;      // of a run with these attributes
  bool keepsLock = false;  // a run leaves the lock held
};

const FrameRow kRows[] = {
    {L"<ArchitectureCheck index='5'/>", L"5: ArchitectureCheck Begin execute.\n", L"ArchitectureCheck", true,
     Guard::kBusy, L"ArchitectureCheck"},
    {L"<Cancel index='5' threadId='{thread}'/>", L"5: Cancel Begin execute, threadId={thread}.\n", L"Cancel", true,
     Guard::kBusy, L"Cancel"},
    {L"<CreateEvent index='5' eventVar='{name}'/>", L"5: CreateEvent Begin execute.\n", L"CreateEvent", true,
     Guard::kBusy, L"CreateEvent"},
    {L"<ForceSingleInstance index='5' eventName='{name}'/>", L"5: ForceSingleInstance Begin execute.\n",
     L"ForceSingleInstance", true, Guard::kBusy, L"ForceSingleInstance"},
    {L"<Fork index='5' threadId='{thread}' threadStart='99999'/>",
     L"5: Fork Begin execute, threadId={thread}, threadStart=99999.\n", L"Fork", true, Guard::kBusy, L"Fork"},
    {L"<Join index='5' threadId='{thread}' condition='FrameNever'/>", L"5: Join Begin execute, threadId={thread}.\n",
     L"Join", true, Guard::kBusy, L"Join"},
    // The begin line goes to the logger before it; the busy line names "Jump".
    {L"<Logger index='5'/>", L"5: Logger Begin execute.\n", nullptr, false, Guard::kBusy, L"Jump", 0, true},
    {L"<SetEvent index='5' eventVar='{event}'/>", L"5: SetEvent Begin execute.\n", L"SetEvent", true, Guard::kBusy,
     L"SetEvent"},
    {L"<VltCommandLineParser index='5'/>", nullptr, L"VltCommandLine", false, Guard::kBusy, L"VltCommandLine"},
    // Without the progress events the console stops the walk.
    {L"<VltConsole index='5'/>", nullptr, L"VltConsole", false, Guard::kBusy, L"VltConsole", 1359},
    {L"<VltInstall index='5'/>", nullptr, L"VltInstall", false, Guard::kBusy, L"VltInstall"},
    // Without htmlayout.dll beside the test the dialog stops the walk.
    {L"<VltWelcomeInterface index='5'/>", L"5: VltWelcomeInterface Begin execute on windowId=1.\n",
     L"VltWelcomeInterface", true, Guard::kBusy, L"VltWelcomeInterface", 1359},
    {L"<VltMessageBox index='5'/>", L"5: VltMessageBox Begin execute.\n", L"VltMessageBox", true, Guard::kBusy,
     L"VltMessageBox"},
    {L"<VltSetError index='5' reason='x'/>", nullptr, L"VltSetError", false, Guard::kBusy, L"VltSetError"},
    {L"<VltUpdateProgress index='5' progress='0'/>", nullptr, L"VltUpdateProgress", false, Guard::kBusy,
     L"VltUpdateProgress"},
    {L"<Unrar index='5' archive='{dir}a.rar' destination='{dir}out' refresh='0'/>", L"5: Unrar Begin execute.\n",
     L"Unrar", true, Guard::kBusy, L"Unrar"},
    {L"<WaitForHandle index='5' eventVar='{event}' waitAmount='0'/>", L"5: WaitForHandle Begin execute.\n",
     L"WaitForHandle", true, Guard::kBusy, L"WaitForHandle"},
    {L"<RegCreateKey index='5' base='HKEY_CURRENT_USER' subkey='{key}'/>", L"5: RegCreateKey '{key}' volatile=0 Begin.\n",
     L"RegCreateKey", true, Guard::kBusy, L"RegCreateKey"},
    {L"<RegDeleteKey index='5' base='HKEY_CURRENT_USER' subkey='{key}\\none' recursive='0'/>",
     L"5: RegDeleteKey '{key}\\none' Begin, recursive='FALSE'.\n", L"RegDeleteKey", true, Guard::kBusy,
     L"RegDeleteKey"},
    {L"<RegDeleteValue index='5' base='HKEY_CURRENT_USER' subkey='{key}' value='v'/>",
     L"5: RegDeleteValue '{key}' \\ 'v'.\n", L"RegDeleteValue", true, Guard::kBusy, L"RegDeleteValue"},
    {L"<RegGetValue index='5' base='HKEY_CURRENT_USER' subkey='{key}' value='v' var='FrameGot'/>",
     L"5: RegGetValue '{key}' \\ 'v'=>'FrameGot' Begin.\n", L"RegGetValue", true, Guard::kBusy, L"RegGetValue"},
    {L"<RegKeyExists index='5' base='HKEY_CURRENT_USER' subkey='{key}\\none' variable='FrameFound'/>",
     L"5: RegKeyExists '{key}\\none' Begin.\n", L"RegKeyExists", true, Guard::kBusy, L"RegKeyExists"},
    {L"<RegSetValue index='5' base='HKEY_CURRENT_USER' subkey='{key}' value='v' stringValue='x'/>",
     L"5: RegSetValue '{key}' \\ 'v'='x' Begin.\n", L"RegSetValue", true, Guard::kBusy, L"RegSetValue"},
    {L"<VltRegSetLicense index='5' base='HKEY_CURRENT_USER' subkey='{key}\\lic'/>",
     L"5: VltRegSetLicense '{key}\\lic' Begin.\n", L"VltRegSetLicense", true, Guard::kBusy, L"VltRegSetLicense"},
    // The service commands log their begin line before the guard.
    {L"<CreateService index='5' var='FrameMade' serviceName='{name}' displayName='x' description='x' "
     L"serviceType='0' startType='3'/>",
     L"5: CreateService Begin execute.\n", L"CreateService", false, Guard::kSkip, nullptr},
    {L"<StartService index='5' serviceName='{name}'/>", L"5: StartService Begin execute.\n", L"StartService", false,
     Guard::kSkip, nullptr},
    {L"<StopService index='5' serviceName='{name}'/>", L"5: StopService Begin execute.\n", L"StopService", false,
     Guard::kSkip, nullptr},
    {L"<UninstallService index='5' serviceName='{name}'/>", L"5: UninstallService Begin execute.\n",
     L"UninstallService", false, Guard::kSkip, nullptr},
    {L"<CopyDir index='5' sourceDir='{dir}none\\' destinationDir='{dir}copy\\'/>", L"Executing CopyDir command\n",
     nullptr, false, Guard::kNone, nullptr},
    {L"<CopyFile index='5' sourceFile='{dir}none.txt' destinationFile='{dir}out\\none.txt'/>",
     L"Executing CopyFile command\n", nullptr, false, Guard::kNone, nullptr},
    {L"<CreateDir index='5' path='{dir}made'/>", L"5: CreateDir Begin execute.\n", L"CreateDir", false, Guard::kBusy,
     L"CreateDir"},
    {L"<DeleteFile index='5' pathFile='{dir}none.dll'/>", L"Executing DeleteFile command\n", nullptr, false,
     Guard::kNone, nullptr},
    {L"<Rmdir index='5' path='{dir}gone' recursive='0'/>", L"5: Rmdir Begin, Path='{dir}gone'.\n", L"Rmdir", true,
     Guard::kBusy, L"Rmdir"},
    // The busy line of Shortcut names "Exec".
    {L"<Shortcut index='5' linkName='F.lnk'/>", L"5: Shortcut Begin execute.\n", L"Shortcut", false, Guard::kBusy,
     L"Exec"},
    {L"<UndoMoveFileEx index='5'/>", L"5: UndoMoveFileEx Begin execute.\n", L"UndoMoveFileEx", true, Guard::kBusy,
     L"UndoMoveFileEx"},
    {L"<WriteIEADS index='5' pathFile='{dir}no\\tool.exe'/>", L"5: Write IE ADS for {dir}no\\tool.exe\n",
     L"WriteIEADS", true, Guard::kBusy, L"WriteIEADS"},
    {L"<LocalizationManager index='5' localeFolder='{dir}texts'/>", L"5: LocalizationManager Begin execute.\n",
     L"LocalizationManager", true, Guard::kBusy, L"LocalizationManager"},
    {L"<MultiLanguage index='5' langDir='{dir}lang' configFile='languages.xml'/>",
     L"5: Multilanguage Begin execute.\n", L"Multilanguage", false, Guard::kBusy, L"Multilanguage"},
    {L"<UsageReportingInit index='5' productName='Frame' dbPath='{dir}'/>", L"5: UsageReportingInit Begin execute.\n",
     L"UsageReportingInit", true, Guard::kBusy, L"UsageReportingInit"},
    {L"<UsageReportingSetProperty index='5' name='n' value='v'/>", L"5: UsageReportingSetProperty Begin execute.\n",
     L"UsageReportingSetProperty", true, Guard::kBusy, L"UsageReportingSetProperty"},
    {L"<UsageReportingReport index='5' eventName='e'/>", L"5: UsageReportingReport Begin execute.\n",
     L"UsageReportingReport", true, Guard::kBusy, L"UsageReportingReport"},
    {L"<UsageReportingBeginReport index='5' name='n' variable='{name}'/>",
     L"5: UsageReportingBeginReport Begin execute.\n", L"UsageReportingBeginReport", true, Guard::kBusy,
     L"UsageReportingBeginReport"},
    {L"<UsageReportingEndReport index='5' name='n' variable='{name}'/>", L"5: UsageReportingEndReport Begin execute.\n",
     L"UsageReportingEndReport", true, Guard::kBusy, L"UsageReportingEndReport"},
    {L"<VltRunAsUser index='5' command='cmd.exe' args='/c exit 0' waitAmount='0'/>",
     L"5: VltRunAsUser Begin execute.\n", L"VltRunAsUser", true, Guard::kBusy, L"VltRunAsUser", 0, true},
};

std::wstring Fill(std::wstring text, const std::map<std::wstring, std::wstring>& values) {
  for (auto& value : values) {
    for (size_t at = text.find(value.first); at != std::wstring::npos; at = text.find(value.first, at)) {
      text.replace(at, value.first.size(), value.second);
      at += value.second.size();
    }
  }
  return text;
}

std::set<std::wstring> MergedLogs() {
  wchar_t folder[MAX_PATH] = {};
  SHGetSpecialFolderPathW(nullptr, folder, CSIDL_COMMON_APPDATA, FALSE);
  std::set<std::wstring> files;
  for (const std::wstring& entry : ListTree(folder)) {
    if (entry.find(L".bin") != std::wstring::npos) files.insert(std::wstring(folder) + L"\\" + entry);
  }
  return files;
}

// The names of the library's exports.
std::set<std::string> Exports(HMODULE module) {
  auto* base = reinterpret_cast<BYTE*>(module);
  auto* nt = reinterpret_cast<IMAGE_NT_HEADERS*>(base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
  auto* directory = reinterpret_cast<IMAGE_EXPORT_DIRECTORY*>(
      base + nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress);
  auto* names = reinterpret_cast<DWORD*>(base + directory->AddressOfNames);
  std::set<std::string> exports;
  for (DWORD i = 0; i < directory->NumberOfNames; ++i) exports.insert(reinterpret_cast<char*>(base + names[i]));
  return exports;
}

}  // namespace

class FrameTest : public PluginTest {
 protected:
  void TearDown() override {
    RegDeleteTreeW(HKEY_CURRENT_USER, key_.c_str());
    RemoveTree(dir_);
    PluginTest::TearDown();
  }
  std::wstring dir_ = NewTempFolder(L"frame");
  std::wstring key_ = L"Software\\InstallCommandsTests\\" + UniqueName(L"Frame");
};

TEST_F(FrameTest, EveryExportHasARow) {
  std::set<std::string> rows;
  for (const FrameRow& row : kRows) {
    std::wstring element = row.element;
    rows.insert("GetC" + Narrow(element.substr(1, element.find(L' ') - 1)) + "Command");
  }
  EXPECT_EQ(Exports(Plugin()), rows);
}

TEST_F(FrameTest, EachCommandKeepsItsFrame) {
  static LONG threads = 7000;
  for (const FrameRow& row : kRows) {
    HANDLE event = CreateEventW(nullptr, TRUE, TRUE, nullptr);
    std::wstring eventVar = UniqueName(L"FrameEvent");
    VariableStore::Instance().Put(("HANDLE_" + Narrow(eventVar)).c_str(), reinterpret_cast<StoreValue>(event));
    std::map<std::wstring, std::wstring> values = {{L"{dir}", dir_},
                                                   {L"{key}", key_},
                                                   {L"{name}", UniqueName(L"Frame")},
                                                   {L"{event}", eventVar},
                                                   {L"{thread}", std::to_wstring(InterlockedIncrement(&threads))}};
    std::wstring element = Fill(row.element, values);
    SCOPED_TRACE(Narrow(element));
    CInstallCommand* command = Add(element);
    ASSERT_NE(command, nullptr);
    const std::wstring begin = row.begin != nullptr ? Fill(row.begin, values) : L"";
    const std::wstring end = row.endTag != nullptr ? std::wstring(L"5: ") + row.endTag + L" End execute. Next command 6.\n" : L"";

    // Another thread holds the command's lock.
    EnterCriticalSection(&command->lock);
    size_t mark = log_->Mark();
    int32_t status = Run(command);
    LeaveCriticalSection(&command->lock);
    Lines lines = log_->Since(mark, worker_);
    if (row.guard == Guard::kBusy) {
      EXPECT_EQ(status, 1359);
      EXPECT_EQ(lines, Lines{L"5: " + std::wstring(row.busyTag) + L" Error: Multiple threads attempting execution.\n"});
    } else if (row.guard == Guard::kSkip) {
      EXPECT_EQ(status, 0);
      EXPECT_EQ(lines, (Lines{begin, kNotExecutedWarning, end}));
    } else {
      EXPECT_EQ(status, row.status);
      ASSERT_FALSE(lines.empty());
      EXPECT_EQ(lines.front(), begin) << "runs as if the lock were free";
    }

    // A run of its own.
    std::set<std::wstring> logsBefore = MergedLogs();
    mark = log_->Mark();
    EXPECT_EQ(Run(command), row.status);
    lines = log_->Since(mark, worker_);
    if (StoreRead("SelfFree_LoggerApi") != reinterpret_cast<StoreValue>(log_)) {
      // Logger published a logger of its own: the capture logger goes back.
      reinterpret_cast<CSelfFree*>(StoreRead("SelfFree_LoggerApi"))->Free();
      reinterpret_cast<CSelfFree*>(StoreRead("SelfFree_ErrorApi"))->Free();
      VariableStore::Instance().Put("SelfFree_ErrorApi", 0);
      VariableStore::Instance().Put("SelfFree_LoggerApi", reinterpret_cast<StoreValue>(log_));
      for (const std::wstring& file : MergedLogs()) {
        if (logsBefore.count(file) == 0) DeleteFileW(file.c_str());
      }
    }
    ASSERT_FALSE(lines.empty());
    if (row.begin != nullptr) {
      EXPECT_EQ(lines.front(), begin);
    }
    if (row.endTag != nullptr) {
      EXPECT_EQ(lines.back(), end);
      ASSERT_GE(lines.size(), 2u);
      EXPECT_EQ(lines[lines.size() - 2] == kNotExecutedWarning, !row.marked) << "the warning of GetNextIndex";
    } else {
      EXPECT_EQ(lines.back().find(L"End execute"), std::wstring::npos);
    }

    bool free = false;
    std::thread([&] {
      free = TryEnterCriticalSection(&command->lock);
      if (free) LeaveCriticalSection(&command->lock);
    }).join();
    EXPECT_EQ(free, !row.keepsLock) << "the lock after a run";

    mark = log_->Mark();
    EXPECT_EQ(command->GetNextIndex(), 6);
    EXPECT_EQ(command->executed, row.marked);
    // This thread's lines only: a chain that Fork started may still be logging.
    EXPECT_EQ(log_->Since(mark, GetCurrentThreadId()), row.marked ? Lines{} : Lines{kNotExecutedWarning});
  }
}
