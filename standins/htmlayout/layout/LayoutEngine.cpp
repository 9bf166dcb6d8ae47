#include "standins/htmlayout/layout/LayoutEngine.h"

#include <algorithm>
#include <cmath>

#include "standins/htmlayout/include/htmlayout.h"

namespace hl::layout {
namespace {

using css::ComputedStyle;
using css::Length;
using css::Unit;
using css::kBottom;
using css::kLeft;
using css::kRight;
using css::kTop;

// A length that gives pixels now: percentages only of a known base.
bool Definite(const Length& length, float base) {
  switch (length.unit) {
    case Unit::Px:
    case Unit::Pt:
    case Unit::Em:
    case Unit::Number: return true;
    case Unit::Percent: return base >= 0;
    default: return false;
  }
}

float Px(const Length& length, float base, float fontSize) {
  return css::Resolve(length, base < 0 ? 0 : base, fontSize);
}

// Margins and paddings take percentages of the containing block's width, as in
// CSS, vertical ones included.
void Edges(const ComputedStyle& style, float blockWidth, Box& box) {
  for (int side = 0; side < 4; ++side) {
    box.margin[side] = Px(style.margin[side], blockWidth, style.fontSize);
    box.padding[side] = std::max(0.0f, Px(style.padding[side], blockWidth, style.fontSize));
    box.borderWidth[side] = style.border[side].style == css::BorderStyle::None
                                ? 0
                                : std::max(0.0f, Px(style.border[side].width, 0, style.fontSize));
  }
}

float Horizontal(const float edges[4]) { return edges[kLeft] + edges[kRight]; }
float Vertical(const float edges[4]) { return edges[kTop] + edges[kBottom]; }

// min-* wins over max-*, as in CSS.
float Clamp(float value, const Length& min, const Length& max, float base, float fontSize) {
  if (!max.IsAuto() && Definite(max, base)) value = std::min(value, Px(max, base, fontSize));
  if (Definite(min, base)) value = std::max(value, Px(min, base, fontSize));
  return std::max(value, 0.0f);
}

bool IsFlex(const Length& length) { return length.unit == Unit::Flex; }

}  // namespace

LayoutEngine::LayoutEngine(const css::StyleEngine& styles, TextMeasurer& measurer)
    : styles_(styles), measurer_(measurer) {}

void LayoutEngine::Layout(const Element& root, float viewWidth, float viewHeight) {
  ++generation_;
  intrinsic_.clear();
  viewHeight_ = viewHeight;
  const ComputedStyle* style = StyleOf(root);
  if (style && style->display != css::Display::None) {
    std::vector<std::vector<Pending>> positioned;
    absolutes_ = &positioned;
    Placement placement;
    placement.blockWidth = viewWidth;
    placement.blockHeight = viewHeight;
    LayoutBox(root, *style, placement);
    absolutes_ = nullptr;
    Finalize(root);
  }
  // Elements gone from the tree, or hidden since, lose their boxes.
  for (auto it = boxes_.begin(); it != boxes_.end();) {
    it = it->second.generation == generation_ ? std::next(it) : boxes_.erase(it);
  }
}

const Box* LayoutEngine::BoxOf(const Element& element) const {
  auto found = boxes_.find(&element);
  if (found == boxes_.end() || found->second.generation != generation_) return nullptr;
  return &found->second;
}

Box& LayoutEngine::NewBox(const Element& element, const ComputedStyle& style, const Box* placedIn) {
  Box& box = (*current_)[&element];
  box.element = &element;
  box.style = &style;
  box.placedIn = placedIn;
  box.lines.clear();
  box.hidden = style.visibility != css::Visibility::Visible;
  box.clips = style.overflow != css::Overflow::Visible;
  box.inlineLevel = false;
  box.outOfFlow = style.position == css::Position::Absolute;
  box.overlay = element.tag == L"popup";
  box.x = box.y = box.width = box.height = 0;
  box.shiftX = box.shiftY = 0;
  box.baseline = -1;
  box.generation = generation_;
  return box;
}

Box& LayoutEngine::LayoutBox(const Element& element, const ComputedStyle& style, const Placement& placement) {
  Box& box = NewBox(element, style, placement.in);
  const float fontSize = style.fontSize, blockWidth = placement.blockWidth, blockHeight = placement.blockHeight;
  Edges(style, blockWidth, box);
  const float extraWidth = Horizontal(box.borderWidth) + Horizontal(box.padding);
  const float extraHeight = Vertical(box.borderWidth) + Vertical(box.padding);

  float width;  // content box
  if (placement.width >= 0) {
    width = placement.width - extraWidth;
  } else if (Definite(style.width, blockWidth)) {
    width = Px(style.width, blockWidth, fontSize);
  } else {
    width = blockWidth - Horizontal(box.margin) - extraWidth;  // auto fills; "N*" across a column too
    float naturalWidth = -1, naturalHeight = -1;
    if (Definite(style.height, blockHeight)) naturalHeight = Px(style.height, blockHeight, fontSize);
    if (ReplacedSize(element, &naturalWidth, &naturalHeight)) width = naturalWidth;  // a picture keeps its size
  }
  width = Clamp(width, style.minWidth, style.maxWidth, blockWidth, fontSize);
  if (placement.width < 0) {
    // Auto side margins share what a sized block leaves: margin: 0 auto centres it.
    bool autoLeft = style.margin[kLeft].IsAuto(), autoRight = style.margin[kRight].IsAuto();
    float free = std::max(0.0f, blockWidth - width - extraWidth - Horizontal(box.margin));
    if (autoLeft && autoRight) {
      box.margin[kLeft] = box.margin[kRight] = free / 2;
    } else if (autoLeft) {
      box.margin[kLeft] = free;
    }
  }
  box.width = width + extraWidth;
  box.x = placement.x + box.margin[kLeft];
  box.y = placement.y + box.margin[kTop];

  float height = -1;  // content box; -1 until the content says
  if (placement.height >= 0) {
    height = placement.height - extraHeight;
  } else if (Definite(style.height, blockHeight)) {
    height = Px(style.height, blockHeight, fontSize);
  }
  if (height >= 0) height = Clamp(height, style.minHeight, style.maxHeight, blockHeight, fontSize);

  if (style.position == css::Position::Relative) {
    if (Definite(style.offset[kLeft], blockWidth)) {
      box.shiftX = Px(style.offset[kLeft], blockWidth, fontSize);
    } else if (Definite(style.offset[kRight], blockWidth)) {
      box.shiftX = -Px(style.offset[kRight], blockWidth, fontSize);
    }
    if (Definite(style.offset[kTop], blockHeight)) {
      box.shiftY = Px(style.offset[kTop], blockHeight, fontSize);
    } else if (Definite(style.offset[kBottom], blockHeight)) {
      box.shiftY = -Px(style.offset[kBottom], blockHeight, fontSize);
    }
  }

  const bool positioned = style.position != css::Position::Static || !placement.in;
  if (positioned && absolutes_) absolutes_->emplace_back();
  float used;
  float replacedWidth = width, replacedHeight = height;
  if (ReplacedSize(element, &replacedWidth, &replacedHeight)) {
    used = replacedHeight;  // a picture has no children to lay out
  } else {
    used = LayoutChildren(element, box, width, height);
  }
  if (height < 0) height = Clamp(used, style.minHeight, style.maxHeight, blockHeight, fontSize);
  box.height = height + extraHeight;
  // An inline-block sits on its last line's baseline, or on its bottom margin edge without text.
  box.baseline = box.lines.empty() ? box.height + box.margin[kBottom] : box.lines.back().baseline;

  if (positioned && absolutes_) {
    std::vector<Pending> pending = std::move(absolutes_->back());
    absolutes_->pop_back();
    for (const Pending& one : pending) LayoutAbsolute(one, box);
  }
  return box;
}

std::vector<LayoutEngine::Cell> LayoutEngine::CellsOf(const Element& element, bool row) const {
  std::vector<Cell> cells;
  bool inRun = false;  // the last cell is inline content still growing
  for (size_t i = 0; i < element.children.size(); ++i) {
    const Node& node = element.children[i];
    if (!node.element) {
      if (row) {
        // In a row a text of its own is a cell; blanks between elements are nothing.
        if (node.text.find_first_not_of(L" \t\r\n\f") != std::wstring::npos) cells.push_back({nullptr, nullptr, i, i + 1});
      } else if (inRun) {
        cells.back().end = i + 1;
      } else {
        cells.push_back({nullptr, nullptr, i, i + 1});
        inRun = true;
      }
      continue;
    }
    const ComputedStyle* style = StyleOf(*node.element);
    if (!style || style->display == css::Display::None) continue;
    bool inlineLevel = style->display != css::Display::Block || style->position == css::Position::Absolute;
    if (!row && inlineLevel && (inRun || style->position != css::Position::Absolute)) {
      if (inRun) {
        cells.back().end = i + 1;
      } else {
        cells.push_back({nullptr, nullptr, i, i + 1});
        inRun = true;
      }
      continue;
    }
    cells.push_back({node.element, style, i, i + 1});
    inRun = false;
  }
  return cells;
}

float LayoutEngine::LayoutChildren(const Element& element, Box& box, float contentWidth, float contentHeight) {
  bool row = box.style->flow == css::Flow::Horizontal;
  std::vector<Cell> cells = CellsOf(element, row);
  return row ? LayoutRow(element, box, cells, contentWidth, contentHeight)
             : LayoutColumn(element, box, cells, contentWidth, contentHeight);
}

void LayoutEngine::Defer(const Element& element, const ComputedStyle& style, const Box& flowBox, float x, float y) {
  if (absolutes_ && !absolutes_->empty()) absolutes_->back().push_back({&element, &style, &flowBox, x, y});
}

float LayoutEngine::LayoutColumn(const Element& element, Box& box, const std::vector<Cell>& cells,
                                 float contentWidth, float contentHeight) {
  const float left = box.borderWidth[kLeft] + box.padding[kLeft];
  const float top = box.borderWidth[kTop] + box.padding[kTop];
  // "N*" heights share what a column of known height leaves; with an auto
  // height there is nothing to share and they size to their content.
  bool sharing = false;
  if (contentHeight >= 0) {
    for (const Cell& cell : cells) {
      sharing |= cell.element && IsFlex(cell.style->height) && cell.style->position != css::Position::Absolute;
    }
  }
  struct Laid {
    float y = 0, height = 0;  // margin box
    Box* box = nullptr;
    RunResult run;
    float weight = 0;
  };
  std::vector<Laid> laid(cells.size());
  float y = 0, weights = 0;
  for (size_t k = 0; k < cells.size(); ++k) {
    const Cell& cell = cells[k];
    Laid& one = laid[k];
    one.y = y;
    if (!cell.element) {
      one.run = LayoutLines(element, box, cell.begin, cell.end, left, top + y, contentWidth);
      one.height = one.run.height;
    } else if (cell.style->position == css::Position::Absolute) {
      Defer(*cell.element, *cell.style, box, left, top + y);
      continue;
    } else if (sharing && IsFlex(cell.style->height)) {
      // Laid out once its share is known; for now only its edges count.
      Box edges;
      Edges(*cell.style, contentWidth, edges);
      one.weight = cell.style->height.value;
      one.height = Vertical(edges.margin) + Vertical(edges.borderWidth) + Vertical(edges.padding);
      weights += one.weight;
    } else {
      Placement placement;
      placement.x = left;
      placement.y = top + y;
      placement.blockWidth = contentWidth;
      placement.blockHeight = contentHeight;
      placement.in = &box;
      one.box = &LayoutBox(*cell.element, *cell.style, placement);
      one.height = one.box->margin[kTop] + one.box->height + one.box->margin[kBottom];
    }
    y += one.height;
  }
  if (!sharing) return y;

  const float unit = weights > 0 ? std::max(0.0f, contentHeight - y) / weights : 0;
  float at = 0;
  for (size_t k = 0; k < cells.size(); ++k) {
    const Cell& cell = cells[k];
    Laid& one = laid[k];
    if (cell.element && cell.style->position == css::Position::Absolute) continue;
    float dy = at - one.y;
    if (one.weight > 0) {
      Box edges;
      Edges(*cell.style, contentWidth, edges);
      Placement placement;
      placement.x = left;
      placement.y = top + at;
      placement.blockWidth = contentWidth;
      placement.blockHeight = contentHeight;
      placement.height = unit * one.weight + Vertical(edges.borderWidth) + Vertical(edges.padding);
      placement.in = &box;
      Box& laidBox = LayoutBox(*cell.element, *cell.style, placement);
      one.height = laidBox.margin[kTop] + laidBox.height + laidBox.margin[kBottom];
    } else if (dy != 0 && one.box) {
      one.box->y += dy;
    } else if (dy != 0) {
      for (size_t l = one.run.firstLine; l < one.run.endLine; ++l) {
        LineBox& line = box.lines[l];
        line.top += dy;
        line.baseline += dy;
        for (TextRun& run : line.runs) run.baseline += dy;
      }
      for (Box* placed : one.run.placed) placed->y += dy;
    }
    at += one.height;
  }
  return at;
}

bool LayoutEngine::DependsOnHeight(const Element& element) const {
  const ComputedStyle* style = StyleOf(element);
  if (!style) return false;
  if (style->flow == css::Flow::Horizontal) return true;  // its cells stretch to it
  for (const Node& node : element.children) {
    if (!node.element) continue;
    const ComputedStyle* child = StyleOf(*node.element);
    if (!child || child->display == css::Display::None) continue;
    if (child->height.unit == Unit::Percent || IsFlex(child->height)) return true;
    if (child->position == css::Position::Absolute && !child->offset[kBottom].IsAuto()) return true;
  }
  return false;
}

float LayoutEngine::LayoutRow(const Element& element, Box& box, const std::vector<Cell>& cells, float contentWidth,
                              float contentHeight) {
  const float left = box.borderWidth[kLeft] + box.padding[kLeft];
  const float top = box.borderWidth[kTop] + box.padding[kTop];
  struct Column {
    float width = 0;                   // border box, or the text's width
    float marginLeft = 0, marginRight = 0;
    float weight = 0, weightLeft = 0, weightRight = 0;  // "N*" width and margins
    float slack = 0;                   // how much narrower an auto width may get
    Placement placement;
    Box* box = nullptr;
  };
  std::vector<Column> columns(cells.size());
  float used = 0, weights = 0, slack = 0;
  for (size_t k = 0; k < cells.size(); ++k) {
    const Cell& cell = cells[k];
    Column& column = columns[k];
    if (!cell.element) {
      column.width = std::min(LinesWidths(element, cell.begin, cell.end).max, contentWidth);
      used += column.width;
      continue;
    }
    const ComputedStyle& style = *cell.style;
    if (style.position == css::Position::Absolute) continue;
    Box edges;
    Edges(style, contentWidth, edges);
    const float extra = Horizontal(edges.borderWidth) + Horizontal(edges.padding);
    column.marginLeft = edges.margin[kLeft];
    column.marginRight = edges.margin[kRight];
    if (IsFlex(style.margin[kLeft])) column.weightLeft = style.margin[kLeft].value;
    if (IsFlex(style.margin[kRight])) column.weightRight = style.margin[kRight].value;
    if (IsFlex(style.width)) {
      column.weight = style.width.value;
      column.width = extra;
    } else if (Definite(style.width, contentWidth)) {
      column.width = Clamp(Px(style.width, contentWidth, style.fontSize), style.minWidth, style.maxWidth,
                           contentWidth, style.fontSize) + extra;
    } else {
      column.width = ShrinkToFit(*cell.element, style, contentWidth - column.marginLeft - column.marginRight);
      Widths content = ContentWidths(*cell.element, style);
      column.slack = std::max(0.0f, column.width - extra -
                                        Clamp(content.min, style.minWidth, style.maxWidth, contentWidth, style.fontSize));
      slack += column.slack;
    }
    used += column.width + column.marginLeft + column.marginRight;
    weights += column.weight + column.weightLeft + column.weightRight;
  }
  // Cells of auto width give back toward their narrowest when the row is too
  // wide, each in proportion to what it can give.
  if (used > contentWidth && slack > 0) {
    float part = std::min(1.0f, (used - contentWidth) / slack);
    for (Column& column : columns) column.width -= column.slack * part;
    used -= std::min(used - contentWidth, slack);
  }
  const float unit = weights > 0 ? std::max(0.0f, contentWidth - used) / weights : 0;

  float x = 0, rowHeight = 0;
  for (size_t k = 0; k < cells.size(); ++k) {
    const Cell& cell = cells[k];
    Column& column = columns[k];
    if (!cell.element) {
      RunResult run = LayoutLines(element, box, cell.begin, cell.end, left + x, top, column.width);
      rowHeight = std::max(rowHeight, run.height);
      x += column.width;
      continue;
    }
    const ComputedStyle& style = *cell.style;
    if (style.position == css::Position::Absolute) {
      Defer(*cell.element, style, box, left + x, top);
      continue;
    }
    if (column.weightLeft > 0) column.marginLeft = unit * column.weightLeft;
    if (column.weightRight > 0) column.marginRight = unit * column.weightRight;
    if (column.weight > 0) {
      float extra = column.width;
      column.width = Clamp(unit * column.weight, style.minWidth, style.maxWidth, contentWidth, style.fontSize) + extra;
    }
    Placement& placement = column.placement;
    // The box's own margin is added back by LayoutBox; shares replace it.
    placement.x = left + x + column.marginLeft - Px(style.margin[kLeft], contentWidth, style.fontSize);
    placement.y = top;
    placement.blockWidth = contentWidth;
    placement.blockHeight = contentHeight;
    placement.width = column.width;
    placement.in = &box;
    column.box = &LayoutBox(*cell.element, style, placement);
    column.box->margin[kLeft] = column.marginLeft;
    column.box->margin[kRight] = column.marginRight;
    x += column.marginLeft + column.width + column.marginRight;
    rowHeight = std::max(rowHeight, column.box->margin[kTop] + column.box->height + column.box->margin[kBottom]);
  }

  // Across the row children stretch to its height unless their height is set.
  const float cross = contentHeight >= 0 ? contentHeight : rowHeight;
  for (size_t k = 0; k < cells.size(); ++k) {
    Column& column = columns[k];
    if (!column.box) continue;
    const ComputedStyle& style = *cells[k].style;
    if (!style.height.IsAuto() && !IsFlex(style.height)) continue;
    Box& child = *column.box;
    float extra = Vertical(child.borderWidth) + Vertical(child.padding);
    float target = Clamp(cross - Vertical(child.margin) - extra, style.minHeight, style.maxHeight, contentHeight,
                         style.fontSize) + extra;
    if (std::fabs(target - child.height) < 0.01f) continue;
    if (DependsOnHeight(*cells[k].element)) {
      column.placement.height = target;
      float marginLeft = child.margin[kLeft], marginRight = child.margin[kRight];
      LayoutBox(*cells[k].element, style, column.placement);
      child.margin[kLeft] = marginLeft;
      child.margin[kRight] = marginRight;
    } else {
      child.height = target;  // its content stays at the top
    }
  }
  return cross;
}

void LayoutEngine::LayoutAbsolute(const Pending& pending, Box& container) {
  const Element& element = *pending.element;
  const ComputedStyle& style = *pending.style;
  const float fontSize = style.fontSize;
  const float areaLeft = container.borderWidth[kLeft], areaTop = container.borderWidth[kTop];
  const float areaWidth = container.width - Horizontal(container.borderWidth);
  const float areaHeight = container.height - Vertical(container.borderWidth);
  float offset[4];
  bool set[4];
  for (int side = 0; side < 4; ++side) {
    float base = side == kLeft || side == kRight ? areaWidth : areaHeight;
    set[side] = Definite(style.offset[side], base);
    offset[side] = set[side] ? Px(style.offset[side], base, fontSize) : 0;
  }
  Box edges;
  Edges(style, areaWidth, edges);
  Placement placement;
  placement.blockWidth = areaWidth;
  placement.blockHeight = areaHeight;
  placement.in = &container;
  if (!set[kLeft] && !set[kRight] && !set[kTop] && !set[kBottom]) {
    // No offsets: where it would have been in the flow.
    placement.in = pending.flowBox;
    placement.x = pending.flowX;
    placement.y = pending.flowY;
  } else {
    placement.x = areaLeft + offset[kLeft];
    placement.y = areaTop + offset[kTop];
  }
  if (!Definite(style.width, areaWidth)) {
    float space = areaWidth - Horizontal(edges.margin) - offset[kLeft] - offset[kRight];
    placement.width = set[kLeft] && set[kRight] ? std::max(0.0f, space) : ShrinkToFit(element, style, space);
  }
  if (!Definite(style.height, areaHeight) && set[kTop] && set[kBottom]) {
    placement.height = std::max(0.0f, areaHeight - Vertical(edges.margin) - offset[kTop] - offset[kBottom]);
  }
  Box& box = LayoutBox(element, style, placement);
  if (!set[kLeft] && set[kRight]) box.x = areaLeft + areaWidth - offset[kRight] - box.margin[kRight] - box.width;
  if (!set[kTop] && set[kBottom]) box.y = areaTop + areaHeight - offset[kBottom] - box.margin[kBottom] - box.height;
}

void LayoutEngine::Finalize(const Element& element) {
  auto found = current_->find(&element);
  if (found != current_->end() && found->second.generation == generation_) {
    Box& box = found->second;
    float originX = box.placedIn ? box.placedIn->border.left : 0;
    float originY = box.placedIn ? box.placedIn->border.top : 0;
    float left = originX + box.x + box.shiftX, top = originY + box.y + box.shiftY;
    box.border = {left, top, left + box.width, top + box.height};
    for (LineBox& line : box.lines) {
      line.left += left;
      line.top += top;
      line.baseline += top;
      for (TextRun& run : line.runs) {
        run.x += left;
        run.baseline += top;
      }
    }
  }
  for (const Node& node : element.children) {
    if (node.element) Finalize(*node.element);
  }
}

bool LayoutEngine::Location(const Element& element, unsigned areas, RECT* out) const {
  const Box* box = BoxOf(element);
  if (!box || !out) return false;
  RectF area;
  switch (areas & 0xF0) {
    case PADDING_BOX: area = box->Padding(); break;
    case BORDER_BOX: area = box->border; break;
    case MARGIN_BOX: area = box->Margin(); break;
    default: area = box->Content(); break;
  }
  float originX = 0, originY = 0;
  if ((areas & 0x0F) == SELF_RELATIVE) {
    originX = box->Content().left;
    originY = box->Content().top;
  } else if ((areas & 0x0F) == CONTAINER_RELATIVE) {
    for (const Element* up = element.parent; up; up = up->parent) {
      if (const Box* container = BoxOf(*up)) {
        originX = container->Content().left;
        originY = container->Content().top;
        break;
      }
    }
  }
  out->left = std::lround(area.left - originX);
  out->top = std::lround(area.top - originY);
  out->right = std::lround(area.right - originX);
  out->bottom = std::lround(area.bottom - originY);
  return true;
}

Widths LayoutEngine::Contribution(const Element& element, const ComputedStyle& style) {
  auto known = intrinsic_.find(&element);
  if (known != intrinsic_.end()) return known->second;
  Box edges;
  Edges(style, 0, edges);  // percentages of a width not known yet count as nothing
  Widths widths;
  if (Definite(style.width, -1)) {
    widths.min = widths.max = Px(style.width, 0, style.fontSize);
  } else {
    widths = ContentWidths(element, style);
  }
  float extra = Horizontal(edges.borderWidth) + Horizontal(edges.padding) + Horizontal(edges.margin);
  widths.min = Clamp(widths.min, style.minWidth, style.maxWidth, -1, style.fontSize) + extra;
  widths.max = Clamp(widths.max, style.minWidth, style.maxWidth, -1, style.fontSize) + extra;
  intrinsic_[&element] = widths;
  return widths;
}

bool LayoutEngine::ReplacedSize(const Element& element, float* width, float* height) {
  float naturalWidth = 0, naturalHeight = 0;
  if (!naturalSizes_ || !naturalSizes_->NaturalSize(element, &naturalWidth, &naturalHeight)) return false;
  if (naturalWidth <= 0 || naturalHeight <= 0) {
    if (*width < 0) *width = 0;
    if (*height < 0) *height = 0;
  } else if (*width >= 0 && *height < 0) {
    *height = *width * naturalHeight / naturalWidth;
  } else if (*height >= 0 && *width < 0) {
    *width = *height * naturalWidth / naturalHeight;
  } else if (*width < 0) {
    *width = naturalWidth;
    *height = naturalHeight;
  }
  return true;
}

Widths LayoutEngine::ContentWidths(const Element& element, const ComputedStyle& style) {
  float replacedWidth = -1, replacedHeight = -1;
  if (Definite(style.height, -1)) replacedHeight = Px(style.height, 0, style.fontSize);
  if (ReplacedSize(element, &replacedWidth, &replacedHeight)) return {replacedWidth, replacedWidth};
  bool row = style.flow == css::Flow::Horizontal;
  Widths widths;
  for (const Cell& cell : CellsOf(element, row)) {
    Widths one;
    if (!cell.element) {
      one = LinesWidths(element, cell.begin, cell.end);
    } else if (cell.style->position == css::Position::Absolute) {
      continue;
    } else {
      one = Contribution(*cell.element, *cell.style);
    }
    if (row) {
      widths.min += one.min;
      widths.max += one.max;
    } else {
      widths.min = std::max(widths.min, one.min);
      widths.max = std::max(widths.max, one.max);
    }
  }
  return widths;
}

float LayoutEngine::ShrinkToFit(const Element& element, const ComputedStyle& style, float available) {
  Box edges;
  Edges(style, available, edges);
  float extra = Horizontal(edges.borderWidth) + Horizontal(edges.padding);
  Widths content = ContentWidths(element, style);
  float width = std::min(std::max(content.min, available - extra), content.max);
  return Clamp(width, style.minWidth, style.maxWidth, available, style.fontSize) + extra;
}

Widths LayoutEngine::IntrinsicWidths(const Element& element) {
  const ComputedStyle* style = StyleOf(element);
  if (!style || style->display == css::Display::None) return {};
  Widths widths = Contribution(element, *style);
  Box edges;
  Edges(*style, 0, edges);
  widths.min -= Horizontal(edges.margin);
  widths.max -= Horizontal(edges.margin);
  return widths;
}

float LayoutEngine::HeightFor(const Element& element, float borderWidth) {
  const ComputedStyle* style = StyleOf(element);
  if (!style || style->display == css::Display::None) return 0;
  std::unordered_map<const Element*, Box> scratch;
  std::vector<std::vector<Pending>> positioned;
  auto* savedBoxes = current_;
  auto* savedAbsolutes = absolutes_;
  current_ = &scratch;
  absolutes_ = &positioned;
  Placement placement;
  placement.width = borderWidth;
  placement.blockWidth = borderWidth;
  placement.blockHeight = viewHeight_;
  float height = LayoutBox(element, *style, placement).height;
  current_ = savedBoxes;
  absolutes_ = savedAbsolutes;
  return height;
}

int LayoutEngine::FontFor(const ComputedStyle& style) {
  FontKey key;
  key.family = style.fontFamily;
  key.sizePx = static_cast<int>(std::lround(style.fontSize));
  key.weight = style.fontWeight;
  key.italic = style.fontStyle == css::FontStyle::Italic;
  return measurer_.FontOf(key);
}

float LayoutEngine::LineHeight(const ComputedStyle& style) {
  const Length& height = style.lineHeight;
  switch (height.unit) {
    case Unit::Auto: return style.fontSize * 1.2f;  // "normal"
    case Unit::Number: return height.value * style.fontSize;
    case Unit::Percent: return height.value * style.fontSize / 100;
    default: return Px(height, 0, style.fontSize);
  }
}

float LayoutEngine::WordWidth(int font, const std::wstring& text) {
  std::wstring key(1, static_cast<wchar_t>(font + 1));
  key += text;
  auto known = wordWidths_.find(key);
  if (known != wordWidths_.end()) return known->second;
  float width = measurer_.Width(font, text.data(), text.size());
  wordWidths_.emplace(std::move(key), width);
  return width;
}

}  // namespace hl::layout
