// Fault caught: a built-in install whose progress lies, or a console front end that never ends.
#include <shlobj.h>

#include "tests/support/PluginFixture.h"

namespace {

std::vector<int32_t>* g_published = nullptr;

std::wstring ShellFolder(int folder) {
  wchar_t path[MAX_PATH] = {};
  SHGetSpecialFolderPathW(nullptr, path, folder, FALSE);
  return path;
}

}  // namespace

class InstallSequenceTest : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    // Every publication of a percentage, in order, as the store receives it.
    published_.clear();
    g_published = &published_;
    VariableStore::Instance().SetPutFilter("int_InstallProgressPercent", [](StoreValue value) {
      g_published->push_back(static_cast<int32_t>(value));
      return value;
    });
    RemoveTestService(L"vlserv");
    application_ = NewTempFolder(L"sequence-app");
    target_ = NewTempFolder(L"sequence-target");
    StoreText("String_ApplicationPath", application_);
    StoreText("String_InstallPath", target_);
    StoreText("String_ProductName", L"Sequence Test");
    StoreText("String_ManufacturerName", L"InstallCommands");
    progress_ = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    VariableStore::Instance().Put("HANDLE_InstallProgressEv", reinterpret_cast<StoreValue>(progress_));
  }
  void TearDown() override {
    VariableStore::Instance().SetPutFilter("int_InstallProgressPercent", nullptr);
    g_published = nullptr;
    RemoveTestService(L"vlserv");
    RemoveTree(ShellFolder(CSIDL_COMMON_PROGRAMS) + L"\\InstallCommands Sequence Test");
    DeleteFileW((ShellFolder(CSIDL_COMMON_STARTUP) + L"\\Sequence Test.lnk").c_str());
    RemoveTree(application_);
    RemoveTree(target_);
    PluginTest::TearDown();
  }
  void UsePackage(const wchar_t* archive) {
    CopyFileW(Archive(archive).c_str(), (application_ + L"installerpackage.exe").c_str(), FALSE);
  }

  std::vector<int32_t> published_;
  std::wstring application_;
  std::wstring target_;
  HANDLE progress_ = nullptr;
};

TEST_F(InstallSequenceTest, InstallsWithProgressByBytes) {
  UsePackage(L"compressed.rar");
  EXPECT_EQ(Run(Add(L"<VltInstall index='5'/>"), 60000), 0);
  EXPECT_EQ(CompareTrees(SourceTree(), target_), "");
  ASSERT_GE(published_.size(), 6u);
  // The archive's share climbs to 75 by bytes; then 75, 85, 90 and 100.
  for (size_t i = 1; i + 4 < published_.size(); ++i) EXPECT_GE(published_[i], published_[i - 1]);
  EXPECT_LE(published_[published_.size() - 5], 75);
  EXPECT_EQ(std::vector<int32_t>(published_.end() - 4, published_.end()), (std::vector<int32_t>{75, 85, 90, 100}));
  EXPECT_EQ(StoreRead("int_InstallFailed"), 0u);
  SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT);
  SC_HANDLE service = OpenServiceW(manager, L"vlserv", SERVICE_QUERY_CONFIG);
  BYTE buffer[8192];
  DWORD needed = 0;
  ASSERT_TRUE(QueryServiceConfigW(service, reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer), sizeof(buffer), &needed));
  auto* config = reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer);
  EXPECT_EQ(std::wstring(config->lpBinaryPathName), target_ + L"vlscan.exe \\svc") << "unquoted, as it stands";
  EXPECT_EQ(config->dwStartType, static_cast<DWORD>(SERVICE_AUTO_START));
  EXPECT_STREQ(config->lpLoadOrderGroup, L"Norvane Delayed Group");
  CloseServiceHandle(service);
  CloseServiceHandle(manager);
  EXPECT_TRUE(Exists(ShellFolder(CSIDL_COMMON_PROGRAMS) + L"\\InstallCommands Sequence Test\\Sequence Test.lnk"));
  EXPECT_TRUE(Exists(ShellFolder(CSIDL_COMMON_STARTUP) + L"\\Sequence Test.lnk"));
}

TEST_F(InstallSequenceTest, ASecondRunUnpacksAgainThenFailsOnTheService) {
  UsePackage(L"single.rar");
  CInstallCommand* install = Add(L"<VltInstall index='1'/>");
  ASSERT_EQ(Run(install, 60000), 0);
  EXPECT_EQ(published_, (std::vector<int32_t>{75, 75, 85, 90, 100})) << "one entry: 75 twice";
  DeleteFileW((target_ + L"payload.bin").c_str());
  published_.clear();
  ASSERT_EQ(Run(install, 60000), 0);
  EXPECT_TRUE(Exists(target_ + L"payload.bin")) << "the files were unpacked again";
  EXPECT_EQ(published_, (std::vector<int32_t>{75, 75, -1}));
  EXPECT_EQ(TextOf("String_InstallFailReason"), L"Could not install service");
  EXPECT_TRUE(log_->Contains(L"1: VltInstall Error: Could not install service. errCode:1073\n"));
}

TEST_F(InstallSequenceTest, CancelMissingPathsAndArchiveAreFailures) {
  UsePackage(L"many.rar");
  SetEvent(cancel_);
  ASSERT_EQ(Run(Add(L"<VltInstall index='1'/>"), 60000), 0);
  EXPECT_EQ(CountFiles(target_), 1u) << "the cancel is seen after the first entry";
  EXPECT_EQ(published_, (std::vector<int32_t>{0, -1})) << "one entry of 400 is 0 %";
  EXPECT_EQ(TextOf("String_InstallFailReason"), L"Could not extract files");
  ResetEvent(cancel_);
  VariableStore::Instance().Put("String_InstallPath", 0);
  ASSERT_EQ(Run(Add(L"<VltInstall index='2'/>")), 0);
  EXPECT_EQ(TextOf("String_InstallFailReason"), L"Internal Error");
  EXPECT_EQ(WaitForSingleObject(progress_, 0), WAIT_OBJECT_0) << "the failure is signalled";
  StoreText("String_InstallPath", target_);
  DeleteFileW((application_ + L"installerpackage.exe").c_str());
  ASSERT_EQ(Run(Add(L"<VltInstall index='3'/>")), 0);
  EXPECT_EQ(TextOf("String_InstallFailReason"), L"Could not extract files");
  // The wide path goes to the narrow specifier: only its first character shows.
  for (const std::wstring& line : Lines{L"1: VltInstall Error: Could not extract installer package. errCode:1223\n",
                                   L"2: VltInstall Error: Could not get InstallPath.\n",
                                   L"Could not get unpacked size for " + application_.substr(0, 1) + L". errCode:15"}) {
    EXPECT_TRUE(log_->Contains(line)) << Narrow(line);
  }
}

class ConsoleTest : public InstallSequenceTest {
 protected:
  void SetUp() override {
    InstallSequenceTest::SetUp();
    VariableStore::Instance().Put("HANDLE_StartInstallEv", reinterpret_cast<StoreValue>(start_));
  }
  void Publish(int32_t percent) {
    EnterCriticalSection(&storeLock_);
    StoreInt("int_InstallProgressPercent", percent);
    SetEvent(progress_);
    LeaveCriticalSection(&storeLock_);
  }
  HANDLE start_ = CreateEventW(nullptr, TRUE, FALSE, nullptr);
};

TEST_F(ConsoleTest, LoopEndsOnMinusOneButNotMinusTwo) {
  HANDLE running = StartExecute(Add(L"<VltConsole index='9'/>"));
  ASSERT_EQ(WaitForSingleObject(start_, 5000), WAIT_OBJECT_0) << "the console lets the work start";
  Publish(-2);
  EXPECT_EQ(WaitForSingleObject(running, 300), WAIT_TIMEOUT) << "-2 does not end the loop";
  Publish(-1);
  EXPECT_EQ(WaitForSingleObject(running, 5000), WAIT_OBJECT_0) << "-1 ends it";
  EXPECT_EQ(StoreRead("int_UserActionInstall"), 0u) << "not installed: no action written";
  // Without the start event the walk stops.
  VariableStore::Instance().Put("HANDLE_StartInstallEv", 0);
  size_t mark = log_->Mark();
  EXPECT_EQ(Run(Add(L"<VltConsole index='3'/>")), 1359);
  EXPECT_EQ(log_->Work(mark), Lines{L"3: VltConsole Error: Could not get StartInstallEv!\n"});
}

TEST_F(ConsoleTest, InstalledProductTakesTheActionOfTheOwnLineFirst) {
  StoreInt("int_IsVeltoInstalled", 1);
  StoreText("String_CommandLine", L"setup.exe /update");
  StoreText("String_ParrentCommandLine", L"launcher.exe /remove /verbose");
  HANDLE running = StartExecute(Add(L"<VltConsole index='2'/>"));
  ASSERT_EQ(WaitForSingleObject(start_, 5000), WAIT_OBJECT_0);
  std::wstring actions;
  for (const char* name : {"int_UserActionUpdate", "int_UserActionUninstall", "int_UserActionInstall",
                           "int_UserActionRepair"}) {
    actions += std::to_wstring(StoreRead(name));
  }
  EXPECT_EQ(actions, L"1000") << "update; not remove, install or repair";
  Publish(100);
  EXPECT_EQ(WaitForSingleObject(running, 5000), WAIT_OBJECT_0);
}
