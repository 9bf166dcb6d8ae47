// Fault caught: what an uninstall queues does not go at the next boot. Run in two phases around a restart of a
// prefix of its own by reboot-test.sh; skipped in an ordinary run.
#include <fstream>

#include "tests/support/PluginFixture.h"

namespace {

std::string Phase() {
  char value[32] = {};
  GetEnvironmentVariableA("FILES_REBOOT_PHASE", value, sizeof(value));
  return value;
}

std::wstring Root() { return TempFolder() + L"files-reboot\\"; }
std::wstring Manifest() { return TempFolder() + L"files-reboot-manifest.txt"; }

}  // namespace

class RebootListTest : public PluginTest {
 protected:
  void Queue();
  void Check();
};

TEST_F(RebootListTest, QueuedDeletionsHappenAtTheRestartExceptThoseTakenBack) {
  std::string phase = Phase();
  if (phase == "queue") {
    Queue();
  } else if (phase == "check") {
    Check();
  } else {
    GTEST_SKIP() << "needs a restart of the prefix: run by reboot-test.sh";
  }
}

void RebootListTest::Queue() {
  std::wstring root = Root();
  RemoveTree(root);
  CreateDirectoryW(root.c_str(), nullptr);
  StoreText("String_Root", root);
  WriteAll(root + L"gone\\a.txt", "a");
  // Not read-only: Wine's restart leaves a queued read-only file in place, and
  // with it the folders above it.
  WriteAll(root + L"gone\\d\\e.txt", "e");
  WriteAll(root + L"kept\\a.txt", "a");
  WriteAll(root + L"kept\\sub\\b.txt", "b");
  WriteAll(root + L"tree\\y.txt", "y");
  WriteAll(root + L"tree\\x\\locked.dat", "locked");
  CreateDirectoryW((root + L"Case").c_str(), nullptr);
  ASSERT_TRUE(CopyFileW(FileHolder::ProgramPath().c_str(), (root + L"app.exe").c_str(), FALSE));
  std::vector<std::unique_ptr<FileHolder>> holders;
  holders.push_back(FileHolder::Hold(root + L"tree\\x\\locked.dat"));
  holders.push_back(FileHolder::Run(root + L"app.exe"));

  const wchar_t* script[] = {
      L"<Rmdir index='1' path='[Root]gone' recursive='1' onlyOnReboot='1'/>",
      L"<Rmdir index='2' path='[Root]kept' recursive='1' onlyOnReboot='1'/>",
      L"<Rmdir index='3' path='[Root]tree' recursive='1'/>",
      L"<DeleteFile index='4' pathFile='[Root]app.exe' renameFile='1'/>",
      L"<Rmdir index='5' path='[Root]Case' recursive='0' onlyOnReboot='1'/>",
      L"<UndoMoveFileEx index='6' path='[Root]kept'/>",
      // The list is compared case-sensitively: this takes nothing back.
      L"<UndoMoveFileEx index='7' path='[Root]CASE'/>",
  };
  for (const wchar_t* element : script) ASSERT_EQ(Run(Add(element)), 0);

  std::wstring moved;
  for (const std::wstring& line : log_->Since()) moved += line;
  moved = MovedTo(moved);
  ASSERT_FALSE(moved.empty());
  EXPECT_FALSE(Exists(root + L"tree\\y.txt")) << "what can go goes at once";
  EXPECT_FALSE(Exists(root + L"app.exe")) << "the running program was moved aside";

  // The restart must find nothing in use.
  holders.clear();
  std::ofstream manifest(Manifest().c_str());
  for (const std::wstring& path : {root + L"gone", root + L"tree", root + L"Case", moved}) {
    manifest << "gone " << Narrow(path) << "\n";
  }
  for (const std::wstring& path : {root + L"kept\\a.txt", root + L"kept\\sub\\b.txt", root}) {
    manifest << "kept " << Narrow(path) << "\n";
  }
}

void RebootListTest::Check() {
  std::ifstream manifest(Manifest().c_str());
  ASSERT_TRUE(manifest.good()) << "the queue phase left no manifest";
  std::string line;
  int checked = 0;
  while (std::getline(manifest, line)) {
    std::wstring path(line.begin() + 5, line.end());
    if (line.compare(0, 5, "gone ") == 0) {
      EXPECT_FALSE(Exists(path)) << line;
    } else {
      EXPECT_TRUE(Exists(path)) << line;
    }
    ++checked;
  }
  EXPECT_EQ(checked, 7);
  EXPECT_TRUE(QueuedUnder(Root()).empty()) << "the restart carried the list out";
}
