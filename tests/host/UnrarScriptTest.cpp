// Fault caught: a script's archive extracted wrongly, or its failure not in the exit code.
#include "tests/host/HostRun.h"

TEST_F(HostRunTest, UnrarScriptExtractsExactlyAndEndsWithTheFailuresCode) {
  std::wstring out = folder_ + L"out\\";
  // The second command runs only when the percentage is non-zero, and names the
  // last file it was given (refresh 0 keeps it from extracting anything).
  std::wstring script = Script(R"(<install><commands>
    <Unrar archive=")" + Narrow(Archive(L"compressed.rar")) + R"(" destination=")" + Narrow(out) +
                               R"(" refresh="1" progressVar="Unpack" errVar="Failed"/>
    <Unrar archive="[Unpack]" destination="nowhere" refresh="0" execCondition="Unpack" next="0"/>
  </commands></install>)");
  ProcessResult run = RunInstaller(L"/trace " + script);
  EXPECT_EQ(run.exitCode, 0u) << run.err;
  EXPECT_EQ(CompareTrees(SourceTree(), out), "");
  std::string last = run.err.substr(0, run.err.find(" to nowhere."));
  last = last.substr(last.rfind("Unrar Extracting: ") + 18);
  EXPECT_TRUE(Exists(out + Widen(last))) << "the last file published: " << last;

  std::wstring missing = Script(R"(<install><commands>
    <Unrar archive=")" + Narrow(folder_) + R"(missing.rar" destination=")" + Narrow(out) + R"(" errVar="Failed"/>
    <SetEvent execCondition="Failed" eventVar="FailedMark" next="0"/>
  </commands></install>)");
  run = RunInstaller(L"/trace " + missing);
  EXPECT_EQ(run.exitCode, 15u) << run.err;
  EXPECT_TRUE(Has(run.err, "HANDLE_FailedMark doesn't contain an event to set!")) << "errVar was set";
  // The plug-in alone in a folder of its own still loads; only Unrar fails.
  ASSERT_TRUE(CopyFileW((BinFolder() + L"InstallCommands.dll").c_str(), (folder_ + L"InstallCommands.dll").c_str(), FALSE));
  EXPECT_EQ(RunInstaller(L"\"/plugin=" + folder_ + L"InstallCommands.dll\" " + Script(R"(<install><commands>
    <Unrar archive=")" + Narrow(Archive(L"compressed.rar")) + R"(" destination=")" + Narrow(folder_) + R"(o2\"/>
    <SetEvent eventVar="After" next="0"/></commands></install>)")).exitCode, 126u);
}
