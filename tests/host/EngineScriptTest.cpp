// Fault caught: a wrong exit code of the engine, or a run that leaves more or less than one merged log.
#include <shlobj.h>

#include <algorithm>

#include "tests/host/HostRun.h"

namespace {

std::vector<std::wstring> LogFiles() {
  wchar_t folder[MAX_PATH] = {};
  SHGetSpecialFolderPathW(nullptr, folder, CSIDL_COMMON_APPDATA, FALSE);
  std::vector<std::wstring> files;
  for (const std::wstring& entry : ListTree(folder)) files.push_back(std::wstring(folder) + L"\\" + entry);
  return files;
}

}  // namespace

TEST_F(HostRunTest, ScriptWithChainsRunsToItsReturnCodeAndLeavesOneMergedLog) {
  std::wstring script = Script(R"(<install>
  <variables><variable name="int_ReturnCode" value="42"/></variables>
  <commands>
    <Logger index="1" isMainThread="1"/>
    <CreateEvent index="2" eventVar="Ready" manualReset="1"/>
    <Fork index="3" threadId="1" threadStart="10"/>
    <WaitForHandle index="4" eventVar="Ready" waitAmount="10000"/>
    <Join index="5" threadId="1"/>
    <Cancel index="6" threadId="2"/>
    <Fork index="7" threadId="2" threadStart="20"/>
    <Join index="8" threadId="2"/>
    <SetEvent index="9" eventVar="Missing" execCondition="DoIt" next="0"/>
    <SetEvent index="10" eventVar="Ready" next="0"/>
    <SetEvent index="20" eventVar="Ready" next="0"/>
  </commands>
</install>)");
  std::vector<std::wstring> before = LogFiles();
  ProcessResult run = RunInstaller(L"/trace " + script);
  EXPECT_EQ(run.exitCode, 42u) << run.err;
  EXPECT_TRUE(Has(run.err, "[ThreadId 1] Reached end command.\n")) << run.err;
  EXPECT_FALSE(Has(run.err, "[ThreadId 2]")) << "cancelled before it started";
  EXPECT_FALSE(Has(run.err, "Installer:")) << "no complaint from the engine";
  std::vector<std::wstring> added;
  for (const std::wstring& file : LogFiles()) {
    if (std::find(before.begin(), before.end(), file) == before.end()) added.push_back(file);
  }
  ASSERT_EQ(added.size(), 1u) << "one merged log and no thread file left";
  EXPECT_NE(added[0].find(L".nvinstall.bin"), std::wstring::npos);
  std::wstring plain = folder_ + L"plain.txt";
  ProcessResult decode = RunProcess(L"\"" + BinFolder() + L"logdecode.exe\" \"" + added[0] + L"\" \"" + plain + L"\"");
  DeleteFileW(added[0].c_str());
  EXPECT_EQ(decode.exitCode, 0u);
  std::string text = ReadAll(plain);
  EXPECT_TRUE(Has(text, "(Installer main thread) on ")) << text;
  EXPECT_TRUE(Has(text, "] 5: Join ThreadId=1 joined.\n")) << text;
  EXPECT_TRUE(Has(text, "] [ThreadId 1] Joining.\n")) << text;

  // Presets reach the script; a condition set from outside runs its command.
  EXPECT_EQ(RunInstaller(L"/set:int_ReturnCode=0x11 " + script).exitCode, 17u);
  ProcessResult forced = RunInstaller(L"/trace /set:int_DoIt=1 " + script);
  EXPECT_TRUE(Has(forced.err, "HANDLE_Missing doesn't contain an event to set!\n")) << forced.err;
  for (const std::wstring& file : LogFiles()) {
    if (std::find(before.begin(), before.end(), file) == before.end()) DeleteFileW(file.c_str());
  }
}

TEST_F(HostRunTest, FailuresEndTheRunWithTheirCodes) {
  // The chain sits in command 9 for 3 s; the main walk reaches the same command
  // and is turned away.
  std::wstring busy = Script(R"(<install><commands>
    <CreateEvent index="1" eventVar="Hold" manualReset="1"/>
    <Fork index="2" threadId="1" threadStart="9"/>
    <WaitForHandle index="3" eventVar="Hold" waitAmount="500" next="9"/>
    <WaitForHandle index="9" eventVar="Hold" waitAmount="3000" next="0"/>
  </commands></install>)");
  struct Case {
    std::wstring arguments;
    DWORD code;
    std::string message;
  } cases[] = {
      {busy, 1359, "command 9 <WaitForHandle> stopped the run with status 1359"},
      {Script(R"(<install><commands><CreateEvent eventVar="A"/><Bogus/></commands></install>)"), 13,
       "element <Bogus> (command #2): unknown command (the plug-in has no export GetCBogusCommand)"},
      {Script(R"(<install><commands><WaitForHandle eventVar="A"/></commands></install>)"), 13,
       "element <WaitForHandle> (command #1): Load failed with status 1: the required attribute 'waitAmount' is missing"},
      {Script(R"(<install><commands><SetEvent eventVar="A"></commands></install>)"), 13, "cannot be read as XML"},
      {Script(R"(<setup><commands/></setup>)"), 13, "the root element must be <install>"},
      {Script(R"(<install><commands><SetEvent index="3" eventVar="A"/><SetEvent index="3" eventVar="B"/></commands></install>)"),
       13, "index 3 is used already by <SetEvent>"},
      {L"\"" + folder_ + L"absent.xml\"", 2, "absent.xml' not found"},
      {L"/plugin=\"" + folder_ + L"absent.dll\" " + busy, 126, "cannot load the plug-in library"},
      {L"/set:NoPrefix=1 " + busy, 87, "Usage: Installer.exe"},
  };
  for (const Case& c : cases) {
    ProcessResult run = RunInstaller(L"/trace " + c.arguments);
    EXPECT_EQ(run.exitCode, c.code) << Narrow(c.arguments) << "\n" << run.err;
    EXPECT_TRUE(Has(run.err, c.message)) << run.err;
    if (c.code == 13) {
      EXPECT_FALSE(Has(run.err, "Begin execute")) << "nothing ran: " << run.err;
    }
  }
  EXPECT_TRUE(Has(RunInstaller(L"/?").out, "/set:<name>=<value>"));
}

TEST(PluginEntryTest, LibraryRefusesToLoadWithoutTheEngine) {
  // This program is not Installer.exe and none lies on the search path, so the
  // library's entry cannot bind the store and the load fails.
  HMODULE plugin = LoadLibraryW((BinFolder() + L"InstallCommands.dll").c_str());
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_DLL_INIT_FAILED));
  EXPECT_EQ(plugin, nullptr);
}
