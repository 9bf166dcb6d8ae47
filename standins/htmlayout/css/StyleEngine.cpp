#include "standins/htmlayout/css/StyleEngine.h"

#include <algorithm>
#include <cwctype>

namespace hl::css {
namespace {

// Block and hidden elements, and the text styles browsers give them, for
// pages that set nothing themselves. Tables have no layout of their own: a
// row lays out its cells in a horizontal flow.
const wchar_t kDefaultSheet[] = LR"(
html, body, div, p, h1, h2, h3, h4, h5, h6, ul, ol, li, dl, dt, dd, form, fieldset, legend, blockquote, pre,
hr, address, center, table, caption, thead, tbody, tfoot, tr, td, th, header, footer, section, article, nav,
aside, main, menu, frameset, frame { display: block }
head, script, style, title, meta, link, base, template, noscript { display: none }
img, input, button, select, textarea, progress, object, embed, iframe { display: inline-block }
body { margin: 8px }
p { margin: 1em 0 }
h1 { font-size: 2em; margin: 0.67em 0 }
h2 { font-size: 1.5em; margin: 0.83em 0 }
h3 { font-size: 1.17em; margin: 1em 0 }
h4 { margin: 1.33em 0 }
h5 { font-size: 0.83em; margin: 1.67em 0 }
h6 { font-size: 0.67em; margin: 2.33em 0 }
h1, h2, h3, h4, h5, h6, b, strong, th { font-weight: bold }
i, em, cite, var, address { font-style: italic }
ul, ol { margin: 1em 0; padding-left: 40px }
dd { margin-left: 40px }
blockquote { margin: 1em 40px }
pre { white-space: pre; font-family: monospace }
center { text-align: center }
th { text-align: center }
tr { flow: horizontal }
u { text-decoration: underline }
s, strike, del { text-decoration: line-through }
small { font-size: smaller }
big { font-size: larger }
a { color: blue; text-decoration: underline; cursor: pointer }
hr { border: 1px solid gray; margin: 0.5em 0 }
progress { width: 160px; height: 12px; background: #e3e7ec; color: #3b82d6; border-radius: 3px }
input, textarea { width: 150px; padding: 2px 4px; border: 1px solid #8f8f9d; background: white; color: black;
                  white-space: nowrap; overflow: hidden; cursor: text }
input[type=checkbox] { width: 13px; height: 13px; padding: 0; border: 1px solid #767676; border-radius: 2px;
                       cursor: default; vertical-align: middle }
input[type=checkbox]:checked { background: #0a64c8; border-color: #0a64c8; color: white }
button, input[type=button], input[type=submit], input[type=reset] { width: auto; padding: 3px 10px;
  border: 1px solid #8f8f9d; border-radius: 3px; background: #efeff1; color: black; cursor: default;
  text-align: center; white-space: nowrap }
button:hover, input[type=button]:hover { background: #e3e3e8 }
button:active, input[type=button]:active { background: #d0d0d7 }
:disabled { color: #8d8d8d }
select { flow: horizontal; position: relative; width: 150px; border: 1px solid #8f8f9d; background: white;
         color: black; cursor: default }
select > caption { display: block; width: 1*; padding: 2px 4px; white-space: nowrap; overflow: hidden }
select > button { display: block; width: 16px; padding: 0; border: none; border-radius: 0; background: transparent }
select > popup { display: none; position: absolute; left: -1px; top: 100%; width: 100%; background: white;
                 border: 1px solid #8f8f9d; color: black }
select:expanded > popup { display: block }
select > popup option { display: block; padding: 2px 4px; white-space: nowrap }
select > popup option:hover { background: #e5f0fb }
select > popup option:current { background: #0a64c8; color: white }
)";

const ComputedStyle& Initial() {
  static const ComputedStyle initial;
  return initial;
}

struct Applicable {
  const Declaration* declaration;
  uint32_t important, origin, specificity, order;

  bool operator<(const Applicable& o) const {
    if (important != o.important) return important < o.important;
    if (origin != o.origin) return origin < o.origin;
    if (specificity != o.specificity) return specificity < o.specificity;
    return order < o.order;
  }
};

template <class F>
void ForEachWord(const std::wstring& text, F f) {
  size_t i = 0;
  while (i < text.size()) {
    while (i < text.size() && std::iswspace(text[i])) ++i;
    size_t start = i;
    while (i < text.size() && !std::iswspace(text[i])) ++i;
    if (i > start) f(text.substr(start, i - start));
  }
}

}  // namespace

StyleEngine::StyleEngine() : pageBase_(std::make_shared<const std::wstring>()) {
  static const auto builtIn = std::make_shared<const StyleSheet>(StyleSheet::Parse(kDefaultSheet));
  sheets_.push_back(builtIn);
}

const wchar_t* StyleEngine::DefaultSheet() { return kDefaultSheet; }

void StyleEngine::AddSheet(const std::wstring& text, const std::wstring& baseUrl) {
  AddSheet(StyleSheet::Parse(text, baseUrl));
}

void StyleEngine::AddSheet(StyleSheet sheet) {
  sheets_.push_back(std::make_shared<const StyleSheet>(std::move(sheet)));
  indexed_ = false;
}

void StyleEngine::ClearSheets() {
  sheets_.resize(1);
  indexed_ = false;
}

void StyleEngine::SetPageBase(const std::wstring& baseUrl) { pageBase_ = std::make_shared<const std::wstring>(baseUrl); }

void StyleEngine::BuildIndex() const {
  rules_.clear();
  byId_.clear();
  byClass_.clear();
  byTag_.clear();
  universal_.clear();
  for (size_t s = 0; s < sheets_.size(); ++s) {
    for (const Rule& rule : sheets_[s]->rules) {
      uint32_t index = static_cast<uint32_t>(rules_.size());
      rules_.push_back({&rule, s == 0 ? 0 : 1});
      for (const ComplexSelector& selector : rule.selectors.Selectors()) {
        const Compound& last = selector.compounds.back();
        Entry entry{index, &selector};
        if (!last.ids.empty()) byId_[last.ids[0]].push_back(entry);
        else if (!last.classes.empty()) byClass_[last.classes[0]].push_back(entry);
        else if (!last.tag.empty()) byTag_[last.tag].push_back(entry);
        else universal_.push_back(entry);
      }
    }
  }
  indexed_ = true;
}

ComputedStyle StyleEngine::Compute(const Element& element, const ComputedStyle& parent) const {
  if (!indexed_) BuildIndex();

  // The rules that match, each with the specificity of its best matching selector.
  std::vector<std::pair<uint32_t, Specificity>> matched;
  auto consider = [&](const std::vector<Entry>& entries) {
    for (const Entry& e : entries) {
      if (e.selector->Matches(element)) matched.push_back({e.rule, e.selector->specificity});
    }
  };
  auto lookup = [&](const std::unordered_map<std::wstring, std::vector<Entry>>& map, const std::wstring& key) {
    auto it = map.find(key);
    if (it != map.end()) consider(it->second);
  };
  if (const std::wstring* id = element.Attribute(L"id")) lookup(byId_, *id);
  if (const std::wstring* classes = element.Attribute(L"class")) {
    std::vector<std::wstring> seen;
    ForEachWord(*classes, [&](const std::wstring& name) {
      if (std::find(seen.begin(), seen.end(), name) != seen.end()) return;
      seen.push_back(name);
      lookup(byClass_, name);
    });
  }
  lookup(byTag_, element.tag);
  consider(universal_);
  // Highest specificity first within a rule, so that unique keeps it.
  std::sort(matched.begin(), matched.end(), [](auto& a, auto& b) {
    return a.first != b.first ? a.first < b.first : a.second > b.second;
  });
  matched.erase(std::unique(matched.begin(), matched.end(), [](auto& a, auto& b) { return a.first == b.first; }),
                matched.end());

  std::vector<Applicable> applicable;
  uint32_t order = 0;
  for (auto& [index, specificity] : matched) {
    for (const Declaration& d : rules_[index].rule->declarations) {
      applicable.push_back({&d, d.important, static_cast<uint32_t>(rules_[index].origin), specificity, order++});
    }
  }
  std::vector<Declaration> inlineStyle;
  if (const std::wstring* style = element.Attribute(L"style")) {
    inlineStyle = ParseDeclarationList(*style);
    for (auto& d : inlineStyle) {
      d.base = pageBase_;
      applicable.push_back({&d, d.important, 2, 0, order++});
    }
  }
  // Properties set through the C interface, above the style attribute.
  std::vector<Declaration> setStyle;
  for (auto& [name, value] : element.styleAttributes) {
    std::vector<Declaration> parsed = ParseDeclarationList(name + L":" + value);
    setStyle.insert(setStyle.end(), parsed.begin(), parsed.end());
  }
  for (auto& d : setStyle) {
    d.base = pageBase_;
    applicable.push_back({&d, d.important, 3, 0, order++});
  }
  std::sort(applicable.begin(), applicable.end());

  ComputedStyle style = InheritedFrom(parent);
  for (const Applicable& a : applicable) Apply(*a.declaration, parent, &style);
  Finish(&style);
  return style;
}

void StyleEngine::StyleTree(const Element& top, const ComputedStyle& parentStyle) {
  // Depth first with an explicit stack, parents before children; map nodes
  // stay where they are, so a parent's style can be pointed at.
  struct Pending {
    const Element* element;
    const ComputedStyle* parent;
  };
  std::vector<Pending> stack{{&top, &parentStyle}};
  while (!stack.empty()) {
    Pending p = stack.back();
    stack.pop_back();
    ComputedStyle& style = styles_[p.element] = Compute(*p.element, *p.parent);
    auto& kids = p.element->children;
    for (auto it = kids.rbegin(); it != kids.rend(); ++it) {
      if (it->element) stack.push_back({it->element, &style});
    }
  }
}

void StyleEngine::Restyle(const Element& root) {
  styles_.clear();
  StyleTree(root, Initial());
}

void StyleEngine::RestyleSubtree(const Element& element) {
  const ComputedStyle* parent = element.parent ? StyleOf(*element.parent) : nullptr;
  StyleTree(element, parent ? *parent : Initial());
}

void StyleEngine::Forget(const Element& element) {
  std::vector<const Element*> stack{&element};
  while (!stack.empty()) {
    const Element* e = stack.back();
    stack.pop_back();
    styles_.erase(e);
    for (auto& kid : e->children) if (kid.element) stack.push_back(kid.element);
  }
}

const ComputedStyle* StyleEngine::StyleOf(const Element& element) const {
  auto it = styles_.find(&element);
  return it == styles_.end() ? nullptr : &it->second;
}

}  // namespace hl::css
