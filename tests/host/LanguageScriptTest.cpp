// Fault caught: the engine cannot fetch a language from the web and switch to it.
#include "tests/host/HostRun.h"

namespace {

void CopyFiles(const std::wstring& from, const std::wstring& to) {
  for (const std::wstring& name : ListTree(from)) {
    if (name.find(L'\\') == std::wstring::npos) WriteAll(to + name, ReadAll(from + name));
  }
}

}  // namespace

TEST_F(HostRunTest, LanguageScriptLoadsTextsFetchesTheOnlineListAndSwitchesLanguage) {
  std::string port = ReadAll(ProgramFolder() + L"..\\http.port");
  ASSERT_FALSE(port.empty()) << "no web server: run through ctest, which starts it";
  std::wstring name = folder_.substr(TempFolder().size(), folder_.size() - TempFolder().size() - 1);
  std::wstring served = ProgramFolder() + L"work\\" + name + L"\\";
  RemoveTree(served);
  CopyFiles(ProgramFolder() + L"..\\..\\demo\\online\\", served);
  std::wstring url = L"http://127.0.0.1:" + Widen(port.substr(0, port.find('\n'))) + L"/host/work/" + name + L"/";
  std::wstring lang = folder_ + L"lang\\";
  std::wstring script = Script(R"(<install><variables><variable name="String_DefaultLanguage" value="en-US"/>
    </variables><commands>
    <LocalizationManager localeFolder="[LangDir]"/>
    <MultiLanguage langDir="[LangDir]" configFile="languages.xml" onlineConfigLocation="[Online]" next="0"/>
  </commands></install>)");
  // Each run gets a fresh copy of the shipped folder: selecting a language changes it.
  auto run = [&](const std::wstring& options) {
    RemoveTree(lang);
    CopyFiles(ProgramFolder() + L"..\\..\\demo\\lang\\", lang);
    return RunInstaller(L"\"/set:String_LangDir=" + lang.substr(0, lang.size() - 1) + L"\" /set:String_Online=" + url +
                        L" " + options + L" " + script);
  };
  ProcessResult shipped = run(L"/texts");
  EXPECT_EQ(shipped.exitCode, 0u) << shipped.err;
  EXPECT_TRUE(Has(shipped.out, "texts: 46\n  ")) << shipped.out;
  EXPECT_TRUE(Has(shipped.out, "  InstallFailed=The installation failed.\n")) << shipped.out;
  ProcessResult switched = run(L"/languages /select-language=de-DE /texts");
  EXPECT_EQ(switched.exitCode, 0u) << switched.err;
  EXPECT_TRUE(Has(switched.out, "languages: 2 (current: en-US)\n  en-US \"English\" installed\n"
                                "  de-DE \"Deutsch\" not installed \"(wird heruntergeladen)\"\n"
                                "select-language de-DE: done\ncurrent language: de-DE\ntexts: 46\n"))
      << switched.out << switched.err;
  EXPECT_TRUE(Has(switched.out, "  InstallFailed=Die Installation ist fehlgeschlagen.\n")) << switched.out;
  EXPECT_TRUE(Has(switched.out, "  IDS_SingleInstanceTitle=Setup l\xC3\xA4uft bereits\n")) << switched.out;
  EXPECT_EQ(ReadAll(lang + L"lang-de-DE.exe"), ReadAll(served + L"lang-de-DE.exe"));
  // Where downloads must be verified, the online list with its checksum arrives, but
  // the package without one is neither kept nor run: the texts stay English.
  DeleteFileW((served + L"lang-de-DE.exe.md5").c_str());
  ProcessResult unverified = run(L"/trace /verify-downloads /languages /select-language=de-DE /texts");
  EXPECT_TRUE(Has(unverified.out, "languages: 2 (current: en-US)\n")) << unverified.out;
  EXPECT_EQ(unverified.exitCode, 0u) << unverified.err;
  EXPECT_TRUE(Has(unverified.out, "select-language de-DE: failed\ncurrent language: en-US\n")) << unverified.out;
  EXPECT_TRUE(Has(unverified.out, "  InstallFailed=The installation failed.\n")) << unverified.out;
  EXPECT_FALSE(Exists(lang + L"lang-de-DE.exe"));
  EXPECT_TRUE(Has(unverified.err, "lang-de-DE.exe.md5' and downloads must be verified.\n")) << unverified.err;
  // A package the server lacks keeps the language and its texts.
  DeleteFileW((served + L"lang-de-DE.exe").c_str());
  ProcessResult lacking = run(L"/select-language=de-DE /texts");
  EXPECT_EQ(lacking.exitCode, 0u) << lacking.err;
  EXPECT_TRUE(Has(lacking.out, "select-language de-DE: failed\ncurrent language: en-US\n")) << lacking.out;
  EXPECT_TRUE(Has(lacking.out, "  InstallFailed=The installation failed.\n")) << lacking.out;
  RemoveTree(served);
}
