// Unrar through the real plug-in and the real UnRAR library, on archives that rar
// made before the run: whole trees in every packing, progress read by another
// thread under the store lock, the library's failures, and cancelling.
#include <algorithm>

#include "files/UnrarCommand.h"
#include "host/VariableStore.h"
#include "tests/files/UnrarFixtures.h"
#include "tests/support/PluginFixture.h"

namespace {

// Get and Put below are the store's own exports, which this program makes as the
// engine does.

// What a front end sees of the progress, read under the store lock while the
// extraction runs on another thread.
struct ProgressWatch {
  CRITICAL_SECTION* storeLock;
  std::string intName;
  std::string textName;
  HANDLE stop;
  // Results.
  std::vector<int32_t> percents;     // each change seen
  std::vector<std::wstring> names;   // the file name at each change
  std::vector<DWORD> times;          // GetTickCount at each change
  std::vector<std::string> faults;
};

DWORD WINAPI WatchProgress(LPVOID parameter) {
  auto* watch = static_cast<ProgressWatch*>(parameter);
  std::wstring lastName;
  int32_t lastPercent = 0;
  do {
    EnterCriticalSection(watch->storeLock);
    int32_t percent = static_cast<int32_t>(Get(watch->intName.c_str()));
    auto* text = reinterpret_cast<CString*>(Get(watch->textName.c_str()));
    // The writer frees the old name only under the lock, so the text can be read
    // at leisure while the lock is held. (The new one often reuses the old one's
    // memory: an update shows in the content, not in the address.)
    std::wstring name = text != nullptr && text->text != nullptr ? text->text : L"";
    Sleep(0);
    if (text != nullptr && name != text->text) watch->faults.push_back("the name changed while it was read");
    if (name != lastName || percent != lastPercent) {
      if (percent < 0 || percent > 100) watch->faults.push_back("percent " + std::to_string(percent));
      if (percent < lastPercent) {
        watch->faults.push_back("percent went back from " + std::to_string(lastPercent) + " to " +
                                std::to_string(percent));
      }
      if (text == nullptr) watch->faults.push_back("a percentage without a file name");
      watch->percents.push_back(percent);
      watch->names.push_back(name);
      watch->times.push_back(GetTickCount());
      lastName = name;
      lastPercent = percent;
    }
    LeaveCriticalSection(watch->storeLock);
  } while (WaitForSingleObject(watch->stop, 1) == WAIT_TIMEOUT);
  return 0;
}

}  // namespace

class UnrarTest : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    ASSERT_TRUE(Exists(SourceTree())) << "no archives in " << Narrow(ArchivesFolder());
    work_ = MakeTempFolder(L"unrar");
    target_ = work_ + L"out\\";
    CreateDirectoryW(target_.c_str(), nullptr);
  }
  void TearDown() override {
    PluginTest::TearDown();
    RemoveTree(work_);
  }

  // An Unrar command at index 1 over archive into target_, with more attributes.
  CInstallCommand* Unrar(const std::wstring& archive, const std::wstring& more = L"") {
    return Add(L"<Unrar index=\"1\" archive=\"" + archive + L"\" destination=\"" + target_ + L"\" " + more + L"/>");
  }
  int32_t Run(CInstallCommand* command) {
    int32_t status = -1;
    EXPECT_TRUE(ExecuteOnThread(command, &status, 60000)) << "Unrar did not finish in 60 s";
    return status;
  }
  // Lines logged from here on are the next run's.
  void Mark() { mark_ = log_->Lines().size(); }
  // The lines of the run since the mark, with the begin and end lines checked and
  // cut off.
  std::vector<std::wstring> Body(const std::wstring& archive, int index = 1) {
    std::vector<std::wstring> all = log_->Lines();
    std::vector<std::wstring> lines(all.begin() + std::min(mark_, all.size()), all.end());
    std::wstring tag = std::to_wstring(index) + L": Unrar ";
    EXPECT_GE(lines.size(), 3u);
    if (lines.size() < 3) return lines;
    EXPECT_EQ(lines.front(), tag + L"Begin execute.\n");
    EXPECT_EQ(lines[1], tag + L"Extracting: " + archive + L" to " + target_ + L".\n");
    EXPECT_EQ(lines.back(), tag + L"End execute. Next command " + std::to_wstring(index + 1) + L".\n");
    return std::vector<std::wstring>(lines.begin() + 2, lines.end() - 1);
  }

  std::wstring work_;
  std::wstring target_;
  size_t mark_ = 0;
};

TEST_F(UnrarTest, ExtractsWholeTreesByteForByteInEveryPacking) {
  for (const wchar_t* name : {L"compressed.rar", L"stored.rar", L"solid.rar"}) {
    SCOPED_TRACE(Narrow(name));
    RemoveTree(target_);
    CreateDirectoryW(target_.c_str(), nullptr);
    Mark();
    Put("int_ReturnCode", 0);
    CInstallCommand* command = Unrar(Archive(name), L"errVar=\"Failed\"");
    // One run without a cancel handle: the invalid handle value is never waited on.
    if (std::wstring(name) == L"stored.rar") {
      EXPECT_EQ(command->Execute(INVALID_HANDLE_VALUE, &storeLock_), 0);
    } else {
      EXPECT_EQ(Run(command), 0);
    }
    EXPECT_EQ(CompareTrees(SourceTree(), target_), "");
    EXPECT_TRUE(Body(Archive(name)).empty());
    EXPECT_EQ(Get("int_ReturnCode"), 0u);
    EXPECT_EQ(Get("int_Failed"), 0u);
  }
}

TEST_F(UnrarTest, ProgressIsReadUnderTheLockAsAPairThatOnlyGrows) {
  CInstallCommand* command = Unrar(Archive(L"compressed.rar"), L"refresh=\"1\" progressVar=\"Unpack\"");
  ProgressWatch watch{&storeLock_, "int_Unpack", "String_Unpack", CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  HANDLE watcher = CreateThread(nullptr, 0, WatchProgress, &watch, 0, nullptr);
  EXPECT_EQ(Run(command), 0);
  SetEvent(watch.stop);
  ASSERT_EQ(WaitForSingleObject(watcher, 10000), WAIT_OBJECT_0);
  CloseHandle(watcher);
  CloseHandle(watch.stop);

  EXPECT_TRUE(watch.faults.empty()) << watch.faults.front();
  ASSERT_GE(watch.percents.size(), 5u) << "an update after nearly every file was expected";
  EXPECT_GT(watch.percents.back(), 50);
  // Each name is an entry of the archive, as the library gives it.
  std::vector<std::wstring> entries = ListTree(SourceTree());
  for (const std::wstring& name : watch.names) {
    std::wstring entry = name;
    std::replace(entry.begin(), entry.end(), L'/', L'\\');
    EXPECT_TRUE(std::find(entries.begin(), entries.end(), entry) != entries.end() ||
                std::find(entries.begin(), entries.end(), entry + L"\\") != entries.end())
        << Narrow(name);
  }
  // The last pair stays in the store for whoever looks later.
  auto* last = reinterpret_cast<CString*>(Get("String_Unpack"));
  ASSERT_NE(last, nullptr);
  EXPECT_EQ(std::wstring(last->text), watch.names.back());
  EXPECT_EQ(static_cast<int32_t>(Get("int_Unpack")), watch.percents.back());
}

TEST_F(UnrarTest, UpdatesKeepTheirIntervalAndNeedAVariable) {
  // 400 files take well over a second under Wine: at 100 ms, a few updates, never
  // two within the interval.
  CInstallCommand* command = Unrar(Archive(L"many.rar"), L"refresh=\"100\" progressVar=\"Slow\"");
  ProgressWatch watch{&storeLock_, "int_Slow", "String_Slow", CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  HANDLE watcher = CreateThread(nullptr, 0, WatchProgress, &watch, 0, nullptr);
  DWORD start = GetTickCount();
  EXPECT_EQ(Run(command), 0);
  DWORD elapsed = GetTickCount() - start;
  SetEvent(watch.stop);
  ASSERT_EQ(WaitForSingleObject(watcher, 10000), WAIT_OBJECT_0);
  CloseHandle(watcher);
  CloseHandle(watch.stop);
  EXPECT_EQ(CountFiles(target_), 400u);
  EXPECT_TRUE(watch.faults.empty()) << watch.faults.front();
  EXPECT_LE(watch.percents.size(), elapsed / 100 + 1);
  for (size_t i = 1; i < watch.times.size(); ++i) {
    // The tick count moves in steps of up to 16 ms.
    EXPECT_GE(watch.times[i] - watch.times[i - 1], 80u) << "updates " << i - 1 << " and " << i;
  }

  // Without progressVar the same run publishes nothing, under no name at all.
  RemoveTree(target_);
  CreateDirectoryW(target_.c_str(), nullptr);
  size_t before = VariableStore::Instance().Entries("").size();
  command = Add(L"<Unrar index=\"2\" archive=\"" + Archive(L"many.rar") + L"\" destination=\"" + target_ +
                L"\" refresh=\"1\"/>");
  EXPECT_EQ(Run(command), 0);
  EXPECT_EQ(CountFiles(target_), 400u);
  EXPECT_EQ(VariableStore::Instance().Entries("").size(), before);
}

TEST_F(UnrarTest, SizesPastFourGigabytesCountOnSixtyFourBits) {
  // 1 KiB, then 4 GiB + 1 KiB. Cancelled after the first file, which is all that
  // is written: its share is 0 %. Sizes cut to 32 bits would make it 50 %.
  SetEvent(cancel_);
  EXPECT_EQ(Run(Unrar(Archive(L"big.rar"), L"refresh=\"1\" progressVar=\"Big\"")), 0);
  EXPECT_EQ(ListTree(target_), std::vector<std::wstring>{L"small.bin"});
  auto* name = reinterpret_cast<CString*>(Get("String_Big"));
  ASSERT_NE(name, nullptr) << "no progress after the first file";
  EXPECT_STREQ(name->text, L"small.bin");
  EXPECT_EQ(Get("int_Big"), 0u);
  EXPECT_EQ(Get("int_ReturnCode"), 1223u);
}

TEST_F(UnrarTest, ArchivesWithNothingToCountExtractWithoutProgress) {
  // Zero-length files only: a total of 0 bytes gives no percentage, and the files
  // and folders still come out.
  CInstallCommand* command = Unrar(Archive(L"zeros.rar"), L"refresh=\"1\" progressVar=\"Zero\" errVar=\"Failed\"");
  EXPECT_EQ(Run(command), 0);
  EXPECT_EQ(ListTree(target_), (std::vector<std::wstring>{L"a.txt", L"one\\", L"one\\b.txt", L"one\\two\\",
                                                          L"one\\two\\c.txt"}));
  EXPECT_EQ(ReadAll(target_ + L"one\\two\\c.txt"), "");
  EXPECT_EQ(Get("int_Zero"), 0u);
  EXPECT_EQ(Get("String_Zero"), 0u);
  EXPECT_TRUE(Body(Archive(L"zeros.rar")).empty());

  // No entries at all.
  Mark();
  command = Add(L"<Unrar index=\"2\" archive=\"" + Archive(L"empty.rar") + L"\" destination=\"" + target_ +
                L"\" errVar=\"Failed\"/>");
  EXPECT_EQ(Run(command), 0);
  EXPECT_TRUE(Body(Archive(L"empty.rar"), 2).empty());
  EXPECT_EQ(ListTree(target_).size(), 5u);
  EXPECT_EQ(Get("int_Failed"), 0u);
  EXPECT_EQ(Get("int_ReturnCode"), 0u);
}

TEST_F(UnrarTest, FailuresReportTheLibrarysCodeThroughErrVarAndReturnCode) {
  std::wstring missing = ArchivesFolder() + L"no-such-archive.rar";
  struct Case {
    std::wstring archive;
    uint32_t code;
    std::vector<std::wstring> lines;
    std::vector<std::wstring> extracted;
  } cases[] = {
      {missing, 15, {L"\n\tCannot open " + missing + L"\n", L"1: Unrar FAILED getting unpacked size. errCode 15.\n"}, {}},
      {Archive(L"listings.txt"),
       13,
       {L"\n\t" + Archive(L"listings.txt") + L" is not RAR archive\n",
        L"1: Unrar FAILED getting unpacked size. errCode 13.\n"},
       {}},
      {Archive(L"corrupt.rar"),
       12,
       {L"\tCRC error\n",
        L"Error on current file: 'bad.txt' extracting from " + Archive(L"corrupt.rar") + L" to " + target_ + L"\n"},
       {L"good.txt"}},  // the library removes what failed its check
      {Archive(L"encrypted.rar"),
       22,
       {L"\tPassword for encrypted file is not specified\n",
        L"Error on current file: 'hidden.txt' extracting from " + Archive(L"encrypted.rar") + L" to " + target_ +
            L"\n"},
       {}},
      // The library still extracts the entry whose header is damaged, and reports
      // the damage at the next header.
      {Archive(L"badheader.rar"), 12, {L"\n\tFile header broken\n"}, {L"Xfter.txt", L"good.txt"}},
      // Cut somewhere in the data of a file that depends on the order rar found
      // the files in.
      {Archive(L"truncated.rar"), 12, {}, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(Narrow(c.archive));
    RemoveTree(target_);
    CreateDirectoryW(target_.c_str(), nullptr);
    Mark();
    Put("int_ReturnCode", 0);
    Put("int_Failed", 0);
    EXPECT_EQ(Run(Unrar(c.archive, L"errVar=\"Failed\"")), 0);
    EXPECT_EQ(Get("int_ReturnCode"), c.code);
    EXPECT_EQ(Get("int_Failed"), 1u);
    std::vector<std::wstring> body = Body(c.archive);
    if (!c.lines.empty()) {
      EXPECT_EQ(body, c.lines);
    }
    if (!c.extracted.empty()) {
      EXPECT_EQ(ListTree(target_), c.extracted);
    }
  }
}

TEST_F(UnrarTest, FileThatCannotBeCreatedStopsTheExtractionAsASuccess) {
  // A file where the archive wants a folder: block\inner.txt cannot be made.
  HANDLE blocker = CreateFileW((target_ + L"block").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
  ASSERT_NE(blocker, INVALID_HANDLE_VALUE);
  CloseHandle(blocker);
  Put("int_ReturnCode", 7);
  EXPECT_EQ(Run(Unrar(Archive(L"block.rar"), L"errVar=\"Failed\"")), 0);
  std::vector<std::wstring> body = Body(Archive(L"block.rar"));
  ASSERT_GE(body.size(), 2u);
  EXPECT_EQ(body[body.size() - 2], L"\tFile create error\n");
  EXPECT_EQ(body.back(), L"Error on current file: 'block\\inner.txt' extracting from " + Archive(L"block.rar") +
                             L" to " + target_ + L"\n");
  // The files behind it stay packed, and neither variable changes.
  EXPECT_EQ(ListTree(target_), (std::vector<std::wstring>{L"block", L"first.txt"}));
  EXPECT_EQ(Get("int_ReturnCode"), 7u);
  EXPECT_EQ(Get("int_Failed"), 0u);
}

TEST_F(UnrarTest, EntriesNamedUpwardStayInsideTheDestination) {
  EXPECT_EQ(Run(Unrar(Archive(L"unsafe.rar"))), 0);
  EXPECT_EQ(ListTree(work_), (std::vector<std::wstring>{L"out\\", L"out\\escape.txt", L"out\\inside.txt"}));
  EXPECT_EQ(ReadAll(target_ + L"escape.txt"), "must stay inside\n");
}

TEST_F(UnrarTest, CancelStopsBetweenFilesAndLetsTheArchiveGo) {
  // A private copy, so that a handle left open on it would show when deleting it.
  std::wstring archive = work_ + L"many.rar";
  ASSERT_TRUE(CopyFileW(Archive(L"many.rar").c_str(), archive.c_str(), FALSE));

  // Signalled before the start: the check comes after each file, so exactly one is
  // extracted.
  SetEvent(cancel_);
  EXPECT_EQ(Run(Unrar(archive, L"errVar=\"Failed\"")), 0);
  EXPECT_EQ(CountFiles(target_), 1u);
  EXPECT_EQ(Get("int_ReturnCode"), 1223u);
  EXPECT_EQ(Get("int_Failed"), 1u);
  EXPECT_EQ(Body(archive).size(), 0u);

  // From another thread, once files are coming out.
  ResetEvent(cancel_);
  RemoveTree(target_);
  CreateDirectoryW(target_.c_str(), nullptr);
  Put("int_ReturnCode", 0);
  Put("int_Failed", 0);
  CInstallCommand* command = Add(L"<Unrar index=\"2\" archive=\"" + archive + L"\" destination=\"" + target_ +
                                 L"\" errVar=\"Failed\"/>");
  HANDLE worker = StartExecute(command);
  DWORD start = GetTickCount();
  while (CountFiles(target_) < 20 && GetTickCount() - start < 30000) Sleep(1);
  SetEvent(cancel_);
  ASSERT_EQ(WaitForSingleObject(worker, 30000), WAIT_OBJECT_0);
  CloseHandle(worker);
  size_t extracted = CountFiles(target_);
  EXPECT_GE(extracted, 20u);
  EXPECT_LT(extracted, 400u);
  EXPECT_EQ(Get("int_ReturnCode"), 1223u);
  EXPECT_EQ(Get("int_Failed"), 1u);
  EXPECT_TRUE(log_->Contains(L"2: Unrar End execute. Next command 3.\n"));
  EXPECT_TRUE(DeleteFileW(archive.c_str())) << "the archive is still open: " << GetLastError();
}

TEST_F(UnrarTest, RefreshZeroAndAMissingDestinationExtractNothing) {
  // refresh="0" turns the whole command off; the run is still logged.
  EXPECT_EQ(Run(Unrar(Archive(L"stored.rar"), L"refresh=\"0\" progressVar=\"P\" errVar=\"Failed\"")), 0);
  EXPECT_TRUE(Body(Archive(L"stored.rar")).empty());
  EXPECT_TRUE(ListTree(target_).empty());
  EXPECT_EQ(Get("int_Failed"), 0u);

  // A destination that expands to nothing would mean the current folder.
  Mark();
  Put("String_Nothing", reinterpret_cast<StoreValue>(MakeString(L"")));
  CInstallCommand* command = Add(L"<Unrar index=\"3\" archive=\"" + Archive(L"stored.rar") +
                                 L"\" destination=\"[Nothing]\" errVar=\"Failed\"/>");
  EXPECT_EQ(Run(command), 0);
  std::vector<std::wstring> lines = log_->Lines();
  EXPECT_EQ(std::vector<std::wstring>(lines.begin() + mark_, lines.end()), (std::vector<std::wstring>{
                               L"3: Unrar Begin execute.\n",
                               L"3: Unrar Extracting: " + Archive(L"stored.rar") + L" to .\n",
                               L"3: Unrar No destination folder given; nothing extracted.\n",
                               L"3: Unrar End execute. Next command 4.\n",
                           }));
  EXPECT_EQ(Get("int_ReturnCode"), 87u);
  EXPECT_EQ(Get("int_Failed"), 1u);
}

TEST_F(UnrarTest, LoadReadsTheArchiveAndTheProgressNames) {
  int32_t status = -1;
  CInstallCommand* command = CreateCommand(L"<Unrar destination='C:\\x'/>", &status);
  ASSERT_NE(command, nullptr);
  EXPECT_EQ(status, 1) << "archive is required";
  command->Free();

  auto load = [](const std::wstring& xml) {
    int32_t loaded = -1;
    auto* unrar = static_cast<CUnrarCommand*>(CreateCommand(xml, &loaded));
    EXPECT_EQ(loaded, 0) << Narrow(xml);
    return unrar;
  };
  CUnrarCommand* unrar = load(L"<Unrar archive='a.rar' refresh='0x20' progressVar='Bar'/>");
  EXPECT_TRUE(unrar->refreshEnabled);
  EXPECT_EQ(unrar->refreshInterval, 32);
  EXPECT_STREQ(unrar->progressIntName.Get(), "int_Bar");
  EXPECT_STREQ(unrar->progressTextName.Get(), "String_Bar");
  EXPECT_EQ(unrar->destination.Get(), nullptr);
  unrar->Free();

  // progressVar counts only beside a non-zero refresh.
  unrar = load(L"<Unrar archive='a.rar' progressVar='Bar'/>");
  EXPECT_TRUE(unrar->refreshEnabled);
  EXPECT_EQ(unrar->refreshInterval, 300);
  EXPECT_EQ(unrar->progressIntName.Get(), nullptr);
  unrar->Free();
  unrar = load(L"<Unrar archive='a.rar' refresh='0' progressVar='Bar'/>");
  EXPECT_FALSE(unrar->refreshEnabled);
  EXPECT_EQ(unrar->progressTextName.Get(), nullptr);
  unrar->Free();

  // A name that does not fit 259 bytes gives no progress names at all.
  unrar = load(L"<Unrar archive='a.rar' refresh='5' progressVar='" + std::wstring(260, L'n') + L"'/>");
  EXPECT_EQ(unrar->progressIntName.Get(), nullptr);
  EXPECT_EQ(unrar->progressTextName.Get(), nullptr);
  unrar->Free();
}
