// Fault caught: the installer's windows without their texts or with the wrong icon.
#include <algorithm>

#include "tests/support/LanguageFixture.h"

namespace {

class ResourceManagerTest : public LanguageTest {
 protected:
  // Runs LocalizationManager over lang_.
  void Load() { RunElement(L"<LocalizationManager index='1' next='0' localeFolder='" + lang_ + L"'/>"); }
};

std::string Unit(const std::string& resname, const std::string& text) {
  return "<xlf:trans-unit id=\"1\" resname=\"" + resname + "\"><xlf:source>" + text + "</xlf:source></xlf:trans-unit>";
}

void CollectIds(const wchar_t* id, void* context, int reserved) {
  EXPECT_EQ(reserved, 0);
  static_cast<Lines*>(context)->push_back(id);
}

// A resource manager of someone else's, to see that the command frees it.
struct ForeignManager : CSelfFree {
  static int freed;
  void* DeletingDestructor(unsigned int flags) override {
    ++freed;
    return CSelfFree::DeletingDestructor(flags);
  }
};
int ForeignManager::freed = 0;

}  // namespace

TEST_F(ResourceManagerTest, UnitsGiveTargetOrSourceAndAUnitWithoutTextEndsTheFile) {
  WriteAll(lang_ + L"texts.xlf", Xliff(R"(
    <xlf:trans-unit id="1" resname="Both">
      <xlf:source>source</xlf:source><xlf:target>target</xlf:target></xlf:trans-unit>
    <xlf:trans-unit id="2" resname="SourceOnly"><xlf:source>only the source</xlf:source></xlf:trans-unit>
    <xlf:trans-unit id="3" resname="EmptyTarget"><xlf:source>source</xlf:source><xlf:target/></xlf:trans-unit>
    <xlf:trans-unit id="4"><xlf:source>no resname: skipped, the file goes on</xlf:source></xlf:trans-unit>
    <xlf:trans-unit id="5" resname="Mixed"><xlf:target>a <xlf:g id="b">bold</xlf:g> word</xlf:target></xlf:trans-unit>
    <xlf:trans-unit id="6" resname="NoText"><xlf:note>nothing to show</xlf:note></xlf:trans-unit>
    <xlf:trans-unit id="7" resname="AfterTheStop"><xlf:source>never read</xlf:source></xlf:trans-unit>)"));
  Load();
  EXPECT_EQ(Text(L"Both"), L"target");
  EXPECT_EQ(Text(L"SourceOnly"), L"only the source");
  EXPECT_EQ(Text(L"Mixed"), L"a bold word");
  std::wstring path = lang_ + L"texts.xlf";
  EXPECT_TRUE(log_->Contains(L"FileResourceManager Xliff Found: '" + path + L"'.\n"));
  EXPECT_TRUE(log_->Contains(L"FileResourceManager Found 7 texts in '" + path + L"'.\n"));

  Lines ids;
  Texts()->EnumerateStrings(CollectIds, &ids);
  EXPECT_EQ(ids, (Lines{L"Both", L"EmptyTarget", L"Mixed", L"SourceOnly"}));
  wchar_t buffer[16] = L"untouched";
  EXPECT_EQ(Texts()->GetString(L"EmptyTarget", buffer, 16), 0);
  EXPECT_STREQ(buffer, L"");
}

TEST_F(ResourceManagerTest, ScanWalksSubfoldersSkipsOtherExtensionsAndTheLaterFileWins) {
  CreateDirectoryW((lang_ + L"de").c_str(), nullptr);
  CreateDirectoryW((lang_ + L"de\\deeper").c_str(), nullptr);
  Lines files = {lang_ + L"a.xlf", lang_ + L"de\\b.xlf", lang_ + L"de\\deeper\\c.xlf"};
  for (size_t i = 0; i < files.size(); ++i) {
    std::string path(files[i].begin(), files[i].end());
    WriteAll(files[i], Xliff(Unit("Shared", path) + Unit("Own" + std::to_string(i), "x")));
  }
  WriteAll(lang_ + L"capital.XLF", Xliff(Unit("Capital", "x")));
  WriteAll(lang_ + L"backup.xlf.bak", Xliff(Unit("Backup", "x")));
  Load();

  // The system's listing order decides which file is read last.
  std::wstring last;
  for (const std::wstring& line : log_->Since()) {
    const std::wstring prefix = L"FileResourceManager Xliff Found: '";
    if (line.compare(0, prefix.size(), prefix) == 0) last = line.substr(prefix.size(), line.size() - prefix.size() - 3);
  }
  for (size_t i = 0; i < files.size(); ++i) {
    EXPECT_TRUE(log_->Contains(L"FileResourceManager Xliff Found: '" + files[i] + L"'.\n"));
    EXPECT_EQ(Text((L"Own" + std::to_wstring(i)).c_str()), L"x");
  }
  EXPECT_EQ(Text(L"Shared"), last);
  EXPECT_EQ(Text(L"Capital"), L"");
  EXPECT_EQ(Text(L"Backup"), L"");

  EXPECT_EQ(Texts()->LoadFolder((lang_ + L"missing").c_str()), ERROR_PATH_NOT_FOUND);
  CreateDirectoryW((lang_ + L"empty").c_str(), nullptr);
  Texts()->Clear();
  EXPECT_EQ(Texts()->LoadFolder((lang_ + L"empty").c_str()), 0);
  Lines ids;
  Texts()->EnumerateStrings(CollectIds, &ids);
  EXPECT_TRUE(ids.empty());
}

TEST_F(ResourceManagerTest, AFileThatIsNoXmlIsLoggedWithoutFaultingAndTheOthersLoad) {
  WriteAll(lang_ + L"broken.xlf", "<xlf:xliff><unclosed>");
  WriteAll(lang_ + L"good.xlf", Xliff(Unit("Good", "fine")));
  Load();
  EXPECT_EQ(Text(L"Good"), L"fine");
  // The reason's address lands on the first number; the text slot prints as "(null)".
  auto lines = log_->Since();
  auto parseLine = std::find_if(lines.begin(), lines.end(), [](const std::wstring& line) {
    return line.compare(0, 25, L"FileResourceManager Line ") == 0;
  });
  ASSERT_NE(parseLine, lines.end());
  EXPECT_NE(parseLine->find(L", Position 0: Error: (null)"), std::wstring::npos)
      << std::string(parseLine->begin(), parseLine->end());
}

TEST_F(ResourceManagerTest, CommandReplacesThePublishedManagerAndExpandsItsFolder) {
  int32_t status = -1;
  CInstallCommand* missing = CreateCommand(L"<LocalizationManager index='5'/>", &status);
  EXPECT_EQ(status, 1);
  missing->Free();

  WriteAll(lang_ + L"t.xlf", Xliff(Unit("Hello", "hello")));
  StoreText("String_LangRoot", lang_.substr(0, lang_.size() - 1).c_str());
  VariableStore::Instance().Put("SelfFree_ResourceManager", reinterpret_cast<StoreValue>(new ForeignManager()));
  ForeignManager::freed = 0;
  RunElement(L"<LocalizationManager index='3' next='0' localeFolder='[LangRoot]'/>");
  EXPECT_EQ(ForeignManager::freed, 1);
  EXPECT_EQ(Text(L"Hello"), L"hello");
  EXPECT_EQ(log_->Work().front(), L"3: LocalizationManager Locale Folder: '" + lang_.substr(0, lang_.size() - 1) + L"'.\n");
}
