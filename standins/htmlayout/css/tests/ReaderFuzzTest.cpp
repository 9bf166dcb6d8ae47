// Random and cut-off style sheets for about two seconds: reading them, matching
// their selectors and computing styles from them must neither crash nor hang.
#include <gtest/gtest.h>

#include <chrono>
#include <random>

#include "standins/htmlayout/css/StyleEngine.h"
#include "standins/htmlayout/css/tests/TestTree.h"

using namespace hl::css;

namespace {

const wchar_t kSample[] =
    LR"(@import url("a.css"); <!-- body { font: bold 9pt/1.2 "Segoe UI", Tahoma; background: #fff url('bg.png') no-repeat }
div#main.page > p:first-child, [current_step="2"] .x:hover { margin: 1px 2* 3em 4%; border: 1px solid rgba(1,2,3,.5) }
@media screen { a { color: red } } p { color: #abc !important; behavior: button; width: 1*; } /* c */ -->
.a\31 b { content: "x\"y\
z"; cursor: url(x\).cur), auto } [a|=b] ~ c + d { x: y } )";

// Pieces that steer random text into the reader's corners.
const wchar_t* const kPieces[] = {
    L"{", L"}", L"(", L")", L"[", L"]", L";", L":", L",", L"!important", L"/*", L"*/", L"\"", L"'", L"\\", L"\n",
    L"url(", L"rgb(", L"@media", L"#", L".", L">", L"*", L"1*", L"-", L"--", L"<!--", L"-->", L"1e999", L"%",
    L"p", L"div", L"color", L"border", L"font", L"background", L" ", L"\\31 ", L"\xD800", L"\x00", L"1.5em",
};

void Exercise(const std::wstring& text, const hl::Element& root) {
  StyleEngine engine;
  engine.AddSheet(text, L"file:///C:/x/");
  engine.Restyle(root);
  SelectorList list;
  if (list.Parse(text)) SelectAll(root, list, true);
  ParseDeclarationList(text);
}

TEST(ReaderFuzz, RandomAndTruncatedSheets) {
  TestTree t;
  auto html = t.Add(nullptr, L"html", L"html");
  auto div = t.Add(html, L"main", L"div", L"id=main|class=page|current_step=2", hl::kStateHover);
  t.Add(div, L"p", L"p", L"class=x|style=color: red; width: 1*; background: url(");
  t.Add(div, L"a", L"a");

  const std::wstring sample = kSample;
  for (size_t cut = 0; cut <= sample.size(); ++cut) Exercise(sample.substr(0, cut), *html);

  std::mt19937 random(12345);
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
  size_t rounds = 0;
  while (std::chrono::steady_clock::now() < deadline) {
    std::wstring text;
    size_t length = random() % 80;
    for (size_t i = 0; i < length; ++i) {
      switch (random() % 3) {
        case 0: text += kPieces[random() % (sizeof(kPieces) / sizeof(kPieces[0]))]; break;
        case 1: text += static_cast<wchar_t>(random() % 128); break;
        default: {
          // A slice of the sample keeps much of the text nearly valid.
          size_t from = random() % sample.size();
          text += sample.substr(from, random() % 40);
        }
      }
    }
    Exercise(text, *html);
    ++rounds;
  }
  EXPECT_GT(rounds, 100u);
}

}  // namespace
