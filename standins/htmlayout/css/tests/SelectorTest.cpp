// Selector matching, specificity and the search of the C interface, on one
// dialog-like tree.
#include <gtest/gtest.h>

#include <chrono>

#include "standins/htmlayout/css/Selector.h"
#include "standins/htmlayout/css/StyleEngine.h"
#include "standins/htmlayout/css/tests/TestTree.h"

using namespace hl::css;

namespace {

//  html > body > div#main.page.wide[current_step=2] > (p.intro, form > (text, check, button), span)
class SelectorTest : public ::testing::Test {
 protected:
  void SetUp() override {
    auto html = t.Add(nullptr, L"html", L"html");
    auto body = t.Add(html, L"body", L"body");
    auto main = t.Add(body, L"main", L"div", L"id=main|class=page  wide|current_step=2|lang=en-GB");
    t.Add(main, L"intro", L"p", L"class=intro");
    auto form = t.Add(main, L"form", L"form");
    t.Add(form, L"text", L"input", L"type=text", hl::kStateFocus);
    t.Add(form, L"check", L"input", L"type=checkbox", hl::kStateChecked | hl::kStateDisabled);
    t.Add(form, L"button", L"button", L"class=default primary", hl::kStateHover | hl::kStateCurrent);
    t.Add(main, L"span", L"span");
  }

  std::wstring Select(const std::wstring& selector) {
    SelectorList list;
    if (!list.Parse(selector)) return L"(invalid)";
    std::wstring found;
    for (auto* e : SelectAll(*t[L"html"], list, true)) found += (found.empty() ? L"" : L" ") + t.Label(e);
    return found;
  }

  TestTree t;
};

TEST_F(SelectorTest, MatchesInDocumentOrder) {
  const struct {
    const wchar_t* selector;
    const wchar_t* found;
  } cases[] = {
      {L"div", L"main"},
      {L"DIV", L"main"},
      {L"#main", L"main"},
      {L"#Main", L""},
      {L".wide.page", L"main"},
      {L".pag", L""},
      {L"[current_step=\"2\"]", L"main"},
      {L"[current_step=2]", L"main"},
      {L"[current_step='3']", L""},
      {L"[CURRENT_STEP]", L"main"},
      {L"[lang|=en]", L"main"},
      {L"[class~=primary]", L"button"},
      {L"[type]", L"text check"},
      {L"input[type=checkbox]", L"check"},
      {L"body p", L"intro"},
      {L"body > p", L""},
      {L"div > p.intro", L"intro"},
      {L"html div form > input", L"text check"},
      {L"body > div form > *", L"text check button"},
      {L"html > * > .page > form button", L"button"},
      {L"form button, div > p", L"intro button"},
      {L":focus", L"text"},
      {L"input:checked:disabled", L"check"},
      {L"input:enabled", L"text"},
      {L"button:hover:current", L"button"},
      {L"button:active", L""},
      {L"div > :first-child", L"intro"},
      {L"div > :last-child", L"span"},
      {L"form > :last-child", L"button"},
      {L"form :only-child", L""},
      {L":root", L"html"},
      {L"*:root > body", L"body"},
  };
  for (auto& c : cases) EXPECT_EQ(Select(c.selector), c.found) << c.selector;
}

TEST_F(SelectorTest, RejectsWhatItDoesNotSupport) {
  for (const wchar_t* selector : {L"p::before", L"a + b", L"a ~ b", L":not(p)", L"div >", L"", L" ", L"[x=]", L"#",
                                  L".", L", p", L"p,", L":unknown", L"p:", L"[x", L"p > > a", L"p{"}) {
    SelectorList list;
    EXPECT_FALSE(list.Parse(selector)) << selector;
    EXPECT_TRUE(list.Empty()) << selector;
  }
}

TEST_F(SelectorTest, SpecificityCountsIdsThenClassesThenTypes) {
  const struct {
    const wchar_t* selector;
    Specificity expected;
  } cases[] = {
      {L"*", 0},          {L"p", 1},           {L"div p", 2},           {L".a", 0x100},
      {L"#x", 0x10000},   {L"#a #b", 0x20000}, {L"p.a[title]:hover", 0x301}, {L"div > *:first-child", 0x101},
  };
  for (auto& c : cases) {
    SelectorList list;
    ASSERT_TRUE(list.Parse(c.selector)) << c.selector;
    EXPECT_EQ(list.Selectors()[0].specificity, c.expected) << c.selector;
  }
  SelectorList list;
  ASSERT_TRUE(list.Parse(L"p, #main, div.page"));
  EXPECT_EQ(list.MatchSpecificity(*t[L"main"]), 0x10000);
  EXPECT_EQ(list.MatchSpecificity(*t[L"span"]), -1);
}

TEST_F(SelectorTest, SearchStopsWhenTheCallerSaysSo) {
  SelectorList list;
  ASSERT_TRUE(list.Parse(L"input, button"));
  std::vector<std::wstring> seen;
  SelectElements(*t[L"main"], list, false, [&](const hl::Element& e) {
    seen.push_back(t.Label(&e));
    return seen.size() < 2;
  });
  EXPECT_EQ(seen, (std::vector<std::wstring>{L"text", L"check"}));
  // The root counts only when asked for.
  ASSERT_TRUE(list.Parse(L"div"));
  EXPECT_TRUE(SelectAll(*t[L"main"], list).empty());
  EXPECT_EQ(SelectAll(*t[L"main"], list, true).size(), 1u);
}

// Descendant selectors on a deep chain: each element tries its ancestors once,
// not every way of picking five of them (that would not end).
TEST(SelectorCost, DeepChainStaysLinear) {
  TestTree t;
  hl::Element* e = t.Add(nullptr, L"0", L"div");
  for (int i = 1; i < 400; ++i) e = t.Add(e, std::to_wstring(i), L"div");
  StyleEngine engine;
  engine.AddSheet(L"a div div div div div { color: red } div div > div div div { width: 1* }", L"");
  auto start = std::chrono::steady_clock::now();
  engine.Restyle(*t[L"0"]);
  SelectorList list;
  ASSERT_TRUE(list.Parse(L"span div div div div"));
  EXPECT_TRUE(SelectAll(*t[L"0"], list).empty());
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  EXPECT_EQ(engine.StyleOf(*e)->width, (Length{1, Unit::Flex}));
  EXPECT_EQ(engine.StyleOf(*e)->color, Color::Rgb(0, 0, 0));
}

}  // namespace
