// Unrar end to end: scripts run by the engine extract an archive that rar made,
// report a missing archive through the exit code, and run on without the UnRAR
// library.
#include "tests/files/UnrarFixtures.h"
#include "tests/host/HostRun.h"

class UnrarScriptTest : public HostRunTest {
 protected:
  void TearDown() override {
    for (const std::wstring& extra : extras_) RemoveTree(extra);
    for (const std::wstring& file : copies_) DeleteFileW(file.c_str());
    HostRunTest::TearDown();
  }
  std::wstring Folder(const wchar_t* name) {
    std::wstring folder = folder_ + name + L"\\";
    extras_.push_back(folder);
    return folder;
  }

  std::vector<std::wstring> extras_;
  std::vector<std::wstring> copies_;
};

TEST_F(UnrarScriptTest, ScriptExtractsAnArchiveExactlyAndShowsItsProgress) {
  std::wstring out = Folder(L"out");
  // The second command shows the progress the first left: it runs only when the
  // percentage is non-zero, and names the last file it was given (refresh 0 keeps
  // it from extracting anything).
  std::wstring script = Script(R"(<install><commands>
    <Unrar index="1" archive=")" + Narrow(Archive(L"compressed.rar")) + R"(" destination=")" + Narrow(out) +
                               R"(" refresh="1" progressVar="Unpack" errVar="Failed"/>
    <Unrar index="2" archive="[Unpack]" destination="nowhere" refresh="0" execCondition="Unpack" next="0"/>
  </commands></install>)");
  RunResult run = RunInstaller(L"/trace " + script);
  EXPECT_EQ(run.exitCode, 0u) << run.err;
  EXPECT_EQ(CompareTrees(SourceTree(), out), "");
  EXPECT_TRUE(Has(run.err, "1: Unrar Extracting: " + Narrow(Archive(L"compressed.rar")) + " to " + Narrow(out) +
                               ".\n1: Unrar End execute. Next command 2.\n"))
      << run.err;
  std::string marker = "2: Unrar Extracting: ";
  size_t at = run.err.find(marker);
  ASSERT_NE(at, std::string::npos) << "no progress was published:\n" << run.err;
  std::string last = run.err.substr(at + marker.size(), run.err.find(" to nowhere.", at) - at - marker.size());
  EXPECT_FALSE(last.empty());
  EXPECT_TRUE(Exists(out + Widen(last))) << last;
}

TEST_F(UnrarScriptTest, MissingArchiveEndsTheRunWithFifteen) {
  std::wstring missing = folder_ + L"missing.rar";
  std::wstring script = Script(R"(<install><commands>
    <Unrar archive=")" + Narrow(missing) + R"(" destination=")" + Narrow(Folder(L"out")) + R"(" errVar="Failed"/>
    <Unrar archive="[Unused]" refresh="0" execCondition="Failed" next="0"/>
  </commands></install>)");
  RunResult run = RunInstaller(L"/trace " + script);
  EXPECT_EQ(run.exitCode, 15u) << run.err;
  EXPECT_TRUE(Has(run.err, "\n\tCannot open " + Narrow(missing) + "\n1: Unrar FAILED getting unpacked size. errCode 15.\n"))
      << run.err;
  EXPECT_TRUE(Has(run.err, "2: Unrar Begin execute.\n")) << "errVar was not set";
}

TEST_F(UnrarScriptTest, PluginLoadsWithoutTheLibraryAndTheCommandFailsClearly) {
  // The plug-in alone in a folder of its own: it loads, and only Unrar fails.
  std::wstring plugin = folder_ + L"InstallCommands.dll";
  ASSERT_TRUE(CopyFileW((TestFolder() + L"..\\..\\bin\\InstallCommands.dll").c_str(), plugin.c_str(), FALSE));
  copies_.push_back(plugin);
  std::wstring script = Script(R"(<install><commands>
    <Unrar archive=")" + Narrow(Archive(L"compressed.rar")) + R"(" destination=")" + Narrow(Folder(L"out")) +
                               R"("/>
    <CreateEvent eventVar="After" next="0"/>
  </commands></install>)");
  RunResult run = RunInstaller(L"/trace \"/plugin=" + plugin + L"\" " + script);
  EXPECT_EQ(run.exitCode, 126u) << run.err;
  EXPECT_TRUE(Has(run.err, "1: Unrar Could not load the UnRAR library " + Narrow(folder_) +
                               "unrar64.dll. errCode 126.\n1: Unrar FAILED getting unpacked size. errCode 126.\n"))
      << run.err;
  EXPECT_TRUE(Has(run.err, "2: CreateEvent End execute. Next command 0.\n")) << run.err;
}
