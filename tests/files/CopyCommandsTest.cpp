// Fault caught: stale or missing installed files (CopyDir, CopyFile, also as the desktop user).
#include "tests/files/FilesFixture.h"

#include <tlhelp32.h>

class CopyCommandsTest : public FilesTest {
 protected:
  void SetUp() override {
    FilesTest::SetUp();
    WriteAll(At(L"src\\a.txt"), "new a");
    WriteAll(At(L"src\\sub\\deeper\\b.txt"), "new b");
  }
};

TEST_F(CopyCommandsTest, CopyDirCopiesEveryLevelAndOverwritesUnlessTold) {
  WriteAll(At(L"kept\\a.txt"), "old a");
  WriteAll(At(L"replaced\\sub\\deeper\\b.txt"), "old b");
  EXPECT_EQ(Run(Add(L"<CopyDir index='1' sourceDir='[Work]src\\' destinationDir='[Work]kept\\' "
                    L"overwriteExistingFilesAndFolders='0'/>")), 0);
  EXPECT_EQ(Run(Add(L"<CopyDir index='2' sourceDir='[Work]src\\' destinationDir='[Work]replaced\\'/>")), 0);
  EXPECT_EQ(Run(Add(L"<CopyDir index='3' sourceDir='[Work][Nowhere]\\' destinationDir='[Work]out\\'/>")), 0);
  EXPECT_EQ(Run(Add(L"<CopyDir index='4' sourceDir='[Work]src\\' destinationDir='[Work]no\\parent\\'/>")), 0);
  EXPECT_EQ(ReadAll(At(L"kept\\a.txt")), "old a");
  EXPECT_EQ(ReadAll(At(L"kept\\sub\\deeper\\b.txt")), "new b");
  EXPECT_EQ(CompareTrees(At(L"src"), At(L"replaced")), "");
  EXPECT_TRUE(Exists(At(L"out"))) << "the target is made before the source is found missing";
  EXPECT_FALSE(Exists(At(L"no"))) << "no parents are made";
  Lines work = log_->Work();
  ASSERT_EQ(work.size(), 22u);
  EXPECT_EQ(Lines(work.begin(), work.begin() + 5),
            (Lines{L"Executing CopyDir command\n", L"Rough source dir: [Work]src\\\n",
                   L"Rough destination dir: [Work]kept\\\n",
                   L"Preparing to copy directory " + At(L"src\\") + L" to " + At(L"kept\\") + L"\n",
                   L"Finished copying directory\n"}));
  EXPECT_EQ(Lines(work.begin() + 10, work.begin() + 17),
            (Lines{L"Executing CopyDir command\n", L"Rough source dir: [Work][Nowhere]\\\n",
                   L"Rough destination dir: [Work]out\\\n",
                   L"ExpandVariables: No variable 'String_Nowhere' could be found.\n",
                   L"No variables to expand in source dir. Using original\n",
                   L"Preparing to copy directory [Work][Nowhere]\\ to " + At(L"out\\") + L"\n",
                   L"Finished copying directory\n"}));
}

TEST_F(CopyCommandsTest, CopyFileMakesMissingParentsReplacesAndLogsFailures) {
  CInstallCommand* deep =
      Add(L"<CopyFile index='1' sourceFile='[Work]src\\a.txt' destinationFile='[Work]x\\y\\z\\a.txt' errVar='Failed'/>");
  EXPECT_EQ(Run(deep), 0);
  EXPECT_EQ(ReadAll(At(L"x\\y\\z\\a.txt")), "new a");
  WriteAll(At(L"x\\y\\z\\a.txt"), "changed");
  EXPECT_EQ(Run(deep), 0);
  EXPECT_EQ(ReadAll(At(L"x\\y\\z\\a.txt")), "new a");
  size_t mark = log_->Mark();
  EXPECT_EQ(Run(Add(L"<CopyFile index='2' sourceFile='[Work]src\\none.txt' destinationFile='[Work]x\\none.txt'/>")), 0);
  EXPECT_EQ(log_->Work(mark),
            (Lines{L"Executing CopyFile command\n", L"Rough source file: [Work]src\\none.txt\n",
                   L"Rough destination file: [Work]x\\none.txt\n",
                   L"Preparing to copy file " + At(L"src\\none.txt") + L" to " + At(L"x\\none.txt") + L"\n",
                   L"Finished copying file: 2\n"}));
  EXPECT_EQ(log_->Work()[4], L"Finished copying file: 0\n");
  EXPECT_EQ(StoreRead("int_Failed"), 0u) << "CopyFile reports through its log only";
}

TEST_F(CopyCommandsTest, CopyFileForAllUsersRunsUnderTheExplorerTokenAndReverts) {
  std::vector<DWORD> explorers;
  HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
  PROCESSENTRY32W entry = {};
  entry.dwSize = sizeof(entry);
  for (BOOL more = Process32FirstW(snapshot, &entry); more; more = Process32NextW(snapshot, &entry)) {
    if (_wcsicmp(entry.szExeFile, L"explorer.exe") == 0) explorers.push_back(entry.th32ProcessID);
  }
  CloseHandle(snapshot);
  ASSERT_FALSE(explorers.empty()) << "Wine always runs explorer.exe";
  EXPECT_EQ(Run(Add(L"<CopyFile index='1' sourceFile='[Work]src\\a.txt' destinationFile='[Work]user\\a.txt' "
                    L"allUsersAccess='1'/>")), 0);
  EXPECT_EQ(ReadAll(At(L"user\\a.txt")), "new a");
  EXPECT_TRUE(log_->Contains(L"Found " + std::to_wstring(explorers.size()) + L" instances of explorer.exe"));
  Lines lines = log_->Since();
  EXPECT_EQ(Lines(lines.end() - 5, lines.end()),
            (Lines{L"Opened process explorer.exe token", L"Impersionation as current user succesful!\n",
                   L"Preparing to copy file " + At(L"src\\a.txt") + L" to " + At(L"user\\a.txt") + L"\n",
                   L"Finished copying file: 0\n", L"RevertToSelf Success!\n"}));
}
