// The order of the cascade, inheritance and the built-in sheet, then restyling
// part of a tree after a change.
#include <gtest/gtest.h>

#include "standins/htmlayout/css/StyleEngine.h"
#include "standins/htmlayout/css/tests/TestTree.h"

using namespace hl::css;

namespace {

const Color kRed = Color::Rgb(255, 0, 0), kGreen = Color::Rgb(0, 128, 0), kBlue = Color::Rgb(0, 0, 255);

// html > body > div#box.a.b > p#t.a.b[style] > span
struct Page {
  explicit Page(const std::wstring& sheet, const std::wstring& style = L"", const std::wstring& setStyle = L"") {
    auto html = tree.Add(nullptr, L"html", L"html");
    auto body = tree.Add(html, L"body", L"body");
    auto box = tree.Add(body, L"box", L"div", L"id=box|class=a b");
    auto p = tree.Add(box, L"t", L"p", L"id=t|class=a b" + (style.empty() ? L"" : L"|style=" + style));
    tree.Add(p, L"span", L"span");
    engine.AddSheet(sheet, L"file:///C:/setup/");
    size_t colon = setStyle.find(L':');
    if (colon != std::wstring::npos) p->styleAttributes.push_back({setStyle.substr(0, colon), setStyle.substr(colon + 1)});
    engine.Restyle(*html);
  }
  const ComputedStyle& operator[](const wchar_t* label) { return *engine.StyleOf(*tree[label]); }

  TestTree tree;
  StyleEngine engine;
};

TEST(Cascade, WinnerByImportanceOriginSpecificityAndOrder) {
  const struct {
    const wchar_t *sheet, *style, *setStyle;
    Color expected;
  } cases[] = {
      {L"#t { color: red } p { color: blue }", L"", L"", kRed},
      {L"p.a.b { color: red } #t { color: blue } ", L"", L"", kBlue},
      {L".a { color: red } .b { color: blue }", L"", L"", kBlue},
      {L".b { color: red } .a { color: blue }", L"", L"", kBlue},
      {L"div p { color: red } p { color: blue }", L"", L"", kRed},
      {L"#t, p { color: red } div.a.b > p { color: blue }", L"", L"", kRed},  // the list's best selector counts
      {L"#t { color: red }", L"color: blue", L"", kBlue},
      {L"p { color: red !important } #t { color: blue }", L"", L"", kRed},
      {L"p { color: red ! important }", L"color: blue", L"", kRed},
      {L"p { color: red !important }", L"color: blue !important", L"", kBlue},
      {L"", L"color: red", L"color: blue", kBlue},
      {L"", L"color: red !important", L"color: blue", kRed},
      {L"p { color: blue; color: red }", L"", L"", kRed},
      {L"p { color: red } p { color: nonsense }", L"", L"", kRed},
      {L"#box { color: blue }", L"", L"", kBlue},                          // inherited from the div
      {L"#box { color: blue } p { color: inherit }", L"", L"", kBlue},
      {L"body { color: red } #box { color: blue } p { color: initial }", L"", L"", Color::Rgb(0, 0, 0)},
  };
  for (auto& c : cases) {
    Page page(c.sheet, c.style, c.setStyle);
    EXPECT_EQ(page[L"t"].color, c.expected) << c.sheet << " / " << c.style << " / " << c.setStyle;
  }
}

TEST(Cascade, InheritsTextPropertiesOnly) {
  Page page(L"#box { color: green; font-family: Verdana; font-size: 20px; font-weight: bold; font-style: italic;"
            L" text-align: center; line-height: 1.5; white-space: nowrap; visibility: hidden; cursor: pointer;"
            L" width: 100px; margin: 4px; background-color: red; text-decoration: underline; border: 1px solid;"
            L" display: inline-block; flow: horizontal; behavior: button }");
  const ComputedStyle& s = page[L"span"];
  EXPECT_EQ(s.color, kGreen);
  EXPECT_EQ(s.fontFamily, L"Verdana");
  EXPECT_EQ(s.fontSize, 20);
  EXPECT_EQ(s.fontWeight, 700);
  EXPECT_EQ(s.fontStyle, FontStyle::Italic);
  EXPECT_EQ(s.textAlign, TextAlign::Center);
  EXPECT_EQ(s.lineHeight, (Length{1.5f, Unit::Number}));
  EXPECT_EQ(s.whiteSpace, WhiteSpace::NoWrap);
  EXPECT_EQ(s.visibility, Visibility::Hidden);
  EXPECT_EQ(s.cursor, L"pointer");
  EXPECT_TRUE(s.width.IsAuto());
  EXPECT_EQ(s.margin[kLeft], Length::Px(0));
  EXPECT_TRUE(s.backgroundColor.IsTransparent());
  EXPECT_EQ(s.textDecoration, 0);  // painting carries the underline down, not the style
  EXPECT_EQ(s.border[kTop].width, Length::Px(0));
  EXPECT_EQ(s.display, Display::Inline);
  EXPECT_EQ(s.flow, Flow::Vertical);
  EXPECT_EQ(s.behavior, L"");
  // The border without a colour takes the element's own.
  EXPECT_EQ(page[L"box"].border[kBottom].color, kGreen);
  EXPECT_EQ(page[L"box"].border[kBottom].width, Length::Px(1));
}

TEST(Cascade, EmAndPercentFollowTheRightFontSize) {
  Page page(L"#box { font-size: 20px; line-height: 150% } p { font-size: 1.5em; width: 2em; padding-left: 6pt;"
            L" height: 50% } span { font-size: 50%; margin-top: 1em }");
  EXPECT_EQ(page[L"box"].lineHeight, Length::Px(30));
  EXPECT_EQ(page[L"t"].fontSize, 30);
  EXPECT_EQ(page[L"t"].width, Length::Px(60));
  EXPECT_EQ(page[L"t"].padding[kLeft], Length::Px(8));
  EXPECT_EQ(page[L"t"].height, (Length{50, Unit::Percent}));  // for the layout
  EXPECT_EQ(page[L"t"].lineHeight, Length::Px(30));           // the div's pixels, not 150 % again
  EXPECT_EQ(page[L"span"].fontSize, 15);
  EXPECT_EQ(page[L"span"].margin[kTop], Length::Px(15));
}

TEST(Cascade, BuiltInSheetForHtmlElements) {
  TestTree t;
  auto html = t.Add(nullptr, L"html", L"html");
  const struct {
    const wchar_t* tag;
    Display display;
    float fontSize;
    int weight;
  } cases[] = {
      {L"head", Display::None, 12, 400},   {L"script", Display::None, 12, 400}, {L"div", Display::Block, 12, 400},
      {L"h1", Display::Block, 24, 700},    {L"h6", Display::Block, 8.04f, 700}, {L"span", Display::Inline, 12, 400},
      {L"b", Display::Inline, 12, 700},    {L"strong", Display::Inline, 12, 700},
      {L"input", Display::InlineBlock, 12, 400}, {L"button", Display::InlineBlock, 12, 400},
      {L"li", Display::Block, 12, 400},
  };
  for (auto& c : cases) t.Add(html, c.tag, c.tag);
  auto em = t.Add(html, L"em", L"em");
  auto a = t.Add(html, L"a", L"a", L"href=x");
  auto p = t.Add(html, L"p", L"p");
  StyleEngine engine;
  engine.Restyle(*html);
  for (auto& c : cases) {
    const ComputedStyle& s = *engine.StyleOf(*t[c.tag]);
    EXPECT_EQ(s.display, c.display) << c.tag;
    EXPECT_FLOAT_EQ(s.fontSize, c.fontSize) << c.tag;
    EXPECT_EQ(s.fontWeight, c.weight) << c.tag;
  }
  EXPECT_EQ(engine.StyleOf(*em)->fontStyle, FontStyle::Italic);
  EXPECT_EQ(engine.StyleOf(*a)->textDecoration, kUnderline);
  EXPECT_EQ(engine.StyleOf(*a)->color, kBlue);
  EXPECT_EQ(engine.StyleOf(*p)->margin[kTop], Length::Px(12));
  EXPECT_EQ(engine.StyleOf(*html)->fontFamily, kDefaultFontFamily);
}

TEST(Restyle, SubtreeAfterAStateChange) {
  Page page(L"p:hover { color: red } p:hover span { font-weight: bold } #box:focus p { width: 1* }");
  hl::Element* p = page.tree[L"t"];
  EXPECT_EQ(page[L"t"].color, Color::Rgb(0, 0, 0));
  p->state |= hl::kStateHover;
  page.engine.RestyleSubtree(*p);
  EXPECT_EQ(page[L"t"].color, kRed);
  EXPECT_EQ(page[L"span"].color, kRed);
  EXPECT_EQ(page[L"span"].fontWeight, 700);
  page.tree[L"box"]->state |= hl::kStateFocus;
  page.engine.RestyleSubtree(*page.tree[L"box"]);
  EXPECT_EQ(page[L"t"].width, (Length{1, Unit::Flex}));

  page.engine.Forget(*p);
  EXPECT_EQ(page.engine.StyleOf(*page.tree[L"span"]), nullptr);
  EXPECT_NE(page.engine.StyleOf(*page.tree[L"box"]), nullptr);
}

TEST(Restyle, NewSheetsAndSetPropertiesTakeEffectOnTheNextRestyle) {
  Page page(L"p { color: red }");
  page.engine.AddSheet(L"#t { background: url(../img/top.png) no-repeat }", L"file://C:\\setup\\lang\\");
  page.tree[L"span"]->styleAttributes = {{L"color", L"blue"}, {L"width", L"1*"}};
  page.engine.Restyle(*page.tree[L"html"]);
  EXPECT_EQ(page[L"t"].backgroundImage, L"../img/top.png");
  EXPECT_EQ(JoinUrl(page[L"t"].backgroundImageBase, page[L"t"].backgroundImage), L"file://C:\\setup\\img\\top.png");
  EXPECT_EQ(page[L"span"].color, kBlue);
  EXPECT_EQ(page[L"span"].width, (Length{1, Unit::Flex}));
  page.engine.ClearSheets();
  page.tree[L"span"]->styleAttributes.clear();
  page.engine.Restyle(*page.tree[L"html"]);
  EXPECT_EQ(page[L"t"].color, Color::Rgb(0, 0, 0));
  EXPECT_EQ(page[L"span"].color, Color::Rgb(0, 0, 0));
  EXPECT_TRUE(page[L"t"].backgroundImage.empty());
}

}  // namespace
