// Fault caught: the installer in the wrong language, or a language that cannot be fetched or selected.
#include <algorithm>

#include "host/MultiStrings.h"
#include "tests/support/LanguageFixture.h"

namespace {

const char kEnglish[] = R"(<en-US name="English" package="lang-en-US.exe">
  <Metrics suffix="en"/><ProductName string="Product"/><LanguageSource string="shipped"/></en-US>)";
const char kGerman[] = R"(<de-DE name="Deutsch" package="lang-de-DE.exe" rtl="true">
  <Metrics suffix="de"/><ProductName string="Produkt"/></de-DE>)";
const char kFrench[] = R"(<fr-FR name="Francais" package="lang-fr-FR.exe"><Metrics suffix="fr"/></fr-FR>)";

class MultiLanguageTest : public LanguageTest {
 protected:
  void WriteLanguages(const std::string& languages) { WriteAll(lang_ + L"languages.xml", LanguageFile(languages)); }
  // Runs MultiLanguage over lang_; online adds the server as online location.
  void RunManager(int index = 1, bool online = false) {
    std::wstring element = L"<MultiLanguage index='" + std::to_wstring(index) + L"' next='0' langDir='" + lang_ +
                           L"' configFile='languages.xml'";
    if (online) element += L" onlineConfigLocation='" + serverUrl_ + L"'";
    RunElement(element + L"/>");
  }
  void RunTexts() { RunElement(L"<LocalizationManager index='9' next='0' localeFolder='" + lang_ + L"'/>"); }
  // The codes of the list as it stands.
  Lines Codes() {
    Lines codes;
    for (const LanguageRecord& record : *Languages()->PeekLanguages()) codes.push_back(record.code.Get());
    return codes;
  }
  void PutCloud(std::initializer_list<const wchar_t*> codes) {
    auto* list = new CMultiStringList();
    for (const wchar_t* code : codes) list->AddString(code);
    VariableStore::Instance().Put("MultiString_CloudLanguages", reinterpret_cast<StoreValue>(list));
  }
  size_t Count(const std::wstring& line) {
    auto lines = log_->Since();
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
  ASSERT_EQ(Codes(), (Lines{L"en-US", L"he-IL", L"fr-FR"}));
  EXPECT_STREQ(std::next(languages->PeekLanguages()->begin())->downloadText.Get(), L"(download)");
  EXPECT_TRUE(languages->IsLanguageRtl(L"HE-il"));
  EXPECT_FALSE(languages->IsLanguageRtl(L"fr-FR")) << "only \"true\" exactly";
  // The first language's variables are published, but nothing is selected.
  EXPECT_EQ(TextOf("String_LanguageMetricsSuffix"), L"en");
  EXPECT_EQ(TextOf("String_metrics"), L"another case is an ordinary child");
  EXPECT_EQ(TextOf("String_Title"), L"first");
  EXPECT_EQ(TextOf("String_Unknown"), L"<absent>");
  EXPECT_EQ(StoreRead("int_isLangRTL"), 0u);
  EXPECT_EQ(StoreRead("int_MultiLanguageAvailable"), 1u);
  EXPECT_EQ(languages->GetCurrentLanguage(), nullptr);

  EXPECT_TRUE(log_->Contains(L"MultiLanguageApi: Reading variables for: he-IL\n"));
}

TEST_F(MultiLanguageTest, SelectingRunsThePackagePublishesVariablesAndReloadsTexts) {
  WriteLanguages(std::string(kEnglish) + kGerman + R"(<it-IT name="Italiano" package="missing.exe"/>)");
  CopyPackage(L"en-US", lang_);
  CopyPackage(L"de-DE", lang_);
  StoreText("String_ApplicationPath", ProgramFolder().c_str());
  RunTexts();
  RunManager(1);
  IMultiLanguageApi* languages = Languages();
  EXPECT_EQ(languages->GetCurrentLanguage(), nullptr);
  EXPECT_EQ(Text(L"WelcomeWindowTitle"), L"");

  // A second command reuses the manager and selects String_DefaultLanguage.
  StoreText("String_DefaultLanguage", L"de-DE");
  RunManager(2);
  EXPECT_EQ(Count(L"MultiLanguageApi: Reading languages from: " + lang_ + L"languages.xml\n"), 1u);
  EXPECT_STREQ(languages->GetCurrentLanguage(), L"de-DE");
  EXPECT_EQ(Text(L"WelcomeWindowTitle"), L"Installation von [ProductName]");
  EXPECT_EQ(TextOf("String_ProductName"), L"Produkt");
  EXPECT_EQ(StoreRead("int_isLangRTL"), 1u);
  DWORD layout = 0;
  EXPECT_TRUE(GetProcessDefaultLayout(&layout) && layout == 1u) << "right to left";

  EXPECT_TRUE(languages->SelectLanguage(L"en-us"));
  EXPECT_STREQ(languages->GetCurrentLanguage(), L"en-us");
  EXPECT_EQ(Text(L"WelcomeWindowTitle"), L"[ProductName] Setup");
  EXPECT_EQ(TextOf("String_ProductName"), L"Product");
  EXPECT_EQ(StoreRead("int_isLangRTL"), 0u);
  EXPECT_TRUE(GetProcessDefaultLayout(&layout) && layout == 0u);

  // A package that cannot be started: the texts are gone, nothing else changes.
  EXPECT_FALSE(languages->SelectLanguage(L"it-IT"));
  EXPECT_EQ(Text(L"WelcomeWindowTitle"), L"");
  EXPECT_STREQ(languages->GetCurrentLanguage(), L"en-us");
  EXPECT_FALSE(languages->SelectLanguage(L"xx-XX"));
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
  WriteAll(server_ + L"languages.xml.online", LanguageFile(R"(<it-IT name="Italiano" package="it.exe"/>)"));
  PutCloud({L"ja-JP"});
  RunManager(1, !serverUrl_.empty());
  Bounded([&] { Languages()->GetLanguages(); });
  EXPECT_EQ(Codes(), (Lines{L"en-US", L"de-DE", L"fr-FR"}));
  EXPECT_EQ(Languages()->GetCurrentLanguage(), nullptr);

  // Two languages: they come first in the cloud's order, the first is selected,
  // the rest is gone.
  fresh();
  PutCloud({L"fr-FR", L"EN-us"});
  RunManager(2);
  EXPECT_EQ(Codes(), (Lines{L"fr-FR", L"en-US"}));
  EXPECT_STREQ(Languages()->GetCurrentLanguage(), L"fr-FR");
  EXPECT_EQ(StoreRead("int_MultiLanguageAvailable"), 1u);
  EXPECT_EQ(TextOf("String_LanguageMetricsSuffix"), L"fr");

  // The command line's language lies behind the cursor: selected, then cut.
  fresh();
  PutCloud({L"en-US"});
  StoreText("String_CmdLineDefaultLanguage", L"de-DE");
  RunManager(3);
  EXPECT_EQ(Codes(), (Lines{L"en-US"}));
  EXPECT_STREQ(Languages()->GetCurrentLanguage(), L"de-DE");
  EXPECT_EQ(StoreRead("int_MultiLanguageAvailable"), 0u);
}
