#include "standins/htmlayout/view/View.h"

#include "standins/htmlayout/css/Values.h"

namespace hl::view {

namespace {

// Restyles the topmost marked elements with their subtrees and clears every
// mark on the way; true when any layout mark was met. Walks with its own stack:
// pages nest up to 200 levels.
// With styles null it only clears the marks (after a full restyle).
bool RestyleMarked(css::StyleEngine* styles, Element& root, bool& restyled) {
  bool layout = false;
  struct Item {
    Element* element;
    bool styled;  // an ancestor's subtree restyle already covered it
  };
  std::vector<Item> stack{{&root, false}};
  while (!stack.empty()) {
    Item item = stack.back();
    stack.pop_back();
    Element& element = *item.element;
    bool styled = item.styled;
    if (element.needsRestyle && !styled && styles) {
      styles->RestyleSubtree(element);
      styled = restyled = true;
    }
    layout = layout || element.needsLayout;
    element.needsRestyle = element.needsLayout = false;
    for (auto child = element.children.rbegin(); child != element.children.rend(); ++child) {
      if (child->element) stack.push_back({child->element, styled});
    }
  }
  return layout;
}

}  // namespace

View::View() = default;
View::~View() = default;

void View::Update(const std::shared_ptr<Document>& document, int width, int height) {
  if (!document || !document->root) return;
  bool fresh = document_.lock() != document || !state_;
  if (fresh) {
    state_ = std::make_unique<State>();
    state_->layout.SetNaturalSizes(naturalSizes_);
    document_ = document;
    sheets_.clear();
  }
  // The page's sheets in document order, each with the address its urls are
  // relative to: a linked sheet's own, the page's for inline ones.
  Sheets sheets;
  for (const StyleSource& source : document->styles) {
    if (!source.loaded) continue;
    sheets.emplace_back(source.text, source.href.empty() ? document->baseUrl : source.url);
  }
  bool layout = fresh || width != width_ || height != height_ || document->needsLayout;
  if (fresh || sheets != sheets_) {
    state_->styles.ClearSheets();
    state_->styles.SetPageBase(document->baseUrl);
    for (const auto& sheet : sheets) state_->styles.AddSheet(sheet.first, sheet.second);
    sheets_ = std::move(sheets);
    state_->styles.Restyle(*document->root);
    ++restyles_;
    bool ignored = false;
    RestyleMarked(nullptr, *document->root, ignored);  // clears the marks the full restyle covered
    layout = true;
  } else if (document->needsRestyle || document->needsLayout) {
    bool restyled = false;
    layout = RestyleMarked(&state_->styles, *document->root, restyled) || layout;
    if (restyled) ++restyles_;
    layout = layout || restyled;  // a new class or state may change any size
  }
  document->needsRestyle = false;
  document->needsLayout = false;
  if (!layout) return;
  width_ = width;
  height_ = height;
  state_->layout.Layout(*document->root, static_cast<float>(width), static_cast<float>(height));
  ++layouts_;
}

}  // namespace hl::view
