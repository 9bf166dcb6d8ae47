// UndoMoveFileEx against the prefix's real pending rename list. Entries are
// queued with MoveFileExW itself; the list is saved and put back around the
// tests that need it in a given state.
#include <cstring>

#include "files/PathHelpers.h"
#include "files/UndoMoveFileExCommand.h"
#include "tests/files/FilesFixture.h"

class UndoMoveFileExTest : public FilesTest {
 protected:
  void SetUp() override {
    FilesTest::SetUp();
    SetString("String_Work", folder_);
    saved_ = PendingRenames();
  }
  void TearDown() override {
    if (restore_) SetPendingRenames(saved_);
    FilesTest::TearDown();
  }
  void Queue(const std::wstring& relative) {
    ASSERT_TRUE(MoveFileExW(At(relative).c_str(), nullptr, MOVEFILE_DELAY_UNTIL_REBOOT));
  }
  static std::wstring Listed(const std::wstring& path) { return L"\\??\\" + path; }

  std::vector<PendingRename> saved_;
  bool restore_ = false;
};

TEST_F(UndoMoveFileExTest, DropsEveryEntryThatBeginsWithThePathAndKeepsTheRest) {
  WriteAll(At(L"app\\a.dll"), "a");
  WriteAll(At(L"app\\sub\\b.dll"), "b");
  WriteAll(At(L"application.log"), "c");  // begins with "app" too
  WriteAll(At(L"APP2\\d.dll"), "d");      // the comparison is case-sensitive
  WriteAll(At(L"other.txt"), "e");
  Queue(L"app\\a.dll");
  Queue(L"other.txt");
  Queue(L"app\\sub\\b.dll");
  Queue(L"application.log");
  Queue(L"APP2\\d.dll");
  // A rename pair whose target lies below the path is kept: only sources count.
  ASSERT_TRUE(MoveFileExW(At(L"other.txt").c_str(), At(L"app\\renamed.txt").c_str(),
                          MOVEFILE_DELAY_UNTIL_REBOOT | MOVEFILE_REPLACE_EXISTING));
  std::vector<PendingRename> before = PendingRenames();

  CInstallCommand* undo = Add(L"<UndoMoveFileEx index='3' path='[Work]app'/>");
  EXPECT_EQ(Run(undo), 0);

  std::vector<PendingRename> expected;
  for (const PendingRename& pair : before) {
    if (pair.first.compare(0, Listed(At(L"app")).size(), Listed(At(L"app"))) != 0) expected.push_back(pair);
  }
  EXPECT_EQ(before.size() - expected.size(), 3u);
  EXPECT_EQ(PendingRenames(), expected) << "the rest of the list keeps its order";
  std::vector<std::wstring> left = {At(L"other.txt"), At(L"APP2\\d.dll"), At(L"other.txt")};
  EXPECT_EQ(QueuedUnder(folder_), left);
  std::vector<std::wstring> lines = {L"3: UndoMoveFileEx Begin execute.\n",
                                     L"3: UndoMoveFileEx End execute. Next command 4.\n"};
  EXPECT_EQ(log_->Lines(), lines);
}

TEST_F(UndoMoveFileExTest, ListWithEverythingDroppedStaysAsAnEmptyValue) {
  restore_ = true;
  WriteAll(At(L"a.txt"), "a");
  SetPendingRenames({});
  Queue(L"a.txt");
  CInstallCommand* undo = Add(L"<UndoMoveFileEx index='1' path='[Work]'/>");
  EXPECT_EQ(Run(undo), 0);
  HKEY key = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, kSessionManagerKey, 0, KEY_READ, &key), ERROR_SUCCESS);
  DWORD type = 0;
  DWORD size = 99;
  EXPECT_EQ(RegQueryValueExW(key, kPendingRenameValue, nullptr, &type, nullptr, &size), ERROR_SUCCESS);
  RegCloseKey(key);
  EXPECT_EQ(type, static_cast<DWORD>(REG_MULTI_SZ));
  EXPECT_EQ(size, 0u) << "left with no data, not deleted";

  // Run again on the empty value: that is the same as no list at all.
  EXPECT_EQ(Run(undo), 0);
  EXPECT_TRUE(log_->Contains(L"1: UndoMoveFileEx Could not get value 'PendingFileRenameOperations' in key "
                             L"'SYSTEM\\CurrentControlSet\\Control\\Session Manager' errCode:0.\n"));
}

TEST_F(UndoMoveFileExTest, NoListIsLoggedAndTheCommandEndsNormally) {
  restore_ = true;
  SetPendingRenames({});  // removes the value
  CInstallCommand* undo = Add(L"<UndoMoveFileEx index='2' path='C:\\anything'/>");
  EXPECT_EQ(Run(undo), 0);
  std::vector<std::wstring> expected = {
      L"2: UndoMoveFileEx Begin execute.\n",
      L"2: UndoMoveFileEx Could not get value 'PendingFileRenameOperations' in key "
      L"'SYSTEM\\CurrentControlSet\\Control\\Session Manager' errCode:2.\n",
      L"2: UndoMoveFileEx End execute. Next command 3.\n"};
  EXPECT_EQ(log_->Lines(), expected);
}

TEST_F(UndoMoveFileExTest, UnknownVariableKeepsTheRawPathAndWithoutAPathNothingIsWritten) {
  WriteAll(At(L"a.txt"), "a");
  Queue(L"a.txt");
  std::vector<PendingRename> before = PendingRenames();
  CInstallCommand* raw = Add(L"<UndoMoveFileEx index='1' path='[Nowhere]'/>");
  CInstallCommand* none = Add(L"<UndoMoveFileEx index='2'/>");
  EXPECT_EQ(Run(raw), 0);
  EXPECT_EQ(Run(none), 0);
  EXPECT_EQ(PendingRenames(), before);
}

TEST(PendingListFilterTest, StopsAtTheEndOfAListWithoutTerminators) {
  // "\??\C:\a", "" and then "\??\C:\b" without its own terminators; the slack
  // bytes after the value end it.
  const wchar_t data[] = L"\\??\\C:\\a\0\0\\??\\C:\\b";
  size_t size = sizeof(data) - sizeof(wchar_t);  // the value has no final zero
  std::vector<wchar_t> list(size / sizeof(wchar_t) + 4, L'\0');
  memcpy(list.data(), data, size);
  std::vector<wchar_t> output(list.size(), L'\0');
  EXPECT_EQ(FilterPendingList(list.data(), size, L"C:\\a", output.data()), 22);
  EXPECT_EQ(std::wstring(output.data()), L"\\??\\C:\\b");
  EXPECT_EQ(FilterPendingList(list.data(), size, nullptr, output.data()), -1);
  EXPECT_EQ(FilterPendingList(list.data(), size, L"C:\\", output.data()), 0);
}
