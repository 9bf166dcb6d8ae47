// Fault caught: the pending rename list mangled, so the next boot deletes what an install put back.
#include "tests/files/FilesFixture.h"

namespace {
const wchar_t kSessionManager[] = L"SYSTEM\\CurrentControlSet\\Control\\Session Manager";
}  // namespace

class UndoMoveFileExTest : public FilesTest {
 protected:
  void SetUp() override {
    FilesTest::SetUp();
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

  EXPECT_EQ(Run(Add(L"<UndoMoveFileEx index='3' path='[Work]app'/>")), 0);

  std::vector<PendingRename> expected;
  for (const PendingRename& pair : before) {
    if (pair.first.compare(0, Listed(At(L"app")).size(), Listed(At(L"app"))) != 0) expected.push_back(pair);
  }
  EXPECT_EQ(before.size() - expected.size(), 3u);
  EXPECT_EQ(PendingRenames(), expected) << "the rest of the list keeps its order";
  std::vector<std::wstring> left = {At(L"other.txt"), At(L"APP2\\d.dll"), At(L"other.txt")};
  EXPECT_EQ(QueuedUnder(folder_), left);
  EXPECT_EQ(log_->Work(), Lines{});
}

TEST_F(UndoMoveFileExTest, ListWithEverythingDroppedStaysAsAnEmptyValue) {
  restore_ = true;
  WriteAll(At(L"a.txt"), "a");
  SetPendingRenames({});
  Queue(L"a.txt");
  CInstallCommand* undo = Add(L"<UndoMoveFileEx index='1' path='[Work]'/>");
  EXPECT_EQ(Run(undo), 0);
  HKEY key = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, kSessionManager, 0, KEY_READ, &key), ERROR_SUCCESS);
  DWORD type = 0;
  DWORD size = 99;
  EXPECT_EQ(RegQueryValueExW(key, L"PendingFileRenameOperations", nullptr, &type, nullptr, &size), ERROR_SUCCESS);
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
  EXPECT_EQ(log_->Work(), Lines{L"2: UndoMoveFileEx Could not get value 'PendingFileRenameOperations' in key "
                                L"'SYSTEM\\CurrentControlSet\\Control\\Session Manager' errCode:2.\n"});
}
