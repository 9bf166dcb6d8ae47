// Styles and layout through the C interface, on real windows: boxes, intrinsic
// sizes, relayout after changes, selector searches, and the messages the
// library answers.
#include <fstream>
#include <sstream>

#include "standins/htmlayout/tests/ViewWindow.h"
#include "tests/support/Kit.h"

namespace {

const char kBoxes[] =
    "<style>html,body{margin:0;padding:0} "
    "#a{width:100px;height:20px;margin:5px;padding:3px;border:2px solid black} #b{height:30px} "
    "#a.tall{height:50px} #c{width:60px} #i1,#i2{display:inline-block} #i2{padding:10px;border:1px solid red}"
    "</style><div id=a></div><div id=b></div><div id=c>x</div>"
    "<span id=i1>aaa bbbbbb</span><span id=i2>aaa bbbbbb</span>";

TEST(ViewTest, LocationsOfEachAreaAndRelation) {
  ViewWindow window(400, 300);
  window.Load(kBoxes);
  HELEMENT a = window.Find("#a");
  ASSERT_NE(a, nullptr);
  struct Case {
    UINT areas;
    const char* rect;
  } cases[] = {
      {VIEW_RELATIVE | BORDER_BOX, "5,5,115,35"},   {ROOT_RELATIVE | BORDER_BOX, "5,5,115,35"},
      {VIEW_RELATIVE | CONTENT_BOX, "10,10,110,30"}, {VIEW_RELATIVE | PADDING_BOX, "7,7,113,33"},
      {VIEW_RELATIVE | MARGIN_BOX, "0,0,120,40"},    {SELF_RELATIVE | BORDER_BOX, "-5,-5,105,25"},
      {CONTAINER_RELATIVE | BORDER_BOX, "5,5,115,35"},
      {BORDER_BOX, "5,5,115,35"},  // no relation: the client area, for InvalidateRect
  };
  for (const Case& c : cases) EXPECT_EQ(Where(a, c.areas), c.rect) << "areas " << c.areas;
  EXPECT_EQ(Where(window.Find("#b"), VIEW_RELATIVE | BORDER_BOX), "0,40,400,70");
}

TEST(ViewTest, ChangesLayOutAgain) {
  ViewWindow window(400, 300);
  window.Load(kBoxes);
  HELEMENT a = window.Find("#a"), b = window.Find("#b"), c = window.Find("#c");
  ASSERT_EQ(Where(b, VIEW_RELATIVE | BORDER_BOX), "0,40,400,70");
  EXPECT_EQ(Hl().HTMLayoutSetAttributeByName(a, "class", L"tall"), HLDOM_OK);
  EXPECT_EQ(Where(b, VIEW_RELATIVE | BORDER_BOX), "0,70,400,100");
  EXPECT_EQ(Hl().HTMLayoutSetStyleAttribute(a, "display", L"none"), HLDOM_OK);
  EXPECT_EQ(Where(b, VIEW_RELATIVE | BORDER_BOX), "0,0,400,30");
  EXPECT_EQ(Where(a, VIEW_RELATIVE | BORDER_BOX), "0,0,0,0");  // no box

  RECT before, after;
  Hl().HTMLayoutGetElementLocation(c, &before, VIEW_RELATIVE | BORDER_BOX);
  std::wstring text = L"many short words in a narrow box";
  EXPECT_EQ(Hl().HTMLayoutSetElementInnerText16(c, text.c_str(), static_cast<UINT>(text.size())), HLDOM_OK);
  Hl().HTMLayoutGetElementLocation(c, &after, VIEW_RELATIVE | BORDER_BOX);
  EXPECT_GE(after.bottom - after.top, 3 * (before.bottom - before.top)) << "the text wraps in 60px";

  // A new client width lays the page out again.
  SetWindowPos(window.hwnd(), nullptr, 0, 0, 250, 300, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
  EXPECT_EQ(Where(b, VIEW_RELATIVE | BORDER_BOX), "0,0,250,30");
}

TEST(ViewTest, IntrinsicSizes) {
  ViewWindow window(400, 300);
  window.Load(kBoxes);
  INT min1 = 0, max1 = 0, min2 = 0, max2 = 0;
  ASSERT_EQ(Hl().HTMLayoutGetElementIntrinsicWidths(window.Find("#i1"), &min1, &max1), HLDOM_OK);
  ASSERT_EQ(Hl().HTMLayoutGetElementIntrinsicWidths(window.Find("#i2"), &min2, &max2), HLDOM_OK);
  EXPECT_GT(min1, 0);
  EXPECT_LT(min1, max1);
  EXPECT_NEAR(min2, min1 + 22, 1);  // padding and border on both sides
  EXPECT_NEAR(max2, max1 + 22, 1);
  INT narrow = 0, wide = 0;
  ASSERT_EQ(Hl().HTMLayoutGetElementIntrinsicHeight(window.Find("#i1"), min1, &narrow), HLDOM_OK);
  ASSERT_EQ(Hl().HTMLayoutGetElementIntrinsicHeight(window.Find("#i1"), max1, &wide), HLDOM_OK);
  EXPECT_GT(narrow, wide) << "two lines at the narrowest width, one at the widest";
  INT fixed = 0;
  Hl().HTMLayoutGetElementIntrinsicHeight(window.Find("#a"), 10, &fixed);
  EXPECT_EQ(fixed, 30);

  window.Load("<style>html,body{margin:0;padding:0} body{margin:4px 6px}</style>"
              "<div style='width:100px;height:20px'></div><div style='width:80px;height:30px'></div>");
  EXPECT_EQ(Hl().HTMLayoutGetMinWidth(window.hwnd()), 112u);
  EXPECT_EQ(Hl().HTMLayoutGetMinHeight(window.hwnd(), 112), 58u);
}

int Count(HELEMENT root, const wchar_t* selector) {
  int count = 0;
  HLDOM_RESULT result = Hl().HTMLayoutSelectElementsW(
      root, selector,
      [](HELEMENT, LPVOID param) -> BOOL {
        ++*static_cast<int*>(param);
        return FALSE;
      },
      &count);
  return result == HLDOM_OK ? count : -1;
}

TEST(ViewTest, SelectorsOfTheSamplePage) {
  std::ifstream file(HL_SAMPLES_DIR "/dialog.html");
  std::stringstream html;
  html << file.rdbuf();
  ASSERT_FALSE(html.str().empty());
  ViewWindow window(500, 400);
  HELEMENT root = window.Load(html.str(), L"file://" HL_SAMPLES_DIR_W L"/");
  struct Case {
    const wchar_t* selector;
    int count;
  } cases[] = {
      {L"#dialog", 1},           {L"#header h1", 1},         {L"#content p", 2},
      {L"#content p.note", 1},   {L".progress .bar", 1},     {L".option", 2},
      {L".option[checked] .box", 1}, {L"#buttons .spacer", 1}, {L".button", 4},
      {L".button.default", 1},   {L".button[disabled]", 1},  {L"#buttons > .button:last-child", 1},
      {L"a.link, b", 2},         {L"div > div > div", 15},   {L"p:first-child", 1},
      {L"div::before", -1},      {L"#nothing", 0},
  };
  for (const Case& c : cases) EXPECT_EQ(Count(root, c.selector), c.count) << Narrow(c.selector);
  // The narrow entry reads UTF-8, and a callback's TRUE stops the search.
  int seen = 0;
  EXPECT_EQ(Hl().HTMLayoutSelectElements(
                root, ".button",
                [](HELEMENT, LPVOID param) -> BOOL { return ++*static_cast<int*>(param) == 2; }, &seen),
            HLDOM_OK);
  EXPECT_EQ(seen, 2);
}

TEST(ViewTest, MessagesTheLibraryLeavesToTheHost) {
  ViewWindow window(200, 100);
  window.Load("<p>x</p>");
  const UINT unhandled[] = {WM_TIMER, WM_USER + 1, WM_USER + 2, 2258, WM_CLOSE, WM_NCLBUTTONDOWN, WM_KEYDOWN};
  for (UINT msg : unhandled) {
    BOOL handled = TRUE;
    Hl().HTMLayoutProcND(window.hwnd(), msg, 0, 0, &handled);
    EXPECT_FALSE(handled) << "message " << msg;
  }
  BOOL handled = FALSE;
  EXPECT_EQ(Hl().HTMLayoutProcND(window.hwnd(), WM_ERASEBKGND, 0, 0, &handled), 1);
  EXPECT_TRUE(handled);
  InvalidateRect(window.hwnd(), nullptr, FALSE);
  Hl().HTMLayoutProcND(window.hwnd(), WM_PAINT, 0, 0, &handled);
  EXPECT_TRUE(handled);
  EXPECT_FALSE(GetUpdateRect(window.hwnd(), nullptr, FALSE)) << "WM_PAINT validates the window";

  // A window of the library's own class needs no host procedure.
  HWND own = CreateWindowExW(0, Hl().HTMLayoutClassNameW(), L"", WS_POPUP, 0, 0, 100, 40, nullptr, nullptr,
                             GetModuleHandleW(nullptr), nullptr);
  ASSERT_NE(own, nullptr);
  const char page[] = "<p style='margin:0;width:60px;height:20px'>x</p>";
  EXPECT_TRUE(Hl().HTMLayoutLoadHtmlEx(own, reinterpret_cast<LPCBYTE>(page), sizeof page - 1, nullptr));
  EXPECT_EQ(SendMessageW(own, WM_ERASEBKGND, 0, 0), 1) << "handled by the library";
  EXPECT_EQ(Hl().HTMLayoutGetMinWidth(own), 76u) << "60 and the body's margins";
  DestroyWindow(own);
}

}  // namespace

namespace {

// A second thread changes and measures elements while the window's thread
// paints: both go through the document's lock, neither waits for the other
// for long, and the last change is what the layout shows.
TEST(ViewTest, ChangesFromASecondThreadWhilePainting) {
  ViewWindow window(300, 200, 0, true);
  window.Load("<style>html,body{margin:0;padding:0} #a{height:10px;background:red} #b{height:10px}</style>"
              "<div id=a></div><div id=b></div>");
  struct Shared {
    HELEMENT a, b;
    volatile LONG done = 0;
  } shared{window.Find("#a"), window.Find("#b")};
  HANDLE thread = CreateThread(
      nullptr, 0,
      [](LPVOID param) -> DWORD {
        auto* s = static_cast<Shared*>(param);
        for (int i = 1; i <= 200; ++i) {
          std::wstring height = std::to_wstring(i % 50 + 1) + L"px";
          Hl().HTMLayoutSetStyleAttribute(s->a, "height", height.c_str());
          RECT r;
          Hl().HTMLayoutGetElementLocation(s->b, &r, VIEW_RELATIVE | BORDER_BOX);
        }
        InterlockedExchange(&s->done, 1);
        return 0;
      },
      &shared, 0, nullptr);
  DWORD start = GetTickCount();
  while (!shared.done && GetTickCount() - start < 20000) {
    Printed(window.hwnd());
    Pump(1);
  }
  EXPECT_EQ(WaitForSingleObject(thread, 20000), WAIT_OBJECT_0);
  CloseHandle(thread);
  EXPECT_EQ(Where(shared.b, VIEW_RELATIVE | BORDER_BOX), "0,1,300,11");  // 200 % 50 + 1 = 1px
}

}  // namespace
