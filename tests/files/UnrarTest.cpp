// Fault caught: a damaged install or a lying progress (real archives, the real UnRAR library).
#include <algorithm>
#include <atomic>
#include <thread>

#include "tests/support/PluginFixture.h"

class UnrarTest : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    ASSERT_TRUE(Exists(SourceTree())) << "no archives in " << Narrow(SourceTree());
    CreateDirectoryW(target_.c_str(), nullptr);
  }
  void TearDown() override {
    PluginTest::TearDown();
    RemoveTree(work_);
  }
  // Runs Unrar over archive into target_ (emptied first), with more attributes;
  // its work lines after the "Extracting" line, which is checked.
  Lines Unrar(const std::wstring& archive, const std::wstring& more = L"") {
    RemoveTree(target_);
    CreateDirectoryW(target_.c_str(), nullptr);
    size_t mark = log_->Mark();
    EXPECT_EQ(Run(Add(L"<Unrar index='1' archive='" + archive + L"' destination='" + target_ + L"' " + more + L"/>"),
                  60000), 0);
    Lines lines = log_->Work(mark);
    std::wstring head = L"1: Unrar Extracting: " + archive + L" to " + target_ + L".\n";
    if (lines.empty() || lines.front() != head) ADD_FAILURE() << "no line " << Narrow(head);
    return lines.empty() ? lines : Lines(lines.begin() + 1, lines.end());
  }
  // What a front end sees of the progress, read under the store lock while
  // Unrar runs: each change of the pair, and faults of what it saw.
  struct Progress {
    std::vector<int32_t> percents;
    std::vector<std::wstring> names;
    std::string faults;
  };
  Progress Watch(const std::wstring& archive, const wchar_t* refresh) {
    Progress seen;
    std::atomic<bool> done(false);
    std::thread watcher([&] {
      int32_t lastPercent = 0;
      std::wstring lastName;
      // One more look after the command returned, so the final pair is always seen.
      for (bool last = false; !last;) {
        last = done;
        EnterCriticalSection(&storeLock_);
        int32_t percent = static_cast<int32_t>(Get("int_Unpack"));
        auto* text = reinterpret_cast<CString*>(Get("String_Unpack"));
        // The writer replaces the name only under the lock.
        std::wstring name = text != nullptr ? text->text : L"";
        Sleep(0);
        if (text != nullptr && name != text->text) seen.faults += " the name changed while it was read;";
        if (name != lastName || percent != lastPercent) {
          if (percent < lastPercent || percent > 100) seen.faults += " percent " + std::to_string(percent) + ";";
          if (text == nullptr) seen.faults += " a percentage without a file name;";
          seen.percents.push_back(lastPercent = percent);
          seen.names.push_back(lastName = name);
        }
        LeaveCriticalSection(&storeLock_);
        Sleep(1);
      }
    });
    Unrar(archive, L"refresh='" + std::wstring(refresh) + L"' progressVar='Unpack'");
    done = true;
    watcher.join();
    return seen;
  }

  std::wstring work_ = NewTempFolder(L"unrar");
  std::wstring target_ = work_ + L"out\\";
};

TEST_F(UnrarTest, ExtractsWholeTreesByteForByteInEveryPackingAndEmptyArchives) {
  for (const wchar_t* name : {L"compressed.rar", L"stored.rar", L"solid.rar"}) {
    Put("int_ReturnCode", 0);
    EXPECT_EQ(Unrar(Archive(name), L"errVar='Failed'"), Lines{}) << Narrow(name);
    EXPECT_EQ(CompareTrees(SourceTree(), target_), "") << Narrow(name);
  }
  // Zero-length files only: a total of 0 bytes gives no percentage.
  EXPECT_EQ(Unrar(Archive(L"zeros.rar"), L"refresh='1' progressVar='Zero' errVar='Failed'"), Lines{});
  EXPECT_EQ(ListTree(target_), (Lines{L"a.txt", L"one\\", L"one\\b.txt", L"one\\two\\", L"one\\two\\c.txt"}));
  EXPECT_EQ(Get("int_Zero"), 0u);
  EXPECT_EQ(Get("String_Zero"), 0u);
  EXPECT_EQ(Unrar(Archive(L"empty.rar"), L"errVar='Failed'"), Lines{});
  EXPECT_EQ(Get("int_ReturnCode"), 0u);
  EXPECT_EQ(Get("int_Failed"), 0u);
  // The invalid handle value as cancel handle is never waited on.
  EXPECT_EQ(Add(L"<Unrar index='2' archive='" + Archive(L"single.rar") + L"' destination='" + target_ + L"'/>")
                ->Execute(INVALID_HANDLE_VALUE, &storeLock_), 0);
  EXPECT_TRUE(Exists(target_ + L"payload.bin"));
}

TEST_F(UnrarTest, ProgressIsAPairReadUnderTheLockThatOnlyGrows) {
  Progress seen = Watch(Archive(L"compressed.rar"), L"1");
  EXPECT_EQ(seen.faults, "");
  ASSERT_GE(seen.percents.size(), 5u) << "an update after nearly every file was expected";
  EXPECT_GT(seen.percents.back(), 50);
  Lines entries = ListTree(SourceTree());
  for (std::wstring name : seen.names) {
    std::replace(name.begin(), name.end(), L'/', L'\\');
    EXPECT_TRUE(std::count(entries.begin(), entries.end(), name) + std::count(entries.begin(), entries.end(),
                                                                               name + L"\\") == 1) << Narrow(name);
  }
  EXPECT_EQ(TextOf("String_Unpack"), seen.names.back()) << "the last pair stays in the store";
  EXPECT_EQ(static_cast<int32_t>(Get("int_Unpack")), seen.percents.back());

  // Without progressVar nothing is published, under no name at all.
  size_t before = VariableStore::Instance().Entries("").size();
  Unrar(Archive(L"many.rar"), L"refresh='1'");
  EXPECT_EQ(VariableStore::Instance().Entries("").size(), before);
}

TEST_F(UnrarTest, SizesPastFourGigabytesCountOnSixtyFourBits) {
  // 1 KiB, then 4 GiB + 1 KiB; cancelled after the first file, whose share is
  // 0 %. Sizes cut to 32 bits would make it 50 %.
  SetEvent(cancel_);
  Unrar(Archive(L"big.rar"), L"refresh='1' progressVar='Big'");
  EXPECT_EQ(ListTree(target_), Lines{L"small.bin"});
  EXPECT_EQ(TextOf("String_Big"), L"small.bin");
  EXPECT_EQ(Get("int_Big"), 0u);
  EXPECT_EQ(Get("int_ReturnCode"), 1223u);
}

TEST_F(UnrarTest, FailuresReportTheLibrarysCodeThroughErrVarAndReturnCode) {
  std::wstring missing = Archive(L"no-such-archive.rar");
  struct Case {
    std::wstring archive;
    uint32_t code;
    Lines lines;
    Lines extracted;
  } cases[] = {
      {missing, 15, {L"\n\tCannot open " + missing + L"\n", L"1: Unrar FAILED getting unpacked size. errCode 15.\n"}, {}},
      {Archive(L"listings.txt"), 13,
       {L"\n\t" + Archive(L"listings.txt") + L" is not RAR archive\n", L"1: Unrar FAILED getting unpacked size. errCode 13.\n"},
       {}},
      // The library removes what failed its check.
      {Archive(L"corrupt.rar"), 12,
       {L"\tCRC error\n", L"Error on current file: 'bad.txt' extracting from " + Archive(L"corrupt.rar") + L" to " +
                              target_ + L"\n"},
       {L"good.txt"}},
      {Archive(L"encrypted.rar"), 22,
       {L"\tPassword for encrypted file is not specified\n",
        L"Error on current file: 'hidden.txt' extracting from " + Archive(L"encrypted.rar") + L" to " + target_ + L"\n"},
       {}},
      // The entry whose header is damaged still comes out; the damage shows at the next header.
      {Archive(L"badheader.rar"), 12, {L"\n\tFile header broken\n"}, {L"Xfter.txt", L"good.txt"}},
      {Archive(L"truncated.rar"), 12, {}, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(Narrow(c.archive));
    Put("int_ReturnCode", 0);
    Put("int_Failed", 0);
    Lines body = Unrar(c.archive, L"errVar='Failed'");
    EXPECT_EQ(Get("int_ReturnCode"), c.code);
    EXPECT_EQ(Get("int_Failed"), 1u);
    if (!c.lines.empty()) {
      EXPECT_EQ(body, c.lines);
    }
    if (!c.extracted.empty()) {
      EXPECT_EQ(ListTree(target_), c.extracted);
    }
  }
  // A destination that expands to nothing would mean the current folder.
  StoreText("String_Nothing", L"");
  size_t mark = log_->Mark();
  EXPECT_EQ(Run(Add(L"<Unrar index='3' archive='" + Archive(L"stored.rar") + L"' destination='[Nothing]' "
                    L"errVar='Failed'/>")), 0);
  EXPECT_EQ(log_->Work(mark), (Lines{L"3: Unrar Extracting: " + Archive(L"stored.rar") + L" to .\n",
                                     L"3: Unrar No destination folder given; nothing extracted.\n"}));
  EXPECT_EQ(Get("int_ReturnCode"), 87u);
  // refresh='0' turns the whole command off.
  Put("int_Failed", 0);
  EXPECT_EQ(Unrar(Archive(L"stored.rar"), L"refresh='0' errVar='Failed'"), Lines{});
  EXPECT_TRUE(ListTree(target_).empty());
  EXPECT_EQ(Get("int_Failed"), 0u);
}

TEST_F(UnrarTest, AFileThatCannotBeCreatedStopsAsASuccessAndUpwardNamesStayInside) {
  Put("int_ReturnCode", 7);
  RemoveTree(target_);
  WriteAll(target_ + L"block", "");  // a file where the archive wants a folder
  size_t mark = log_->Mark();
  EXPECT_EQ(Run(Add(L"<Unrar index='1' archive='" + Archive(L"block.rar") + L"' destination='" + target_ +
                    L"' errVar='Failed'/>")), 0);
  Lines body = log_->Work(mark);
  ASSERT_GE(body.size(), 2u);
  EXPECT_EQ(body[body.size() - 2], L"\tFile create error\n");
  EXPECT_EQ(body.back(), L"Error on current file: 'block\\inner.txt' extracting from " + Archive(L"block.rar") +
                             L" to " + target_ + L"\n");
  EXPECT_EQ(ListTree(target_), (Lines{L"block", L"first.txt"})) << "the files behind it stay packed";
  EXPECT_EQ(Get("int_ReturnCode"), 7u);
  EXPECT_EQ(Get("int_Failed"), 0u);

  Unrar(Archive(L"unsafe.rar"));
  EXPECT_EQ(ListTree(work_), (Lines{L"out\\", L"out\\escape.txt", L"out\\inside.txt"}));
  EXPECT_EQ(ReadAll(target_ + L"escape.txt"), "must stay inside\n");
}

TEST_F(UnrarTest, CancelStopsBetweenFilesAndLetsTheArchiveGo) {
  // A private copy, so that a handle left open on it shows when deleting it.
  std::wstring archive = work_ + L"many.rar";
  ASSERT_TRUE(CopyFileW(Archive(L"many.rar").c_str(), archive.c_str(), FALSE));
  // Signalled before the start: the check comes after each file.
  SetEvent(cancel_);
  EXPECT_EQ(Unrar(archive, L"errVar='Failed'"), Lines{});
  EXPECT_EQ(CountFiles(target_), 1u);
  EXPECT_EQ(Get("int_ReturnCode"), 1223u);
  EXPECT_EQ(Get("int_Failed"), 1u);
  // From another thread, once files are coming out.
  ResetEvent(cancel_);
  RemoveTree(target_);
  CreateDirectoryW(target_.c_str(), nullptr);
  Put("int_ReturnCode", 0);
  HANDLE worker = StartExecute(Add(L"<Unrar index='2' archive='" + archive + L"' destination='" + target_ + L"'/>"));
  DWORD start = GetTickCount();
  while (CountFiles(target_) < 20 && GetTickCount() - start < 30000) Sleep(1);
  SetEvent(cancel_);
  ASSERT_EQ(WaitForSingleObject(worker, 30000), WAIT_OBJECT_0);
  CloseHandle(worker);
  EXPECT_GE(CountFiles(target_), 20u);
  EXPECT_LT(CountFiles(target_), 400u);
  EXPECT_EQ(Get("int_ReturnCode"), 1223u);
  EXPECT_TRUE(DeleteFileW(archive.c_str())) << "the archive is still open: " << GetLastError();
}
