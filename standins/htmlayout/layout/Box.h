// What the layout gives painting and the C interface: per element its boxes,
// and per block the lines of text inside it.
//
// After LayoutEngine::Layout every coordinate here is in pixels relative to the
// view's top left (the root's margin box starts at 0,0). Layout works in
// offsets relative to the box that placed an element and turns them into view
// coordinates once at the end, so moving a box while laying out its parent
// never walks its subtree.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "standins/htmlayout/css/ComputedStyle.h"
#include "standins/htmlayout/dom/Element.h"

namespace hl::layout {

struct RectF {
  float left = 0, top = 0, right = 0, bottom = 0;
  float Width() const { return right - left; }
  float Height() const { return bottom - top; }
};

// Text of one element in one font on one line: words and the spaces between
// them, already collapsed.
struct TextRun {
  std::wstring text;
  int font = 0;             // TextMeasurer::FontOf; GdiTextMeasurer::Handle gives the HFONT
  float x = 0, baseline = 0;
  float width = 0;
  const Element* element = nullptr;  // whose style colours and decorates it
};

struct LineBox {
  float left = 0, top = 0, width = 0, height = 0;
  float baseline = 0;  // view y of the line's baseline
  std::vector<TextRun> runs;
};

struct Box {
  const Element* element = nullptr;
  const css::ComputedStyle* style = nullptr;
  RectF border;  // the border box in view coordinates
  float margin[4] = {}, borderWidth[4] = {}, padding[4] = {};  // css::Side order
  // Text of this block and of the inline elements inside it, in order; inline
  // elements (a span) have a box for their extent but no lines of their own.
  std::vector<LineBox> lines;
  bool hidden = false;         // visibility: hidden: laid out, not painted
  bool clips = false;          // overflow other than visible: painting clips to the padding box
  bool inlineLevel = false;    // the union of an inline element's pieces on its lines
  bool outOfFlow = false;      // position: absolute
  bool overlay = false;        // a <popup>: painted over everything else, unclipped, hit first

  RectF Padding() const {
    return {border.left + borderWidth[css::kLeft], border.top + borderWidth[css::kTop],
            border.right - borderWidth[css::kRight], border.bottom - borderWidth[css::kBottom]};
  }
  RectF Content() const {
    RectF p = Padding();
    return {p.left + padding[css::kLeft], p.top + padding[css::kTop], p.right - padding[css::kRight],
            p.bottom - padding[css::kBottom]};
  }
  RectF Margin() const {
    return {border.left - margin[css::kLeft], border.top - margin[css::kTop], border.right + margin[css::kRight],
            border.bottom + margin[css::kBottom]};
  }

  // Layout's working state: the offset of the border box from the border box
  // of `placedIn` (null for the box laid out first), the relative shift, and
  // the distance from the border top to the baseline an inline-block sits on.
  const Box* placedIn = nullptr;
  float x = 0, y = 0, width = 0, height = 0;
  float shiftX = 0, shiftY = 0;
  float baseline = 0;
  uint32_t generation = 0;
};

}  // namespace hl::layout
