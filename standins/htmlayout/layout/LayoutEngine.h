// The layout of a styled document: boxes for elements, lines for text.
//
// Blocks fill their containing block's width unless sized, take percentages of
// it, and honour min/max; vertical margins of neighbours are added (margins
// never collapse, so a dialog's spacing is what its sheet says). Text wraps at
// blanks (not under white-space: nowrap or pre), collapses runs of blanks, and
// lines take text-align and line-height (normal: 1.2 times the font size).
// Inline-blocks sit on lines, on the baseline or centred (vertical-align:
// middle). The library's own flows: `flow: horizontal` puts children in a row,
// `flow: vertical` in a column; "N*" lengths in the flow's direction share the
// free space in proportion (a spacer is an empty element with width: 1*), and
// children stretch across the flow unless sized. position: relative shifts a
// box after layout; position: absolute lays a box out against the padding box
// of its nearest positioned ancestor (or the root), out of the flow.
// The library's README lists what is left out.
//
// Cost: one pass over the elements, each laid out once except an auto-height
// child stretched in a row whose own children depend on its height. Word widths
// are cached per font, intrinsic widths per element until the next Layout.
//
// Callers hold the document's lock; the style engine must have styled the tree.
#pragma once

#include <windows.h>

#include <unordered_map>
#include <vector>

#include "standins/htmlayout/css/StyleEngine.h"
#include "standins/htmlayout/layout/Box.h"
#include "standins/htmlayout/layout/TextMeasurer.h"

namespace hl::layout {

// The natural size of a replaced element (an <img>'s picture) in pixels;
// false when the element has none or its picture is not known.
class NaturalSizes {
 public:
  virtual ~NaturalSizes() = default;
  virtual bool NaturalSize(const Element& element, float* width, float* height) = 0;
};

struct Widths {
  float min = 0;  // the widest word or box that cannot break
  float max = 0;  // everything on one line
};

class LayoutEngine {
 public:
  LayoutEngine(const css::StyleEngine& styles, TextMeasurer& measurer);

  // Lays out the tree under root for a view of that width; viewHeight (if not
  // negative) is what the root's percentage heights are of.
  void Layout(const Element& root, float viewWidth, float viewHeight = -1);

  // Where pictures' sizes come from; without it replaced elements are sized by
  // their style alone (0 when auto).
  void SetNaturalSizes(NaturalSizes* sizes) { naturalSizes_ = sizes; }

  // Null for elements without a box (display: none, not under the root laid out).
  const Box* BoxOf(const Element& element) const;

  // A box of the element as HTMLayoutGetElementLocation gives it: areas is one
  // of ROOT/SELF/CONTAINER/VIEW_RELATIVE ored with CONTENT/PADDING/BORDER/
  // MARGIN_BOX. Root and view relative are the same here (the view does not
  // scroll); self relative is from the element's content box origin, container
  // relative from its parent's content box origin. False without a box.
  bool Location(const Element& element, unsigned areas, RECT* out) const;

  // The border-box widths of the element's content laid out as narrow and as
  // wide as it goes, and its border-box height at a border-box width. The
  // window is sized from the root's: max plus the root's margins, then the
  // height at that width. HeightFor leaves the last layout's boxes alone.
  Widths IntrinsicWidths(const Element& element);
  float HeightFor(const Element& element, float borderWidth);

 private:
  friend class LineBuilder;
  // Where and how big the caller wants a box; -1 leaves a size to the style.
  struct Placement {
    float x = 0, y = 0;                    // the margin box's origin in `in`'s border box
    float blockWidth = 0, blockHeight = -1;  // the containing block; -1: height not known yet
    float width = -1, height = -1;         // border box decided by the caller (shrink, share, stretch)
    const Box* in = nullptr;
  };
  // An absolute box met while laying out, waiting for its container's size.
  struct Pending {
    const Element* element;
    const css::ComputedStyle* style;
    const Box* flowBox;  // where it would have been in the flow
    float flowX, flowY;
  };
  // A child as its parent's flow sees it: an element, or children [begin, end)
  // of inline content laid out as lines.
  struct Cell {
    const Element* element = nullptr;
    const css::ComputedStyle* style = nullptr;
    size_t begin = 0, end = 0;
  };

  Box& LayoutBox(const Element& element, const css::ComputedStyle& style, const Placement& placement);
  float LayoutChildren(const Element& element, Box& box, float contentWidth, float contentHeight);
  float LayoutColumn(const Element& element, Box& box, const std::vector<Cell>& cells, float contentWidth,
                     float contentHeight);
  float LayoutRow(const Element& element, Box& box, const std::vector<Cell>& cells, float contentWidth,
                  float contentHeight);
  void LayoutAbsolute(const Pending& pending, Box& container);
  void Defer(const Element& element, const css::ComputedStyle& style, const Box& flowBox, float x, float y);
  bool DependsOnHeight(const Element& element) const;
  std::vector<Cell> CellsOf(const Element& element, bool row) const;
  Box& NewBox(const Element& element, const css::ComputedStyle& style, const Box* placedIn);
  void Finalize(const Element& element);

  // Inline content: lines of text and inline-blocks (LineBuilder.cpp).
  struct RunResult {
    float height = 0;
    size_t firstLine = 0, endLine = 0;
    std::vector<Box*> placed;  // inline-blocks and inline elements on those lines
  };
  RunResult LayoutLines(const Element& parent, Box& box, size_t begin, size_t end, float left, float top,
                        float width);
  Widths LinesWidths(const Element& parent, size_t begin, size_t end);

  // Intrinsic widths of an element's margin box (what it adds to its parent's).
  Widths Contribution(const Element& element, const css::ComputedStyle& style);
  Widths ContentWidths(const Element& element, const css::ComputedStyle& style);
  float ShrinkToFit(const Element& element, const css::ComputedStyle& style, float available);

  // A replaced element's content size: the natural size, scaled to keep its
  // ratio when one side is set (width < 0 or height < 0: not set).
  bool ReplacedSize(const Element& element, float* width, float* height);

  const css::ComputedStyle* StyleOf(const Element& element) const { return styles_.StyleOf(element); }
  int FontFor(const css::ComputedStyle& style);
  static float LineHeight(const css::ComputedStyle& style);
  float WordWidth(int font, const std::wstring& text);

  const css::StyleEngine& styles_;
  TextMeasurer& measurer_;
  std::unordered_map<const Element*, Box> boxes_;
  std::unordered_map<const Element*, Box>* current_ = &boxes_;  // HeightFor lays out into a scratch map
  std::vector<std::vector<Pending>>* absolutes_ = nullptr;       // per positioned box being laid out
  std::unordered_map<const Element*, Widths> intrinsic_;
  std::unordered_map<std::wstring, float> wordWidths_;           // font number + word -> width
  uint32_t generation_ = 0;
  float viewHeight_ = -1;
  NaturalSizes* naturalSizes_ = nullptr;
};

}  // namespace hl::layout
