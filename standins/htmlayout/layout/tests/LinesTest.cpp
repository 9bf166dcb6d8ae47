#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "standins/htmlayout/layout/tests/Page.h"

namespace {

// The runs of a block's lines: "text@x,baseline", runs joined by '+', lines by '|'.
std::string Lines(const hl::layout::Box& box) {
  std::string out;
  for (const hl::layout::LineBox& line : box.lines) {
    if (!out.empty()) out += '|';
    for (size_t i = 0; i < line.runs.size(); ++i) {
      const hl::layout::TextRun& run = line.runs[i];
      char where[40];
      snprintf(where, sizeof where, "@%g,%g", run.x, run.baseline);
      out += (i ? "+" : "") + std::string(run.text.begin(), run.text.end()) + where;
    }
  }
  return out;
}

struct LinesCase {
  const char* what;
  const wchar_t* body;  // the block is #a
  const char* expected;
};

// Characters are 5px wide, lines 12px with the baseline 9px down.
const LinesCase kLines[] = {
    {"wraps at blanks", L"<div id=a style='width:60px'>aaaa bbbb cccc</div>", "aaaa bbbb@0,9|cccc@0,21"},
    {"blanks collapse", L"<div id=a>  a \t  b\n\n c  </div>", "a b c@0,9"},
    {"nowrap keeps one line", L"<div id=a style='width:20px;white-space:nowrap'>aaaa bbbb cccc</div>", "aaaa bbbb cccc@0,9"},
    {"a long word overflows on its own line", L"<div id=a style='width:10px'>aaaa bb</div>", "aaaa@0,9|bb@0,21"},
    {"right", L"<div id=a style='width:100px;text-align:right'>ab</div>", "ab@90,9"},
    {"center", L"<div id=a style='width:100px;text-align:center'>ab c</div>", "ab c@40,9"},
    {"line-height in pixels", L"<div id=a style='width:30px;line-height:20px'>aaaa bbbb</div>", "aaaa@0,13|bbbb@0,33"},
    {"line-height as a number", L"<div id=a style='width:30px;line-height:2'>aaaa bbbb</div>", "aaaa@0,13|bbbb@0,33"},
    {"inline elements keep their runs", L"<div id=a>a <b>bb</b> c</div>", "a @0,9+bb@10,9+ c@20,9"},
    {"bigger text raises the baseline", L"<div id=a>a<span style='font-size:20px'>b</span></div>", "a@0,18+b@5,18"},
    {"br breaks", L"<div id=a>a<br>b</div>", "a@0,9|b@0,21"},
    {"pre keeps blanks and breaks", L"<div id=a style='white-space:pre'>a  b\nc</div>", "a  b@0,9|c@0,21"},
    {"pre-wrap wraps after blanks", L"<div id=a style='width:20px;white-space:pre-wrap'>aa bb</div>", "aa @0,9|bb@0,21"},
    {"a nowrap part stays whole", L"<div id=a style='width:40px'>aaaa <span style='white-space:nowrap'>bb cc</span></div>", "aaaa@0,9|bb cc@0,21"},
    {"padding moves the lines", L"<div id=a style='padding:3px 4px'>a</div>", "a@4,12"},
    {"text around a block", L"<div id=a>a<div style='height:10px'></div>b</div>", "a@0,9|b@0,31"},
    {"inline-block between words", L"<div id=a style='width:40px'>aa <span style='display:inline-block;width:30px;height:20px'></span> bb</div>", "aa@0,9||bb@0,44"},
};

TEST(LinesTest, Table) {
  for (const LinesCase& one : kLines) {
    Page<> page(one.body);
    const hl::layout::Box* box = page.layout.BoxOf(*page[L"a"]);
    ASSERT_NE(box, nullptr) << one.what;
    EXPECT_EQ(Lines(*box), one.expected) << one.what;
  }
}

}  // namespace
