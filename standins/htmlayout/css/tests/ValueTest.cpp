// Reading values: lengths, colours, shorthands and urls, and sheets that are
// broken in the ways pages break them.
#include <gtest/gtest.h>

#include <functional>

#include "standins/htmlayout/css/StyleEngine.h"
#include "standins/htmlayout/css/tests/TestTree.h"

using namespace hl::css;

namespace {

ComputedStyle StyleOf(const std::wstring& declarations) {
  ComputedStyle parent;
  parent.color = Color::Rgb(1, 2, 3);
  ComputedStyle s = InheritedFrom(parent);
  for (auto& d : ParseDeclarationList(declarations)) Apply(d, parent, &s);
  Finish(&s);
  return s;
}

bool Sides(const Length (&sides)[4], float top, float right, float bottom, float left) {
  return sides[kTop] == Length::Px(top) && sides[kRight] == Length::Px(right) && sides[kBottom] == Length::Px(bottom) &&
         sides[kLeft] == Length::Px(left);
}

TEST(Values, DeclarationsSetTheirLonghands) {
  using S = const ComputedStyle&;
  const struct {
    const wchar_t* declarations;
    std::function<bool(S)> holds;
  } cases[] = {
      {L"width: 1*", [](S s) { return s.width == Length{1, Unit::Flex}; }},
      {L"width: 2.5*; height: 40%", [](S s) { return s.width == Length{2.5f, Unit::Flex} && s.height == Length{40, Unit::Percent}; }},
      {L"width: 9pt", [](S s) { return s.width == Length::Px(12); }},
      {L"width: 100", [](S s) { return s.width == Length::Px(100); }},
      {L"width: 1in; height: 2.54cm", [](S s) { return s.width == Length::Px(96) && s.height == Length::Px(96); }},
      {L"width: -5px; height: 1*x", [](S s) { return s.width.IsAuto() && s.height.IsAuto(); }},
      {L"min-width: 1*; max-width: none", [](S s) { return s.minWidth == Length::Px(0) && s.maxWidth.IsAuto(); }},
      {L"margin: 1px 2px", [](S s) { return Sides(s.margin, 1, 2, 1, 2); }},
      {L"margin: 1px 2px 3px", [](S s) { return Sides(s.margin, 1, 2, 3, 2); }},
      {L"margin: 1px 2px 3px 4px; margin-left: -1px", [](S s) { return Sides(s.margin, 1, 2, 3, -1); }},
      {L"margin: 0 1*", [](S s) { return s.margin[kLeft] == Length{1, Unit::Flex} && s.margin[kTop] == Length::Px(0); }},
      {L"padding: 1px 2px 3px 4px 5px", [](S s) { return Sides(s.padding, 0, 0, 0, 0); }},
      {L"padding: 1em", [](S s) { return Sides(s.padding, 12, 12, 12, 12); }},
      {L"border: 2px solid red",
       [](S s) {
         for (auto& b : s.border) {
           if (b.width != Length::Px(2) || b.style != BorderStyle::Solid || b.color != Color::Rgb(255, 0, 0)) return false;
         }
         return true;
       }},
      {L"border-top: dashed; color: lime",
       [](S s) {
         return s.border[kTop].width == Length::Px(3) && s.border[kTop].style == BorderStyle::Dashed &&
                s.border[kTop].color == Color::Rgb(0, 255, 0) && s.border[kLeft].width == Length::Px(0);
       }},
      {L"border: 1px solid blue; border-left: none",
       [](S s) { return s.border[kLeft].width == Length::Px(0) && s.border[kRight].width == Length::Px(1); }},
      {L"border-style: solid; border-width: thin thick; border-color: red blue",
       [](S s) {
         return s.border[kTop].width == Length::Px(1) && s.border[kRight].width == Length::Px(5) &&
                s.border[kBottom].color == Color::Rgb(255, 0, 0) && s.border[kLeft].color == Color::Rgb(0, 0, 255);
       }},
      {L"border: 1px solid red blue", [](S s) { return s.border[kTop].style == BorderStyle::None; }},
      {L"border-radius: 4px 2px / 1px", [](S s) { return s.radius[kTopLeft] == Length::Px(4) && s.radius[kBottomLeft] == Length::Px(2); }},
      {L"color: #abc", [](S s) { return s.color == Color::Rgb(0xaa, 0xbb, 0xcc); }},
      {L"color: #A0b1C2", [](S s) { return s.color == Color::Rgb(0xa0, 0xb1, 0xc2); }},
      {L"color: #11223344", [](S s) { return s.color == Color::Rgb(0x11, 0x22, 0x33, 0x44); }},
      {L"color: rgb(255, 0, 128)", [](S s) { return s.color == Color::Rgb(255, 0, 128); }},
      {L"color: rgba(0,0,0,0.5)", [](S s) { return s.color == Color::Rgb(0, 0, 0, 128); }},
      {L"color: rgb(100%, 0%, 50%)", [](S s) { return s.color == Color::Rgb(255, 0, 128); }},
      {L"color: rgb(300, -1, 0)", [](S s) { return s.color == Color::Rgb(255, 0, 0); }},
      {L"color: Orange", [](S s) { return s.color == Color::Rgb(255, 165, 0); }},
      {L"color: grey; background-color: WhiteSmoke", [](S s) { return s.color == Color::Rgb(128, 128, 128) && s.backgroundColor == Color::Rgb(245, 245, 245); }},
      {L"color: lightgray; background-color: darkgray", [](S s) { return s.color == Color::Rgb(211, 211, 211) && s.backgroundColor == Color::Rgb(169, 169, 169); }},
      {L"color: #ab; background: #12345", [](S s) { return s.color == Color::Rgb(1, 2, 3) && s.backgroundColor.IsTransparent(); }},
      {L"color: rgb(1,2); color: blurple; color: transparent", [](S s) { return s.color.IsTransparent(); }},
      {L"background: #fff url(img/a.png) no-repeat left top",
       [](S s) { return s.backgroundColor == Color::Rgb(255, 255, 255) && s.backgroundImage == L"img/a.png" && s.backgroundRepeat == BackgroundRepeat::NoRepeat; }},
      {L"background: url( \"x y.png\" ) ; background-color: red",
       [](S s) { return s.backgroundImage == L"x y.png" && s.backgroundColor == Color::Rgb(255, 0, 0); }},
      {L"background: red url(a.png); background: blue", [](S s) { return s.backgroundImage.empty() && s.backgroundRepeat == BackgroundRepeat::Repeat; }},
      {L"background-image: url(a\\).png)", [](S s) { return s.backgroundImage == L"a).png"; }},
      {L"font: bold italic 10pt/1.5 \"Segoe UI\", Tahoma",
       [](S s) {
         return s.fontWeight == 700 && s.fontStyle == FontStyle::Italic && s.fontSize > 13.33f && s.fontSize < 13.34f &&
                s.lineHeight == Length{1.5f, Unit::Number} && s.fontFamily == L"Segoe UI,Tahoma";
       }},
      {L"font: 12px; font-family: Segoe  UI , sans-serif", [](S s) { return s.fontFamily == L"Segoe UI,sans-serif"; }},
      {L"font-size: larger; font-weight: bolder", [](S s) { return s.fontSize == 14.4f && s.fontWeight == 700; }},
      {L"font-size: x-large; font-weight: 600", [](S s) { return s.fontSize == 18 && s.fontWeight == 600; }},
      {L"text-decoration: underline line-through", [](S s) { return s.textDecoration == (kUnderline | kLineThrough); }},
      {L"text-decoration: underline; text-decoration: none blink", [](S s) { return s.textDecoration == kUnderline; }},
      {L"vertical-align: middle; white-space: nowrap; overflow: hidden",
       [](S s) { return s.verticalAlign == VerticalAlign::Middle && s.whiteSpace == WhiteSpace::NoWrap && s.overflow == Overflow::Hidden; }},
      {L"position: absolute; left: 10px; top: -5%; right: auto",
       [](S s) { return s.position == Position::Absolute && s.offset[kLeft] == Length::Px(10) && s.offset[kTop] == Length{-5, Unit::Percent} && s.offset[kRight].IsAuto(); }},
      {L"display: inline-block; visibility: hidden; flow: horizontal",
       [](S s) { return s.display == Display::InlineBlock && s.visibility == Visibility::Hidden && s.flow == Flow::Horizontal; }},
      {L"display: table-cell; display: flex", [](S s) { return s.display == Display::Inline; }},
      {L"behavior: button  check ; cursor: url(hand.cur), pointer",
       [](S s) { return s.behavior == L"button  check" && s.cursor == L"url(hand.cur), pointer"; }},
      {L"line-height: 18px; text-align: center", [](S s) { return s.lineHeight == Length::Px(18) && s.textAlign == TextAlign::Center; }},
      {L"COLOR: RED; Width: 10PX", [](S s) { return s.color == Color::Rgb(255, 0, 0) && s.width == Length::Px(10); }},
      {L"margin: inherit; padding: initial", [](S s) { return Sides(s.margin, 0, 0, 0, 0); }},
  };
  for (auto& c : cases) EXPECT_TRUE(c.holds(StyleOf(c.declarations))) << c.declarations;
}

TEST(Values, ResolveToPixels) {
  EXPECT_EQ(Resolve({50, Unit::Percent}, 300, 12), 150);
  EXPECT_EQ(Resolve({2, Unit::Em}, 300, 12), 24);
  EXPECT_EQ(Resolve({1.5f, Unit::Number}, 300, 12), 18);
  EXPECT_EQ(Resolve({72, Unit::Pt}, 300, 12), 96);
  EXPECT_EQ(Resolve({3, Unit::Flex}, 300, 12), 0);
  EXPECT_EQ(Resolve(Length::Auto(), 300, 12), 0);
}

TEST(Values, JoinUrl) {
  const struct {
    const wchar_t *base, *relative, *joined;
  } cases[] = {
      {L"file://C:\\dir\\lang\\", L"img/a.png", L"file://C:\\dir\\lang\\img\\a.png"},
      {L"file://C:\\dir\\lang\\", L"../img/a.png", L"file://C:\\dir\\img\\a.png"},
      {L"file:///C:/dir/", L"img/a.png", L"file:///C:/dir/img/a.png"},
      {L"file:///C:/dir/page.htm", L"./a.png", L"file:///C:/dir/a.png"},
      {L"file:///C:/dir/", L"../../../a.png", L"file:///C:/a.png"},
      {L"file:///C:/dir/sub/", L"/a.png", L"file:///C:/a.png"},
      {L"C:\\setup\\", L"a.png", L"C:\\setup\\a.png"},
      {L"http://host/a/b.htm", L"c/d.png", L"http://host/a/c/d.png"},
      {L"http://host/a/b.htm", L"/d.png", L"http://host/d.png"},
      {L"file:///C:/dir/", L"http://x/y.png", L"http://x/y.png"},
      {L"file:///C:/dir/", L"D:\\y.png", L"D:\\y.png"},
      {L"file:///C:/dir/", L"res:logo.png", L"res:logo.png"},
      {L"", L"a.png", L"a.png"},
  };
  for (auto& c : cases) EXPECT_EQ(JoinUrl(c.base, c.relative), c.joined) << c.base << " + " << c.relative;
}

// Each sheet breaks one way and ends with a rule (or declaration) that must
// still make the paragraph green.
TEST(Values, BrokenSheetsKeepWhatFollows) {
  const wchar_t* sheets[] = {
      L"@import \"x.css\"; p { color: green }",
      L"@charset \"utf-8\"; @media screen { p { color: red } } p { color: green }",
      L"@font-face { font-family: x; src: url(x.ttf) } p{color:green}",
      L"p::before { color: red } p { color: green }",
      L"p:not(.x), p { color: red } p { color: green }",
      L"p { color: red; color: green }",
      L"p { color: green; width: }",
      L"p { color:: red; color: green }",
      L"p { color; color: green }",
      L"p { color: green; } } p { color: red }",
      L"<!-- p { color: green } -->",
      L"p { color: green",
      L"p { color: red } /* p { color: blue } */ P { COLOR: GREEN }",
      L"p { color: \"red\"; color: green }",
      L"p { color: red } p { color: green; {nested: x; color: red} }",
      L"p { color: 'red\n; color: green }",
      L"p { color: red } ] p { color: blue } p { color: green }",
      L"p { color: red !importan } p { color: green }",
  };
  for (const wchar_t* sheet : sheets) {
    TestTree t;
    hl::Element* p = t.Add(nullptr, L"p", L"p");
    StyleEngine engine;
    engine.AddSheet(sheet, L"");
    engine.Restyle(*p);
    EXPECT_EQ(engine.StyleOf(*p)->color, Color::Rgb(0, 128, 0)) << sheet;
  }
}

}  // namespace
