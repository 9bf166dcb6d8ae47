// Languages end to end: the engine runs a script over a copy of the demo's
// language folder, fetches the online language file and a package from the
// tests' web server, switches language and prints the texts it then holds.
#include <fstream>
#include <iterator>

#include "tests/host/HostRun.h"

namespace {

std::string ReadText(const std::wstring& path) {
  std::ifstream file(path.c_str(), std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::string Utf8(const std::wstring& text) {
  int bytes = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr);
  std::string narrow(bytes > 0 ? bytes - 1 : 0, '\0');
  if (bytes > 1) WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, &narrow[0], bytes, nullptr, nullptr);
  return narrow;
}

void CopyFiles(const std::wstring& from, const std::wstring& to) {
  CreateDirectoryW(to.c_str(), nullptr);
  WIN32_FIND_DATAW entry;
  HANDLE search = FindFirstFileW((from + L"*").c_str(), &entry);
  ASSERT_NE(search, INVALID_HANDLE_VALUE) << "no demo folder " << Utf8(from);
  do {
    if (!(entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) {
      CopyFileW((from + entry.cFileName).c_str(), (to + entry.cFileName).c_str(), FALSE);
    }
  } while (FindNextFileW(search, &entry));
  FindClose(search);
}

// Removes the files of one of the test's own folders, and the folder.
void RemoveFiles(const std::wstring& folder) {
  if (folder.empty()) return;  // "*" alone would name the current folder
  WIN32_FIND_DATAW entry;
  HANDLE search = FindFirstFileW((folder + L"*").c_str(), &entry);
  if (search == INVALID_HANDLE_VALUE) return;
  do {
    if (!(entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) DeleteFileW((folder + entry.cFileName).c_str());
  } while (FindNextFileW(search, &entry));
  FindClose(search);
  RemoveDirectoryW(folder.c_str());
}

// Each run gets a fresh copy of the shipped language folder (selecting a language
// changes it) and a served copy of the online folder.
class LanguageScriptTest : public HostRunTest {
 protected:
  void SetUp() override {
    HostRunTest::SetUp();
    std::string name = ::testing::UnitTest::GetInstance()->current_test_info()->name();
    std::wstring work = TestFolder() + L"work\\";
    CreateDirectoryW(work.c_str(), nullptr);
    served_ = work + std::wstring(name.begin(), name.end()) + L"\\";
    CreateDirectoryW(served_.c_str(), nullptr);
    CopyFiles(TestFolder() + L"..\\..\\demo\\online\\", served_);
    int port = atoi(ReadText(TestFolder() + L"..\\http.port").c_str());
    if (port > 0) url_ = "http://127.0.0.1:" + std::to_string(port) + "/host/work/" + name + "/";
  }
  void TearDown() override {
    RemoveFiles(lang_);
    RemoveFiles(served_);
    HostRunTest::TearDown();
  }

  // Runs the script over a fresh copy of the demo's language folder.
  RunResult Run(const std::wstring& options) {
    RemoveFiles(lang_);
    lang_ = folder_ + L"lang\\";
    CopyFiles(TestFolder() + L"..\\..\\demo\\lang\\", lang_);
    std::wstring script = Script(R"(<install>
  <variables>
    <variable name="String_DefaultLanguage" value="en-US"/>
  </variables>
  <commands>
    <LocalizationManager localeFolder="[LangDir]"/>
    <MultiLanguage langDir="[LangDir]" configFile="languages.xml" onlineConfigLocation="[OnlineLanguages]" next="0"/>
  </commands>
</install>)");
    std::wstring url(url_.begin(), url_.end());
    return RunInstaller(L"/trace \"/set:String_LangDir=" + lang_.substr(0, lang_.size() - 1) +
                        L"\" /set:String_OnlineLanguages=" + url + L" " + options + L" " + script);
  }

  std::wstring served_;
  std::wstring lang_;
  std::string url_;
};

}  // namespace

TEST_F(LanguageScriptTest, ScriptLoadsTextsFetchesTheOnlineListAndSwitchesLanguage) {
  ASSERT_FALSE(url_.empty()) << "no web server: run through ctest, which starts it";
  RunResult shipped = Run(L"/texts");
  EXPECT_EQ(shipped.exitCode, 0u) << shipped.err;
  EXPECT_TRUE(Has(shipped.out, "texts: 6\n")) << shipped.out;
  EXPECT_TRUE(Has(shipped.out, "  InstallFailed=The installation failed.\n")) << shipped.out;
  EXPECT_TRUE(
      Has(shipped.err, "1: LocalizationManager Locale Folder: '" + Utf8(lang_.substr(0, lang_.size() - 1)) + "'.\n"));
  EXPECT_TRUE(Has(shipped.err, "FileResourceManager Found 6 texts in '" + Utf8(lang_) + "installer.xlf'.\n"));

  RunResult switched = Run(L"/languages /select-language=de-DE /texts");
  EXPECT_EQ(switched.exitCode, 0u) << switched.err;
  EXPECT_TRUE(Has(switched.out,
                  "languages: 2 (current: en-US)\n"
                  "  en-US \"English\" installed\n"
                  "  de-DE \"Deutsch\" not installed \"(wird heruntergeladen)\"\n"
                  "select-language de-DE: done\n"
                  "current language: de-DE\n"
                  "texts: 6\n"))
      << "out:\n"
      << switched.out << "err:\n"
      << switched.err;
  EXPECT_TRUE(Has(switched.out, "  InstallFailed=Die Installation ist fehlgeschlagen.\n")) << switched.out;
  EXPECT_TRUE(Has(switched.out, "  IDS_SingleInstanceTitle=Setup l\xC3\xA4uft bereits\n")) << switched.out;
  EXPECT_TRUE(Has(switched.err, "Downloader: '" + url_ + "languages.xml.online' arrived as '" + Utf8(lang_) +
                                    "languages.xml.online'"))
      << switched.err;
  EXPECT_TRUE(
      Has(switched.err, "Downloader: '" + url_ + "lang-de-DE.exe' arrived as '" + Utf8(lang_) + "lang-de-DE.exe'"));
  EXPECT_EQ(ReadText(lang_ + L"lang-de-DE.exe"), ReadText(served_ + L"lang-de-DE.exe"));
  EXPECT_FALSE(Has(switched.err, "Installer:")) << "no complaint from the engine";
}

TEST_F(LanguageScriptTest, APackageTheServerLacksKeepsTheLanguageAndItsTexts) {
  ASSERT_FALSE(url_.empty()) << "no web server: run through ctest, which starts it";
  DeleteFileW((served_ + L"lang-de-DE.exe").c_str());
  RunResult run = Run(L"/select-language=de-DE /texts");
  EXPECT_EQ(run.exitCode, 0u) << run.err;
  EXPECT_TRUE(Has(run.out, "select-language de-DE: failed\ncurrent language: en-US\n")) << "out:\n"
                                                                                        << run.out << "err:\n"
                                                                                        << run.err;
  EXPECT_TRUE(Has(run.out, "  InstallFailed=The installation failed.\n")) << run.out;
  EXPECT_TRUE(Has(run.err, "Downloader: '" + url_ + "lang-de-DE.exe' failed: HTTP status 404.\n")) << run.err;
}
