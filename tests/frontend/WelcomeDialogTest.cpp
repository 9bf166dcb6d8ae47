// The installer's dialog, driven as a user drives it: the real library shows the
// demo's page in a real window under Xvfb, clicks are window messages at the
// centres of elements, and the work is played by publishing progress.
//
// Faults caught: a step that does not follow its click or its progress; a
// failure view with the wrong text; a close that marks a cancel where it must
// not (or does not where it must); a dialog that never returns; a window left
// in use, or not found again for the same windowId; a page that is missing yet
// shows; the usage checkbox not reaching int_SendAur; a language pick that
// does not reload the page, or that unlocks the page after a failure.
#include <functional>

#include "engine/StoreNames.h"
#include "frontend/HtmlayoutHost.h"
#include "tests/support/LanguageFixture.h"
#include "tests/support/RecordingMessageBox.h"

namespace {

const std::string kLanguages = R"x(<en-US name="English" package="lang-en-US.exe" downloadRequired="(download)"/>)x";
const std::string kGerman = R"x(<de-DE name="Deutsch" package="lang-de-DE.exe" downloadRequired="(laden)"/>)x";


class DialogTest : public LanguageTest {
 public:
  void SetUp() override {
    LanguageTest::SetUp();
    ASSERT_NE(Htmlayout(), nullptr) << "htmlayout.dll beside the test";
    app_ = lang_.substr(0, lang_.size() - 5);
    std::wstring demo = ProgramFolder() + L"..\\..\\demo\\lang\\";
    for (const wchar_t* file : {L"welcome.html", L"welcome.css", L"logo.png", L"installer.xlf"}) {
      ASSERT_TRUE(CopyFileW((demo + file).c_str(), (lang_ + file).c_str(), FALSE)) << Narrow(file);
    }
    StoreText(storename::kApplicationPath, app_);
    StoreText(storename::kInstallPath, L"C:\\Demo Product\\");
    StoreText(storename::kProductName, L"Demo Product");
    progress_ = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    StoreInt(storename::kInstallProgressEvent, reinterpret_cast<intptr_t>(progress_));
    start_ = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    StoreInt(storename::kStartInstallEvent, reinterpret_cast<intptr_t>(start_));
    RunElement(L"<LocalizationManager index='900' next='0' localeFolder='" + lang_ + L"'/>");
  }

  // The language manager over languages; online ones come from the web server.
  void UseLanguages(const std::string& shipped, const std::string& online = "") {
    WriteAll(lang_ + L"languages.xml", LanguageFile(shipped));
    CopyPackage(L"en-US", lang_);
    std::wstring element = L"<MultiLanguage index='901' next='0' langDir='" + lang_ + L"' configFile='languages.xml'";
    if (!online.empty()) {
      WriteAll(server_ + L"languages.xml.online", LanguageFile(online));
      element += L" onlineConfigLocation='" + serverUrl_ + L"'";
    }
    RunElement(element + L"/>");
  }

  // The dialogs of a test run one after another on one thread, as on a chain
  // of the script: a window lives as long as the thread that made it.
  static DWORD WINAPI Chain(LPVOID parameter) {
    auto* self = static_cast<DialogTest*>(parameter);
    while (WaitForSingleObject(self->wake_, INFINITE) == WAIT_OBJECT_0 && self->next_ != nullptr) {
      self->status_ = self->next_->Execute(self->cancel_, &self->storeLock_);
      SetEvent(self->done_);
    }
    return 0;
  }
  void TearDown() override {
    if (chain_ != nullptr) {
      next_ = nullptr;
      SetEvent(wake_);
      EXPECT_EQ(WaitForSingleObject(chain_, 10000), WAIT_OBJECT_0) << "a dialog still open";
      for (HANDLE handle : {chain_, wake_, done_}) CloseHandle(handle);
    }
    LanguageTest::TearDown();
  }

  // Starts a dialog command and waits until its window shows its page.
  void Open(int windowId) {
    if (chain_ == nullptr) {
      wake_ = CreateEventW(nullptr, FALSE, FALSE, nullptr);
      done_ = CreateEventW(nullptr, FALSE, FALSE, nullptr);
      chain_ = CreateThread(nullptr, 0, Chain, this, 0, nullptr);
    }
    status_ = -1;
    next_ = Add(L"<VltWelcomeInterface windowId='" + std::to_wstring(windowId) + L"'/>");
    SetEvent(wake_);
    std::wstring name = Widen(WindowInfoName(windowId));
    ASSERT_TRUE(WaitFor([&] {
      hwnd_ = FindWindowW(name.c_str(), nullptr);
      return hwnd_ != nullptr && IsWindowVisible(hwnd_) && !Step().empty();
    })) << "no dialog";
  }
  // Waits for the dialog command to end; its status.
  int32_t Closed() {
    EXPECT_EQ(WaitForSingleObject(done_, 10000), WAIT_OBJECT_0) << "the dialog did not end";
    return status_;
  }

  static bool WaitFor(const std::function<bool()>& done, DWORD timeoutMs = 8000, DWORD step = 20) {
    for (DWORD waited = 0; waited < timeoutMs; waited += step) {
      if (done()) return true;
      Sleep(step);
    }
    return done();
  }
  std::wstring Display(const char* id) {
    // Not among the functions the plug-in binds: the test takes it itself.
    static auto get = reinterpret_cast<decltype(&HTMLayoutGetStyleAttribute)>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleW(L"htmlayout.dll"), "HTMLayoutGetStyleAttribute")));
    LPCWSTR value = nullptr;
    if (HELEMENT element = Find(id)) get(element, "display", &value);
    return value != nullptr ? value : L"";
  }
  // Runs scenario in a process of its own (the dialog's first refresh decides
  // the maintenance step once per process, and the refresher is made once);
  // the process exits 0 when every expectation held.
  [[noreturn]] static void Alone(const std::function<void()>& scenario) {
    scenario();
    fflush(stdout);
    // What failed, where the parent shows it: a death test passes on only the child's stderr.
    const ::testing::TestResult* result = ::testing::UnitTest::GetInstance()->current_test_info()->result();
    for (int i = 0; i < result->total_part_count(); ++i) {
      const ::testing::TestPartResult& part = result->GetTestPartResult(i);
      if (part.failed()) fprintf(stderr, "%s:%d: %s\n", part.file_name(), part.line_number(), part.message());
    }
    fflush(stderr);
    _exit(::testing::Test::HasFailure() ? 1 : 0);
  }

  HELEMENT Find(const char* id) {
    HELEMENT root = nullptr;
    Htmlayout()->HTMLayoutGetRootElement(hwnd_, &root);
    return FindElementById(root, id);
  }
  std::wstring Attribute(const char* id, const char* name) {
    LPCWSTR value = nullptr;
    if (HELEMENT element = Find(id)) Htmlayout()->HTMLayoutGetAttributeByName(element, name, &value);
    return value != nullptr ? value : L"<none>";
  }
  std::wstring Step() { return Attribute("install_window", "current_step"); }
  // The window's thread changes the page one element after another: wait for each.
  bool Shows(const char* id, const char* name, const std::wstring& value) {
    return WaitFor([&] { return Attribute(id, name) == value; });
  }
  bool Reads(const char* id, const std::string& text) {
    return WaitFor([&] { return Inner(id) == text; });
  }
  std::string Inner(const char* id) {
    std::string html;
    auto keep = [](LPCBYTE utf8, UINT length, LPVOID to) { static_cast<std::string*>(to)->assign((LPCSTR)utf8, length); };
    Htmlayout()->HTMLayoutGetElementHtmlCB(Find(id), FALSE, keep, &html);
    return html;
  }
  // A click as the user makes it, at the centre of the element.
  void Click(HELEMENT element) {
    ASSERT_NE(element, nullptr);
    // Where the window's thread has laid the element out: shown (a hidden one's
    // empty box lies on the drag-window header, which would move the window) and
    // in the same place twice, as a face that has just come up may still move.
    RECT box{}, before{};
    ASSERT_TRUE(WaitFor([&] {
      before = box;
      Htmlayout()->HTMLayoutGetElementLocation(element, &box, VIEW_RELATIVE | BORDER_BOX);
      return box.left < box.right && EqualRect(&box, &before);
    })) << "not shown";
    LPARAM at = MAKELPARAM((box.left + box.right) / 2, (box.top + box.bottom) / 2);
    PostMessageW(hwnd_, WM_MOUSEMOVE, 0, at);
    PostMessageW(hwnd_, WM_LBUTTONDOWN, MK_LBUTTON, at);
    PostMessageW(hwnd_, WM_LBUTTONUP, 0, at);
  }
  void Click(const char* id) { Click(Find(id)); }
  void ClickAndWait(const char* id, const wchar_t* step) {
    Click(id);
    EXPECT_TRUE(WaitFor([&] { return Step() == step; })) << id << " gave step " << Narrow(Step());
  }
  void Publish(int percent) {
    StoreInt(storename::kInstallProgressPercent, percent);
    SetEvent(progress_);
  }

  std::wstring app_;
  HANDLE progress_ = nullptr, start_ = nullptr;
  HANDLE chain_ = nullptr, wake_ = nullptr, done_ = nullptr;
  CInstallCommand* volatile next_ = nullptr;
  HWND hwnd_ = nullptr;
  volatile int32_t status_ = -1;
};

TEST_F(DialogTest, InstallGoesFromWelcomeThroughProgressToItsEnd) {
  UseLanguages(kLanguages);
  struct Ending {
    const char* what;
    const wchar_t* reason;  // null: success
    std::string failText;   // bubble_fail afterwards
  } endings[] = {
      {"success", nullptr, ""},
      {"failure", L"Could not extract files", "Setup could not install Demo Product: Could not extract files"},
      {"failure without a reason", L"", "Setup could not install Demo Product. Please try again later."},
  };
  int windowId = 10;
  for (const Ending& ending : endings) {
    SCOPED_TRACE(ending.what);
    Open(windowId++);
    EXPECT_TRUE(Reads("InstallPathpopup", "C:\\Demo Product\\")) << "refreshed";
    EXPECT_EQ(Inner("title"), "Demo Product Setup");
    // One language: the select and its list are disabled.
    EXPECT_EQ(Attribute("nvui_select", "disabled"), L"");
    EXPECT_NE(SelectFirstElement(Find("install_window"), "#nvui_select > popup[disabled]"), nullptr);
    ClickAndWait("AgreeInstall", L"2");
    EXPECT_EQ(WaitForSingleObject(start_, 0), WAIT_OBJECT_0) << "the work may start";
    EXPECT_EQ(Attribute("AgreeInstall", "style"), L"display:none;");
    Publish(40);
    EXPECT_TRUE(Shows("downloadProgressBar", "value", L"40"));
    Publish(101);  // only moves the bar
    EXPECT_TRUE(Shows("downloadProgressBar", "value", L"101"));
    EXPECT_EQ(Step(), L"2");
    if (ending.reason != nullptr) StoreText(storename::kInstallFailReason, ending.reason);
    Publish(ending.reason == nullptr ? 100 : -1);
    EXPECT_TRUE(WaitFor([&] { return Step() == L"3"; }));
    EXPECT_TRUE(Shows("FinishInstall", "style", L"display:block;"));
    if (ending.reason != nullptr) {
      EXPECT_TRUE(Shows("bubble_fail", "style", L"width:400px; display:block;"));
      EXPECT_TRUE(Reads("bubble_fail", ending.failText)) << Inner("bubble_fail");
    }
    Click("FinishInstall");
    EXPECT_EQ(Closed(), 0);
    EXPECT_FALSE(IsWindowVisible(hwnd_)) << "the window stays, hidden";
    EXPECT_EQ(StoreRead(storename::kSetupCancelled), 0u);
    ResetEvent(start_);
  }
  EXPECT_TRUE(log_->Contains(L"int_InstallProgressPercent = 101\n"));
}

TEST_F(DialogTest, ClosingMarksACancelOnlyBeforeTheEnd) {
  UseLanguages(kLanguages);
  const struct {
    const char* how;
    std::function<void(DialogTest*)> reach;  // from the welcome step
    UINT close;                              // 0: btnSysClose
    uint64_t cancelled;
    bool hidden;
  } cases[] = {
      {"close in welcome", [](DialogTest*) {}, 0, 1, true},
      {"close while installing", [](DialogTest* t) { t->ClickAndWait("AgreeInstall", L"2"); }, 0, 1, true},
      {"close when ended",
       [](DialogTest* t) {
         t->ClickAndWait("AgreeInstall", L"2");
         t->Publish(100);
         EXPECT_TRUE(WaitFor([t] { return t->Step() == L"3"; }));
       },
       0, 0, true},
      // The window's own close ends the loop, but neither hides nor cancels.
      {"WM_CLOSE", [](DialogTest*) {}, WM_CLOSE, 0, false},
  };
  int windowId = 20;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.how);
    StoreInt(storename::kSetupCancelled, 0);
    Open(windowId++);
    c.reach(this);
    c.close == 0 ? Click("btnSysClose") : (void)PostMessageW(hwnd_, c.close, 0, 0);
    EXPECT_EQ(Closed(), 0);
    EXPECT_EQ(StoreRead(storename::kSetupCancelled), c.cancelled);
    EXPECT_EQ(IsWindowVisible(hwnd_) == FALSE, c.hidden);
  }
}

TEST_F(DialogTest, UsageCheckboxAWindowInUseAndAMissingPage) {
  UseLanguages(kLanguages);
  StoreInt(storename::kSendAur, 1);  // as /aur sets it
  Open(30);
  for (uint64_t expected : {0u, 1u}) {  // the page ships it checked
    Click("vlt_sendAur");
    EXPECT_TRUE(WaitFor([&] { return StoreRead(storename::kSendAur) == expected; }));
    EXPECT_TRUE(Shows("vlt_sendAur", "checked", expected ? L"true" : L"<none>"));
  }
  // A second command on the window in use is refused, and the first goes on.
  size_t mark = log_->Mark();
  EXPECT_EQ(Run(Add(L"<VltWelcomeInterface index='31' windowId='30'/>")), 1359);
  EXPECT_EQ(log_->Work(mark), (Lines{L"31: VltWelcomeInterface Found window info for windowId=30.\n",
                                     L"31: VltWelcomeInterface Error: windowId=30 already in use.\n"}));
  EXPECT_TRUE(IsWindowVisible(hwnd_));
  Click("btnSysClose");
  EXPECT_EQ(Closed(), 0);
  // On another thread the hidden window would never get its messages: that command makes its own.
  HWND chains = hwnd_;
  volatile int32_t status = -1;
  HANDLE other = StartExecute(Add(L"<VltWelcomeInterface index='33' windowId='30'/>"), &status);
  auto* info = reinterpret_cast<HtmlayoutWindowInfo*>(StoreRead(WindowInfoName(30).c_str()));
  EXPECT_TRUE(WaitFor([&] { return info->hwnd != chains && IsWindowVisible(info->hwnd) && !Step().empty(); }));
  hwnd_ = info->hwnd;
  Click("btnSysClose");
  EXPECT_EQ(WaitForSingleObject(other, 10000), WAIT_OBJECT_0);
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(log_->Contains(L"33: VltWelcomeInterface Creating windowId=30.\n"));

  DeleteFileW((lang_ + L"welcome.html").c_str());
  mark = log_->Mark();
  EXPECT_EQ(Run(Add(L"<VltWelcomeInterface index='32' windowId='32'/>")), 1359);
  EXPECT_TRUE(log_->Contains(L"32: VltWelcomeInterface Could not load html resource 'WELCOME'.\n"));
  EXPECT_FALSE(IsWindowVisible(FindWindowW(Widen(WindowInfoName(32)).c_str(), nullptr)));
  EXPECT_EQ(StoreRead(storename::kSetupCancelled), 1u) << "the script learns that no choice will come";
}

TEST_F(DialogTest, MaintenanceUninstallThenTheSameWindowAgain) {
  auto scenario = [this] {
    UseLanguages(kLanguages);
    StoreInt(storename::kIsVeltoInstalled, 1);
    Open(40);
    EXPECT_TRUE(WaitFor([&] { return Step() == L"4"; }));
    EXPECT_TRUE(Shows("AgreeInstall", "style", L"display:none;"));
    ClickAndWait("UninstallButton", L"5");
    EXPECT_EQ(StoreRead(storename::kUserActionUninstall), 1u);
    EXPECT_EQ(StoreRead(storename::kUserActionInstall) + StoreRead(storename::kUserActionRepair), 0u);
    Publish(50);
    EXPECT_TRUE(Shows("UninstallProgressBar", "value", L"50"));
    Publish(100);
    EXPECT_TRUE(WaitFor([&] { return Step() == L"7"; }));
    Click("FinishInstall");
    EXPECT_EQ(Closed(), 0);
    // The same windowId: the hidden window again, from the welcome step, as
    // the first refresh of the process has been.
    HWND first = hwnd_;
    size_t mark = log_->Mark();
    Open(40);
    EXPECT_EQ(hwnd_, first);
    Lines reused = log_->Work(mark);
    EXPECT_TRUE(reused.size() > 1 && reused[1].find(L" VltWelcomeInterface windowId=40 Created.\n") != std::wstring::npos);
    Sleep(300);
    EXPECT_EQ(Step(), L"1");
    Click("btnSysClose");
    EXPECT_EQ(Closed(), 0);
  };
  EXPECT_EXIT(Alone(scenario), ::testing::ExitedWithCode(0), "");
}

TEST_F(DialogTest, RepairFailureShowsItsTitleAndReason) {
  auto scenario = [this] {
    UseLanguages(kLanguages);
    StoreInt(storename::kIsVeltoInstalled, 1);
    Open(41);
    EXPECT_TRUE(WaitFor([&] { return Step() == L"4"; }));
    ClickAndWait("RepairButton", L"6");
    EXPECT_EQ(StoreRead(storename::kUserActionRepair), 1u);
    StoreText(storename::kInstallFailReason, L"");
    Publish(-1);
    EXPECT_TRUE(WaitFor([&] { return Step() == L"8"; }));
    EXPECT_TRUE(Reads("repair_status_title", "Demo Product could not be repaired"));
    EXPECT_TRUE(Reads("repair_status_fail", "Demo Product could not be repaired ")) << "an empty reason keeps its blank";
    EXPECT_TRUE(Shows("repair_status_fail", "style", L"width:400px; visibility:visible;"));
    Click("FinishInstall");
    EXPECT_EQ(Closed(), 0);
  };
  EXPECT_EXIT(Alone(scenario), ::testing::ExitedWithCode(0), "");
}

TEST_F(DialogTest, RefreshesAndReloadsThroughTheScriptsEvents) {
  auto scenario = [this] {
    UseLanguages(kLanguages);
    HANDLE refresh = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    HANDLE hard = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    StoreInt(storename::kRefreshEvent, reinterpret_cast<intptr_t>(refresh));
    StoreInt(storename::kHardRefreshEvent, reinterpret_cast<intptr_t>(hard));
    Open(42);
    // A soft refresh reads the install path again.
    StoreText(storename::kInstallPath, L"D:\\Elsewhere\\");
    SetEvent(refresh);
    EXPECT_TRUE(Reads("InstallPathpopup", "D:\\Elsewhere\\"));
    EXPECT_TRUE(log_->Contains(L"@@@@@@HtmlayoutRefresher: Posting refresh, counter is 1.\n"));
    // A reload: the page comes back, and the window 20 pixels smaller each way.
    RECT before{}, after{};
    GetWindowRect(hwnd_, &before);
    SetEvent(hard);
    EXPECT_TRUE(WaitFor([&] {
      GetWindowRect(hwnd_, &after);
      return after.right - after.left == before.right - before.left - 20;
    }));
    EXPECT_EQ(after.bottom - after.top, before.bottom - before.top - 20);
    EXPECT_TRUE(log_->Contains(L"HtmlayoutRefresher: Received HardRefresh\n"));
    Click("btnSysClose");
    EXPECT_EQ(Closed(), 0);
    // Not in use now: a signal is dropped.
    SetEvent(refresh);
    EXPECT_TRUE(log_->WaitFor(L"@@@@@@HtmlayoutRefresher: Window not in use.\n"));
  };
  EXPECT_EXIT(Alone(scenario), ::testing::ExitedWithCode(0), "");
}

TEST_F(DialogTest, LanguagePicks) {
  auto* box = new RecordingMessageBox();
  StoreInt(storename::kMessageBox, reinterpret_cast<intptr_t>(box));
  ASSERT_FALSE(serverUrl_.empty()) << "the web server";
  const struct {
    const char* what;
    bool online;     // known only from the server
    bool reachable;  // its package is on the server
  } cases[] = {
      {"installed", false, false},
      {"downloaded", true, true},
      {"download fails", true, false},
  };
  std::wstring english = ProgramFolder() + L"..\\..\\demo\\lang\\installer.xlf";
  int windowId = 50;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    // Each case starts in English, with a manager of its own.
    CopyFileW(english.c_str(), (lang_ + L"installer.xlf").c_str(), FALSE);
    DeleteFileW((lang_ + L"lang-de-DE.exe").c_str());
    DeleteFileW((server_ + L"lang-de-DE.exe").c_str());
    if (!c.online) CopyPackage(L"de-DE", lang_);
    if (c.reachable) CopyPackage(L"de-DE", server_);
    SelfFreeRelease(reinterpret_cast<CSelfFree*>(StoreRead(storename::kMultiLanguageApi)));
    StoreInt(storename::kMultiLanguageApi, 0);
    StoreText(storename::kDefaultLanguage, L"en-US");
    UseLanguages(kLanguages + (c.online ? "" : kGerman), c.online ? kLanguages + kGerman : "");
    Open(windowId++);
    EXPECT_EQ(Inner("title"), "Demo Product Setup");
    Click("nvui_select");
    HELEMENT root = nullptr;
    Htmlayout()->HTMLayoutGetRootElement(hwnd_, &root);
    HELEMENT german = SelectFirstElement(root, "option[languageCode=de-DE]");
    ASSERT_NE(german, nullptr);
    Click(german);  // once the list has opened
    // The cover shows only while a language has to come from the server.
    bool covered = WaitFor([&] { return Display("overlay") == L"block"; }, 3000, 2);
    EXPECT_EQ(covered, c.online);
    if (c.reachable || !c.online) {
      EXPECT_TRUE(WaitFor([&] { return Inner("title") == "Installation von Demo Product"; }, 20000)) << Inner("title");
      EXPECT_EQ(Attribute("AgreeInstall", "disabled"), L"<none>");
      EXPECT_EQ(Attribute("nvui_select", "disabled"), L"<none>");
    } else {
      EXPECT_TRUE(WaitFor([&] { return !box->shown.empty(); }, 20000));
      EXPECT_EQ(box->shown, (Lines{L"The language could not be downloaded. Setup goes on in the current language."
                                   L"|Language not changed|0|1"}));
      EXPECT_EQ(Attribute("nvui_select", "disabled"), L"") << "stays disabled";
      EXPECT_EQ(Attribute("AgreeInstall", "disabled"), L"");
      EXPECT_NE(Display("overlay"), L"block");
    }
    Click("btnSysClose");
    EXPECT_EQ(Closed(), 0);
  }
}

}  // namespace
