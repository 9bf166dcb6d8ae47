// The message box, the start-up guards, the command line parser and the progress
// protocol: what a user sees of an install before and while it runs.
#include <map>
#include <thread>

#include "diagnostics/ResourceManager.h"
#include "frontend/MessageBoxProvider.h"
#include "tests/support/PluginFixture.h"

namespace {

// Records what it is asked and answers 0.
class RecordingMessageBox : public IMessageBoxProvider {
 public:
  uint32_t ShowMessage(const wchar_t* text, const wchar_t* title, uint32_t buttons, uint32_t icon, uintptr_t,
                       uintptr_t) override {
    shown.push_back(std::wstring(text) + L"|" + title + L"|" + std::to_wstring(buttons) + L"|" + std::to_wstring(icon));
    return 0;
  }
  void SetDefaultParent(uintptr_t) override {}
  ~RecordingMessageBox() { ++freed; }
  SELFFREE_DESTRUCTOR(RecordingMessageBox)

  static int freed;
  Lines shown;
};

// Knows texts by key only, like the file resource manager.
class KeyedTexts : public IResourceManager {
 public:
  int32_t LoadFolder(const wchar_t*) override { return 0; }
  void Clear() override { texts.clear(); }
  int32_t GetString(const wchar_t* id, wchar_t* buffer, int32_t size) override {
    std::wstring& text = texts[id];
    wcscpy_s(buffer, size, text.c_str());
    return static_cast<int32_t>(text.size());
  }
  int32_t GetStringById(uint32_t, wchar_t*, int32_t) override { return 0; }
  void EnumerateStrings(StringCallback, void*) override {}
  bool GetFileResource(const wchar_t*, const wchar_t*, void*, uint32_t*) override { return false; }
  void GetResourceData() override {}
  bool GetIcon(const wchar_t*, HICON*) override { return false; }
  SELFFREE_DESTRUCTOR(KeyedTexts)

  std::map<std::wstring, std::wstring> texts;
};

int RecordingMessageBox::freed = 0;

}  // namespace

class FrontendTest : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    messages_ = new RecordingMessageBox();
    texts_ = new KeyedTexts();
    VariableStore::Instance().Put("MessageBox", reinterpret_cast<StoreValue>(messages_));
    VariableStore::Instance().Put("SelfFree_ResourceManager", reinterpret_cast<StoreValue>(texts_));
  }
  RecordingMessageBox* messages_ = nullptr;
  KeyedTexts* texts_ = nullptr;
};

TEST_F(FrontendTest, MessageBoxCommandPublishesARealBoxThatAnswersWhenClosed) {
  int freedBefore = RecordingMessageBox::freed;
  ASSERT_EQ(Run(Add(L"<VltMessageBox index='3' defaultParentWindowId='12'/>")), 0);
  EXPECT_EQ(RecordingMessageBox::freed, freedBefore + 1) << "the provider found is freed";
  void* provider = reinterpret_cast<void*>(StoreRead("MessageBox"));
  ASSERT_NE(provider, nullptr);
  if (GetEnvironmentVariableW(L"DISPLAY", nullptr, 0) == 0) GTEST_SKIP() << "no display (run under Xvfb)";
  uint32_t answer = 99;
  std::thread shower([&] {
    answer = CallSlot<uint32_t, const wchar_t*, const wchar_t*, uint32_t, uint32_t, uintptr_t, uintptr_t>(
        provider, 2, L"Body", L"FrontendTest box", 2, 1, 0, 0);
  });
  HWND window = nullptr;
  for (int i = 0; i < 200 && window == nullptr; ++i) {
    Sleep(25);
    window = FindWindowW(nullptr, L"FrontendTest box");
  }
  if (window != nullptr) PostMessageW(window, WM_COMMAND, IDRETRY, 0);
  shower.join();
  ASSERT_NE(window, nullptr) << "the message box did not appear";
  EXPECT_EQ(answer, 2u) << "Retry answers 2";
}

TEST_F(FrontendTest, ArchitectureCheckPublishesTheSystem) {
  StoreInt("int_Force", 1);
  CInstallCommand* check = Add(L"<ArchitectureCheck index='1' forceArchitecture='0' forceArchitectureVar='Force'/>");
  ASSERT_EQ(Run(check), 0) << "a 64-bit process on a 64-bit system passes even when forced";
  EXPECT_EQ(StoreRead("int_x64"), 1u);
  EXPECT_EQ(StoreRead("int_x86"), 0u);
  EXPECT_EQ(TextOf("String_Arhitecture"), L"x64");
  EXPECT_EQ(log_->Work(), Lines{L"1: ArchitectureCheck System is x64.\n"});
  EXPECT_TRUE(messages_->shown.empty());
}

TEST_F(FrontendTest, SecondInstanceIsRefusedWithKeyTexts) {
  texts_->texts[L"IDS_SingleInstanceText"] = L"Already running";
  texts_->texts[L"IDS_SingleInstanceTitle"] = L"Setup";
  StoreText("String_Product", (L"Guard" + std::to_wstring(GetCurrentProcessId())).c_str());
  CInstallCommand* first = Add(L"<ForceSingleInstance index='1' eventName='[Product]'/>");
  CInstallCommand* second = Add(L"<ForceSingleInstance index='2' eventName='[Product]'/>");
  ASSERT_EQ(Run(first), 0);
  HANDLE mark = reinterpret_cast<HANDLE>(VariableStore::Instance().Get("HANDLE_SingleInstance"));
  ASSERT_NE(mark, nullptr);
  EXPECT_EQ(WaitForSingleObject(mark, 0), WAIT_OBJECT_0);
  EXPECT_EQ(Run(second), 1359);
  EXPECT_EQ(VariableStore::Instance().Get("int_ReturnCode"), 183u);
  EXPECT_EQ(messages_->shown, Lines{L"Already running|Setup|0|2"});
  EXPECT_EQ(log_->Work(), Lines{L"2: ForceSingleInstance Single instance check failed.\n"});
}

TEST_F(FrontendTest, OverlongInstanceNameEndsTheProcess) {
  StoreText("String_Long", std::wstring(100, L'n').c_str());
  CInstallCommand* guard = Add(L"<ForceSingleInstance index='1' eventName='[Long]'/>");
  EXPECT_EXIT(Run(guard), ::testing::ExitedWithCode(static_cast<int>(0xC0000409)), "");
}

TEST_F(FrontendTest, CommandLineSwitchesAreSubstringsOfBothLines) {
  const struct {
    const wchar_t *own, *parent;
    int silent, update, aur, crash;
    const wchar_t *path, *language;
  } cases[] = {
      {L"setup.exe /silent", L"", 1, 0, 0, 0, L" ", L" "},
      {L"setup.exe", L"launcher.exe /update /aur", 0, 1, 1, 0, L" ", L" "},
      {L"setup.exe /SILENT /crashing", L"", 0, 0, 0, 1, L" ", L" "},
      {L"setup.exe /path=C:\\My Product\\ /x", L"", 0, 0, 0, 0, L"C:\\My", L" "},
      {L"setup.exe /path=C:\\Product\\", L"", 0, 0, 0, 0, L"C:\\Product", L" "},
      {L"setup.exe /path=C:\\Product\\\\", L"", 0, 0, 0, 0, L"C:\\Product\\", L" "},
      {L"setup.exe /path=C:\\Pro", L"duct\\x.exe /y", 0, 0, 0, 0, L"C:\\Product\\x.exe", L" "},
      {L"setup.exe /path=\"C:\\A\"", L"", 0, 0, 0, 0, L"\"C:\\A\"", L" "},
      {L"setup.exe /path=D:/update/files", L"", 0, 1, 0, 0, L"D:/update/files", L" "},
      {L"setup.exe /lang=de-DE/silent", L"", 1, 0, 0, 0, L" ", L"de-DE"},
      {L"setup.exe /lang=e", L"", 0, 0, 0, 0, L" ", L"e"},
      {L"setup.exe /lang=a b c d", L"", 0, 0, 0, 0, L" ", L"a b c"},
  };
  VariableStore& store = VariableStore::Instance();
  for (const auto& c : cases) {
    std::string what = Narrow(c.own);
    store.Put("int_SendAur", 0);
    StoreText("String_CommandLine", c.own);
    StoreText("String_ParrentCommandLine", c.parent);
    CInstallCommand* parser = CreateCommand(L"<VltCommandLineParser index='1'/>");
    ASSERT_EQ(Run(parser), 0) << what;
    EXPECT_EQ(store.Get("int_IsSilent"), static_cast<StoreValue>(c.silent)) << what;
    EXPECT_EQ(store.Get("int_IsUpdate"), static_cast<StoreValue>(c.update)) << what;
    EXPECT_EQ(store.Get("int_SendAur"), static_cast<StoreValue>(c.aur)) << what;
    EXPECT_EQ(store.Get("int_ForceFail"), static_cast<StoreValue>(c.crash)) << what;
    EXPECT_EQ(TextOf("String_CmdLineInstallPath"), c.path) << what;
    EXPECT_EQ(TextOf("String_CmdLineDefaultLanguage"), c.language) << what;
    parser->Free();
  }
}

TEST_F(FrontendTest, CommandLineKeepsSendAurAndReadsTheParentOnce) {
  VariableStore& store = VariableStore::Instance();
  store.Put("int_SendAur", 1);
  store.Put("int_IsSilent", 1);
  StoreText("String_CommandLine", L"setup.exe /lang=fr-FR");
  CInstallCommand* parser = Add(L"<VltCommandLineParser index='4'/>");
  ASSERT_EQ(Run(parser), 0);
  EXPECT_EQ(store.Get("int_SendAur"), 1u) << "only ever set";
  EXPECT_EQ(store.Get("int_IsSilent"), 0u) << "the others are reset";
  // Whatever this program's parent is, the variable now exists and is not read again.
  CString* parent = reinterpret_cast<CString*>(store.Get("String_ParrentCommandLine"));
  ASSERT_NE(parent, nullptr);
  ASSERT_EQ(Run(parser), 0);
  EXPECT_EQ(reinterpret_cast<CString*>(store.Get("String_ParrentCommandLine")), parent);
  EXPECT_EQ(log_->Work(), (Lines{L"4: VrtCommandLine Default language is fr-FR", L"4: VrtCommandLine Default language is fr-FR"}));
}

TEST_F(FrontendTest, CommandLineOverrunsEndTheProcess) {
  StoreText("String_ParrentCommandLine", L"");
  StoreText("String_CommandLine", (L"setup.exe /path=" + std::wstring(260, L'p')).c_str());
  CInstallCommand* parser = Add(L"<VltCommandLineParser index='1'/>");
  EXPECT_EXIT(Run(parser), ::testing::ExitedWithCode(static_cast<int>(0xC0000409)), "");
  StoreText("String_CommandLine", std::wstring(1024, L'c').c_str());
  EXPECT_EXIT(Run(parser), ::testing::ExitedWithCode(static_cast<int>(0xC0000409)), "");
}

TEST_F(FrontendTest, ProgressIsPublishedInsideTheStoreLockAndReadInOrder) {
  HANDLE event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  VariableStore& store = VariableStore::Instance();
  store.Put("HANDLE_InstallProgressEv", reinterpret_cast<StoreValue>(event));
  texts_->texts[L"IDS_DiskFull"] = L"The disk is full.";
  CInstallCommand* ten = Add(L"<VltUpdateProgress index='1' progress='10'/>");
  CInstallCommand* half = Add(L"<VltUpdateProgress index='2' progress='0x32'/>");
  CInstallCommand* fail = Add(L"<VltSetError index='3' resText='IDS_DiskFull'/>");

  // While the test holds the lock, a publication waits with its variables and its
  // event alike.
  EnterCriticalSection(&storeLock_);
  HANDLE writer = StartExecute(ten);
  Sleep(100);
  EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_TIMEOUT);
  EXPECT_EQ(store.Get("int_InstallProgressPercent"), 0u);
  LeaveCriticalSection(&storeLock_);
  ASSERT_EQ(WaitForSingleObject(writer, 5000), WAIT_OBJECT_0);

  // A reader on another thread takes each publication under the lock.
  Lines seen;
  auto read = [&] {
    EXPECT_EQ(WaitForSingleObject(event, 5000), WAIT_OBJECT_0);
    EnterCriticalSection(&storeLock_);
    seen.push_back(std::to_wstring(static_cast<int32_t>(store.Get("int_InstallProgressPercent"))) + L"|" +
                   std::to_wstring(store.Get("int_InstallFailed")) + L"|" + TextOf("String_InstallFailReason"));
    LeaveCriticalSection(&storeLock_);
  };
  read();
  for (CInstallCommand* command : {half, fail}) {
    std::thread reader(read);
    ASSERT_EQ(Run(command), 0);
    reader.join();
  }
  EXPECT_EQ(seen, (Lines{L"10|0|<absent>", L"50|0|<absent>", L"-1|1|The disk is full."}));
  EXPECT_TRUE(log_->Contains(L"2: UpdateProgress:50\n"));
  EXPECT_TRUE(log_->Contains(L"3: SetError: The disk is full.\n"));
  // Without a reason of its own the earlier one stays; a literal one wins over a text id.
  ASSERT_EQ(Run(Add(L"<VltSetError index='4'/>")), 0);
  EXPECT_EQ(TextOf("String_InstallFailReason"), L"The disk is full.");
  ASSERT_EQ(Run(Add(L"<VltSetError index='5' reason='literal' resText='IDS_Ignored'/>")), 0);
  EXPECT_EQ(TextOf("String_InstallFailReason"), L"literal");
}

namespace {
std::wstring Environment(const wchar_t* name) {
  wchar_t value[2048] = {};
  return GetEnvironmentVariableW(name, value, 2048) > 0 ? value : L"";
}
}  // namespace

// The child's side of the next test: a second instance started by a copy of the
// same program, which also reads its parent's command line as the parser does.
TEST_F(FrontendTest, ChildInstanceRunsTheGuard) {
  std::wstring name = Environment(L"GUARD_CHILD_EVENT");
  if (name.empty()) GTEST_SKIP() << "only run as the child of SecondInstanceStartedByTheFirst";
  ASSERT_EQ(Run(Add(L"<VltCommandLineParser index='2'/>")), 0);
  EXPECT_EQ(TextOf("String_ParrentCommandLine"), Environment(L"GUARD_PARENT_LINE"));
  StoreText("String_GuardName", name.c_str());
  CInstallCommand* guard = Add(L"<ForceSingleInstance index='1' eventName='[GuardName]' ignoreInstallerParent='" +
                               Environment(L"GUARD_CHILD_IGNORE") + L"'/>");
  int32_t expected = Environment(L"GUARD_CHILD_IGNORE") == L"1" ? 0 : 1359;
  EXPECT_EQ(Run(guard), expected);
}

TEST_F(FrontendTest, SecondInstanceStartedByTheFirstPassesOnlyWhenAllowed) {
  std::wstring name = L"GuardParent" + std::to_wstring(GetCurrentProcessId());
  StoreText("String_GuardName", name.c_str());
  ASSERT_EQ(Run(Add(L"<ForceSingleInstance index='1' eventName='[GuardName]'/>")), 0) << "the first instance";
  SetEnvironmentVariableW(L"GUARD_CHILD_EVENT", name.c_str());
  SetEnvironmentVariableW(L"GUARD_PARENT_LINE", GetCommandLineW());
  std::wstring child = L"\"" + ProgramFolder() + L"Installer.exe\" --gtest_filter=FrontendTest.ChildInstanceRunsTheGuard";
  SetEnvironmentVariableW(L"GUARD_CHILD_IGNORE", L"1");
  EXPECT_EQ(RunProcess(child).exitCode, 0u) << "same image: passes";
  SetEnvironmentVariableW(L"GUARD_CHILD_IGNORE", L"0");
  EXPECT_EQ(RunProcess(child).exitCode, 0u) << "the child expects its refusal";
  SetEnvironmentVariableW(L"GUARD_CHILD_EVENT", nullptr);
  SetEnvironmentVariableW(L"GUARD_CHILD_IGNORE", nullptr);
}
