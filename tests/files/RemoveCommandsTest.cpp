// Fault caught: a product left behind at uninstall, or kept files deleted (CreateDir, DeleteFile, Rmdir).
#include "tests/files/FilesFixture.h"

class RemoveCommandsTest : public FilesTest {};

TEST_F(RemoveCommandsTest, CreateDirMakesParentsAndSetsItsFlagOnlyWhenNothingCouldBeMade) {
  WriteAll(At(L"file"), "x");
  CInstallCommand* create = Add(L"<CreateDir index='1' path='[Work]a\\b\\c' errVar='Made'/>");
  EXPECT_EQ(Run(create), 0);
  EXPECT_EQ(Run(create), 0) << "it exists now";
  EXPECT_TRUE(Exists(At(L"a\\b\\c")));
  EXPECT_EQ(Run(Add(L"<CreateDir index='2' path='[Work]file\\sub' errVar='UnderFile'/>")), 0);
  EXPECT_EQ(Run(Add(L"<CreateDir index='3' path='[Work][Nowhere]' errVar='Unknown'/>")), 0);
  EXPECT_EQ(Run(Add(L"<CreateDir index='4' path='[Work]file\\sub'/>")), 0);
  EXPECT_EQ(StoreRead("int_Made"), 0u);
  EXPECT_EQ(StoreRead("int_UnderFile"), 1u);
  EXPECT_EQ(StoreRead("int_Unknown"), 1u) << "a path that failed to expand is no path";
  EXPECT_EQ(log_->Work(), Lines{L"ExpandVariables: No variable 'String_Nowhere' could be found.\n"})
      << "the failures themselves are silent";
}

TEST_F(RemoveCommandsTest, DeleteFileRemovesReadOnlyFilesAndReportsWhatIsNotThere) {
  WriteAll(At(L"old.dll"), "x");
  SetFileAttributesW(At(L"old.dll").c_str(), FILE_ATTRIBUTE_READONLY);
  for (const wchar_t* path : {L"old.dll", L"none.dll", L"no\\none.dll", L"[Nowhere]"}) {
    EXPECT_EQ(Run(Add(std::wstring(L"<DeleteFile pathFile='[Work]") + path + L"' renameFile='1'/>")), 0);
  }
  EXPECT_FALSE(Exists(At(L"old.dll")));
  Lines work = log_->Work();
  ASSERT_EQ(work.size(), 20u) << "no MoveFile lines";
  EXPECT_EQ(Lines(work.begin(), work.begin() + 4),
            (Lines{L"Executing DeleteFile command\n", L"Rough path file: [Work]old.dll\n",
                   L"Preparing to delete file " + At(L"old.dll") + L" \n", L"Finished delete file\n"}));
  EXPECT_EQ(work[7], L"DeleteFile error: 2\n");
  EXPECT_EQ(work[12], L"DeleteFile error: 3\n");
  // A path that fails to expand reaches the system as no path at all.
  EXPECT_EQ(work[16], L"ExpandVariables: No variable 'String_Nowhere' could be found.\n");
  EXPECT_EQ(work[17], L"Preparing to delete file (null) \n");
}

TEST_F(RemoveCommandsTest, DeleteFileMovesARunningProgramAsideAndQueuesIt) {
  std::wstring program = At(L"app.exe");
  ASSERT_TRUE(CopyFileW(FileHolder::ProgramPath().c_str(), program.c_str(), FALSE));
  holders_.push_back(FileHolder::Run(program));
  EXPECT_EQ(Run(Add(L"<DeleteFile index='1' pathFile='[Work]app.exe' renameFile='1'/>")), 0);
  std::wstring moved = MovedTo(LogText());
  ASSERT_FALSE(moved.empty());
  strays_.push_back(moved);
  EXPECT_FALSE(Exists(program)) << "its place is free at once";
  EXPECT_TRUE(Exists(moved));
  EXPECT_EQ(_wcsnicmp(moved.c_str(), (TempFolder() + L"app").c_str(), TempFolder().size() + 3), 0)
      << "moved to %TEMP%, named after the file";
  EXPECT_FALSE(QueuedUnder(moved).empty());
  EXPECT_EQ(log_->Work(), (Lines{L"Executing DeleteFile command\n", L"Rough path file: [Work]app.exe\n",
                                 L"Preparing to delete file " + program + L" \n", L"DeleteFile error: 5\n",
                                 L"CDeleteFileCommand MoveFile " + program + L" to " + moved + L" res = 1\n",
                                 L"CDeleteFileCommand MoveFileEx 1\n", L"Finished delete file\n"}));
}

TEST_F(RemoveCommandsTest, DeleteFileOfAnOpenFileQueuesOnlyThePlaceholder) {
  std::wstring locked = At(L"data.bin");
  WriteAll(locked, "in use");
  holders_.push_back(FileHolder::Hold(locked));
  EXPECT_EQ(Run(Add(L"<DeleteFile index='1' pathFile='[Work]data.bin' renameFile='1'/>")), 0);
  std::wstring placeholder = MovedTo(LogText());
  ASSERT_FALSE(placeholder.empty());
  strays_.push_back(placeholder);
  EXPECT_EQ(ReadAll(locked), "in use") << "a file open without delete sharing cannot be renamed either";
  EXPECT_FALSE(QueuedUnder(placeholder).empty());
  EXPECT_TRUE(QueuedUnder(locked).empty());
  Lines work = log_->Work();
  ASSERT_EQ(work.size(), 7u);
  EXPECT_EQ(work[3], L"DeleteFile error: 32\n");
  EXPECT_EQ(work[4], L"CDeleteFileCommand MoveFile " + locked + L" to " + placeholder + L" res = 0\n");
  size_t mark = log_->Mark();
  EXPECT_EQ(Run(Add(L"<DeleteFile index='2' pathFile='[Work]data.bin' renameFile='2'/>")), 0);
  EXPECT_EQ(log_->Work(mark).size(), 5u) << "renameFile='2' is no 1: nothing is moved";
}

TEST_F(RemoveCommandsTest, RmdirLogsThePathThreeTimesAndSkipsWhatItIsTold) {
  for (const wchar_t* file : {L"a.txt", L"Logs\\today.log", L"user\\prefs.ini", L"bin\\app.exe"}) {
    WriteAll(At(L"tree\\") + file, "x");
  }
  SetFileAttributesW(At(L"tree\\a.txt").c_str(), FILE_ATTRIBUTE_READONLY);
  StoreText("String_Tree", At(L"tree"));
  // Matched as whole paths without regard to case; the trailing ";" gives no
  // empty entry.
  EXPECT_EQ(Run(Add(L"<Rmdir index='7' path='[Work]tree\\bin\\..' recursive='1' "
                    L"skipFolders='[Tree]\\logs;[Tree]\\USER;'/>")), 0);
  EXPECT_TRUE(Exists(At(L"tree\\Logs\\today.log")));
  EXPECT_TRUE(Exists(At(L"tree\\user\\prefs.ini")));
  EXPECT_FALSE(Exists(At(L"tree\\a.txt"))) << "read-only files go too";
  EXPECT_FALSE(Exists(At(L"tree\\bin")));
  EXPECT_EQ(QueuedUnder(folder_), Lines{At(L"tree")})
      << "the parent of the skipped folders stays, and is queued as deleteAfterReboot is on by default";
  EXPECT_EQ(log_->Work(), (Lines{L"7: Rmdir Begin, Path='[Work]tree\\bin\\..'.\n",
                                 L"7: Rmdir Begin, Path='" + At(L"tree\\bin\\..") + L"'.\n",
                                 L"7: Rmdir Begin, Path='" + At(L"tree") + L"'.\n",
                                 L"7: Rmdir Begin, SkipFolders='" + At(L"tree\\logs;") + At(L"tree\\USER;") + L"'.\n"}));
}

TEST_F(RemoveCommandsTest, RmdirFlagsChooseBetweenNowAndTheNextBoot) {
  for (const wchar_t* file : {L"reboot\\sub\\a.txt", L"alone\\a.txt", L"full\\a.txt", L"locked\\sub\\a.txt",
                              L"deferred\\sub\\b.txt", L"deferred\\sub\\deeper\\c.txt", L"deferred\\a.txt"}) {
    WriteAll(At(file), "x");
  }
  CreateDirectoryW(At(L"empty").c_str(), nullptr);
  holders_.push_back(FileHolder::Hold(At(L"locked\\sub\\a.txt")));
  holders_.push_back(FileHolder::Hold(At(L"deferred\\sub\\deeper\\c.txt")));
  for (const wchar_t* element : {L"<Rmdir index='1' path='[Work]reboot' recursive='1' onlyOnReboot='1'/>",
                                 L"<Rmdir index='2' path='[Work]alone' recursive='0' onlyOnReboot='1'/>",
                                 L"<Rmdir index='3' path='[Work]full' recursive='0'/>",
                                 L"<Rmdir index='4' path='[Work]empty' recursive='0'/>",
                                 L"<Rmdir index='5' path='[Work]locked' recursive='1' deleteAfterReboot='0'/>",
                                 L"<Rmdir index='6' path='[Work]deferred' recursive='1'/>"}) {
    EXPECT_EQ(Run(Add(element)), 0) << Narrow(element);
  }
  // The locked tree queues nothing; the deferred one the held file first, then
  // each folder above it.
  EXPECT_EQ(QueuedUnder(folder_), (Lines{At(L"reboot\\sub\\a.txt"), At(L"reboot\\sub"), At(L"reboot"), At(L"alone"),
                                         At(L"deferred\\sub\\deeper\\c.txt"), At(L"deferred\\sub\\deeper"),
                                         At(L"deferred\\sub"), At(L"deferred")}));
  EXPECT_TRUE(Exists(At(L"reboot\\sub\\a.txt"))) << "queued only";
  EXPECT_TRUE(Exists(At(L"alone\\a.txt")));
  EXPECT_TRUE(Exists(At(L"full\\a.txt")));
  EXPECT_FALSE(Exists(At(L"empty")));
  EXPECT_TRUE(Exists(At(L"locked\\sub\\a.txt")));
  EXPECT_FALSE(Exists(At(L"deferred\\a.txt")));
  EXPECT_FALSE(Exists(At(L"deferred\\sub\\b.txt")));
}
