// Inline content: words, spaces, inline elements and inline-blocks cut into
// lines. Both the layout and the intrinsic widths read the same items and the
// same pieces (what may not be broken), so the narrowest width a text reports
// is the width at which it lays out without overflowing.
#include <algorithm>
#include <cmath>

#include "standins/htmlayout/layout/LayoutEngine.h"

namespace hl::layout {
namespace {

using css::ComputedStyle;
using css::kBottom;
using css::kLeft;
using css::kRight;
using css::kTop;

enum class Kind : unsigned char { Word, Space, Atom, Open, Close, Break };

struct Item {
  Kind kind;
  const Element* element = nullptr;  // the text's element, the inline-block, the inline element
  const ComputedStyle* style = nullptr;
  std::wstring text;
  int font = 0;
  float width = 0, minWidth = 0;  // minWidth: an inline-block as narrow as it goes
  bool wrap = true;               // Space, Atom: a line may end here (not under nowrap or pre)
  bool collapsible = true;        // Space: white-space normal or nowrap
  bool soft = false;              // Break: ends a line only if something is on it
  Box* box = nullptr;             // the inline-block laid out, or the inline element's box
};

// A stretch of items no line may end inside, and the collapsed space before it.
struct Piece {
  size_t begin = 0, end = 0;
  size_t space = SIZE_MAX;
  bool breakBefore = false;
};

bool IsBlank(wchar_t c) { return c == L' ' || c == L'\t' || c == L'\n' || c == L'\r' || c == L'\f'; }

std::vector<Piece> Pieces(const std::vector<Item>& items) {
  std::vector<Piece> pieces;
  size_t space = SIZE_MAX;
  bool breakAfter = false;  // the piece before ends where a line may end
  for (size_t i = 0; i < items.size();) {
    const Item& item = items[i];
    if (item.kind == Kind::Break) {
      pieces.push_back({i, i + 1, SIZE_MAX, true});
      space = SIZE_MAX;
      breakAfter = false;
      ++i;
      continue;
    }
    if (item.kind == Kind::Space && item.collapsible) {
      space = i++;
      continue;
    }
    Piece piece{i, i, space, false};
    piece.breakBefore = space != SIZE_MAX ? items[space].wrap : breakAfter || (item.kind == Kind::Atom && item.wrap);
    size_t j = i + 1;
    if (item.kind == Kind::Space || (item.kind == Kind::Atom && item.wrap)) {
      breakAfter = item.wrap;
    } else {
      j = i;
      while (j < items.size() &&
             (items[j].kind == Kind::Word || items[j].kind == Kind::Open || items[j].kind == Kind::Close ||
              (items[j].kind == Kind::Atom && !items[j].wrap))) {
        ++j;
      }
      breakAfter = false;
    }
    piece.end = j;
    pieces.push_back(piece);
    space = SIZE_MAX;
    i = j;
  }
  return pieces;
}

bool HasContent(const Item& item) {
  return item.kind == Kind::Word || item.kind == Kind::Atom || item.kind == Kind::Space || item.width > 0;
}

}  // namespace

// Turns the children of an element into items; when laying out, inline-blocks
// are laid out on the way (their size does not depend on where they go) and
// inline elements get their box.
class LineBuilder {
 public:
  LineBuilder(LayoutEngine& engine, Box* box, float width, float left, float top)
      : engine_(engine), box_(box), width_(width), left_(left), top_(top) {}

  void Collect(const Element& parent, const ComputedStyle& style, size_t begin, size_t end) {
    for (size_t i = begin; i < end; ++i) {
      const Node& node = parent.children[i];
      if (!node.element) {
        CollectText(parent, style, node.text);
        continue;
      }
      const ComputedStyle* child = engine_.StyleOf(*node.element);
      if (child) CollectElement(*node.element, *child, style.whiteSpace == css::WhiteSpace::Normal ||
                                                         style.whiteSpace == css::WhiteSpace::PreWrap);
    }
  }

  std::vector<Item> items;

 private:
  void Push(Kind kind, const Element& element, const ComputedStyle& style) {
    items.push_back(Item{kind});
    items.back().element = &element;
    items.back().style = &style;
  }

  void CollectText(const Element& owner, const ComputedStyle& style, const std::wstring& text) {
    const auto mode = style.whiteSpace;
    const bool keep = mode == css::WhiteSpace::Pre || mode == css::WhiteSpace::PreWrap;
    const bool wrap = mode == css::WhiteSpace::Normal || mode == css::WhiteSpace::PreWrap;
    const int font = engine_.FontFor(style);
    for (size_t i = 0; i < text.size();) {
      wchar_t c = text[i];
      if (keep && (c == L'\n' || c == L'\r')) {
        if (c == L'\n') Push(Kind::Break, owner, style);
        ++i;
        continue;
      }
      if (IsBlank(c)) {
        if (keep || !lastSpace_) {
          Push(Kind::Space, owner, style);
          Item& space = items.back();
          space.text = c == L'\t' && keep ? L"    " : L" ";
          space.font = font;
          space.width = space.minWidth = engine_.WordWidth(font, space.text);
          space.wrap = wrap;
          space.collapsible = !keep;
        }
        lastSpace_ = true;
        ++i;
        continue;
      }
      size_t j = i;
      while (j < text.size() && !IsBlank(text[j])) ++j;
      Push(Kind::Word, owner, style);
      Item& word = items.back();
      word.text = text.substr(i, j - i);
      word.font = font;
      word.width = word.minWidth = engine_.WordWidth(font, word.text);
      lastSpace_ = false;
      i = j;
    }
  }

  void CollectElement(const Element& element, const ComputedStyle& style, bool wraps) {
    if (style.display == css::Display::None) return;
    if (style.position == css::Position::Absolute) {
      if (box_) engine_.Defer(element, style, *box_, left_, top_);
      return;
    }
    if (element.tag == L"br") {
      Push(Kind::Break, element, style);
      lastSpace_ = true;
      return;
    }
    if (style.display == css::Display::Inline) {
      Box* box = nullptr;
      if (box_) {
        box = &engine_.NewBox(element, style, box_);
        box->inlineLevel = true;
        Edges(style, box);
      }
      Box edges;
      Edges(style, &edges);
      Push(Kind::Open, element, style);
      items.back().box = box;
      items.back().width = items.back().minWidth =
          edges.margin[kLeft] + edges.borderWidth[kLeft] + edges.padding[kLeft];
      Collect(element, style, 0, element.children.size());
      Push(Kind::Close, element, style);
      items.back().box = box;
      items.back().width = items.back().minWidth =
          edges.margin[kRight] + edges.borderWidth[kRight] + edges.padding[kRight];
      return;
    }
    // A block inside text stands on lines of its own, as wide as the text.
    const bool block = style.display == css::Display::Block;
    if (block) {
      Push(Kind::Break, element, style);
      items.back().soft = true;
    }
    Push(Kind::Atom, element, style);
    Item& atom = items.back();
    atom.wrap = wraps;
    if (box_) {
      LayoutEngine::Placement placement;
      placement.blockWidth = width_;
      placement.in = box_;
      if (!block && !style.width.IsAuto() && style.width.unit != css::Unit::Flex) {
        // sized by its style
      } else if (!block) {
        Box edges;
        Edges(style, &edges);
        placement.width = engine_.ShrinkToFit(element, style, width_ - edges.margin[kLeft] - edges.margin[kRight]);
      }
      Box& laid = engine_.LayoutBox(element, style, placement);
      atom.box = &laid;
      atom.width = atom.minWidth = laid.margin[kLeft] + laid.width + laid.margin[kRight];
    } else {
      Widths widths = engine_.Contribution(element, style);
      atom.width = widths.max;
      atom.minWidth = widths.min;
    }
    if (block) {
      Push(Kind::Break, element, style);
      items.back().soft = true;
    }
    lastSpace_ = false;
  }

  // Margins, borders and paddings of an inline element; percentages of the block's width.
  void Edges(const ComputedStyle& style, Box* box) const {
    for (int side = 0; side < 4; ++side) {
      box->margin[side] = css::Resolve(style.margin[side], width_, style.fontSize);
      box->padding[side] = css::Resolve(style.padding[side], width_, style.fontSize);
      box->borderWidth[side] = style.border[side].style == css::BorderStyle::None
                                   ? 0
                                   : css::Resolve(style.border[side].width, 0, style.fontSize);
    }
  }

  LayoutEngine& engine_;
  Box* box_;  // null when only measuring
  float width_, left_, top_;
  bool lastSpace_ = true;  // blanks at the start of a block's text go
};

namespace {

// What is on the line being filled, placed left to right from 0.
struct OpenInline {
  Box* box;
  float start;
};

}  // namespace

LayoutEngine::RunResult LayoutEngine::LayoutLines(const Element& parent, Box& box, size_t begin, size_t end,
                                                  float left, float top, float width) {
  RunResult result;
  result.firstLine = box.lines.size();
  const ComputedStyle& style = *box.style;
  LineBuilder builder(*this, &box, width, left, top);
  builder.Collect(parent, style, begin, end);
  std::vector<Item>& items = builder.items;

  // Every line is at least as tall as the block's own font in its line height.
  const FontMetrics strutFont = measurer_.Metrics(FontFor(style));
  const float strutHeight = LineHeight(style);
  const float strutAbove = strutFont.ascent + (strutHeight - strutFont.ascent - strutFont.descent) / 2;
  const float middle = (strutFont.ascent - strutFont.descent) / 2;  // the text's middle above the baseline

  struct Fragment {
    Box* box;
    float start, end;
  };
  LineBox line;
  std::vector<std::pair<Box*, float>> atoms;  // inline-blocks on the line and their x
  std::vector<Fragment> fragments;            // pieces of inline elements on the line
  std::vector<OpenInline> open;
  std::vector<std::pair<Box*, RectF>> extents;  // each inline element's union over lines
  float x = 0, y = top;
  bool content = false;

  auto finishLine = [&](bool forced) {
    for (OpenInline& one : open) {
      fragments.push_back({one.box, one.start, x});
      one.start = 0;
    }
    if (!content && !forced) {
      atoms.clear();
      fragments.clear();
      line.runs.clear();
      x = 0;
      return;
    }
    float above = strutAbove, below = strutHeight - strutAbove;
    for (const TextRun& run : line.runs) {
      const ComputedStyle& runStyle = *StyleOf(*run.element);
      FontMetrics metrics = measurer_.Metrics(run.font);
      float height = LineHeight(runStyle);
      float runAbove = metrics.ascent + (height - metrics.ascent - metrics.descent) / 2;
      above = std::max(above, runAbove);
      below = std::max(below, height - runAbove);
    }
    auto outer = [](const Box* atom) { return atom->margin[kTop] + atom->height + atom->margin[kBottom]; };
    for (auto& [atom, atomX] : atoms) {
      float height = outer(atom);
      switch (atom->style->verticalAlign) {
        case css::VerticalAlign::Middle:
          above = std::max(above, height / 2 + middle);
          below = std::max(below, height / 2 - middle);
          break;
        case css::VerticalAlign::Baseline:
          above = std::max(above, atom->margin[kTop] + atom->baseline);
          below = std::max(below, height - atom->margin[kTop] - atom->baseline);
          break;
        default: break;
      }
    }
    for (auto& [atom, atomX] : atoms) {
      float height = outer(atom);
      if (height <= above + below) continue;
      if (atom->style->verticalAlign == css::VerticalAlign::Top) below = height - above;
      if (atom->style->verticalAlign == css::VerticalAlign::Bottom) above = height - below;
    }
    float free = width - x, shift = 0;
    if (free > 0 && style.textAlign == css::TextAlign::Center) shift = free / 2;
    if (free > 0 && style.textAlign == css::TextAlign::Right) shift = free;
    line.left = left + shift;
    line.top = y;
    line.width = x;
    line.height = above + below;
    line.baseline = y + above;
    for (TextRun& run : line.runs) {
      run.x += left + shift;
      run.baseline = line.baseline;
    }
    for (auto& [atom, atomX] : atoms) {
      atom->x = left + shift + atomX + atom->margin[kLeft];
      float height = outer(atom), marginTop = 0;
      switch (atom->style->verticalAlign) {
        case css::VerticalAlign::Middle: marginTop = line.baseline - middle - height / 2; break;
        case css::VerticalAlign::Top: marginTop = y; break;
        case css::VerticalAlign::Bottom: marginTop = y + line.height - height; break;
        default: marginTop = line.baseline - atom->margin[kTop] - atom->baseline; break;
      }
      atom->y = marginTop + atom->margin[kTop];
      result.placed.push_back(atom);
    }
    for (const Fragment& piece : fragments) {
      const Box& inline_ = *piece.box;
      FontMetrics metrics = measurer_.Metrics(FontFor(*inline_.style));
      RectF rect{left + shift + piece.start, line.baseline - metrics.ascent - inline_.padding[kTop] - inline_.borderWidth[kTop],
                 left + shift + piece.end,
                 line.baseline + metrics.descent + inline_.padding[kBottom] + inline_.borderWidth[kBottom]};
      auto known = std::find_if(extents.begin(), extents.end(), [&](auto& e) { return e.first == piece.box; });
      if (known == extents.end()) {
        extents.emplace_back(piece.box, rect);
      } else {
        RectF& all = known->second;
        all = {std::min(all.left, rect.left), std::min(all.top, rect.top), std::max(all.right, rect.right),
               std::max(all.bottom, rect.bottom)};
      }
    }
    y += line.height;
    box.lines.push_back(std::move(line));
    line = LineBox();
    atoms.clear();
    fragments.clear();
    x = 0;
    content = false;
  };

  auto placeText = [&](const Item& item) {
    TextRun* last = line.runs.empty() ? nullptr : &line.runs.back();
    if (last && last->element == item.element && last->font == item.font && std::fabs(last->x + last->width - x) < 0.01f) {
      last->text += item.text;
      last->width += item.width;
    } else {
      line.runs.push_back({item.text, item.font, x, 0, item.width, item.element});
    }
    x += item.width;
  };

  // Whether a piece fits is judged with the pieces a line may not end before
  // (joined by nowrap blanks): "a <nobr>b c</nobr>" moves "b c" down whole.
  const std::vector<Piece> pieces = Pieces(items);
  std::vector<float> widths(pieces.size()), joined(pieces.size() + 1);
  for (size_t p = pieces.size(); p-- > 0;) {
    for (size_t k = pieces[p].begin; k < pieces[p].end; ++k) widths[p] += items[k].width;
    joined[p] = widths[p];
    if (p + 1 < pieces.size() && !pieces[p + 1].breakBefore && items[pieces[p + 1].begin].kind != Kind::Break) {
      const Piece& next = pieces[p + 1];
      joined[p] += joined[p + 1] + (next.space != SIZE_MAX ? items[next.space].width : 0);
    }
  }
  for (size_t p = 0; p < pieces.size(); ++p) {
    const Piece& piece = pieces[p];
    if (items[piece.begin].kind == Kind::Break) {
      if (!items[piece.begin].soft) {
        finishLine(true);
      } else if (content) {
        finishLine(false);
      }
      continue;
    }
    float spaceWidth = piece.space != SIZE_MAX && content ? items[piece.space].width : 0;
    if (content && piece.breakBefore && x + spaceWidth + joined[p] > width + 0.01f) {
      finishLine(false);
      spaceWidth = 0;
    }
    if (spaceWidth > 0) placeText(items[piece.space]);
    for (size_t k = piece.begin; k < piece.end; ++k) {
      Item& item = items[k];
      switch (item.kind) {
        case Kind::Word:
        case Kind::Space: placeText(item); break;
        case Kind::Atom:
          atoms.emplace_back(item.box, x);
          x += item.width;
          break;
        case Kind::Open:
          open.push_back({item.box, x + item.box->margin[kLeft]});
          x += item.width;
          break;
        case Kind::Close: {
          auto it = std::find_if(open.rbegin(), open.rend(), [&](const OpenInline& o) { return o.box == item.box; });
          if (it != open.rend()) {
            fragments.push_back({item.box, it->start, x + item.width - item.box->margin[kRight]});
            open.erase(std::next(it).base());
          }
          x += item.width;
          break;
        }
        case Kind::Break: break;
      }
      content |= HasContent(item);
    }
  }
  if (content || !fragments.empty()) finishLine(false);
  for (auto& [inlineBox, rect] : extents) {
    inlineBox->x = rect.left;
    inlineBox->y = rect.top;
    inlineBox->width = rect.Width();
    inlineBox->height = rect.Height();
    result.placed.push_back(inlineBox);
  }
  result.endLine = box.lines.size();
  result.height = y - top;
  return result;
}

Widths LayoutEngine::LinesWidths(const Element& parent, size_t begin, size_t end) {
  const ComputedStyle* style = StyleOf(parent);
  if (!style) return {};
  LineBuilder builder(*this, nullptr, 0, 0, 0);
  builder.Collect(parent, *style, begin, end);
  const std::vector<Item>& items = builder.items;
  Widths widths;
  float line = 0, narrow = 0;
  bool content = false;
  for (const Piece& piece : Pieces(items)) {
    if (items[piece.begin].kind == Kind::Break) {
      widths.max = std::max(widths.max, line);
      line = 0;
      content = false;
      continue;
    }
    // Pieces joined by a blank no line may end at (nowrap) are one for the narrowest width.
    if (piece.breakBefore || !content) {
      narrow = 0;
    } else if (piece.space != SIZE_MAX) {
      narrow += items[piece.space].minWidth;
    }
    if (content && piece.space != SIZE_MAX) line += items[piece.space].width;
    for (size_t k = piece.begin; k < piece.end; ++k) {
      narrow += items[k].minWidth;
      line += items[k].width;
      content |= HasContent(items[k]);
    }
    widths.min = std::max(widths.min, narrow);
  }
  widths.max = std::max(widths.max, line);
  return widths;
}

}  // namespace hl::layout
