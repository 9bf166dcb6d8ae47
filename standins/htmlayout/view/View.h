// The styled and laid-out state of one window's document.
//
// A window shows one document at a time; the view keeps a style engine and a
// layout for it and brings them up to date lazily: every change through the C
// interface only marks elements (Element::needsRestyle/needsLayout) and the
// document, and the next geometry query or paint restyles the marked subtrees
// and lays the page out again for the window's client width. A new document
// (the next page loaded into the window) starts the view afresh.
//
// Callers hold the document's lock (dom/Lock.h) across Update and everything
// they read from the view afterwards: the boxes point into the tree.
#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

#include "standins/htmlayout/css/StyleEngine.h"
#include "standins/htmlayout/dom/Document.h"
#include "standins/htmlayout/layout/LayoutEngine.h"

namespace hl::view {

class View {
 public:
  View();
  ~View();
  View(const View&) = delete;
  View& operator=(const View&) = delete;

  // Brings styles and layout up to date for document laid out at width x
  // height (the client area). Holds: the document's lock.
  void Update(const std::shared_ptr<Document>& document, int width, int height);

  // Where the layout takes pictures' natural sizes from, for this and every
  // later document of the view.
  void SetNaturalSizes(layout::NaturalSizes* sizes) { naturalSizes_ = sizes; }

  const css::StyleEngine& Styles() const { return state_->styles; }
  layout::LayoutEngine& Layout() { return state_->layout; }
  layout::GdiTextMeasurer& Measurer() { return state_->measurer; }
  int Width() const { return width_; }
  int Height() const { return height_; }

  // The element shown topmost at (x, y), view coordinates: the deepest box
  // holding the point, later boxes over earlier ones, open popups over all;
  // parts clipped away by an ancestor's overflow and hidden boxes are not hit
  // (their visible descendants are). Null outside every box. After Update.
  Element* HitTest(Element& root, float x, float y);

  // Counters for tests and the benchmark: how often the view had to work.
  unsigned Restyles() const { return restyles_; }
  unsigned Layouts() const { return layouts_; }

 private:
  struct State {
    css::StyleEngine styles;
    layout::GdiTextMeasurer measurer;
    layout::LayoutEngine layout{styles, measurer};
  };
  // The style sources a restyle was built from: text and base url, in order.
  using Sheets = std::vector<std::pair<std::wstring, std::wstring>>;

  std::unique_ptr<State> state_;
  std::weak_ptr<Document> document_;
  Sheets sheets_;
  layout::NaturalSizes* naturalSizes_ = nullptr;
  int width_ = -1, height_ = -1;
  unsigned restyles_ = 0, layouts_ = 0;
};

}  // namespace hl::view
