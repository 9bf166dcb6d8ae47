#include <gtest/gtest.h>

#include <windows.h>

#include <cstdio>

#include "standins/htmlayout/dom/Document.h"
#include "standins/htmlayout/layout/tests/Page.h"

namespace {

struct BoxCase {
  const char* what;
  const wchar_t* body;
  const wchar_t* id;
  unsigned area;
  const char* expected;  // x,y,w,h in view coordinates, or "none"
};

// A 200px wide view, no margins on html and body.
const BoxCase kBoxes[] = {
    {"border box inside margins", L"<div id=a style='margin:5px 10px;border:2px solid;padding:3px;height:20px'></div>", L"a", BORDER_BOX, "10,5,180,30"},
    {"content box inside padding", L"<div id=a style='margin:5px 10px;border:2px solid;padding:3px;height:20px'></div>", L"a", CONTENT_BOX, "15,10,170,20"},
    {"margin box", L"<div id=a style='margin:5px 10px;border:2px solid;padding:3px;height:20px'></div>", L"a", MARGIN_BOX, "0,0,200,40"},
    {"padding box", L"<div id=a style='border:2px solid;padding:3px;height:20px'></div>", L"a", PADDING_BOX, "2,2,196,26"},
    {"percent of the block, padding added", L"<div style='width:100px'><div id=a style='width:50%;padding:0 5px'></div></div>", L"a", BORDER_BOX, "0,0,60,0"},
    {"max-width clamps", L"<div id=a style='width:300px;max-width:120px'></div>", L"a", BORDER_BOX, "0,0,120,0"},
    {"min-width wins over max-width", L"<div id=a style='width:10px;min-width:40px;max-width:20px'></div>", L"a", BORDER_BOX, "0,0,40,0"},
    {"vertical margins add up", L"<div style='height:10px;margin-bottom:5px'></div><div id=a style='margin-top:7px;height:1px'></div>", L"a", BORDER_BOX, "0,22,200,1"},
    {"auto side margins centre", L"<div id=a style='width:100px;margin:0 auto'></div>", L"a", BORDER_BOX, "50,0,100,0"},
    {"display none has no box", L"<div id=a style='display:none;height:50px'></div>", L"a", BORDER_BOX, "none"},
    {"display none takes no room", L"<div style='display:none;height:50px'></div><div id=a style='height:5px'></div>", L"a", BORDER_BOX, "0,0,200,5"},
    {"hidden keeps its room", L"<div style='visibility:hidden;height:50px'></div><div id=a style='height:5px'></div>", L"a", BORDER_BOX, "0,50,200,5"},
    {"height follows wrapped text", L"<div id=a style='width:60px'>aaaa bbbb cccc</div>", L"a", BORDER_BOX, "0,0,60,24"},
    {"row: spacer takes the rest", L"<div style='flow:horizontal'><div style='width:40px;height:10px'></div><div id=a style='width:1*'></div><div style='width:60px;height:20px'></div></div>", L"a", BORDER_BOX, "40,0,100,20"},
    {"row: after the spacer", L"<div style='flow:horizontal'><div style='width:40px'></div><div style='width:1*'></div><div id=a style='width:60px;height:20px'></div></div>", L"a", BORDER_BOX, "140,0,60,20"},
    {"row: shares in proportion", L"<div style='flow:horizontal'><div style='width:1*'></div><div id=a style='width:3*;padding:0 10px'></div></div>", L"a", BORDER_BOX, "45,0,155,0"},
    {"row: flex margin pushes right", L"<div style='flow:horizontal'><div id=a style='margin-left:1*;width:30px'></div></div>", L"a", BORDER_BOX, "170,0,30,0"},
    {"row: sized height not stretched", L"<div style='flow:horizontal'><div id=a style='width:10px;height:5px'></div><div style='height:30px;width:10px'></div></div>", L"a", BORDER_BOX, "0,0,10,5"},
    {"row: auto width fits the text", L"<div style='flow:horizontal'><div id=a>aa bb</div><div style='width:1*'></div></div>", L"a", BORDER_BOX, "0,0,25,12"},
    {"column: 1* height shares the rest", L"<div style='height:100px'><div style='height:30px'></div><div id=a style='height:1*'></div><div style='height:10px'></div></div>", L"a", BORDER_BOX, "0,30,200,60"},
    {"column: after the shared height", L"<div style='height:100px'><div style='height:30px'></div><div style='height:1*'></div>text<div id=a style='height:10px'></div></div>", L"a", BORDER_BOX, "0,90,200,10"},
    {"column: % height of the view", L"<style>html,body{height:100%}</style><div id=a style='height:50%'></div>", L"a", BORDER_BOX, "0,0,200,150"},
    {"absolute fills its positioned container", L"<div style='position:relative;margin:10px;height:100px;border:1px solid'><div id=a style='position:absolute;left:5px;top:5px;right:5px;bottom:5px'></div></div>", L"a", BORDER_BOX, "16,16,168,90"},
    {"absolute anchored right and bottom", L"<div style='position:relative;margin:10px;height:100px;border:1px solid'><div id=a style='position:absolute;right:0;bottom:0;width:20px;height:10px'></div></div>", L"a", BORDER_BOX, "169,101,20,10"},
    {"absolute is out of the flow", L"<div style='position:relative;height:100px'><div style='position:absolute;top:0;height:50px'></div><div id=a style='height:5px'></div></div>", L"a", BORDER_BOX, "0,0,200,5"},
    {"absolute without positioned ancestor uses the root", L"<div style='margin:20px'><div id=a style='position:absolute;left:3px;top:4px;width:10px;height:10px'></div></div>", L"a", BORDER_BOX, "3,4,10,10"},
    {"relative shifts itself", L"<div style='height:10px'></div><div id=a style='position:relative;left:5px;top:-3px;height:10px'></div>", L"a", BORDER_BOX, "5,7,200,10"},
    {"relative leaves the next in place", L"<div style='position:relative;top:30px;height:10px'></div><div id=a style='height:1px'></div>", L"a", BORDER_BOX, "0,10,200,1"},
    {"relative carries its children", L"<div style='position:relative;left:7px'><div id=a style='height:1px'></div></div>", L"a", BORDER_BOX, "7,0,200,1"},
    {"inline-block on the baseline", L"<div>ab <span id=a style='display:inline-block;width:20px;height:30px'></span></div>", L"a", BORDER_BOX, "15,0,20,30"},
    {"inline-block middle of the text", L"<div><span style='display:inline-block;width:20px;height:40px'></span> <span id=a style='display:inline-block;vertical-align:middle;width:10px;height:10px'></span></div>", L"a", BORDER_BOX, "25,32,10,10"},
    {"line as tall as its inline-block", L"<div id=a>ab <span style='display:inline-block;width:20px;height:30px'></span></div>", L"a", BORDER_BOX, "0,0,200,33"},
    {"inline-block shrinks to its text", L"<div><span id=a style='display:inline-block;padding:2px'>aa bb</span></div>", L"a", BORDER_BOX, "0,0,29,16"},
    {"inline element spans its text", L"<div>ab <b id=a>cd</b></div>", L"a", BORDER_BOX, "15,1,10,10"},
    {"row: a nested row stretches and its cells follow", L"<div style='flow:horizontal'><div style='height:40px;width:10px'></div><div style='flow:horizontal'><div id=a style='width:20px'></div></div></div>", L"a", BORDER_BOX, "10,0,20,40"},
    {"row: a stretched column shares its new height", L"<div style='flow:horizontal;height:50px'><div style='width:10px'><div style='height:10px'></div><div id=a style='height:1*'></div></div></div>", L"a", BORDER_BOX, "0,10,10,40"},
    {"row too narrow: auto cells give back", L"<div style='flow:horizontal;width:40px'><div id=a>aa bb</div><div style='width:30px'></div></div>", L"a", BORDER_BOX, "0,0,10,24"},
    {"inline-block at the line's bottom", L"<div><span style='display:inline-block;width:10px;height:40px'></span><span id=a style='display:inline-block;vertical-align:bottom;width:10px;height:10px'></span></div>", L"a", BORDER_BOX, "10,33,10,10"},
    {"absolute without offsets stays in place", L"<div style='height:15px'></div><div id=a style='position:absolute;width:10px;height:10px'></div>", L"a", BORDER_BOX, "0,15,10,10"},
    {"padding percent of the block's width", L"<div style='width:100px'><div id=a style='padding-left:10%'></div></div>", L"a", CONTENT_BOX, "10,0,90,0"},
    {"self relative content box", L"<div id=a style='margin:4px;padding:6px;height:5px'></div>", L"a", PADDING_BOX | SELF_RELATIVE, "-6,-6,192,17"},
    {"container relative", L"<div style='padding:8px'><div id=a style='margin-left:3px;height:5px'></div></div>", L"a", BORDER_BOX | CONTAINER_RELATIVE, "3,0,181,5"},
};

TEST(LayoutTest, BoxesInTheView) {
  for (const BoxCase& one : kBoxes) {
    Page<> page(one.body, 200, 300);
    unsigned relative = one.area & 0x0F ? 0 : VIEW_RELATIVE;
    EXPECT_EQ(page.Rect(one.id, one.area, relative), one.expected) << one.what;
  }
}

struct IntrinsicCase {
  const char* what;
  const wchar_t* body;
  float min, max, heightAtMin, heightAtMax;
};

const IntrinsicCase kIntrinsic[] = {
    {"words", L"<div id=a>aaaa bb cccccc</div>", 30, 70, 36, 12},
    {"padding and border count", L"<div id=a style='padding:0 5px;border:1px solid'>aa bb</div>", 22, 37, 26, 14},
    {"fixed width", L"<div id=a style='width:50px'>aaaaaaaaaaaaaaaaaa</div>", 50, 50, 12, 12},
    {"row adds its cells", L"<div id=a style='flow:horizontal'><div>aa bb</div><div style='width:30px'></div></div>", 40, 55, 24, 12},
    {"nowrap does not break", L"<div id=a style='white-space:nowrap'>aa bb</div>", 25, 25, 12, 12},
    {"inline-block with margins", L"<div id=a>aa <span style='display:inline-block;width:40px;margin:0 2px'></span></div>", 44, 59, 24, 12},
    {"min-width floor", L"<div id=a style='min-width:100px'>aa</div>", 100, 100, 12, 12},
    {"br ends a line", L"<div id=a>aaaa<br>aa bb cc</div>", 20, 40, 48, 24},
    {"blocks take the widest", L"<div id=a><p style='margin:0'>aaaaaa</p><div style='margin-left:20px'>aa bb</div></div>", 30, 45, 36, 24},
};

TEST(LayoutTest, IntrinsicWidthsAndHeights) {
  for (const IntrinsicCase& one : kIntrinsic) {
    Page<> page(one.body);
    const hl::Element& element = *page[L"a"];
    hl::layout::Widths widths = page.layout.IntrinsicWidths(element);
    EXPECT_EQ(widths.min, one.min) << one.what;
    EXPECT_EQ(widths.max, one.max) << one.what;
    EXPECT_EQ(page.layout.HeightFor(element, widths.min), one.heightAtMin) << one.what;
    EXPECT_EQ(page.layout.HeightFor(element, widths.max), one.heightAtMax) << one.what;
  }
}

TEST(LayoutTest, HeightForLeavesTheLayoutAlone) {
  Page<> page(L"<div id=a>aaaa bb cccccc</div>");
  std::string before = page.Rect(L"a");
  page.layout.HeightFor(*page[L"a"], 30);
  EXPECT_EQ(page.Rect(L"a"), before);
}

TEST(LayoutTest, RelayoutAfterAStyleChange) {
  Page<> page(L"<div id=a style='height:10px;overflow:hidden'></div><div id=b style='height:5px;visibility:hidden'></div>");
  EXPECT_TRUE(page.layout.BoxOf(*page[L"a"])->clips);
  EXPECT_TRUE(page.layout.BoxOf(*page[L"b"])->hidden);
  page[L"a"]->styleAttributes.push_back({L"display", L"none"});
  page.styles.RestyleSubtree(*page[L"a"]);
  page.layout.Layout(*page.document->root, 200);
  EXPECT_EQ(page.layout.BoxOf(*page[L"a"]), nullptr);
  EXPECT_EQ(page.Rect(L"b"), "0,0,200,5");
}

// A dialog of 200 elements laid out again after one label's text changes:
// the changed row grows, the others stay, and it stays cheap with GDI fonts.
TEST(LayoutTest, RelayoutAfterATextChange) {
  std::wstring body = L"<style>.row{flow:horizontal;padding:2px} .label{width:120px} input{width:80px;height:18px}</style>";
  for (int i = 0; i < 40; ++i) {
    std::wstring n = std::to_wstring(i);
    body += L"<div class=row><span class=label id=l" + n + L">Option " + n + L"</span><div style='width:1*'></div>"
            L"<b>on</b><input id=i" + n + L"></div>";
  }
  Page<hl::layout::GdiTextMeasurer> page(body, 400);
  const hl::Element& label = *page[L"l7"];
  float oneLine = page.layout.BoxOf(label)->border.Height();

  float nextTop = page.layout.BoxOf(*page[L"i9"])->border.top;
  std::string inputBefore = page.Rect(L"i7");

  hl::SetText(page[L"l7"], L"A much longer label text that wraps over several lines here");
  page.styles.RestyleSubtree(label);
  LARGE_INTEGER frequency, start, stop;
  QueryPerformanceFrequency(&frequency);
  QueryPerformanceCounter(&start);
  const int kRounds = 20;
  for (int i = 0; i < kRounds; ++i) page.layout.Layout(*page.document->root, 400);
  QueryPerformanceCounter(&stop);
  double ms = (stop.QuadPart - start.QuadPart) * 1000.0 / frequency.QuadPart / kRounds;
  printf("relayout of 200 elements: %.2f ms\n", ms);

  float grown = page.layout.BoxOf(label)->border.Height() - oneLine;
  EXPECT_GE(page.layout.BoxOf(label)->lines.size(), 3u);
  EXPECT_GT(grown, 0);
  EXPECT_EQ(page.layout.BoxOf(*page[L"i9"])->border.top - nextTop, grown);  // rows below moved down as much
  EXPECT_EQ(page.Rect(L"i7"), inputBefore);  // sized: stays at the top of its taller row
  EXPECT_LT(ms, 25.0);
}

}  // namespace
