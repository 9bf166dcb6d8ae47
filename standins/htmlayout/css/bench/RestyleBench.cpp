// Times a whole-tree restyle and a selector search on a dialog-sized page and
// on pages 10 and 100 times its size, to show the cost grows with the number of
// elements and not faster. Run by hand: htmlayout_css_bench.exe
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "standins/htmlayout/css/Selector.h"
#include "standins/htmlayout/css/StyleEngine.h"

namespace {

using hl::Element;

struct Tree {
  std::vector<std::unique_ptr<Element>> owned;
  Element* root = nullptr;

  Element* Add(Element* parent, const wchar_t* tag, std::vector<std::pair<std::wstring, std::wstring>> attributes) {
    owned.push_back(std::make_unique<Element>());
    Element* e = owned.back().get();
    e->tag = tag;
    e->attributes = std::move(attributes);
    e->parent = parent;
    if (parent) parent->children.push_back({e, {}});
    return e;
  }
};

// One step of an installer dialog: about 20 elements. 10 of them make a
// dialog of about 200; the larger pages repeat the steps.
void AddStep(Tree& t, Element* body, int n) {
  Element* step = t.Add(body, L"div", {{L"class", L"step"}, {L"current_step", std::to_wstring(n % 5)}});
  Element* header = t.Add(step, L"div", {{L"class", L"header"}});
  t.Add(header, L"h1", {})->children.push_back({nullptr, L"Setup"});
  t.Add(header, L"img", {{L"src", L"logo.png"}});
  Element* form = t.Add(step, L"form", {{L"id", L"form" + std::to_wstring(n)}});
  for (int i = 0; i < 3; ++i) {
    Element* row = t.Add(form, L"div", {{L"class", L"row"}});
    t.Add(row, L"label", {});
    t.Add(row, L"input", {{L"type", i == 0 ? L"checkbox" : L"text"}, {L"style", L"width: 1*"}});
  }
  Element* buttons = t.Add(step, L"div", {{L"class", L"buttons"}});
  t.Add(buttons, L"span", {{L"class", L"spacer"}});
  t.Add(buttons, L"button", {{L"id", L"back" + std::to_wstring(n)}});
  t.Add(buttons, L"button", {{L"id", L"next" + std::to_wstring(n)}, {L"class", L"default primary"}});
  t.Add(buttons, L"button", {{L"class", L"cancel"}});
}

const wchar_t kSheet[] = LR"(
body { font: 9pt "Segoe UI", Tahoma; background: #f0f0f0 url(bg.png) no-repeat; margin: 0 }
.step { display: none; padding: 10px 12px }
.step[current_step="2"] { display: block }
.header { flow: horizontal; border-bottom: 1px solid #a0a0a0; background-color: white; height: 58px }
.header h1 { font-size: 1.2em; margin: 8px 0 0 12px }
.header img { width: 55px; height: 55px; margin-left: 1* }
form .row { flow: horizontal; margin: 4px 0 }
form .row label { width: 120px; text-align: right; padding-right: 6px }
input[type=text] { border: 1px solid gray; padding: 2px }
input[type=checkbox] { behavior: check }
input:focus { border-color: #3399ff }
input:disabled { color: graytext; background: #f4f4f4 }
.buttons { flow: horizontal; border-top: 1px solid #dfdfdf; padding: 8px }
.buttons .spacer { width: 1* }
button { width: 75px; height: 23px; margin-left: 8px; border: 1px solid #707070; border-radius: 3px }
button:hover { background-color: #e5f1fb; border-color: #0078d7 }
button:active { background-color: #cce4f7 }
button.default { border-width: 2px }
div > button.cancel:last-child { margin-left: 16px }
#next0, #back0 { font-weight: bold }
a:hover { text-decoration: underline }
)";

double Millis(std::chrono::steady_clock::duration d) {
  return std::chrono::duration<double, std::milli>(d).count();
}

}  // namespace

int main() {
  hl::css::SelectorList buttons;
  buttons.Parse(L"div.buttons > button:last-child, form input[type=text]");
  for (int scale : {1, 10, 100}) {
    Tree tree;
    tree.root = tree.Add(nullptr, L"html", {});
    Element* body = tree.Add(tree.root, L"body", {});
    for (int n = 0; n < 10 * scale; ++n) AddStep(tree, body, n);

    hl::css::StyleEngine engine;
    engine.AddSheet(kSheet, L"file:///C:/setup/");
    engine.Restyle(*tree.root);  // warm up: builds the selector index
    const int runs = scale == 100 ? 3 : 10;
    auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < runs; ++i) engine.Restyle(*tree.root);
    double restyle = Millis(std::chrono::steady_clock::now() - start) / runs;
    start = std::chrono::steady_clock::now();
    size_t found = 0;
    for (int i = 0; i < runs; ++i) found = hl::css::SelectAll(*tree.root, buttons).size();
    double select = Millis(std::chrono::steady_clock::now() - start) / runs;
    std::printf("x%-3d %6zu elements: restyle %8.2f ms (%.2f us per element), select %6.2f ms (%zu found)\n", scale,
                tree.owned.size(), restyle, restyle * 1000 / tree.owned.size(), select, found);
  }
  return 0;
}
