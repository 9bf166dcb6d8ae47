// CopyDir and CopyFile through the real library, with variables, existing files,
// missing parents, and the copy made under the token of the running explorer.exe.
#include <windows.h>
#include <tlhelp32.h>

#include "files/CopyFileCommand.h"
#include "tests/files/FilesFixture.h"

class CopyCommandsTest : public FilesTest {
 protected:
  void SetUp() override {
    FilesTest::SetUp();
    WriteAll(At(L"src\\a.txt"), "new a");
    WriteAll(At(L"src\\sub\\b.txt"), "new b");
    SetString("String_Work", folder_);
  }
  static std::vector<DWORD> ExplorerIds() {
    std::vector<DWORD> ids;
    HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W entry = {};
    entry.dwSize = sizeof(entry);
    for (BOOL more = Process32FirstW(snapshot, &entry); more; more = Process32NextW(snapshot, &entry)) {
      if (_wcsicmp(entry.szExeFile, L"explorer.exe") == 0) ids.push_back(entry.th32ProcessID);
    }
    CloseHandle(snapshot);
    return ids;
  }
};

TEST_F(CopyCommandsTest, CopyDirExpandsBothPathsAndOverwritesUnlessTold) {
  WriteAll(At(L"kept\\a.txt"), "old a");
  WriteAll(At(L"replaced\\a.txt"), "old a");
  CInstallCommand* keep = Add(L"<CopyDir index='1' sourceDir='[Work]src\\' destinationDir='[Work]kept\\' "
                              L"overwriteExistingFilesAndFolders='0'/>");
  CInstallCommand* replace = Add(L"<CopyDir index='2' sourceDir='[Work]src\\' destinationDir='[Work]replaced\\'/>");
  EXPECT_EQ(Run(keep), 0);
  EXPECT_EQ(Run(replace), 0);
  EXPECT_EQ(ReadAll(At(L"kept\\a.txt")), "old a");
  EXPECT_EQ(ReadAll(At(L"kept\\sub\\b.txt")), "new b");
  EXPECT_EQ(ReadAll(At(L"replaced\\a.txt")), "new a");
  EXPECT_EQ(ReadAll(At(L"replaced\\sub\\b.txt")), "new b");

  std::vector<std::wstring> lines = log_->Lines();
  std::vector<std::wstring> first(lines.begin(), lines.begin() + 5);
  std::vector<std::wstring> expected = {
      L"Executing CopyDir command\n", L"Rough source dir: [Work]src\\\n", L"Rough destination dir: [Work]kept\\\n",
      L"Preparing to copy directory " + At(L"src\\") + L" to " + At(L"kept\\") + L"\n",
      L"Finished copying directory\n"};
  EXPECT_EQ(first, expected);
  EXPECT_EQ(lines.size(), 10u) << "no guard: no end line, and nothing marks it executed";
  EXPECT_FALSE(keep->executed);
}

TEST_F(CopyCommandsTest, UnknownVariableIsUsedLiterallyAfterTheMisleadingLine) {
  CInstallCommand* copy = Add(L"<CopyDir index='1' sourceDir='[Work][Nowhere]\\' destinationDir='[Work]out\\'/>");
  EXPECT_EQ(Run(copy), 0);
  std::vector<std::wstring> expected = {
      L"Executing CopyDir command\n",
      L"Rough source dir: [Work][Nowhere]\\\n",
      L"Rough destination dir: [Work]out\\\n",
      L"ExpandVariables: No variable 'String_Nowhere' could be found.\n",
      L"No variables to expand in source dir. Using original\n",
      L"Preparing to copy directory [Work][Nowhere]\\ to " + At(L"out\\") + L"\n",
      L"Finished copying directory\n"};
  EXPECT_EQ(log_->Lines(), expected);
  EXPECT_TRUE(Exists(At(L"out"))) << "the target is made before the source is found missing";
}

TEST_F(CopyCommandsTest, CopyFileMakesMissingParentsAndReplacesExistingFiles) {
  CInstallCommand* deep = Add(L"<CopyFile index='1' sourceFile='[Work]src\\a.txt' "
                              L"destinationFile='[Work]x\\y\\z\\a.txt'/>");
  EXPECT_EQ(Run(deep), 0);
  EXPECT_EQ(ReadAll(At(L"x\\y\\z\\a.txt")), "new a");
  WriteAll(At(L"x\\y\\z\\a.txt"), "changed");
  EXPECT_EQ(Run(deep), 0);
  EXPECT_EQ(ReadAll(At(L"x\\y\\z\\a.txt")), "new a");

  CInstallCommand* missing = Add(L"<CopyFile index='2' sourceFile='[Work]src\\none.txt' "
                                 L"destinationFile='[Work]x\\none.txt'/>");
  EXPECT_EQ(Run(missing), 0) << "a failed copy does not stop the script";
  std::vector<std::wstring> lines = log_->Lines();
  std::vector<std::wstring> expected = {
      L"Executing CopyFile command\n", L"Rough source file: [Work]src\\none.txt\n",
      L"Rough destination file: [Work]x\\none.txt\n",
      L"Preparing to copy file " + At(L"src\\none.txt") + L" to " + At(L"x\\none.txt") + L"\n",
      L"Finished copying file: 2\n"};
  ASSERT_EQ(lines.size(), 15u);
  EXPECT_EQ(lines[4], L"Finished copying file: 0\n");
  EXPECT_EQ(std::vector<std::wstring>(lines.begin() + 10, lines.end()), expected);
}

TEST_F(CopyCommandsTest, CopyFileForAllUsersRunsUnderTheExplorerTokenAndReverts) {
  std::vector<DWORD> explorers = ExplorerIds();
  ASSERT_FALSE(explorers.empty()) << "Wine always runs explorer.exe";
  CInstallCommand* copy = Add(L"<CopyFile index='1' sourceFile='[Work]src\\a.txt' "
                              L"destinationFile='[Work]user\\a.txt' allUsersAccess='1'/>");
  EXPECT_EQ(Run(copy), 0);
  EXPECT_EQ(ReadAll(At(L"user\\a.txt")), "new a");
  EXPECT_TRUE(static_cast<CCopyFileCommand*>(copy)->impersonated);

  std::vector<std::wstring> lines = log_->Lines();
  EXPECT_TRUE(log_->Contains(L"Found " + std::to_wstring(explorers.size()) + L" instances of explorer.exe"));
  for (DWORD id : explorers) {
    EXPECT_TRUE(log_->Contains(L"Opened process explorer.exe (pid " + std::to_wstring(id) + L")"));
  }
  std::vector<std::wstring> tail(lines.end() - 5, lines.end());
  std::vector<std::wstring> expected = {
      L"Opened process explorer.exe token", L"Impersionation as current user succesful!\n",
      L"Preparing to copy file " + At(L"src\\a.txt") + L" to " + At(L"user\\a.txt") + L"\n",
      L"Finished copying file: 0\n", L"RevertToSelf Success!\n"};
  EXPECT_EQ(tail, expected);

  HANDLE token = nullptr;
  EXPECT_FALSE(OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token)) << "the thread is itself again";
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_TOKEN));
}

TEST_F(CopyCommandsTest, TheLastExplorerThatCanBeOpenedGivesTheToken) {
  std::vector<DWORD> explorers = ExplorerIds();
  ASSERT_FALSE(explorers.empty());
  // A process id that no process has: OpenProcess refuses it, which only skips it.
  const DWORD gone = 0x7FFFFFF0;
  SetLastError(0);
  HANDLE probe = OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, gone);
  DWORD refused = GetLastError();
  ASSERT_EQ(probe, nullptr);

  HANDLE token = DuplicateExplorerToken({explorers[0], gone});
  EXPECT_NE(token, nullptr);
  std::vector<std::wstring> expected = {L"Opened process explorer.exe (pid " + std::to_wstring(explorers[0]) + L")",
                                        L"Opened process explorer.exe token",
                                        L"Cannot open process explorer.exe - pid " + std::to_wstring(gone) +
                                            L" (error " + std::to_wstring(refused) + L")"};
  EXPECT_EQ(log_->Lines(), expected);
  CloseHandle(token);

  EXPECT_EQ(DuplicateExplorerToken({gone}), nullptr);
  EXPECT_EQ(DuplicateExplorerToken({}), nullptr);
}

TEST_F(CopyCommandsTest, FindExplorerProcessesListsThemAndClosesTheSnapshot) {
  HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
  std::vector<DWORD> ids;
  EXPECT_EQ(FindExplorerProcesses(&ids, snapshot), 1);
  EXPECT_EQ(ids, ExplorerIds());
  DWORD flags = 0;
  EXPECT_FALSE(GetHandleInformation(snapshot, &flags)) << "the snapshot was closed";
}
