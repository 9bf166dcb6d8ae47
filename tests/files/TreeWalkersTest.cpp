// The three tree walks on real trees in a per-test folder, with files held open
// by a child process where a file must resist deletion.
#include <algorithm>

#include "files/TreeWalkers.h"
#include "tests/files/FilesFixture.h"

class TreeWalkersTest : public FilesTest {
 protected:
  // src\a.txt, src\sub\b.txt, src\sub\deeper\c.txt
  std::wstring MakeSource() {
    WriteAll(At(L"src\\a.txt"), "a");
    WriteAll(At(L"src\\sub\\b.txt"), "b");
    WriteAll(At(L"src\\sub\\deeper\\c.txt"), "c");
    return At(L"src\\");
  }
  static size_t Position(const std::vector<std::wstring>& list, const std::wstring& path) {
    return std::find(list.begin(), list.end(), path) - list.begin();
  }
};

TEST_F(TreeWalkersTest, CopyTreeCopiesEveryLevelAndKeepsOrReplacesExistingFiles) {
  std::wstring source = MakeSource();
  WriteAll(At(L"dst\\sub\\b.txt"), "old b");
  EXPECT_EQ(CopyTree(source.c_str(), At(L"dst\\").c_str(), false), 0u);
  EXPECT_EQ(ReadAll(At(L"dst\\a.txt")), "a");
  EXPECT_EQ(ReadAll(At(L"dst\\sub\\b.txt")), "old b") << "without overwrite an existing file stays";
  EXPECT_EQ(ReadAll(At(L"dst\\sub\\deeper\\c.txt")), "c");

  EXPECT_EQ(CopyTree(source.c_str(), At(L"dst\\").c_str(), true), 0u);
  EXPECT_EQ(ReadAll(At(L"dst\\sub\\b.txt")), "b");
  EXPECT_TRUE(log_->Lines().empty()) << "the walks log nothing";
}

TEST_F(TreeWalkersTest, CopyTreeNeedsTrailingBackslashesAndStopsAtTheFirstFailure) {
  std::wstring source = MakeSource();
  // Without the backslash the pattern "...\src*" lists src itself, and the walk
  // goes looking for "...\srcsrc\", which is not there.
  std::wstring bare = source.substr(0, source.size() - 1);
  EXPECT_NE(CopyTree(bare.c_str(), At(L"plain\\").c_str(), true), 0u);
  EXPECT_TRUE(Exists(At(L"plain\\src"))) << "made as the copy of the sibling it found";
  EXPECT_FALSE(Exists(At(L"plain\\a.txt")));

  // The target directory is made before the source is listed.
  EXPECT_EQ(CopyTree(At(L"missing\\").c_str(), At(L"empty\\").c_str(), true),
            static_cast<uint32_t>(ERROR_PATH_NOT_FOUND));
  EXPECT_TRUE(Exists(At(L"empty")));
  // No parents are made for the target.
  EXPECT_EQ(CopyTree(source.c_str(), At(L"no\\parent\\").c_str(), true), static_cast<uint32_t>(ERROR_PATH_NOT_FOUND));

  // A target deep down that another program has open stops the walk with its
  // error at every level.
  WriteAll(At(L"busy\\sub\\deeper\\c.txt"), "kept");
  holders_.push_back(FileHolder::Hold(At(L"busy\\sub\\deeper\\c.txt")));
  EXPECT_EQ(CopyTree(source.c_str(), At(L"busy\\").c_str(), true), static_cast<uint32_t>(ERROR_SHARING_VIOLATION));
  EXPECT_EQ(ReadAll(At(L"busy\\sub\\deeper\\c.txt")), "kept");
}

TEST_F(TreeWalkersTest, DeleteTreeRemovesEverythingAndLeavesSkippedFoldersWithTheirParents) {
  MakeSource();
  WriteAll(At(L"src\\keep\\k.txt"), "k");
  WriteAll(At(L"src\\readonly.txt"), "r");
  SetFileAttributesW(At(L"src\\readonly.txt").c_str(), FILE_ATTRIBUTE_READONLY);
  // Entries are full paths in the walk's own form, compared without regard to case.
  std::wstring skip = At(L"SRC\\Keep");
  std::vector<wchar_t*> skipFolders = {&skip[0]};
  uint32_t count = 0;
  DeleteTree(At(L"src").c_str(), true, &count, nullptr, &skipFolders);
  EXPECT_TRUE(Exists(At(L"src\\keep\\k.txt")));
  EXPECT_FALSE(Exists(At(L"src\\readonly.txt"))) << "read-only files go too";
  EXPECT_FALSE(Exists(At(L"src\\sub")));
  EXPECT_TRUE(Exists(At(L"src"))) << "the parent of a skipped folder cannot be removed";
  EXPECT_EQ(count, 4u) << "a.txt, b.txt, c.txt and readonly.txt; the skipped folder is not entered";
  // The parent that could not be removed is queued, as any leftover would be.
  EXPECT_EQ(QueuedUnder(folder_), std::vector<std::wstring>{At(L"src")});

  DeleteTree(At(L"src").c_str(), false, nullptr, nullptr, nullptr);
  EXPECT_FALSE(Exists(At(L"src")));
  DeleteTree(At(L"src").c_str(), false, nullptr, nullptr, nullptr);  // gone: no effect, no failure
  EXPECT_TRUE(log_->Lines().empty());
}

TEST_F(TreeWalkersTest, DeleteTreeWithFilterOnlyThinsTheTree) {
  MakeSource();
  uint32_t count = 0;
  DeleteTree(At(L"src").c_str(), true, &count, L"b.txt", nullptr);
  EXPECT_EQ(count, 3u) << "every file met is counted, whether the filter lets it pass or not";
  EXPECT_FALSE(Exists(At(L"src\\sub\\b.txt")));
  EXPECT_TRUE(Exists(At(L"src\\a.txt")));
  EXPECT_TRUE(Exists(At(L"src\\sub\\deeper"))) << "with a filter no directory is removed";
  EXPECT_TRUE(QueuedUnder(folder_).empty());
}

TEST_F(TreeWalkersTest, LockedFileStaysWithItsParentsOrLeavesAChainForTheNextBoot) {
  MakeSource();
  std::wstring locked = At(L"src\\sub\\deeper\\c.txt");
  holders_.push_back(FileHolder::Hold(locked));

  DeleteTree(At(L"src").c_str(), false, nullptr, nullptr, nullptr);
  EXPECT_TRUE(Exists(locked));
  EXPECT_FALSE(Exists(At(L"src\\a.txt")));
  EXPECT_FALSE(Exists(At(L"src\\sub\\b.txt")));
  EXPECT_TRUE(QueuedUnder(folder_).empty()) << "without deleteAfterReboot nothing is deferred";

  DeleteTree(At(L"src").c_str(), true, nullptr, nullptr, nullptr);
  std::vector<std::wstring> chain = {locked, At(L"src\\sub\\deeper"), At(L"src\\sub"), At(L"src")};
  EXPECT_EQ(QueuedUnder(folder_), chain) << "the file first, then each directory above it";
  EXPECT_TRUE(log_->Lines().empty()) << "queuing worked, so nothing is logged";
}

TEST_F(TreeWalkersTest, ScheduleTreeDeleteQueuesFilesBeforeTheirDirectoriesAndTouchesNothing) {
  MakeSource();
  WriteAll(At(L"src\\readonly.txt"), "r");
  SetFileAttributesW(At(L"src\\readonly.txt").c_str(), FILE_ATTRIBUTE_READONLY);
  uint32_t count = 0;
  EXPECT_EQ(ScheduleTreeDelete(At(L"src").c_str(), &count, nullptr), 0u);
  EXPECT_EQ(count, 4u);
  std::vector<std::wstring> queued = QueuedUnder(folder_);
  ASSERT_EQ(queued.size(), 7u);
  EXPECT_EQ(queued.back(), At(L"src")) << "the root comes last";
  EXPECT_LT(Position(queued, At(L"src\\sub\\deeper\\c.txt")), Position(queued, At(L"src\\sub\\deeper")));
  EXPECT_LT(Position(queued, At(L"src\\sub\\deeper")), Position(queued, At(L"src\\sub")));
  EXPECT_LT(Position(queued, At(L"src\\sub\\b.txt")), Position(queued, At(L"src\\sub")));
  EXPECT_LT(Position(queued, At(L"src\\readonly.txt")), queued.size());
  EXPECT_TRUE(GetFileAttributesW(At(L"src\\readonly.txt").c_str()) & FILE_ATTRIBUTE_READONLY) << "queued as it is";
  EXPECT_TRUE(Exists(At(L"src\\sub\\deeper\\c.txt")));

  EXPECT_EQ(ScheduleTreeDelete(At(L"missing").c_str(), nullptr, nullptr), 1359u);
}

TEST_F(TreeWalkersTest, ScheduleTreeDeleteWithFilterQueuesOnlyMatchingFiles) {
  MakeSource();
  uint32_t count = 0;
  EXPECT_EQ(ScheduleTreeDelete(At(L"src").c_str(), &count, L"c.txt"), 0u);
  EXPECT_EQ(count, 3u);
  EXPECT_EQ(QueuedUnder(folder_), std::vector<std::wstring>{At(L"src\\sub\\deeper\\c.txt")});
}
