// Fault caught: what a user sees before and while an install runs (message box, guards, command line, progress).
#include <map>
#include <thread>

#include "engine/interfaces/ResourceManager.h"
#include "tests/support/KeyedTexts.h"
#include "tests/support/PluginFixture.h"
#include "tests/support/RecordingMessageBox.h"

namespace {


std::wstring Environment(const wchar_t* name) {
  wchar_t value[2048] = {};
  return GetEnvironmentVariableW(name, value, 2048) > 0 ? value : L"";
}

}  // namespace

class FrontendTest : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    VariableStore::Instance().Put("MessageBox", reinterpret_cast<StoreValue>(messages_));
    VariableStore::Instance().Put("SelfFree_ResourceManager", reinterpret_cast<StoreValue>(texts_));
  }
  RecordingMessageBox* messages_ = new RecordingMessageBox();
  KeyedTexts* texts_ = new KeyedTexts();
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
  for (int i = 0; i < 200 && window == nullptr; ++i, Sleep(25)) window = FindWindowW(nullptr, L"FrontendTest box");
  if (window != nullptr) PostMessageW(window, WM_COMMAND, IDRETRY, 0);
  shower.join();
  ASSERT_NE(window, nullptr) << "the message box did not appear";
  EXPECT_EQ(answer, 2u) << "Retry answers 2";
}

TEST_F(FrontendTest, ArchitectureCheckAndTheSingleInstanceGuard) {
  StoreInt("int_Force", 1);
  ASSERT_EQ(Run(Add(L"<ArchitectureCheck index='1' forceArchitecture='0' forceArchitectureVar='Force'/>")), 0)
      << "a 64-bit process on a 64-bit system passes even when forced";
  EXPECT_EQ(StoreRead("int_x64") * 10 + StoreRead("int_x86"), 10u);
  EXPECT_EQ(TextOf("String_Arhitecture"), L"x64");
  texts_->texts[L"IDS_SingleInstanceText"] = L"Already running";
  texts_->texts[L"IDS_SingleInstanceTitle"] = L"Setup";
  StoreText("String_Product", L"Guard" + std::to_wstring(GetCurrentProcessId()));
  ASSERT_EQ(Run(Add(L"<ForceSingleInstance index='2' eventName='[Product]'/>")), 0);
  HANDLE mark = reinterpret_cast<HANDLE>(StoreRead("HANDLE_SingleInstance"));
  EXPECT_EQ(WaitForSingleObject(mark, 0), WAIT_OBJECT_0);
  EXPECT_EQ(Run(Add(L"<ForceSingleInstance index='3' eventName='[Product]'/>")), 1359);
  EXPECT_EQ(StoreRead("int_ReturnCode"), 183u);
  EXPECT_EQ(messages_->shown, Lines{L"Already running|Setup|0|2"});
  EXPECT_EQ(log_->Work(), (Lines{L"1: ArchitectureCheck System is x64.\n",
                                 L"3: ForceSingleInstance Single instance check failed.\n"}));
  StoreText("String_Long", std::wstring(100, L'n'));
  EXPECT_EXIT(Run(Add(L"<ForceSingleInstance index='4' eventName='[Long]'/>")),
              ::testing::ExitedWithCode(static_cast<int>(0xC0000409)), "") << "an overlong name ends the process";
}

TEST_F(FrontendTest, CommandLineSwitchesAreSubstringsOfBothLines) {
  // Own line, parent's line, then "silent update aur crash|path|language".
  const wchar_t* cases[][3] = {
      {L"setup.exe /silent", L"", L"1000| | "},
      {L"setup.exe", L"launcher.exe /update /aur", L"0110| | "},
      {L"setup.exe /SILENT /crashing", L"", L"0001| | "},
      {L"setup.exe /path=C:\\My Product\\ /x", L"", L"0000|C:\\My| "},
      {L"setup.exe /path=C:\\Product\\", L"", L"0000|C:\\Product| "},
      {L"setup.exe /path=C:\\Product\\\\", L"", L"0000|C:\\Product\\| "},
      {L"setup.exe /path=C:\\Pro", L"duct\\x.exe /y", L"0000|C:\\Product\\x.exe| "},
      {L"setup.exe /path=\"C:\\A\"", L"", L"0000|\"C:\\A\"| "},
      {L"setup.exe /path=D:/update/files", L"", L"0100|D:/update/files| "},
      {L"setup.exe /lang=de-DE/silent", L"", L"1000| |de-DE"},
      {L"setup.exe /lang=e", L"", L"0000| |e"},
      {L"setup.exe /lang=a b c d", L"", L"0000| |a b c"},
  };
  for (auto& c : cases) {
    StoreInt("int_SendAur", 0);
    StoreText("String_CommandLine", c[0]);
    StoreText("String_ParrentCommandLine", c[1]);
    ASSERT_EQ(Run(Add(L"<VltCommandLineParser index='1'/>")), 0);
    std::wstring seen;
    for (const char* flag : {"int_IsSilent", "int_IsUpdate", "int_SendAur", "int_ForceFail"}) {
      seen += std::to_wstring(StoreRead(flag));
    }
    EXPECT_EQ(seen + L"|" + TextOf("String_CmdLineInstallPath") + L"|" + TextOf("String_CmdLineDefaultLanguage"), c[2])
        << Narrow(c[0]);
  }
  // int_SendAur is only ever set; the others are reset.
  StoreInt("int_IsSilent", 1);
  StoreInt("int_SendAur", 1);
  StoreText("String_CommandLine", L"setup.exe");
  ASSERT_EQ(Run(Add(L"<VltCommandLineParser index='1'/>")), 0);
  EXPECT_EQ(StoreRead("int_SendAur") * 10 + StoreRead("int_IsSilent"), 10u);
  StoreText("String_CommandLine", L"setup.exe /path=" + std::wstring(260, L'p'));
  EXPECT_EXIT(Run(Add(L"<VltCommandLineParser index='1'/>")), ::testing::ExitedWithCode(static_cast<int>(0xC0000409)),
              "");
}

TEST_F(FrontendTest, ProgressIsPublishedInsideTheStoreLockAndReadInOrder) {
  HANDLE event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  VariableStore::Instance().Put("HANDLE_InstallProgressEv", reinterpret_cast<StoreValue>(event));
  texts_->texts[L"IDS_DiskFull"] = L"The disk is full.";
  // While the test holds the lock, a publication waits with its variables and its event alike.
  EnterCriticalSection(&storeLock_);
  HANDLE writer = StartExecute(Add(L"<VltUpdateProgress index='1' progress='10'/>"));
  Sleep(100);
  EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_TIMEOUT);
  EXPECT_EQ(StoreRead("int_InstallProgressPercent"), 0u);
  LeaveCriticalSection(&storeLock_);
  ASSERT_EQ(WaitForSingleObject(writer, 5000), WAIT_OBJECT_0);
  // A reader on another thread takes each publication under the lock.
  Lines seen;
  auto read = [&] {
    EXPECT_EQ(WaitForSingleObject(event, 5000), WAIT_OBJECT_0);
    EnterCriticalSection(&storeLock_);
    seen.push_back(std::to_wstring(static_cast<int32_t>(StoreRead("int_InstallProgressPercent"))) + L"|" +
                   std::to_wstring(StoreRead("int_InstallFailed")) + L"|" + TextOf("String_InstallFailReason"));
    LeaveCriticalSection(&storeLock_);
  };
  read();
  for (const wchar_t* element : {L"<VltUpdateProgress index='2' progress='0x32'/>",
                                 L"<VltSetError index='3' resText='IDS_DiskFull'/>", L"<VltSetError index='4'/>",
                                 L"<VltSetError index='5' reason='literal' resText='IDS_Ignored'/>"}) {
    std::thread reader(read);
    ASSERT_EQ(Run(Add(element)), 0);
    reader.join();
  }
  // Without a reason of its own the earlier one stays; a literal one wins over a text id.
  EXPECT_EQ(seen, (Lines{L"10|0|<absent>", L"50|0|<absent>", L"-1|1|The disk is full.", L"-1|1|The disk is full.",
                         L"-1|1|literal"}));
  EXPECT_EQ(log_->Work(), (Lines{L"1: UpdateProgress:10\n", L"2: UpdateProgress:50\n",
                                 L"3: SetError: The disk is full.\n", L"4: SetError: (null)\n",
                                 L"5: SetError: literal\n"}));
}

// The child's side of the next test: a second instance started by a copy of the
// same program, which also reads its parent's command line as the parser does.
TEST_F(FrontendTest, ChildInstanceRunsTheGuard) {
  std::wstring name = Environment(L"GUARD_CHILD_EVENT");
  if (name.empty()) GTEST_SKIP() << "only run as the child of SecondInstanceStartedByTheFirst";
  ASSERT_EQ(Run(Add(L"<VltCommandLineParser index='2'/>")), 0);
  EXPECT_EQ(TextOf("String_ParrentCommandLine"), Environment(L"GUARD_PARENT_LINE"));
  StoreText("String_GuardName", name);
  std::wstring ignore = Environment(L"GUARD_CHILD_IGNORE");
  EXPECT_EQ(Run(Add(L"<ForceSingleInstance index='1' eventName='[GuardName]' ignoreInstallerParent='" + ignore +
                    L"'/>")), ignore == L"1" ? 0 : 1359);
}

TEST_F(FrontendTest, SecondInstanceStartedByTheFirstPassesOnlyWhenAllowed) {
  std::wstring name = L"GuardParent" + std::to_wstring(GetCurrentProcessId());
  StoreText("String_GuardName", name);
  ASSERT_EQ(Run(Add(L"<ForceSingleInstance index='1' eventName='[GuardName]'/>")), 0) << "the first instance";
  SetEnvironmentVariableW(L"GUARD_CHILD_EVENT", name.c_str());
  SetEnvironmentVariableW(L"GUARD_PARENT_LINE", GetCommandLineW());
  std::wstring child = L"\"" + ProgramFolder() + L"Installer.exe\" --gtest_filter=FrontendTest.ChildInstanceRunsTheGuard";
  SetEnvironmentVariableW(L"GUARD_CHILD_IGNORE", L"1");
  EXPECT_EQ(RunProcess(child).exitCode, 0u) << "same image: passes";
  SetEnvironmentVariableW(L"GUARD_CHILD_IGNORE", L"0");
  EXPECT_EQ(RunProcess(child).exitCode, 0u) << "the child expects its refusal";
  SetEnvironmentVariableW(L"GUARD_CHILD_EVENT", nullptr);
}
