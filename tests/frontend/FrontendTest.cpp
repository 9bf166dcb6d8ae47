// Message box mappings, the start-up guards, the command line parser and the
// progress protocol.
#include <cstdarg>
#include <map>
#include <thread>

#include "engine/interfaces/ResourceManager.h"
#include "frontend/MessageBox.h"
#include "host/VariableStore.h"
#include "probes/GuardCommands.h"
#include "tests/support/PluginFixture.h"

namespace {

struct ShownMessage {
  std::wstring text;
  std::wstring title;
  uint32_t buttons;
  uint32_t icon;
};

// Records what it is asked and answers a preset code.
class RecordingMessageBox : public IMessageBoxProvider {
 public:
  uint32_t ShowMessage(const wchar_t* text, const wchar_t* title, uint32_t buttons, uint32_t icon, uintptr_t,
                       uintptr_t) override {
    shown.push_back({text, title, buttons, icon});
    return answer;
  }
  void SetDefaultParent(uintptr_t) override {}
  ~RecordingMessageBox() { ++freed; }
  SELFFREE_DESTRUCTOR(RecordingMessageBox)

  static int freed;

  std::vector<ShownMessage> shown;
  uint32_t answer = 0;
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

std::wstring StringVar(const char* name) {
  CString* value = reinterpret_cast<CString*>(VariableStore::Instance().Get(name));
  return value != nullptr ? value->text : L"<absent>";
}

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
  int32_t Run(CInstallCommand* command) { return command->Execute(INVALID_HANDLE_VALUE, &storeLock_); }
  void SetString(const char* name, const wchar_t* value) {
    VariableStore::Instance().Put(name, reinterpret_cast<StoreValue>(MakeString(value)));
  }
  RecordingMessageBox* messages_ = nullptr;
  KeyedTexts* texts_ = nullptr;
};

TEST(MessageBoxCodes, ButtonsIconsAndAnswersMapAsTheInstallerDefines) {
  EXPECT_EQ(MessageBoxType(0, 3), static_cast<UINT>(MB_OK));
  EXPECT_EQ(MessageBoxType(7, 3), static_cast<UINT>(MB_OK)) << "unknown buttons give OK";
  EXPECT_EQ(MessageBoxType(1, 0), static_cast<UINT>(MB_OKCANCEL | MB_ICONINFORMATION));
  EXPECT_EQ(MessageBoxType(2, 1), static_cast<UINT>(MB_RETRYCANCEL | MB_ICONWARNING));
  EXPECT_EQ(MessageBoxType(3, 2), static_cast<UINT>(MB_YESNO | MB_ICONERROR));
  EXPECT_EQ(MessageBoxType(4, 4), static_cast<UINT>(MB_YESNOCANCEL | MB_ICONQUESTION));
  EXPECT_EQ(MessageBoxType(5, 9), static_cast<UINT>(MB_ABORTRETRYIGNORE));
  EXPECT_EQ(MessageBoxType(6, 3), static_cast<UINT>(MB_CANCELTRYCONTINUE));
  const uint32_t answers[] = {0, 0, 1, 5, 2, 8, 3, 4, 0, 0, 2, 6, 0};  // results 0 to 12
  for (int result = 0; result <= 12; ++result) EXPECT_EQ(MessageBoxAnswer(result), answers[result]) << result;
  EXPECT_EQ(MessageBoxAnswer(-1), 0u);
}

TEST_F(FrontendTest, MessageBoxCommandReplacesTheProvider) {
  CInstallCommand* command = Add(L"<VltMessageBox index='3' defaultParentWindowId='12'/>");
  int freedBefore = RecordingMessageBox::freed;
  ASSERT_EQ(Run(command), 0);
  EXPECT_EQ(RecordingMessageBox::freed, freedBefore + 1) << "the provider found is freed";
  EXPECT_NE(dynamic_cast<CVltMessageBox*>(reinterpret_cast<CSelfFree*>(VariableStore::Instance().Get("MessageBox"))),
            nullptr);
  ASSERT_EQ(Run(command), 0);
  EXPECT_NE(dynamic_cast<CVltMessageBox*>(reinterpret_cast<CSelfFree*>(VariableStore::Instance().Get("MessageBox"))),
            nullptr);
  EXPECT_TRUE(log_->Contains(L"3: VltMessageBox End execute. Next command 4.\n"));
}

TEST_F(FrontendTest, RealMessageBoxAnswersWhenClosedByItsWindow) {
  if (GetEnvironmentVariableW(L"DISPLAY", nullptr, 0) == 0) GTEST_SKIP() << "no display (run under Xvfb)";
  CVltMessageBox provider;
  uint32_t answer = 99;
  std::thread shower([&] { answer = provider.ShowMessage(L"Body", L"FrontendTest box", 2, 1, 0, 0); });
  HWND window = nullptr;
  for (int i = 0; i < 200 && window == nullptr; ++i) {
    Sleep(25);
    window = FindWindowW(nullptr, L"FrontendTest box");
  }
  ASSERT_NE(window, nullptr) << "the message box did not appear";
  PostMessageW(window, WM_COMMAND, IDRETRY, 0);
  shower.join();
  EXPECT_EQ(answer, 2u) << "Retry answers 2";
}

TEST_F(FrontendTest, ArchitectureCheckPublishesTheSystem) {
  VariableStore::Instance().Put("int_Force", 1);
  CInstallCommand* check = Add(L"<ArchitectureCheck index='1' forceArchitecture='0' forceArchitectureVar='Force'/>");
  ASSERT_EQ(Run(check), 0) << "a 64-bit process on a 64-bit system passes even when forced";
  VariableStore& store = VariableStore::Instance();
  EXPECT_EQ(store.Get("int_x64"), 1u);
  EXPECT_EQ(store.Get("int_x86"), 0u);
  EXPECT_EQ(StringVar("String_Arhitecture"), L"x64");
  EXPECT_STREQ(reinterpret_cast<CArchitectureCheckCommand*>(check)->forceArchitectureVar.Get(), "int_Force");
  std::vector<std::wstring> expected = {L"1: ArchitectureCheck Begin execute.\n",
                                        L"1: ArchitectureCheck System is x64.\n",
                                        L"1: ArchitectureCheck End execute. Next command 2.\n"};
  EXPECT_EQ(log_->Lines(), expected);
  EXPECT_TRUE(messages_->shown.empty());
}

TEST_F(FrontendTest, SecondInstanceIsRefusedWithKeyTexts) {
  texts_->texts[L"IDS_SingleInstanceText"] = L"Already running";
  texts_->texts[L"IDS_SingleInstanceTitle"] = L"Setup";
  SetString("String_Product", (L"Guard" + std::to_wstring(GetCurrentProcessId())).c_str());
  CInstallCommand* first = Add(L"<ForceSingleInstance index='1' eventName='[Product]'/>");
  CInstallCommand* second = Add(L"<ForceSingleInstance index='2' eventName='[Product]'/>");
  ASSERT_EQ(Run(first), 0);
  HANDLE mark = reinterpret_cast<HANDLE>(VariableStore::Instance().Get("HANDLE_SingleInstance"));
  ASSERT_NE(mark, nullptr);
  EXPECT_EQ(WaitForSingleObject(mark, 0), WAIT_OBJECT_0);
  EXPECT_EQ(Run(second), 1359);
  EXPECT_EQ(VariableStore::Instance().Get("int_ReturnCode"), 183u);
  ASSERT_EQ(messages_->shown.size(), 1u);
  EXPECT_EQ(messages_->shown[0].text, L"Already running");
  EXPECT_EQ(messages_->shown[0].title, L"Setup");
  EXPECT_EQ(messages_->shown[0].buttons, 0u);
  EXPECT_EQ(messages_->shown[0].icon, 2u);
  EXPECT_TRUE(log_->Contains(L"2: ForceSingleInstance Single instance check failed.\n"));
  EXPECT_TRUE(log_->Contains(L"2: ForceSingleInstance End execute. Next command 3.\n"));
}

TEST_F(FrontendTest, OverlongInstanceNameEndsTheProcess) {
  SetString("String_Long", std::wstring(100, L'n').c_str());
  CInstallCommand* guard = Add(L"<ForceSingleInstance index='1' eventName='[Long]'/>");
  EXPECT_EXIT(Run(guard), ::testing::ExitedWithCode(static_cast<int>(0xC0000409)), "");
}

namespace {

struct ParseCase {
  const wchar_t* own;
  const wchar_t* parent;
  int silent, update, aur, crash;
  const wchar_t* path;
  const wchar_t* language;
};

}  // namespace

TEST_F(FrontendTest, CommandLineSwitchesAreSubstringsOfBothLines) {
  const ParseCase cases[] = {
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
  for (const ParseCase& c : cases) {
    store.Put("int_SendAur", 0);
    SetString("String_CommandLine", c.own);
    SetString("String_ParrentCommandLine", c.parent);
    CInstallCommand* parser = CreateCommand(L"<VltCommandLineParser index='1'/>");
    ASSERT_EQ(Run(parser), 0);
    std::string what(c.own, c.own + wcslen(c.own));
    EXPECT_EQ(store.Get("int_IsSilent"), static_cast<StoreValue>(c.silent)) << what;
    EXPECT_EQ(store.Get("int_IsUpdate"), static_cast<StoreValue>(c.update)) << what;
    EXPECT_EQ(store.Get("int_SendAur"), static_cast<StoreValue>(c.aur)) << what;
    EXPECT_EQ(store.Get("int_ForceFail"), static_cast<StoreValue>(c.crash)) << what;
    EXPECT_EQ(StringVar("String_CmdLineInstallPath"), c.path) << what;
    EXPECT_EQ(StringVar("String_CmdLineDefaultLanguage"), c.language) << what;
    parser->Free();
  }
}

TEST_F(FrontendTest, CommandLineKeepsSendAurAndReadsTheParentOnce) {
  VariableStore& store = VariableStore::Instance();
  store.Put("int_SendAur", 1);
  store.Put("int_IsSilent", 1);
  SetString("String_CommandLine", L"setup.exe /lang=fr-FR");
  CInstallCommand* parser = Add(L"<VltCommandLineParser index='4'/>");
  ASSERT_EQ(Run(parser), 0);
  EXPECT_EQ(store.Get("int_SendAur"), 1u) << "only ever set";
  EXPECT_EQ(store.Get("int_IsSilent"), 0u) << "the others are reset";
  // This test program's parent is the Wine loader's shell side: whatever it is, the
  // variable now exists and a second run does not read the parent again.
  CString* parent = reinterpret_cast<CString*>(store.Get("String_ParrentCommandLine"));
  ASSERT_NE(parent, nullptr);
  ASSERT_EQ(Run(parser), 0);
  EXPECT_EQ(reinterpret_cast<CString*>(store.Get("String_ParrentCommandLine")), parent);
  std::vector<std::wstring> expected = {L"4: VrtCommandLine Default language is fr-FR",
                                        L"[InstallCommand] Warning: GetNextIndex called before Execute\n",
                                        L"4: VltCommandLine End execute. Next command 5.\n"};
  std::vector<std::wstring> lines = log_->Lines();
  EXPECT_EQ(std::vector<std::wstring>(lines.begin(), lines.begin() + 3), expected);
}

TEST_F(FrontendTest, CommandLineOverrunsEndTheProcess) {
  SetString("String_ParrentCommandLine", L"");
  SetString("String_CommandLine", (L"setup.exe /path=" + std::wstring(260, L'p')).c_str());
  CInstallCommand* parser = Add(L"<VltCommandLineParser index='1'/>");
  EXPECT_EXIT(Run(parser), ::testing::ExitedWithCode(static_cast<int>(0xC0000409)), "");
  SetString("String_CommandLine", std::wstring(1024, L'c').c_str());
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
  std::vector<std::wstring> seen;
  auto read = [&] {
    EXPECT_EQ(WaitForSingleObject(event, 5000), WAIT_OBJECT_0);
    EnterCriticalSection(&storeLock_);
    seen.push_back(std::to_wstring(static_cast<int32_t>(store.Get("int_InstallProgressPercent"))) + L"|" +
                   std::to_wstring(store.Get("int_InstallFailed")) + L"|" + StringVar("String_InstallFailReason"));
    LeaveCriticalSection(&storeLock_);
  };
  read();
  for (CInstallCommand* command : {half, fail}) {
    std::thread reader(read);
    ASSERT_EQ(Run(command), 0);
    reader.join();
  }
  std::vector<std::wstring> expected = {L"10|0|<absent>", L"50|0|<absent>", L"-1|1|The disk is full."};
  EXPECT_EQ(seen, expected);
  EXPECT_TRUE(log_->Contains(L"2: UpdateProgress:50\n"));
  EXPECT_TRUE(log_->Contains(L"3: SetError: The disk is full.\n"));
  EXPECT_TRUE(log_->Contains(L"3: VltSetError End execute. Next command 4.\n"));
}

TEST_F(FrontendTest, SetErrorKeepsAnEarlierReasonWhenItHasNone) {
  SetString("String_InstallFailReason", L"first");
  CInstallCommand* bare = Add(L"<VltSetError index='1'/>");
  CInstallCommand* both = Add(L"<VltSetError index='2' reason='literal' resText='IDS_Ignored'/>");
  ASSERT_EQ(Run(bare), 0);
  EXPECT_EQ(StringVar("String_InstallFailReason"), L"first");
  EXPECT_EQ(VariableStore::Instance().Get("int_InstallFailed"), 1u);
  EXPECT_EQ(static_cast<int32_t>(VariableStore::Instance().Get("int_InstallProgressPercent")), -1);
  ASSERT_EQ(Run(both), 0);
  EXPECT_EQ(StringVar("String_InstallFailReason"), L"literal");
}

namespace {

std::wstring Environment(const wchar_t* name) {
  wchar_t value[256] = {};
  return GetEnvironmentVariableW(name, value, 256) > 0 ? value : L"";
}

// Runs this program again as a child that executes only the given test, with the
// environment it inherits; its exit code, or ~0 when it did not end in 30 s.
DWORD RunChildTest(const wchar_t* filter) {
  wchar_t self[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, self, MAX_PATH);
  std::wstring line = L"\"" + std::wstring(self) + L"\" --gtest_filter=" + filter;
  STARTUPINFOW startup = {sizeof(startup)};
  PROCESS_INFORMATION process = {};
  if (!CreateProcessW(nullptr, &line[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process)) return ~0u;
  DWORD code = ~0u;
  if (WaitForSingleObject(process.hProcess, 30000) == WAIT_OBJECT_0) GetExitCodeProcess(process.hProcess, &code);
  CloseHandle(process.hProcess);
  CloseHandle(process.hThread);
  return code;
}

}  // namespace

// The child's side of the next test: it is a second instance started by a copy
// of the same program.
TEST_F(FrontendTest, ChildInstanceRunsTheGuard) {
  std::wstring name = Environment(L"GUARD_CHILD_EVENT");
  if (name.empty()) GTEST_SKIP() << "only run as the child of SecondInstanceStartedByTheFirst";
  SetString("String_GuardName", name.c_str());
  CInstallCommand* guard = Add(L"<ForceSingleInstance index='1' eventName='[GuardName]' ignoreInstallerParent='" +
                               Environment(L"GUARD_CHILD_IGNORE") + L"'/>");
  int32_t expected = Environment(L"GUARD_CHILD_IGNORE") == L"1" ? 0 : 1359;
  EXPECT_EQ(Run(guard), expected);
}

TEST_F(FrontendTest, SecondInstanceStartedByTheFirstPassesOnlyWhenAllowed) {
  std::wstring name = L"GuardParent" + std::to_wstring(GetCurrentProcessId());
  SetString("String_GuardName", name.c_str());
  ASSERT_EQ(Run(Add(L"<ForceSingleInstance index='1' eventName='[GuardName]'/>")), 0) << "the first instance";
  SetEnvironmentVariableW(L"GUARD_CHILD_EVENT", name.c_str());
  SetEnvironmentVariableW(L"GUARD_CHILD_IGNORE", L"1");
  EXPECT_EQ(RunChildTest(L"FrontendTest.ChildInstanceRunsTheGuard"), 0u) << "same image: passes";
  SetEnvironmentVariableW(L"GUARD_CHILD_IGNORE", L"0");
  EXPECT_EQ(RunChildTest(L"FrontendTest.ChildInstanceRunsTheGuard"), 0u) << "the child expects its refusal";
  SetEnvironmentVariableW(L"GUARD_CHILD_EVENT", nullptr);
  SetEnvironmentVariableW(L"GUARD_CHILD_IGNORE", nullptr);
}
