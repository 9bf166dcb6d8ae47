// Faults caught: a burst of refresh signals queueing more than one refresh, a
// signal for a window not in use kept or posted, a refresher that hangs on
// missing events instead of ending; page resources asked of the resource
// manager under the wrong name or type; drag-window moving a window that is
// not the front end's; page texts not filled; a window centred off its work area.
#include "engine/StoreNames.h"
#include "frontend/HtmlayoutHost.h"
#include "tests/support/KeyedTexts.h"
#include "tests/support/PluginFixture.h"

namespace {

LRESULT CALLBACK PageProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  BOOL handled = FALSE;
  LRESULT result = Htmlayout()->HTMLayoutProcND(hwnd, msg, wParam, lParam, &handled);
  return handled ? result : DefWindowProcW(hwnd, msg, wParam, lParam);
}

// A shown page window of the front end's class (windowId) or of another one.
HWND PageWindow(int32_t windowId, bool ours, KeyedTexts* resources, const std::string& html) {
  static ATOM other = [] {
    WNDCLASSW wc{};
    wc.lpfnWndProc = PageProc;
    wc.hInstance = GetModuleHandleW(nullptr);
    wc.lpszClassName = L"SomeoneElsesWindow";
    return RegisterClassW(&wc);
  }();
  HWND hwnd;
  if (ours) {
    RegisterWindowClass(windowId, PageProc, resources);
    hwnd = CreateDialogWindow(windowId, resources);
  } else {
    hwnd = CreateWindowExW(0, MAKEINTATOM(other), L"", WS_POPUP, 0, 0, 10, 10, nullptr, nullptr, nullptr, nullptr);
  }
  EXPECT_NE(hwnd, nullptr);
  SetWindowPos(hwnd, nullptr, 0, 0, 300, 200, SWP_NOZORDER | SWP_SHOWWINDOW);
  Htmlayout()->HTMLayoutSetCallback(hwnd, HtmlayoutNotify, resources);
  Htmlayout()->HTMLayoutLoadHtmlEx(hwnd, reinterpret_cast<LPCBYTE>(html.data()), static_cast<UINT>(html.size()),
                                   L"file://C:\\setup\\lang\\");
  return hwnd;
}

HELEMENT Root(HWND hwnd) {
  HELEMENT root = nullptr;
  Htmlayout()->HTMLayoutGetRootElement(hwnd, &root);
  return root;
}

class HtmlayoutHostTest : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    ASSERT_NE(Htmlayout(), nullptr) << "htmlayout.dll beside the test";
  }
  KeyedTexts resources_;
};

TEST_F(HtmlayoutHostTest, PageResourcesComeFromTheResourceManager) {
  resources_.files[L"logo.png"] = "not really a picture";
  const struct {
    const wchar_t* uri;
    LRESULT answer;
    const wchar_t* asked;  // what GetFileResource was asked for, or empty
  } cases[] = {
      {L"file://C:\\setup\\lang/_logo.png", LOAD_OK, L"logo|png"},
      {L"file://C:\\setup\\lang/_missing.png", LOAD_DISCARD, L"missing|png"},
      {L"file://C:\\setup\\lang/my_logo.png", LOAD_OK, L""},
      {L"file://C:\\setup\\lang/_noextension", LOAD_OK, L""},
      {L"res:welcome", LOAD_OK, L"welcome|#23"},
      {L"res:eula.HtMl", LOAD_OK, L"eula|#23"},
      {L"res:pic.png", LOAD_OK, L"pic|png"},
      {L"", LOAD_DISCARD, L""},
      {nullptr, LOAD_DISCARD, L""},
  };
  for (const auto& c : cases) {
    resources_.asked.clear();
    NMHL_LOAD_DATA request{};
    request.hdr.code = HLN_LOAD_DATA;
    request.uri = c.uri;
    EXPECT_EQ(HtmlayoutNotify(WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&request), &resources_), c.answer)
        << Narrow(c.uri ? c.uri : L"(null)");
    EXPECT_EQ(resources_.asked.empty() ? L"" : resources_.asked.front(), std::wstring(c.asked));
  }
  // And from a page: the library joins the page's own file with a slash, so
  // "_logo.png" reaches the manager whatever folder the page is in.
  resources_.asked.clear();
  HWND hwnd = PageWindow(31, true, &resources_, "<img src='_logo.png'>");
  EXPECT_EQ(resources_.asked, std::vector<std::wstring>{L"logo|png"});
  DestroyWindow(hwnd);
}

TEST_F(HtmlayoutHostTest, PageTextsAreFilledByIds) {
  StoreText(storename::kProductName, L"Example");
  resources_.texts[L"Hello"] = L"Welcome to [ProductName]";
  HWND hwnd = PageWindow(32, true, &resources_, "<p id=a IDS=Hello>x</p><p id=b IDS=Unknown>kept?</p><p id=c>y</p>");
  FillPageTexts(Root(hwnd), &resources_);
  std::string html;
  auto inner = [&](const char* id) {
    HELEMENT element = FindElementById(Root(hwnd), id);
    EXPECT_EQ(SelectFirstElement(Root(hwnd), "#%s", id), element);
    Htmlayout()->HTMLayoutGetElementHtmlCB(
        element, FALSE,
        [](LPCBYTE utf8, UINT length, LPVOID param) {
          static_cast<std::string*>(param)->assign(reinterpret_cast<const char*>(utf8), length);
        },
        &html);
    return html;
  };
  EXPECT_EQ(inner("a"), "Welcome to Example");
  EXPECT_EQ(inner("b"), "") << "an unknown id gives an empty text";
  EXPECT_EQ(inner("c"), "y");
  EXPECT_EQ(NextSibling(FindElementById(Root(hwnd), "a")), FindElementById(Root(hwnd), "b"));
  EXPECT_EQ(NextSibling(FindElementById(Root(hwnd), "c")), nullptr);
  EXPECT_EQ(RootOf(FindElementById(Root(hwnd), "c")), Root(hwnd));
  DestroyWindow(hwnd);
}

// drag-window posts the caption press to the front end's windows only; the
// posted message is taken off the queue, never run (under Xvfb the move would
// enter a modal loop).
TEST_F(HtmlayoutHostTest, DragWindowMovesOnlyOurWindows) {
  const std::string page =
      "<style>html,body{margin:0} #cap{height:40px;behavior:drag-window} button{width:20px;height:20px}</style>"
      "<div id=cap>x <button>c</button></div>";
  // A press on the caption moves our window; one on a button inside the caption is the button's.
  for (auto [ours, x] : {std::pair{true, 5}, {false, 5}, {true, 30}}) {
    HWND hwnd = PageWindow(33, ours, &resources_, page);
    RECT button{};
    Htmlayout()->HTMLayoutGetElementLocation(SelectFirstElement(Root(hwnd), "button"), &button, VIEW_RELATIVE | BORDER_BOX);
    LPARAM at = x == 5 ? MAKELPARAM(5, 5) : MAKELPARAM(button.left + 5, button.top + 5);
    SendMessageW(hwnd, WM_LBUTTONDOWN, MK_LBUTTON, at);
    SendMessageW(hwnd, WM_LBUTTONUP, 0, at);
    MSG msg{};
    bool posted = PeekMessageW(&msg, hwnd, WM_NCLBUTTONDOWN, WM_NCLBUTTONDOWN, PM_REMOVE) != FALSE;
    EXPECT_EQ(posted, ours && x == 5);
    if (posted) {
      EXPECT_EQ(msg.wParam, static_cast<WPARAM>(HTCAPTION));
    }
    DestroyWindow(hwnd);
  }
}

TEST(CenterWindowTest, StaysInsideTheWorkArea) {
  const RECT work{0, 0, 1280, 770};
  const struct {
    LONG width, height;
    LONG x, y;
  } cases[] = {{600, 400, 340, 185}, {601, 401, 340, 185}, {1400, 900, 0, 0}, {1280, 100, 0, 335}};
  for (const auto& c : cases) {
    POINT at = CenteredOrigin(work, c.width, c.height);
    EXPECT_EQ(at.x, c.x) << c.width;
    EXPECT_EQ(at.y, c.y) << c.height;
  }
  POINT shifted = CenteredOrigin(RECT{1280, 0, 2560, 1024}, 200, 100);
  EXPECT_EQ(shifted.x, 1820);
}

// The refresher is made once per process: each case runs in a process of its
// own, which prints what was posted and logged and exits 0 when that is as
// expected.
struct RefresherCase {
  const char* what;
  bool events, inUse;
  int signals;
  bool hard;
  std::string expected;
};

std::string Times(int count, const std::string& line) {
  std::string all;
  for (int i = 0; i < count; ++i) all += line;
  return all;
}

[[noreturn]] void RunRefresher(const RefresherCase& c, CaptureLogger* log) {
  HANDLE refresh = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  HANDLE hard = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  if (c.events) {
    StoreInt(storename::kRefreshEvent, reinterpret_cast<intptr_t>(refresh));
    StoreInt(storename::kHardRefreshEvent, reinterpret_cast<intptr_t>(hard));
  }
  HWND sink = CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
  HtmlayoutWindowInfo* info = BuildWindowInfo(41);
  info->hwnd = sink;
  info->inUse = c.inUse;
  Sleep(200);  // the refresher reads the events at its start
  for (int i = 0; i < c.signals; ++i) {
    SetEvent(refresh);  // this thread is busy: nothing takes the messages meanwhile
    Sleep(20);
  }
  if (c.hard) SetEvent(hard);
  Sleep(300);
  int refreshes = 0, reloads = 0;
  MSG msg;
  while (PeekMessageW(&msg, sink, WM_HTMLAYOUT_REFRESH, WM_HTMLAYOUT_HARD_REFRESH, PM_REMOVE)) {
    (msg.message == WM_HTMLAYOUT_REFRESH ? refreshes : reloads)++;
  }
  std::string report = "refresh " + std::to_string(refreshes) + " reload " + std::to_string(reloads) + "\n";
  for (const std::wstring& line : log->Since()) report += Narrow(line);
  fprintf(stderr, "%s", report.c_str());
  fflush(stderr);
  _exit(report == c.expected ? 0 : 1);
}

class RefresherTest : public PluginTest {};

TEST_F(RefresherTest, TurnsSignalsIntoOneQueuedMessage) {
  const std::string notInUse = "@@@@@@HtmlayoutRefresher: Window not in use.\n";
  const std::string posted = "@@@@@@HtmlayoutRefresher: Window already has refresh posted.\n";
  const std::string hard = "HtmlayoutRefresher: Received HardRefresh\n";
  const RefresherCase cases[] = {
      {"a burst", true, true, 10, false,
       "refresh 1 reload 0\n@@@@@@HtmlayoutRefresher: Posting refresh, counter is 1.\n" + Times(9, posted)},
      {"not in use", true, false, 3, true, "refresh 0 reload 0\n" + Times(3, notInUse) + hard},
      {"a reload", true, true, 0, true, "refresh 0 reload 1\n" + hard},
      {"no events", false, true, 2, false,
       "refresh 0 reload 0\nHtmlayoutRefresher: Wait Failed: received -1; lastError 6.\n"},
  };
  for (const RefresherCase& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EXIT(RunRefresher(c, log_), ::testing::ExitedWithCode(0), "");
  }
}

}  // namespace
