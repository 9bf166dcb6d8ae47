// Fault caught: a language package half downloaded, or a damaged one accepted (the engine's downloader, via slot 2).
#include "host/Downloader.h"
#include "tests/support/LanguageFixture.h"

namespace {

class DownloaderTest : public LanguageTest {
 protected:
  struct Outcome {
    uint32_t status = ~0u;
    CFileSizeInfo* progress = nullptr;  // left to the test's end, as the library leaves them
  };

  // Asks the published downloader for name from location into lang_, and waits
  // at most 10 s for the ready event.
  Outcome Download(const std::wstring& name, const wchar_t* location, uint8_t replace = 1, uint8_t verify = 1) {
    Outcome outcome;
    void* downloader = reinterpret_cast<void*>(StoreRead("SelfFree_DownloaderApi"));
    CFileInfo* file = new CFileInfo();
    outcome.progress = new CFileSizeInfo();
    file->replaceExisting = replace;
    file->verifyChecksum = verify;
    file->SetFileName(name.c_str());
    file->SetLocalFolder(lang_.c_str());
    file->SetLocation(location);
    file->sizeInfo = outcome.progress;
    CFileInfo* result = nullptr;
    bool accepted = CallSlot<bool, CFileInfo*, CFileInfo**, bool>(downloader, 2, file, &result, true);
    EXPECT_TRUE(accepted);
    HANDLE ready = file->readyEvent;
    if (accepted && result != nullptr) {
      EXPECT_NE(result, file);
      EXPECT_EQ(result->readyEvent, ready);
      EXPECT_EQ(result->sizeInfo, outcome.progress);
      EXPECT_STREQ(result->checksumFileName.Get(), (name + L".md5").c_str());
    }
    file->Free();
    EXPECT_EQ(WaitForSingleObject(ready, 10000), WAIT_OBJECT_0);
    outcome.status = outcome.progress->ReadStatus();
    created_.push_back(outcome.progress);
    return outcome;
  }
  std::vector<CFileSizeInfo*> created_;
};

std::string Noise(size_t count) {
  std::string bytes(count, '\0');
  for (size_t i = 0; i < count; ++i) bytes[i] = static_cast<char>((i * 7919) >> 3);
  return bytes;
}

}  // namespace

TEST_F(DownloaderTest, FilesArriveOverHttpAndFromAFolderWithTheirProgress) {
  ASSERT_FALSE(serverUrl_.empty()) << "no web server: run through ctest, which starts it";
  const std::string content = Noise(300 * 1024 + 17);
  WriteAll(server_ + L"data file.bin", content);
  Outcome web = Download(L"data file.bin", serverUrl_.c_str());
  EXPECT_EQ(web.status, kDownloadArrived);
  EXPECT_EQ(ReadAll(lang_ + L"data file.bin"), content);
  EXPECT_EQ(web.progress->bytesDone + web.progress->bytesTotal, 2 * content.size());
  EXPECT_EQ(web.progress->percent, 100u);
  EXPECT_FALSE(Exists(lang_ + L"data file.bin.download"));

  WriteAll(server_ + L"local.txt", "from a folder");
  Outcome local = Download(L"local.txt", server_.c_str());
  EXPECT_EQ(local.status, kDownloadArrived);
  EXPECT_EQ(ReadAll(lang_ + L"local.txt"), "from a folder");
}

TEST_F(DownloaderTest, FailuresSignalWithAStatusOtherThanArrived) {
  ASSERT_FALSE(serverUrl_.empty()) << "no web server: run through ctest, which starts it";
  WriteAll(lang_ + L"kept.txt", "old");
  EXPECT_EQ(Download(L"kept.txt", serverUrl_.c_str()).status, kDownloadFailed) << "404";
  EXPECT_EQ(ReadAll(lang_ + L"kept.txt"), "old") << "a failed transfer leaves the file alone";
  EXPECT_EQ(Download(L"kept.txt", serverUrl_.c_str(), 0).status, kDownloadKept);
  EXPECT_EQ(Download(L"missing.txt", server_.c_str()).status, kDownloadFailed);
  EXPECT_EQ(Download(L"nowhere.txt", nullptr).status, kDownloadFailed);
  EXPECT_EQ(Download(L"x.txt", L"http://").status, kDownloadFailed);
  EXPECT_FALSE(Exists(lang_ + L"missing.txt"));
  EXPECT_FALSE(Exists(lang_ + L"kept.txt.download"));

  // A checksum beside the file is checked and kept; a wrong one fails the file.
  WriteAll(server_ + L"checked.txt", "abc");
  WriteAll(server_ + L"checked.txt.md5", "900150983cd24fb0d6963f7d28e17f72  checked.txt\n");
  EXPECT_EQ(Download(L"checked.txt", serverUrl_.c_str()).status, kDownloadArrived);
  EXPECT_EQ(ReadAll(lang_ + L"checked.txt.md5"), "900150983cd24fb0d6963f7d28e17f72  checked.txt\n");
  WriteAll(server_ + L"checked.txt", "abd");
  EXPECT_EQ(Download(L"checked.txt", serverUrl_.c_str()).status, kDownloadBadChecksum);
  EXPECT_EQ(Download(L"checked.txt", serverUrl_.c_str(), 1, 0).status, kDownloadArrived) << "not asked to check";
}

// Fault caught: a language file from the network that writes or runs a file outside the language folder.
TEST_F(DownloaderTest, NamesThatLeaveTheFolderAreRefusedAndTheOtherLanguagesStillWork) {
  ASSERT_FALSE(serverUrl_.empty()) << "no web server: run through ctest, which starts it";
  // landing: where an accepted name would have put the file, outside lang_.
  struct Hostile { const char* code; const wchar_t *package, *reason; std::wstring landing; } rows[] = {
      {"xa-XA", L"..\\..\\evil.exe", L"it holds a path separator", lang_ + L"..\\..\\evil.exe"},
      {"xb-XB", L"C:\\evil.exe", L"it names a drive or a stream", L"C:\\evil.exe"},
      {"xc-XC", L"sub\\evil.exe", L"it holds a path separator", lang_ + L"sub\\evil.exe"},
      {"xe-XE", L"CON", L"Windows reserves it for a device", L""},  // CON.md5 is CON too: see the listing
      {"xf-XF", L"evil.exe.", L"it ends in a dot or a blank", lang_ + L"evil.exe"},
      {"xg-XG", L"a.txt:evil.exe", L"it names a drive or a stream", lang_ + L"a.txt"},
      {"xh-XH", L"..", L"it names a folder ('.' or '..')", lang_ + L"...md5"},
  };
  std::string online = R"(<de-DE name="Deutsch" package="lang-de-DE.exe"/>)";
  for (const Hostile& row : rows) {
    online += std::string("<") + row.code + " name='Evil' package='" + Narrow(row.package) + "'/>";
  }
  WriteAll(server_ + L"languages.xml.online", LanguageFile(online));
  WriteAll(lang_ + L"languages.xml", LanguageFile(R"(<en-US name="English" package="lang-en-US.exe"/>)"));
  CopyPackage(L"de-DE", server_);
  StoreText("String_ApplicationPath", ProgramFolder().c_str());
  RunElement(L"<MultiLanguage langDir='" + lang_ + L"' configFile='languages.xml' onlineConfigLocation='" +
             serverUrl_ + L"'/>");
  auto* languages = reinterpret_cast<IMultiLanguageApi*>(StoreRead("SelfFree_MultiLanguageApi"));
  Bounded([&] { languages->GetLanguages(); });
  auto select = [&](const std::wstring& code) {
    bool selected = false;
    Bounded([&] { selected = languages->SelectLanguage(code.c_str()); });
    return selected;
  };
  for (const Hostile& row : rows) {
    SCOPED_TRACE(Narrow(row.package));
    std::wstring code = Widen(row.code);
    EXPECT_EQ(Download(row.package, serverUrl_.c_str()).status, kDownloadFailed);
    EXPECT_TRUE(log_->Contains(L"Downloader: file name '" + std::wstring(row.package) + L"' refused: " + row.reason +
                               L".\n"));
    EXPECT_FALSE(select(code));
    EXPECT_TRUE(log_->Contains(L"Multilanguage: package '" + std::wstring(row.package) + L"' of language '" + code +
                               L"' refused: " + row.reason + L".\n"));
    EXPECT_TRUE(row.landing.empty() || (!Exists(row.landing) && !Exists(row.landing + L".md5")));
  }
  EXPECT_EQ(ListTree(lang_), (Lines{L"languages.xml", L"languages.xml.online", L"languages.xml.online.md5"}));
  EXPECT_TRUE(select(L"de-DE")) << "a good name of the same file still works";
  EXPECT_TRUE(Exists(lang_ + L"lang-de-DE.exe"));
}
