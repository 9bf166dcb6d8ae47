// Fault caught: the program is not started, started in the wrong folder or session, waited for when it should not be
// (or not when it should), or a command line over its bound is cut instead of ending the process.
#include "frontend/RunAsUserCommand.h"
#include "tests/support/PluginFixture.h"

TEST(UserSessionTest, IsTheHighestActiveOne) {
  auto choose = [](std::vector<WTS_SESSION_INFOW> list) { return ChooseUserSession(list.data(), list.size()); };
  EXPECT_EQ(choose({{1, nullptr, WTSActive}, {3, nullptr, WTSActive}}), 3u);
  EXPECT_EQ(choose({{3, nullptr, WTSActive}, {1, nullptr, WTSActive}}), 3u);
  EXPECT_EQ(choose({{1, nullptr, WTSActive}, {5, nullptr, WTSDisconnected}}), 1u);
  EXPECT_EQ(choose({{2, nullptr, WTSConnected}}), 0u);
  EXPECT_EQ(choose({}), 0u);
}

class RunAsUserTest : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    CreateDirectoryW((dir_ + L"with blanks").c_str(), nullptr);
    ASSERT_TRUE(CopyFileW(FileHolder::ProgramPath().c_str(), program_.c_str(), FALSE));
    StoreText("String_RunTools", dir_ + L"with blanks");
  }
  void TearDown() override { RemoveTree(dir_); PluginTest::TearDown(); }
  std::wstring dir_ = NewTempFolder(L"runasuser");
  std::wstring program_ = dir_ + L"with blanks\\file holder.exe";
};

TEST_F(RunAsUserTest, WithoutAUserTheProgramRunsAsTheInstallersChild) {
  int32_t status = 0;
  CreateCommand(L"<VltRunAsUser command='x'/>", &status)->Free();
  EXPECT_EQ(status, 1) << "a script without waitAmount does not load";
  const struct { const wchar_t* waitAmount; bool waits; } rows[] = {{L"infinite", true}, {L"30000", true}, {L"0", false}};
  for (const auto& row : rows) {
    SCOPED_TRACE(Narrow(row.waitAmount));
    // Wine has no terminal server session for a user, so the plain start is what runs here.
    std::wstring folder = dir_ + L"wait " + row.waitAmount + L"\\not yet";
    CInstallCommand* command = Add(L"<VltRunAsUser command='[RunTools]\\file holder.exe' args='mark 1500 marker.txt' "
                                   L"currentDir='" + folder + L"' waitAmount='" + row.waitAmount + L"'/>");
    size_t mark = log_->Mark();
    EXPECT_EQ(Run(command), 0);
    EXPECT_EQ(Exists(folder + L"\\marker.txt"), row.waits);
    Lines work = log_->Work(mark);
    ASSERT_GE(work.size(), 2u);
    EXPECT_EQ(work[work.size() - 2].rfind(L"No user is logged in Trying normal CreateProcess! (retval:", 0), 0u);
    EXPECT_EQ(work.back().rfind(L"Process \"" + program_ + L"\" mark 1500 marker.txt was started with pid ", 0), 0u);
    for (int i = 0; i < 100 && !Exists(folder + L"\\marker.txt"); ++i) Sleep(100);
    std::string marker = ReadAll(folder + L"\\marker.txt");
    EXPECT_EQ(std::wstring(reinterpret_cast<const wchar_t*>(marker.data()), marker.size() / 2), folder)
        << "the program ran in the folder the command made";
  }
}

TEST_F(RunAsUserTest, ACommandLineOverItsBoundEndsTheProcess) {
  // "<command>" <args> and its terminator fill the 260 characters exactly.
  std::wstring args = L"mark 0 bound.txt";
  args.resize(CVltRunAsUserCommand::kCommandLineCapacity - 1 - (program_.size() + 3), L' ');
  std::wstring element = L"<VltRunAsUser command='" + program_ + L"' currentDir='" + dir_ + L"' waitAmount='-1' args='";
  EXPECT_EQ(Run(Add(element + args + L"'/>")), 0);
  EXPECT_TRUE(Exists(dir_ + L"bound.txt"));
  EXPECT_EXIT(Run(Add(element + args + L" '/>")), ::testing::ExitedWithCode(static_cast<int>(0xC0000409)), "");
}
