// The language manager and the MultiLanguage command: language files read from
// per-test folders, the demo's real packages run, and the online file and
// packages fetched from the tests' web server by the engine's downloader.
#include <algorithm>

#include "host/MultiStrings.h"
#include "host/VariableStore.h"
#include "tests/diagnostics/LanguageFixture.h"

namespace {

const wchar_t kNoDownloader[] = L"Error! No downloader api to add the file to.\n";

const char kEnglish[] = R"(<en-US name="English" package="lang-en-US.exe">
  <Metrics suffix="en"/><ProductName string="Product"/><LanguageSource string="shipped"/></en-US>)";
const char kGerman[] = R"(<de-DE name="Deutsch" package="lang-de-DE.exe" rtl="true">
  <Metrics suffix="de"/><ProductName string="Produkt"/></de-DE>)";
const char kFrench[] = R"(<fr-FR name="Francais" package="lang-fr-FR.exe"><Metrics suffix="fr"/></fr-FR>)";

class MultiLanguageTest : public LanguageTest {
 protected:
  void WriteLanguages(const std::string& languages) { WriteUtf8(lang_ + L"languages.xml", LanguageFile(languages)); }
  // Runs MultiLanguage over lang_; online adds the server as online location.
  void RunManager(int index = 1, bool online = false) {
    std::wstring element = L"<MultiLanguage index='" + std::to_wstring(index) + L"' next='0' langDir='" + lang_ +
                           L"' configFile='languages.xml'";
    if (online) element += L" onlineConfigLocation='" + serverUrl_ + L"'";
    Run(element + L"/>");
  }
  void RunTexts() { Run(L"<LocalizationManager index='9' next='0' localeFolder='" + lang_ + L"'/>"); }
  // The codes of the list as it stands.
  std::vector<std::wstring> Codes() {
    std::vector<std::wstring> codes;
    for (const LanguageRecord& record : *Languages()->PeekLanguages()) codes.push_back(record.code.Get());
    return codes;
  }
  std::wstring Variable(const char* name) {
    auto* value = reinterpret_cast<CString*>(VariableStore::Instance().Get(name));
    return value != nullptr ? value->text : L"<absent>";
  }
  StoreValue Number(const char* name) { return VariableStore::Instance().Get(name); }
  void PutCloud(std::initializer_list<const wchar_t*> codes) {
    auto* list = new CMultiStringList();
    for (const wchar_t* code : codes) list->AddString(code);
    VariableStore::Instance().Put("MultiString_CloudLanguages", reinterpret_cast<StoreValue>(list));
  }
  void RemoveDownloader() {
    VariableStore& store = VariableStore::Instance();
    reinterpret_cast<CSelfFree*>(store.Get("SelfFree_DownloaderApi"))->Free();
    store.Put("SelfFree_DownloaderApi", 0);
  }
  size_t Count(const std::wstring& line) {
    auto lines = log_->Lines();
    return static_cast<size_t>(std::count(lines.begin(), lines.end(), line));
  }
};

}  // namespace

TEST_F(MultiLanguageTest, LanguageFileWithCommentsVariablesAndFlags) {
  WriteLanguages(R"xml(<!-- comments are passed over at both levels -->
    <en-US name="English" package="lang-en-US.exe">
      <!-- variables -->
      <Metrics suffix="en"/>
      <metrics string="another case is an ordinary child"/>
      <Title string="first"/>
      <Title string="second"/>
      <Unknown other="no string attribute"/>
    </en-US>
    <!-- between languages -->
    <he-IL name="Hebrew" package="he.exe" rtl="true" downloadRequired="(download)"/>
    <fr-FR name="Francais" package="fr.exe" rtl="True"/>)xml");
  RunManager();
  IMultiLanguageApi* languages = Languages();
  ASSERT_NE(languages, nullptr);
  ASSERT_EQ(Codes(), (std::vector<std::wstring>{L"en-US", L"he-IL", L"fr-FR"}));
  const LanguageRecord& hebrew = *std::next(languages->PeekLanguages()->begin());
  EXPECT_STREQ(hebrew.displayName.Get(), L"Hebrew");
  EXPECT_STREQ(hebrew.package.Get(), L"he.exe");
  EXPECT_STREQ(hebrew.downloadText.Get(), L"(download)");
  EXPECT_EQ(languages->PeekLanguages()->front().downloadText.Get(), nullptr);
  for (const LanguageRecord& record : *languages->PeekLanguages()) EXPECT_TRUE(record.installed);
  EXPECT_TRUE(languages->IsLanguageRtl(L"HE-il"));
  EXPECT_FALSE(languages->IsLanguageRtl(L"fr-FR")) << "only \"true\" exactly";
  EXPECT_FALSE(languages->IsLanguageInstalled(L"xx-XX"));
  EXPECT_STREQ(languages->GetLanguageName(L"FR-fr"), L"Francais");
  EXPECT_STREQ(languages->GetLanguageName(L"xx-XX"), L"");

  // The first language's variables are published, but nothing is selected.
  EXPECT_EQ(Variable("String_LanguageMetricsSuffix"), L"en");
  EXPECT_EQ(Variable("String_metrics"), L"another case is an ordinary child");
  EXPECT_EQ(Variable("String_Title"), L"first");
  EXPECT_EQ(Variable("String_Unknown"), L"<absent>");
  EXPECT_EQ(Number("int_isLangRTL"), 0u);
  EXPECT_EQ(Number("int_MultiLanguageAvailable"), 1u);
  EXPECT_EQ(languages->GetCurrentLanguage(), nullptr);

  auto lines = log_->Lines();
  EXPECT_EQ(lines.front(), L"1: Multilanguage Begin execute.\n");
  EXPECT_TRUE(log_->Contains(L"MultiLanguageApi: Reading languages from: " + lang_ + L"languages.xml\n"));
  EXPECT_TRUE(log_->Contains(L"MultiLanguageApi: Reading variables for: he-IL\n"));
  // The command never marks itself executed.
  ASSERT_GE(lines.size(), 2u);
  EXPECT_EQ(lines[lines.size() - 2], L"[InstallCommand] Warning: GetNextIndex called before Execute\n");
  EXPECT_EQ(lines.back(), L"1: Multilanguage End execute. Next command 0.\n");

  // The interface as a foreign host calls it, by slot.
  void* object = languages;
  void** slots = *reinterpret_cast<void***>(object);
  EXPECT_EQ(reinterpret_cast<LanguageList* (*)(void*)>(slots[9])(object), languages->PeekLanguages());
  EXPECT_STREQ(reinterpret_cast<const wchar_t* (*)(void*, const wchar_t*)>(slots[4])(object, L"he-IL"), L"Hebrew");
  EXPECT_EQ(reinterpret_cast<const wchar_t* (*)(void*)>(slots[5])(object), nullptr);
  EXPECT_TRUE(reinterpret_cast<bool (*)(void*, const wchar_t*)>(slots[6])(object, L"fr-FR"));
  EXPECT_TRUE(reinterpret_cast<bool (*)(void*, const wchar_t*)>(slots[7])(object, L"he-IL"));
  EXPECT_FALSE(reinterpret_cast<bool (*)(void*, const wchar_t*)>(slots[8])(object, L"xx-XX"));
  EXPECT_FALSE(reinterpret_cast<bool (*)(void*, const wchar_t*)>(slots[2])(object, nullptr));
  EXPECT_EQ(reinterpret_cast<LanguageList* (*)(void*)>(slots[3])(object)->size(), 3u);
}

TEST_F(MultiLanguageTest, ReadingEndsAtALanguageWithoutNameOrPackage) {
  WriteLanguages(std::string(kEnglish) + R"(<de-DE name="Deutsch"/>)" + kFrench);
  RunManager();
  EXPECT_EQ(Codes(), (std::vector<std::wstring>{L"en-US"}));
  EXPECT_EQ(Number("int_MultiLanguageAvailable"), 0u);

  // A second manager, over a file without a name, and a malformed one.
  VariableStore& store = VariableStore::Instance();
  Languages()->Free();
  store.Put("SelfFree_MultiLanguageApi", 0);
  WriteLanguages(std::string(kEnglish) + R"(<de-DE package="lang-de-DE.exe"/>)" + kFrench);
  RunManager(2);
  EXPECT_EQ(Codes(), (std::vector<std::wstring>{L"en-US"}));

  Languages()->Free();
  store.Put("SelfFree_MultiLanguageApi", 0);
  WriteUtf8(lang_ + L"languages.xml", "<lang><languages><en-US name='x' package='y'>");
  RunManager(3);
  EXPECT_TRUE(Codes().empty());
  std::wstring prefix = L"MultiLanguageApi: XML parsing error! Xml file: " + lang_ + L"languages.xml; reason: ";
  auto lines = log_->Lines();
  EXPECT_TRUE(std::any_of(lines.begin(), lines.end(),
                          [&](const std::wstring& line) { return line.compare(0, prefix.size(), prefix) == 0; }));
  EXPECT_FALSE(Languages()->SelectLanguage(L"en-US"));
}

TEST_F(MultiLanguageTest, SelectingRunsThePackagePublishesVariablesAndReloadsTexts) {
  WriteLanguages(std::string(kEnglish) + kGerman + R"(<it-IT name="Italiano" package="missing.exe"/>)");
  CopyPackage(L"en-US", lang_);
  CopyPackage(L"de-DE", lang_);
  PutText("String_ApplicationPath", ProgramFolder().c_str());
  RunTexts();
  RunManager(1);
  IMultiLanguageApi* languages = Languages();
  EXPECT_EQ(languages->GetCurrentLanguage(), nullptr);
  EXPECT_EQ(Text(L"WelcomeWindowTitle"), L"");

  // A second command reuses the manager and selects String_DefaultLanguage.
  PutText("String_DefaultLanguage", L"de-DE");
  RunManager(2);
  EXPECT_EQ(Count(L"MultiLanguageApi: Reading languages from: " + lang_ + L"languages.xml\n"), 1u);
  EXPECT_STREQ(languages->GetCurrentLanguage(), L"de-DE");
  EXPECT_EQ(Text(L"WelcomeWindowTitle"), L"Installation von [ProductName]");
  EXPECT_EQ(Variable("String_ProductName"), L"Produkt");
  EXPECT_EQ(Number("int_isLangRTL"), 1u);
  DWORD layout = 0;
  EXPECT_TRUE(GetProcessDefaultLayout(&layout));
  EXPECT_EQ(layout, 1u);

  EXPECT_TRUE(languages->SelectLanguage(L"en-us"));
  EXPECT_STREQ(languages->GetCurrentLanguage(), L"en-us");
  EXPECT_EQ(Text(L"WelcomeWindowTitle"), L"[ProductName] Setup");
  EXPECT_EQ(Variable("String_ProductName"), L"Product");
  EXPECT_EQ(Number("int_isLangRTL"), 0u);
  GetProcessDefaultLayout(&layout);
  EXPECT_EQ(layout, 0u);

  // A package that cannot be started: the texts are gone, nothing else changes.
  EXPECT_FALSE(languages->SelectLanguage(L"it-IT"));
  EXPECT_EQ(Text(L"WelcomeWindowTitle"), L"");
  EXPECT_STREQ(languages->GetCurrentLanguage(), L"en-us");
  EXPECT_FALSE(languages->SelectLanguage(L"xx-XX"));
}

TEST_F(MultiLanguageTest, ALanguageKnownOnlyOnlineIsDownloadedWhenSelected) {
  ASSERT_FALSE(serverUrl_.empty()) << "no web server: run through ctest, which starts it";
  WriteLanguages(kEnglish);
  CopyPackage(L"en-US", lang_);
  // Online, English gets another name and package (both ignored) and new variables.
  WriteUtf8(server_ + L"languages.xml.online", LanguageFile(R"xml(
    <en-US name="Englisch" package="other.exe"><LanguageSource string="online"/></en-US>
    <de-DE name="Deutsch" package="lang-de-DE.exe" downloadRequired="(download)">
      <ProductName string="Produkt"/></de-DE>)xml"));
  CopyPackage(L"de-DE", server_);
  PutText("String_DefaultLanguage", L"en-US");
  RunTexts();
  RunManager(1, true);
  IMultiLanguageApi* languages = Languages();
  EXPECT_EQ(Codes(), (std::vector<std::wstring>{L"en-US"})) << "the online file waits for GetLanguages";
  EXPECT_EQ(Variable("String_LanguageSource"), L"shipped");
  EXPECT_TRUE(FileExists(lang_ + L"languages.xml.online.md5"));
  // Before and after AddFile: the downloader's record shares the ready event.
  HANDLE ready = reinterpret_cast<CMultiLanguageApi*>(languages)->onlineFile.Get()->readyEvent;
  wchar_t line[64];
  swprintf_s(line, 64, L"@@@@@@@@@@@File ready handle: %x\n",
             static_cast<unsigned>(reinterpret_cast<uintptr_t>(ready)));
  EXPECT_EQ(Count(line), 2u);

  LanguageList* list = nullptr;
  Bounded([&] { list = languages->GetLanguages(); });
  ASSERT_EQ(Codes(), (std::vector<std::wstring>{L"en-US", L"de-DE"}));
  EXPECT_STREQ(list->front().displayName.Get(), L"English");
  EXPECT_STREQ(list->front().package.Get(), L"lang-en-US.exe");
  EXPECT_TRUE(list->front().installed);
  EXPECT_FALSE(list->back().installed);
  EXPECT_STREQ(list->back().downloadText.Get(), L"(download)");
  EXPECT_EQ(Variable("String_LanguageSource"), L"online") << "the default language's new variables";

  bool selected = false;
  Bounded([&] { selected = languages->SelectLanguage(L"de-DE"); });
  EXPECT_TRUE(selected);
  EXPECT_TRUE(languages->IsLanguageInstalled(L"de-DE"));
  EXPECT_EQ(ReadAll(lang_ + L"lang-de-DE.exe"), ReadAll(server_ + L"lang-de-DE.exe"));
  EXPECT_EQ(Text(L"InstallFailed"), L"Die Installation ist fehlgeschlagen.");
  EXPECT_EQ(Variable("String_ProductName"), L"Produkt");

  // The online file is read once.
  Bounded([&] { languages->GetLanguages(); });
  EXPECT_EQ(Count(L"MultiLanguageApi: Reading languages from: " + lang_ + L"languages.xml.online\n"), 1u);
}

TEST_F(MultiLanguageTest, APackageTheServerLacksOrNoDownloaderLeavesTheLanguageNotInstalled) {
  ASSERT_FALSE(serverUrl_.empty()) << "no web server: run through ctest, which starts it";
  WriteLanguages(kEnglish);
  CopyPackage(L"en-US", lang_);
  WriteUtf8(server_ + L"languages.xml.online", LanguageFile(std::string(kEnglish) + kGerman));
  PutText("String_DefaultLanguage", L"en-US");
  RunTexts();
  RunManager(1, true);
  IMultiLanguageApi* languages = Languages();
  EXPECT_EQ(Text(L"InstallFailed"), L"The installation failed.");
  Bounded([&] { languages->GetLanguages(); });
  ASSERT_EQ(Codes(), (std::vector<std::wstring>{L"en-US", L"de-DE"}));

  bool selected = true;
  Bounded([&] { selected = languages->SelectLanguage(L"de-DE"); });
  EXPECT_FALSE(selected);
  EXPECT_FALSE(languages->IsLanguageInstalled(L"de-DE"));
  EXPECT_STREQ(languages->GetCurrentLanguage(), L"en-US");
  EXPECT_EQ(Text(L"InstallFailed"), L"The installation failed.") << "the texts stay when the download fails";
  EXPECT_EQ(ReadAll(lang_ + L"lang-de-DE.exe"), "") << "only the empty placeholder";

  RemoveDownloader();
  selected = true;
  Bounded([&] { selected = languages->SelectLanguage(L"de-DE"); });
  EXPECT_FALSE(selected);
  EXPECT_TRUE(log_->Contains(kNoDownloader));
  EXPECT_FALSE(languages->IsLanguageInstalled(L"de-DE"));
}

TEST_F(MultiLanguageTest, AnOnlineFileThatIsMissingOrCannotBeRequestedLeavesTheLocalList) {
  ASSERT_FALSE(serverUrl_.empty()) << "no web server: run through ctest, which starts it";
  WriteLanguages(std::string(kEnglish) + kGerman);
  RunManager(1, true);  // the server has no languages.xml.online
  Bounded([&] { Languages()->GetLanguages(); });
  EXPECT_EQ(Codes(), (std::vector<std::wstring>{L"en-US", L"de-DE"}));
  EXPECT_EQ(Count(L"MultiLanguageApi: Reading languages from: " + lang_ + L"languages.xml.online\n"), 0u);

  // Without a downloader Initialize ends early: the forced language is left to
  // the first GetLanguages, which finds no online file to wait for.
  Languages()->Free();
  VariableStore::Instance().Put("SelfFree_MultiLanguageApi", 0);
  RemoveDownloader();
  PutText("String_ForceSingleLang", L"de-DE");
  RunManager(2, true);
  EXPECT_TRUE(log_->Contains(kNoDownloader));
  EXPECT_EQ(Codes(), (std::vector<std::wstring>{L"en-US", L"de-DE"}));
  Bounded([&] { Languages()->GetLanguages(); }, 5000);
  EXPECT_EQ(Codes(), (std::vector<std::wstring>{L"en-US", L"de-DE"}));
}

TEST_F(MultiLanguageTest, ACloudListReordersSelectsAndCutsTheList) {
  WriteLanguages(std::string(kEnglish) + kGerman + kFrench);
  CopyPackage(L"en-US", lang_);
  CopyPackage(L"de-DE", lang_);
  CopyPackage(L"en-US", lang_, L"lang-fr-FR.exe");
  VariableStore& store = VariableStore::Instance();
  auto fresh = [&] {
    SelfFreeRelease(reinterpret_cast<CSelfFree*>(store.Get("SelfFree_MultiLanguageApi")));
    store.Put("SelfFree_MultiLanguageApi", 0);
    SelfFreeRelease(reinterpret_cast<CSelfFree*>(store.Get("MultiString_CloudLanguages")));
    store.Put("int_MultiLanguageAvailable", 0);
  };

  // Nothing matches: the list stays whole and final, the online file is never read.
  WriteUtf8(server_ + L"languages.xml.online", LanguageFile(R"(<it-IT name="Italiano" package="it.exe"/>)"));
  PutCloud({L"ja-JP"});
  RunManager(1, !serverUrl_.empty());
  Bounded([&] { Languages()->GetLanguages(); });
  EXPECT_EQ(Codes(), (std::vector<std::wstring>{L"en-US", L"de-DE", L"fr-FR"}));
  EXPECT_EQ(Languages()->GetCurrentLanguage(), nullptr);

  // Two languages: they come first in the cloud's order, the first is selected,
  // the rest is gone.
  fresh();
  PutCloud({L"fr-FR", L"EN-us"});
  RunManager(2);
  EXPECT_EQ(Codes(), (std::vector<std::wstring>{L"fr-FR", L"en-US"}));
  EXPECT_STREQ(Languages()->GetCurrentLanguage(), L"fr-FR");
  EXPECT_EQ(Number("int_MultiLanguageAvailable"), 1u);
  EXPECT_EQ(Variable("String_LanguageMetricsSuffix"), L"fr");

  // The command line's language lies behind the cursor: selected, then cut.
  fresh();
  PutCloud({L"en-US"});
  PutText("String_CmdLineDefaultLanguage", L"de-DE");
  RunManager(3);
  EXPECT_EQ(Codes(), (std::vector<std::wstring>{L"en-US"}));
  EXPECT_STREQ(Languages()->GetCurrentLanguage(), L"de-DE");
  EXPECT_EQ(Number("int_MultiLanguageAvailable"), 0u);
}

TEST_F(MultiLanguageTest, AForcedLanguageLeavesOnlyItselfAndAnUnknownOneNothing) {
  WriteLanguages(std::string(kEnglish) + kGerman + kFrench);
  PutText("String_ForceSingleLang", L"xx-XX");
  RunManager(1);
  EXPECT_EQ(Codes().size(), 3u);
  EXPECT_FALSE(Languages()->ForceSingleLanguage(L"yy-YY"));

  Languages()->Free();
  VariableStore::Instance().Put("SelfFree_MultiLanguageApi", 0);
  VariableStore::Instance().Put("int_MultiLanguageAvailable", 0);
  PutText("String_ForceSingleLang", L"DE-de");
  RunManager(2);
  EXPECT_EQ(Codes(), (std::vector<std::wstring>{L"de-DE"}));
  EXPECT_EQ(Number("int_MultiLanguageAvailable"), 0u);
  EXPECT_EQ(Variable("String_ProductName"), L"Produkt") << "no default language: the first that is left";
  EXPECT_EQ(Languages()->GetCurrentLanguage(), nullptr);
}
