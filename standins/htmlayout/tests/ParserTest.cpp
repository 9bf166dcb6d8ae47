// Malformed markup as installer pages have it, through the C interface: what
// tree each input gives, written back by HTMLayoutGetElementHtmlCB.
#include <gtest/gtest.h>

#include "standins/htmlayout/tests/Library.h"

namespace {

struct ParseCase {
  const char* input;
  const char* body;  // inner HTML of <body>; the whole page when it starts with "<html"
};

const ParseCase kCases[] = {
    {"", ""},
    {"<p>one<p>two", "<p>one</p><p>two</p>"},
    {"<p>a<div>b</div>c", "<p>a</p><div>b</div>c"},
    {"<ul><li>a<li>b<ul><li>c</ul><li>d</ul>", "<ul><li>a</li><li>b<ul><li>c</li></ul></li><li>d</li></ul>"},
    {"<select><option>1<option selected>2</select>",
     // a dropdown is rebuilt into caption, button and the list of options
     "<select><caption>2</caption><button></button><popup><option>1</option><option selected=\"\">2</option>"
     "</popup></select>"},
    {"<dl><dt>t<dd>d<dt>u</dl>", "<dl><dt>t</dt><dd>d</dd><dt>u</dt></dl>"},
    {"<table><tr><td>1<td>2<tr><td>3</table>",
     "<table><tr><td>1</td><td>2</td></tr><tr><td>3</td></tr></table>"},
    {"a<br>b<hr/>c<input type=checkbox checked><meta x>d", "a<br>b<hr>c<input type=\"checkbox\" checked=\"\"><meta x=\"\">d"},
    {"<div id=a class='b c' title=\"x &amp; y\" hidden data-x = 5 id=dup>",
     "<div id=\"a\" class=\"b c\" title=\"x &amp; y\" hidden=\"\" data-x=\"5\"></div>"},
    {"&lt;&gt;&amp;&quot;&#65;&#x42;&#x1F600;&nbsp;&copy;&bogus; & x &#;",
     "&lt;&gt;&amp;\"AB\xF0\x9F\x98\x80\xC2\xA0\xC2\xA9&amp;bogus; &amp; x &amp;#;"},
    {"<!DOCTYPE html><?xml version='1.0'?><!-- c --><p>x<!-- never closed <b>", "<p>x</p>"},
    {"<Widget Type=Spin>v</WIDGET>", "<widget type=\"Spin\">v</widget>"},
    {"<div>a</span>b</p></div>c", "<div>ab</div>c"},
    {"<div><b>bold<i>both</div>after", "<div><b>bold<i>both</i></b></div>after"},
    {"<div/><span/>x", "<div></div><span></span>x"},
    {"1 < 2 <3 a<", "1 &lt; 2 &lt;3 a&lt;"},
    {"<a href=\"x>y", "<a href=\"x&gt;y\"></a>"},
    {"<p title=a/b>t</p>", "<p title=\"a/b\">t</p>"},
    {"\xEF\xBB\xBF<p>\xC3\xA4</p>", "<p>\xC3\xA4</p>"},
    {"<script>if (a<b && c>d) x();</script>",
     "<html><head><script>if (a<b && c>d) x();</script></head><body></body></html>"},
    {"<textarea><b>&amp;</b></textarea>", "<textarea>&lt;b&gt;&amp;&lt;/b&gt;</textarea>"},
    {"<title>T</title><style>p{}</style><link rel=stylesheet href=a.css><p>x",
     "<html><head><title>T</title><style>p{}</style><link rel=\"stylesheet\" href=\"a.css\"></head>"
     "<body><p>x</p></body></html>"},
    {"<html lang=en>\n<head>\n<meta charset=utf-8>\n</head>\n<body class=x><p>a</p></body></html>",
     "<html lang=\"en\"><head><meta charset=\"utf-8\"></head><body class=\"x\"><p>a</p></body></html>"},
    {"<p>x</p><body id=late><html dir=rtl>", "<html dir=\"rtl\"><body id=\"late\"><p>x</p></body></html>"},
};

class ParseTable : public ::testing::TestWithParam<ParseCase> {};

TEST_P(ParseTable, GivesTheTree) {
  TestWindow window;
  const ParseCase& c = GetParam();
  HELEMENT root = LoadPage(window.hwnd(), c.input);
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(TypeOf(root), "html");
  std::string expected = c.body;
  if (expected.rfind("<html", 0) == 0) {
    EXPECT_EQ(HtmlOf(root), expected) << "input: " << c.input;
  } else {
    EXPECT_EQ(HtmlOf(BodyOf(window.hwnd()), false), expected) << "input: " << c.input;
  }
}

INSTANTIATE_TEST_SUITE_P(Markup, ParseTable, ::testing::ValuesIn(kCases));

TEST(Parser, ReadsUtf16WithByteOrderMark) {
  TestWindow window;
  std::wstring text = L"\xFEFF<p id=\x00E4>\x4E2D</p>";
  std::string bytes(reinterpret_cast<const char*>(text.data()), text.size() * 2);
  LoadPage(window.hwnd(), bytes);
  EXPECT_EQ(HtmlOf(BodyOf(window.hwnd()), false), "<p id=\"\xC3\xA4\">\xE4\xB8\xAD</p>");
}

TEST(Parser, DeepNestingContinuesFlat) {
  TestWindow window;
  std::string html;
  for (int i = 0; i < 5000; ++i) html += "<div>";
  LoadPage(window.hwnd(), html);
  int depth = 0;
  for (HELEMENT e = BodyOf(window.hwnd()); e && ChildCount(e); e = Child(e, 0)) ++depth;
  EXPECT_LT(depth, 400);
  EXPECT_EQ(HtmlOf(BodyOf(window.hwnd())).size() > 5000 * 11, true) << "every element is kept";
}

}  // namespace
