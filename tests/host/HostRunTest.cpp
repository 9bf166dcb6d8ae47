// The reference engine end to end: scripts with threads and events, presets,
// a walk stopped by a busy command, broken scripts and bad command lines.
#include "tests/host/HostRun.h"

#include <shlobj.h>

#include <algorithm>
#include <fstream>
#include <iterator>

TEST_F(HostRunTest, ScriptWithForkJoinCancelAndEventsRunsToItsReturnCode) {
  std::wstring script = Script(R"(<?xml version="1.0"?>
<install>
  <variables>
    <variable name="int_ReturnCode" value="42"/>
  </variables>
  <commands>
    <!-- main chain -->
    <CreateEvent index="1" eventVar="Ready" manualReset="1"/>
    <Fork index="2" threadId="1" threadStart="10"/>
    <WaitForHandle index="3" eventVar="Ready" waitAmount="10000"/>
    <Join index="4" threadId="1"/>
    <Cancel index="5" threadId="2"/>
    <Fork index="6" threadId="2" threadStart="20"/>
    <Join index="7" threadId="2" next="0"/>
    <!-- chain 1 signals the main chain -->
    <SetEvent index="10" eventVar="Ready" next="0"/>
    <!-- chain 2 is cancelled before it can start -->
    <SetEvent index="20" eventVar="Ready" next="0"/>
  </commands>
</install>)");
  RunResult run = RunInstaller(L"/trace " + script);
  EXPECT_EQ(run.exitCode, 42u) << run.err;
  // The main walk, woken by the chain's event, may log between the chain's lines.
  EXPECT_TRUE(Has(run.err, "10: SetEvent End execute. Next command 0.\n"));
  EXPECT_TRUE(Has(run.err, "[ThreadId 1] Reached end command.\n"));
  EXPECT_TRUE(Has(run.err, "4: Join ThreadId=1 joined.\n"));
  EXPECT_TRUE(Has(run.err, "6: Fork Found thread info for threadId=2.\n"));
  EXPECT_FALSE(Has(run.err, "[ThreadId 2]"));
  EXPECT_TRUE(Has(run.err, "7: Join ThreadId=2 joined.\n7: Join End execute. Next command 0.\n[Main] Reached end command.\n"));
  EXPECT_FALSE(Has(run.err, "Installer:")) << "no complaint from the engine";
}

TEST_F(HostRunTest, PresetsReachTheScriptAndConditionsSkip) {
  std::wstring script = Script(R"(<install><commands>
    <SetEvent index="1" eventVar="Missing" execCondition="DoIt"/>
    <CreateEvent index="2" eventVar="[Name]" next="0"/>
  </commands></install>)");
  RunResult skipped = RunInstaller(L"/trace /set:int_ReturnCode=0x11 " + script);
  EXPECT_EQ(skipped.exitCode, 17u);
  EXPECT_TRUE(Has(skipped.err, "[Main] Command 1 not required.\n"));
  RunResult run = RunInstaller(L"/trace /set:int_DoIt=1 " + script);
  EXPECT_EQ(run.exitCode, 0u);
  EXPECT_TRUE(Has(run.err, "HANDLE_Missing doesn't contain an event to set!\n"));
}

TEST_F(HostRunTest, BusyCommandStopsTheWalkWithItsStatus) {
  // The chain sits in command 9 for 3 s; the main walk pauses half a second and
  // then reaches the same command, and is turned away.
  std::wstring script = Script(R"(<install><commands>
    <CreateEvent index="1" eventVar="Hold" manualReset="1"/>
    <Fork index="2" threadId="1" threadStart="9"/>
    <WaitForHandle index="3" eventVar="Hold" waitAmount="500" next="9"/>
    <WaitForHandle index="9" eventVar="Hold" waitAmount="3000" next="0"/>
  </commands></install>)");
  RunResult run = RunInstaller(script);
  EXPECT_EQ(run.exitCode, 1359u) << run.err;
  EXPECT_TRUE(Has(run.err, "command 9 <WaitForHandle> stopped the run with status 1359")) << run.err;
}

TEST_F(HostRunTest, BrokenScriptsStopBeforeAnythingRuns) {
  struct Case {
    std::string body;
    std::string message;
  } cases[] = {
      {R"(<install><commands><CreateEvent eventVar="A"/><Bogus/></commands></install>)",
       "element <Bogus> (command #2): unknown command (the plug-in has no export GetCBogusCommand)"},
      {R"(<install><commands><WaitForHandle eventVar="A"/></commands></install>)",
       "element <WaitForHandle> (command #1): Load failed with status 1 (a required attribute is missing)"},
      {R"(<install><commands><SetEvent eventVar="A"></commands></install>)", "cannot be read as XML"},
      {R"(<setup><commands/></setup>)", "the root element must be <install>"},
      {R"(<install><commands><SetEvent index="3" eventVar="A"/><SetEvent index="3" eventVar="B"/></commands></install>)",
       "index 3 is used by <SetEvent> already"},
  };
  for (const Case& c : cases) {
    std::wstring script = Script(c.body);
    RunResult run = RunInstaller(L"/trace " + script);
    EXPECT_EQ(run.exitCode, 13u) << c.body;
    EXPECT_TRUE(Has(run.err, c.message)) << run.err;
    EXPECT_TRUE(Has(run.err, "script" + std::to_string(files_.size() - 1) + ".xml")) << "names the file: " << run.err;
    EXPECT_FALSE(Has(run.err, "Begin execute")) << "nothing ran: " << run.err;
  }
}

TEST_F(HostRunTest, MissingFilesAndBadArgumentsAreClearErrors) {
  RunResult noScript = RunInstaller(L"\"" + folder_ + L"absent.xml\"");
  EXPECT_EQ(noScript.exitCode, 2u);
  EXPECT_TRUE(Has(noScript.err, "absent.xml' not found"));

  std::wstring script = Script("<install><commands><SetEvent eventVar='A'/></commands></install>");
  RunResult noPlugin = RunInstaller(L"/plugin=\"" + folder_ + L"absent.dll\" " + script);
  EXPECT_EQ(noPlugin.exitCode, 126u);
  EXPECT_TRUE(Has(noPlugin.err, "cannot load the plug-in library")) << noPlugin.err;

  RunResult badSet = RunInstaller(L"/set:NoPrefix=1 " + script);
  EXPECT_EQ(badSet.exitCode, 87u);
  EXPECT_TRUE(Has(badSet.err, "Usage: Installer.exe"));

  RunResult help = RunInstaller(L"/?");
  EXPECT_EQ(help.exitCode, 0u);
  EXPECT_TRUE(Has(help.out, "/set:<name>=<value>"));
}

TEST(PluginEntryTest, LibraryRefusesToLoadWithoutTheEngine) {
  // This program is not Installer.exe and none lies on the search path, so the
  // library's entry cannot bind the store and the load fails.
  HMODULE plugin = LoadLibraryW((TestFolder() + L"..\\..\\bin\\InstallCommands.dll").c_str());
  DWORD error = GetLastError();
  EXPECT_EQ(plugin, nullptr);
  EXPECT_EQ(error, static_cast<DWORD>(ERROR_DLL_INIT_FAILED));
  if (plugin != nullptr) FreeLibrary(plugin);
}

namespace {

std::vector<std::wstring> LogFiles() {
  wchar_t pattern[MAX_PATH] = {};
  SHGetSpecialFolderPathW(nullptr, pattern, CSIDL_COMMON_APPDATA, FALSE);
  std::wstring folder = pattern;
  WIN32_FIND_DATAW found;
  std::vector<std::wstring> files;
  HANDLE search = FindFirstFileW((folder + L"\\*.bin").c_str(), &found);
  if (search != INVALID_HANDLE_VALUE) {
    do files.push_back(folder + L"\\" + found.cFileName);
    while (FindNextFileW(search, &found));
    FindClose(search);
  }
  return files;
}

}  // namespace

TEST_F(HostRunTest, RunWithTwoChainsLeavesExactlyOneMergedLogAndTraceStaysPlain) {
  std::wstring script = Script(R"(<install><commands>
    <Logger index="1" isMainThread="1"/>
    <Fork index="2" threadId="1" threadStart="10"/>
    <Join index="3" threadId="1"/>
    <Fork index="4" threadId="2" threadStart="20"/>
    <Join index="5" threadId="2" next="0"/>
    <CreateEvent index="10" eventVar="Chain" next="0"/>
    <SetEvent index="20" eventVar="Chain" next="0"/>
  </commands></install>)");
  std::vector<std::wstring> before = LogFiles();
  RunResult run = RunInstaller(L"/trace " + script);
  EXPECT_EQ(run.exitCode, 0u) << run.err;
  EXPECT_TRUE(Has(run.err, "2: Fork Begin execute, threadId=1, threadStart=10.\n")) << run.err;
  EXPECT_TRUE(Has(run.err, "[ThreadId 1] Joining.\n"));

  std::vector<std::wstring> added;
  for (const std::wstring& file : LogFiles()) {
    if (std::find(before.begin(), before.end(), file) == before.end()) added.push_back(file);
  }
  ASSERT_EQ(added.size(), 1u) << "one merged log and no thread file left";
  EXPECT_NE(added[0].find(L".nvinstall.bin"), std::wstring::npos);

  std::wstring plain = folder_ + L"plain.txt";
  files_.push_back(plain);
  std::wstring decode = L"\"" + TestFolder() + L"..\\..\\bin\\logdecode.exe\" \"" + added[0] + L"\" \"" + plain + L"\"";
  STARTUPINFOW startup = {sizeof(startup)};
  PROCESS_INFORMATION process = {};
  ASSERT_TRUE(CreateProcessW(nullptr, &decode[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process));
  WaitForSingleObject(process.hProcess, 10000);
  CloseHandle(process.hProcess);
  CloseHandle(process.hThread);
  std::ifstream file(plain.c_str(), std::ios::binary);
  std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  file.close();
  DeleteFileW(added[0].c_str());
  // The main thread's section: its banner, then the walk.
  EXPECT_TRUE(Has(text, "(Installer main thread) on ")) << text;
  EXPECT_TRUE(Has(text, "] 3: Join ThreadId=1 joined.\n")) << text;
  // The chain's section: its own banner with the empty name it was given.
  EXPECT_TRUE(Has(text, "() on ")) << text;
  EXPECT_TRUE(Has(text, "] [ThreadId 1] Joining.\n")) << text;
  EXPECT_TRUE(Has(text, "] 20: SetEvent End execute. Next command 0.\n")) << text;
  EXPECT_TRUE(Has(text, "] [ThreadId 2] Joining.\n")) << text;
}

TEST_F(HostRunTest, WithoutAScriptTheLibrarysOwnScriptRuns) {
  // The library's script is the demo install. Beside the built engine there is no
  // product archive, so the install fails after its start-up and leaves only the
  // product's registry key behind, which goes again here.
  RunResult run = RunInstaller(L"/trace /autoanswer");
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"Software\\InstallCommands\\Demo Product");
  EXPECT_EQ(run.exitCode, 0u) << run.err;
  EXPECT_TRUE(Has(run.err, "1: Logger Begin execute.\n") || Has(run.err, "2: VltCommandLine End execute.")) << run.err;
  EXPECT_TRUE(Has(run.out, "Installing!\n")) << run.out;
  EXPECT_TRUE(Has(run.out, "Error while installing: Could not extract files\n")) << run.out;
  EXPECT_TRUE(Has(run.err, "[Main] Reached end command.\n"));
}
