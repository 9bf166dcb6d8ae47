// CreateDir, DeleteFile and Rmdir on real files; files that resist deletion are
// held by a child process, or are a copy of a program that is running.
#include "files/DeleteFileCommand.h"
#include "host/VariableStore.h"
#include "tests/files/FilesFixture.h"

class RemoveCommandsTest : public FilesTest {
 protected:
  void SetUp() override {
    FilesTest::SetUp();
    SetString("String_Work", folder_);
  }
  StoreValue Get(const char* name) { return VariableStore::Instance().Get(name); }
  // Runs a command on another thread while this one holds its lock.
  int32_t RunWhileLocked(CInstallCommand* command) {
    EnterCriticalSection(&command->lock);
    int32_t status = -1;
    EXPECT_TRUE(ExecuteOnThread(command, &status));
    LeaveCriticalSection(&command->lock);
    return status;
  }
};

TEST_F(RemoveCommandsTest, CreateDirMakesParentsAndLeavesExistingPathsAlone) {
  CInstallCommand* create = Add(L"<CreateDir index='1' path='[Work]a\\b\\c' errVar='Failed'/>");
  EXPECT_EQ(Run(create), 0);
  EXPECT_TRUE(Exists(At(L"a\\b\\c")));
  EXPECT_EQ(Run(create), 0) << "it exists now";
  EXPECT_EQ(Get("int_Failed"), 0u);
  std::vector<std::wstring> once = {L"1: CreateDir Begin execute.\n",
                                    L"[InstallCommand] Warning: GetNextIndex called before Execute\n",
                                    L"1: CreateDir End execute. Next command 2.\n"};
  std::vector<std::wstring> lines = log_->Lines();
  EXPECT_EQ(std::vector<std::wstring>(lines.begin(), lines.begin() + 3), once);
  EXPECT_EQ(lines.size(), 6u) << "never marked executed, so the warning comes every time";
}

TEST_F(RemoveCommandsTest, CreateDirSetsTheErrorFlagOnlyWhenNothingCouldBeMade) {
  WriteAll(At(L"file"), "x");
  CInstallCommand* underFile = Add(L"<CreateDir index='1' path='[Work]file\\sub' errVar='UnderFile'/>");
  CInstallCommand* unknown = Add(L"<CreateDir index='2' path='[Work][Nowhere]' errVar='Unknown'/>");
  CInstallCommand* noFlag = Add(L"<CreateDir index='3' path='[Work]file\\sub'/>");
  EXPECT_EQ(Run(underFile), 0);
  EXPECT_EQ(Get("int_UnderFile"), 1u);
  EXPECT_EQ(Run(unknown), 0);
  EXPECT_EQ(Get("int_Unknown"), 1u) << "a path that failed to expand is no path";
  EXPECT_FALSE(Exists(At(L"[Nowhere]")));
  EXPECT_EQ(Run(noFlag), 0);
  EXPECT_EQ(log_->Lines().back(), L"3: CreateDir End execute. Next command 4.\n") << "the failure itself is silent";
}

TEST_F(RemoveCommandsTest, CreateDirAndRmdirTurnAwayASecondThread) {
  CInstallCommand* create = Add(L"<CreateDir index='4' path='[Work]x'/>");
  CInstallCommand* rmdir = Add(L"<Rmdir index='5' path='[Work]x' recursive='0'/>");
  EXPECT_EQ(RunWhileLocked(create), 1359);
  EXPECT_EQ(RunWhileLocked(rmdir), 1359);
  std::vector<std::wstring> expected = {L"4: CreateDir Error: Multiple threads attempting execution.\n",
                                        L"5: Rmdir Error: Multiple threads attempting execution.\n"};
  EXPECT_EQ(log_->Lines(), expected);
  EXPECT_FALSE(Exists(At(L"x")));
}

TEST_F(RemoveCommandsTest, DeleteFileRemovesReadOnlyFilesAndLogsEveryStep) {
  WriteAll(At(L"old.dll"), "x");
  SetFileAttributesW(At(L"old.dll").c_str(), FILE_ATTRIBUTE_READONLY);
  CInstallCommand* remove = Add(L"<DeleteFile index='1' pathFile='[Work]old.dll' renameFile='1'/>");
  EXPECT_EQ(Run(remove), 0);
  EXPECT_FALSE(Exists(At(L"old.dll")));
  std::vector<std::wstring> expected = {L"Executing DeleteFile command\n", L"Rough path file: [Work]old.dll\n",
                                        L"Preparing to delete file " + At(L"old.dll") + L" \n",
                                        L"Finished delete file\n"};
  EXPECT_EQ(log_->Lines(), expected);
  EXPECT_FALSE(remove->executed);
}

TEST_F(RemoveCommandsTest, DeleteFileMovesARunningProgramAsideAndQueuesIt) {
  // A running program cannot be deleted, but it can be renamed.
  std::wstring program = At(L"app.exe");
  ASSERT_TRUE(CopyFileW(FileHolder::ProgramPath().c_str(), program.c_str(), FALSE));
  holders_.push_back(FileHolder::Run(program));
  CInstallCommand* remove = Add(L"<DeleteFile index='1' pathFile='[Work]app.exe' renameFile='1'/>");
  EXPECT_EQ(Run(remove), 0);
  std::wstring moved = MovedTo(LogText());
  ASSERT_FALSE(moved.empty());
  strays_.push_back(moved);
  EXPECT_FALSE(Exists(program)) << "its place is free at once";
  EXPECT_TRUE(Exists(moved));
  EXPECT_EQ(_wcsnicmp(moved.c_str(), TempFolder().c_str(), TempFolder().size()), 0) << "moved to %TEMP%";
  EXPECT_EQ(_wcsnicmp(moved.c_str() + TempFolder().size(), L"app", 3), 0) << "named after the file";
  EXPECT_FALSE(QueuedUnder(moved).empty());
  std::vector<std::wstring> expected = {
      L"Executing DeleteFile command\n",
      L"Rough path file: [Work]app.exe\n",
      L"Preparing to delete file " + program + L" \n",
      L"DeleteFile error: 5\n",
      L"CDeleteFileCommand MoveFile " + program + L" to " + moved + L" res = 1\n",
      L"CDeleteFileCommand MoveFileEx 1\n",
      L"Finished delete file\n"};
  EXPECT_EQ(log_->Lines(), expected);
}

TEST_F(RemoveCommandsTest, DeleteFileOfAnOpenFileQueuesOnlyThePlaceholder) {
  std::wstring locked = At(L"data.bin");
  WriteAll(locked, "in use");
  holders_.push_back(FileHolder::Hold(locked));
  CInstallCommand* remove = Add(L"<DeleteFile index='1' pathFile='[Work]data.bin' renameFile='1'/>");
  CInstallCommand* noRename = Add(L"<DeleteFile index='2' pathFile='[Work]data.bin' renameFile='2'/>");
  EXPECT_EQ(Run(remove), 0);
  std::wstring placeholder = MovedTo(LogText());
  ASSERT_FALSE(placeholder.empty());
  strays_.push_back(placeholder);
  EXPECT_EQ(ReadAll(locked), "in use") << "a file open without delete sharing cannot be renamed either";
  EXPECT_TRUE(Exists(placeholder));
  EXPECT_FALSE(QueuedUnder(placeholder).empty());
  EXPECT_TRUE(QueuedUnder(locked).empty());
  std::vector<std::wstring> lines = log_->Lines();
  ASSERT_EQ(lines.size(), 7u);
  EXPECT_EQ(lines[3], L"DeleteFile error: 32\n");
  EXPECT_EQ(lines[4], L"CDeleteFileCommand MoveFile " + locked + L" to " + placeholder + L" res = 0\n");
  EXPECT_EQ(lines[5], L"CDeleteFileCommand MoveFileEx 1\n");

  EXPECT_EQ(Run(noRename), 0);
  lines = log_->Lines();
  ASSERT_EQ(lines.size(), 12u) << "renameFile='2' is no 1: nothing is moved";
  EXPECT_EQ(lines[10], L"DeleteFile error: 32\n");
  EXPECT_EQ(lines[11], L"Finished delete file\n");
}

TEST_F(RemoveCommandsTest, DeleteFileOfNothingRenamesNothing) {
  CInstallCommand* missing = Add(L"<DeleteFile index='1' pathFile='[Work]none.dll' renameFile='1'/>");
  CInstallCommand* noDir = Add(L"<DeleteFile index='2' pathFile='[Work]no\\none.dll' renameFile='1'/>");
  // A path that fails to expand reaches the system as no path at all.
  CInstallCommand* unknown = Add(L"<DeleteFile index='3' pathFile='[Work][Nowhere]' renameFile='1'/>");
  for (CInstallCommand* command : {missing, noDir, unknown}) EXPECT_EQ(Run(command), 0);
  std::vector<std::wstring> lines = log_->Lines();
  ASSERT_EQ(lines.size(), 16u) << "no MoveFile lines";
  EXPECT_EQ(lines[3], L"DeleteFile error: 2\n");
  EXPECT_EQ(lines[8], L"DeleteFile error: 3\n");
  EXPECT_EQ(lines[12], L"ExpandVariables: No variable 'String_Nowhere' could be found.\n");
  EXPECT_EQ(lines[13], L"Preparing to delete file (null) \n");
  EXPECT_EQ(lines[14].compare(0, 18, L"DeleteFile error: "), 0);
  EXPECT_EQ(lines[15], L"Finished delete file\n");
}

TEST_F(RemoveCommandsTest, RmdirLogsThePathThreeTimesAndSkipsWhatItIsTold) {
  WriteAll(At(L"tree\\a.txt"), "a");
  WriteAll(At(L"tree\\Logs\\today.log"), "l");
  WriteAll(At(L"tree\\user\\prefs.ini"), "p");
  WriteAll(At(L"tree\\bin\\app.exe"), "b");
  SetString("String_Tree", At(L"tree"));
  // Matched as whole paths without regard to case; the trailing ";" gives no
  // empty entry.
  CInstallCommand* rmdir = Add(L"<Rmdir index='7' path='[Work]tree\\bin\\..' recursive='1' "
                               L"skipFolders='[Tree]\\logs;[Tree]\\USER;'/>");
  EXPECT_EQ(Run(rmdir), 0);
  EXPECT_TRUE(Exists(At(L"tree\\Logs\\today.log")));
  EXPECT_TRUE(Exists(At(L"tree\\user\\prefs.ini")));
  EXPECT_FALSE(Exists(At(L"tree\\a.txt")));
  EXPECT_FALSE(Exists(At(L"tree\\bin")));
  EXPECT_EQ(QueuedUnder(folder_), std::vector<std::wstring>{At(L"tree")})
      << "the parent of the skipped folders stays, and is queued as deleteAfterReboot is on by default";
  std::vector<std::wstring> expected = {
      L"7: Rmdir Begin, Path='[Work]tree\\bin\\..'.\n",
      L"7: Rmdir Begin, Path='" + At(L"tree\\bin\\..") + L"'.\n",
      L"7: Rmdir Begin, Path='" + At(L"tree") + L"'.\n",
      L"7: Rmdir Begin, SkipFolders='" + At(L"tree\\logs;") + At(L"tree\\USER;") + L"'.\n",
      L"7: Rmdir End execute. Next command 8.\n"};
  EXPECT_EQ(log_->Lines(), expected);
  EXPECT_TRUE(rmdir->executed);
}

TEST_F(RemoveCommandsTest, RmdirFlagsChooseBetweenNowAndTheNextBoot) {
  WriteAll(At(L"reboot\\sub\\a.txt"), "a");
  WriteAll(At(L"alone\\a.txt"), "a");
  WriteAll(At(L"full\\a.txt"), "a");
  CreateDirectoryW(At(L"empty").c_str(), nullptr);
  WriteAll(At(L"locked\\sub\\a.txt"), "a");
  holders_.push_back(FileHolder::Hold(At(L"locked\\sub\\a.txt")));

  CInstallCommand* wholeTree = Add(L"<Rmdir index='1' path='[Work]reboot' recursive='1' onlyOnReboot='1'/>");
  CInstallCommand* dirOnly = Add(L"<Rmdir index='2' path='[Work]alone' recursive='0' onlyOnReboot='1'/>");
  CInstallCommand* notEmpty = Add(L"<Rmdir index='3' path='[Work]full' recursive='0'/>");
  CInstallCommand* empty = Add(L"<Rmdir index='4' path='[Work]empty' recursive='0'/>");
  CInstallCommand* now = Add(L"<Rmdir index='5' path='[Work]locked' recursive='1' deleteAfterReboot='0'/>");
  for (CInstallCommand* command : {wholeTree, dirOnly, notEmpty, empty, now}) EXPECT_EQ(Run(command), 0);

  std::vector<std::wstring> queued = {At(L"reboot\\sub\\a.txt"), At(L"reboot\\sub"), At(L"reboot"), At(L"alone")};
  EXPECT_EQ(QueuedUnder(folder_), queued) << "nothing of the locked tree: failures are not deferred";
  EXPECT_TRUE(Exists(At(L"reboot\\sub\\a.txt"))) << "queued only";
  EXPECT_TRUE(Exists(At(L"alone\\a.txt")));
  EXPECT_TRUE(Exists(At(L"full\\a.txt")));
  EXPECT_FALSE(Exists(At(L"empty")));
  EXPECT_TRUE(Exists(At(L"locked\\sub\\a.txt")));
}
