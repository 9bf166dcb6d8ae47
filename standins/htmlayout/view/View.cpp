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

namespace {

struct Hit {
  const layout::LayoutEngine& layout;
  float x, y;
  std::vector<Element*> overlays;

  static bool Inside(const layout::RectF& r, float x, float y) {
    return x >= r.left && x < r.right && y >= r.top && y < r.bottom;
  }

  // The last element in paint order under the point, within clip.
  Element* Walk(Element& element, layout::RectF clip, bool overlayPass) {
    const layout::Box* box = layout.BoxOf(element);
    if (!box) return nullptr;
    if (box->overlay && !overlayPass) {
      overlays.push_back(&element);
      return nullptr;
    }
    Element* found = nullptr;
    if (!box->hidden && Inside(box->border, x, y) && Inside(clip, x, y)) found = &element;
    if (box->clips) {
      layout::RectF padding = box->Padding();
      clip = {std::max(clip.left, padding.left), std::max(clip.top, padding.top), std::min(clip.right, padding.right),
              std::min(clip.bottom, padding.bottom)};
    }
    for (Node& node : element.children) {
      if (!node.element) continue;
      if (Element* inner = Walk(*node.element, clip, false)) found = inner;
    }
    return found;
  }
};

}  // namespace

Element* View::HitTest(Element& root, float x, float y) {
  if (!state_) return nullptr;
  Hit hit{state_->layout, x, y, {}};
  const layout::RectF all{-1e9f, -1e9f, 1e9f, 1e9f};
  Element* found = hit.Walk(root, all, false);
  // Popups are painted last, so they are hit first (the last one painted wins).
  for (size_t i = 0; i < hit.overlays.size(); ++i) {
    if (Element* inner = hit.Walk(*hit.overlays[i], all, true)) found = inner;
  }
  return found;
}

}  // namespace hl::view
