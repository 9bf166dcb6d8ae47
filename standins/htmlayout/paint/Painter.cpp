#include "standins/htmlayout/paint/Painter.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "standins/htmlayout/css/Values.h"
#include "standins/htmlayout/dom/Url.h"

namespace hl::paint {

using layout::Box;
using layout::RectF;

PaintCache::~PaintCache() {
  for (auto& font : fonts_) DeleteObject(font.second);
}

HFONT PaintCache::Font(layout::GdiTextMeasurer& measurer, int font, unsigned smoothing) {
  HFONT base = measurer.Handle(font);
  if (smoothing == 0 || smoothing > 3 || !base) return base;
  if (measurer_ != &measurer) {  // a new page's measurer numbers its fonts afresh
    for (auto& made : fonts_) DeleteObject(made.second);
    fonts_.clear();
    measurer_ = &measurer;
  }
  auto key = std::make_pair(font, smoothing);
  auto known = fonts_.find(key);
  if (known != fonts_.end()) return known->second;
  LOGFONTW description{};
  if (!GetObjectW(base, sizeof description, &description)) return base;
  static const BYTE kQuality[] = {DEFAULT_QUALITY, NONANTIALIASED_QUALITY, ANTIALIASED_QUALITY, CLEARTYPE_QUALITY};
  description.lfQuality = kQuality[smoothing];
  HFONT made = CreateFontIndirectW(&description);
  if (!made) return base;
  fonts_[key] = made;
  return made;
}

const Bitmap* PictureAt(Document& document, Images& images, const std::wstring& url) {
  auto found = document.resources.find(url);
  if (found == document.resources.end()) {
    std::string bytes;
    ReadLocalFile(url, bytes);  // kept empty when missing: read once
    found = document.resources.emplace(url, std::move(bytes)).first;
  }
  if (found->second.empty()) return nullptr;
  return images.Get(url, found->second);
}

const Bitmap* PictureOfImg(Document& document, Images& images, const Element& element) {
  if (element.tag != L"img") return nullptr;
  const std::wstring* src = element.Attribute(L"src");
  if (!src || src->empty()) return nullptr;
  std::wstring url;
  for (const ImageSource& image : document.images) {
    if (image.element == element.uid) url = image.url;
  }
  if (url.empty()) url = css::JoinUrl(document.baseUrl, *src);
  return PictureAt(document, images, url);
}

bool PaintCache::NaturalSize(const Element& element, float* width, float* height) {
  if (element.tag != L"img" || !element.document) return false;
  const Bitmap* picture = PictureOfImg(*element.document, images, element);
  *width = picture ? static_cast<float>(picture->width) : 0;
  *height = picture ? static_cast<float>(picture->height) : 0;
  return true;
}

namespace {

struct ClipRect {
  int left, top, right, bottom;
};

// A rectangle with elliptic corners (radii per corner, css::Corner order).
struct Shape {
  RectF rect;
  float rx[4] = {}, ry[4] = {};
};

// How much of the pixel (px, py) the shape covers, 0..1. Edges cover
// fractionally; corners are sampled 4x4, enough to smooth a dialog's radii.
float Coverage(const Shape& s, int px, int py) {
  float x0 = static_cast<float>(px), y0 = static_cast<float>(py);
  float cx = std::clamp(std::min(x0 + 1, s.rect.right) - std::max(x0, s.rect.left), 0.0f, 1.0f);
  float cy = std::clamp(std::min(y0 + 1, s.rect.bottom) - std::max(y0, s.rect.top), 0.0f, 1.0f);
  float cover = cx * cy;
  if (cover <= 0) return 0;
  float mx = x0 + 0.5f, my = y0 + 0.5f;
  for (int corner = 0; corner < 4; ++corner) {
    float rx = s.rx[corner], ry = s.ry[corner];
    if (rx <= 0 || ry <= 0) continue;
    bool right = corner == css::kTopRight || corner == css::kBottomRight;
    bool bottom = corner == css::kBottomRight || corner == css::kBottomLeft;
    float centerX = right ? s.rect.right - rx : s.rect.left + rx;
    float centerY = bottom ? s.rect.bottom - ry : s.rect.top + ry;
    bool inZone = (right ? mx + 0.5f > centerX : mx - 0.5f < centerX) && (bottom ? my + 0.5f > centerY : my - 0.5f < centerY);
    if (!inZone) continue;
    int inside = 0;
    for (int sy = 0; sy < 4; ++sy) {
      for (int sx = 0; sx < 4; ++sx) {
        float x = x0 + (sx + 0.5f) / 4, y = y0 + (sy + 0.5f) / 4;
        bool outerX = right ? x > centerX : x < centerX;
        bool outerY = bottom ? y > centerY : y < centerY;
        if (!outerX || !outerY) {
          inside += x >= s.rect.left && x <= s.rect.right && y >= s.rect.top && y <= s.rect.bottom;
          continue;
        }
        float dx = (x - centerX) / rx, dy = (y - centerY) / ry;
        inside += dx * dx + dy * dy <= 1;
      }
    }
    return inside / 16.0f;
  }
  return cover;
}

// The pixels of row y that the shape certainly covers whole, [x0, x1): the
// fills and the border ring skip the per-pixel coverage there, which is most of
// a big box.
void Interior(const Shape& s, int y, int& x0, int& x1) {
  x0 = x1 = 0;
  if (y < std::ceil(s.rect.top) || y + 1 > std::floor(s.rect.bottom)) return;
  float bandTop = s.rect.top + std::max(s.ry[css::kTopLeft], s.ry[css::kTopRight]);
  float bandBottom = s.rect.bottom - std::max(s.ry[css::kBottomLeft], s.ry[css::kBottomRight]);
  float inset = 0, insetRight = 0;
  if (y < bandTop || y + 1 > bandBottom) {  // beside a corner: its radius is not covered
    inset = std::max(s.rx[css::kTopLeft], s.rx[css::kBottomLeft]);
    insetRight = std::max(s.rx[css::kTopRight], s.rx[css::kBottomRight]);
  }
  x0 = static_cast<int>(std::ceil(s.rect.left + inset));
  x1 = static_cast<int>(std::floor(s.rect.right - insetRight));
  if (x1 < x0) x1 = x0;
}

class PagePainter {
 public:
  PagePainter(view::View& view, Document& document, Canvas& canvas, PaintCache& cache, const Options& options)
      : view_(view), document_(document), canvas_(canvas), cache_(cache), options_(options) {
    clips_.push_back({0, 0, canvas.Width(), canvas.Height()});
  }

  // The page, then the open popups over it (a dropdown's list may hang out of
  // a box that clips).
  void PaintAll(const Element& root) {
    Paint(root);
    for (size_t i = 0; i < overlays_.size(); ++i) {  // a popup inside a popup is painted after it
      clips_.resize(1);
      Paint(*overlays_[i], true);
    }
  }

  void Paint(const Element& element, bool overlayPass = false) {
    const Box* box = view_.Layout().BoxOf(element);
    if (!box) return;  // display: none, and nothing under it shows either
    if (box->overlay && !overlayPass) {
      overlays_.push_back(&element);
      return;
    }
    const css::ComputedStyle& style = *box->style;
    bool visible = !box->hidden && style.visibility == css::Visibility::Visible;
    if (visible) {
      PaintBackground(*box, style);
      PaintBorder(*box, style);
      if (element.tag == L"img") PaintImg(element, *box);
      if (element.tag == L"progress" || style.behavior == L"progress") PaintProgress(element, *box, style);
      PaintMarks(element, *box, style);
    }
    bool clipped = box->clips;
    if (clipped) PushClip(box->Padding());
    for (const Node& node : element.children) {
      if (node.element) Paint(*node.element);
    }
    PaintLines(*box);
    if (clipped) clips_.pop_back();
  }

 private:
  const ClipRect& Clip() const { return clips_.back(); }

  void PushClip(const RectF& r) {
    ClipRect c = Clip();
    c.left = std::max(c.left, static_cast<int>(std::floor(r.left)));
    c.top = std::max(c.top, static_cast<int>(std::floor(r.top)));
    c.right = std::min(c.right, static_cast<int>(std::ceil(r.right)));
    c.bottom = std::min(c.bottom, static_cast<int>(std::ceil(r.bottom)));
    clips_.push_back(c);
  }

  // The pixels a rectangle touches, within the clip.
  ClipRect Pixels(const RectF& r) const {
    const ClipRect& c = Clip();
    return {std::max(c.left, static_cast<int>(std::floor(r.left))), std::max(c.top, static_cast<int>(std::floor(r.top))),
            std::min(c.right, static_cast<int>(std::ceil(r.right))),
            std::min(c.bottom, static_cast<int>(std::ceil(r.bottom)))};
  }

  Shape Outline(const Box& box, const css::ComputedStyle& style) const {
    Shape shape;
    shape.rect = box.border;
    float w = box.border.Width(), h = box.border.Height();
    for (int corner = 0; corner < 4; ++corner) {
      float r = css::Resolve(style.radius[corner], w, style.fontSize);
      shape.rx[corner] = std::min(r, w / 2);
      shape.ry[corner] = std::min(r, h / 2);
    }
    return shape;
  }

  // The padding box with the outline's radii less the border widths beside each corner.
  static Shape Inner(const Box& box, const Shape& outer) {
    Shape shape;
    shape.rect = box.Padding();
    static const int kSideX[4] = {css::kLeft, css::kRight, css::kRight, css::kLeft};
    static const int kSideY[4] = {css::kTop, css::kTop, css::kBottom, css::kBottom};
    for (int corner = 0; corner < 4; ++corner) {
      shape.rx[corner] = std::max(0.0f, outer.rx[corner] - box.borderWidth[kSideX[corner]]);
      shape.ry[corner] = std::max(0.0f, outer.ry[corner] - box.borderWidth[kSideY[corner]]);
    }
    return shape;
  }

  void Fill(const Shape& shape, const css::Color& color, const ClipRect& area) {
    uint32_t solid = Premultiply(color.r, color.g, color.b, color.a / 255.0f);
    for (int y = area.top; y < area.bottom; ++y) {
      uint32_t* row = canvas_.Row(y);
      int x0, x1;
      Interior(shape, y, x0, x1);
      for (int x = area.left; x < area.right; ++x) {
        if (x >= x0 && x < x1) {
          row[x] = Over(row[x], solid);
          continue;
        }
        float cover = Coverage(shape, x, y);
        if (cover <= 0) continue;
        row[x] = Over(row[x], cover >= 1 ? solid : Scale(solid, cover));
      }
    }
  }

  // A progress bar: the share value/max of its padding box, from the left, in
  // the element's colour and inside its rounded outline. Without a number in
  // "value" nothing is filled (the bar is waiting).
  void PaintProgress(const Element& element, const Box& box, const css::ComputedStyle& style) {
    const std::wstring* value = element.Attribute(L"value");
    const std::wstring* max = element.Attribute(L"max");
    if (!value || value->empty()) return;
    float total = max && !max->empty() ? static_cast<float>(_wtof(max->c_str())) : 100.0f;
    float share = total > 0 ? static_cast<float>(_wtof(value->c_str())) / total : 0;
    share = std::clamp(share, 0.0f, 1.0f);
    if (share <= 0) return;
    Shape bar = Inner(box, Outline(box, style));
    bar.rect.right = bar.rect.left + bar.rect.Width() * share;
    for (int corner = 0; corner < 4; ++corner) bar.rx[corner] = std::min(bar.rx[corner], bar.rect.Width() / 2);
    Fill(bar, style.color, Pixels(bar.rect));
  }

  // The marks controls draw over their background in their text colour: the
  // tick of a checked box, the arrow of a dropdown's button, the caret of a
  // focused text field after its text.
  void PaintMarks(const Element& element, const Box& box, const css::ComputedStyle& style) {
    const std::wstring* type = element.Attribute(L"type");
    const bool input = element.tag == L"input";
    const RectF c = box.Content().Width() > 0 ? box.Content() : box.Padding();
    const css::Color& ink = style.color;
    if ((input && type && *type == L"checkbox") || style.behavior == L"check") {
      if (!(element.state & kStateChecked)) return;
      // Two strokes: down from the left third, up to the top right.
      float w = c.Width(), h = c.Height();
      Stroke(c.left + w * 0.18f, c.top + h * 0.52f, c.left + w * 0.42f, c.top + h * 0.76f, ink, 1.6f);
      Stroke(c.left + w * 0.42f, c.top + h * 0.76f, c.left + w * 0.84f, c.top + h * 0.24f, ink, 1.6f);
    } else if (element.tag == L"button" && element.parent && element.parent->tag == L"select") {
      float cx = (c.left + c.right) / 2, cy = (c.top + c.bottom) / 2, half = std::min(c.Width(), c.Height()) * 0.25f;
      Stroke(cx - half, cy - half / 2, cx, cy + half / 2, ink, 1.4f);
      Stroke(cx, cy + half / 2, cx + half, cy - half / 2, ink, 1.4f);
    } else if (input && (element.state & kStateFocus) && (!type || *type == L"text" || *type == L"password")) {
      float x = c.left + 1;
      for (const layout::LineBox& line : box.lines) {
        for (const layout::TextRun& run : line.runs) x = std::max(x, run.x + run.width + 1);
      }
      Stroke(x, c.top + 2, x, c.bottom - 2, ink, 1.0f);
    }
  }

  // A line of the given width, anti-aliased by distance to the segment.
  void Stroke(float x0, float y0, float x1, float y1, const css::Color& color, float width) {
    RectF bounds{std::min(x0, x1) - width, std::min(y0, y1) - width, std::max(x0, x1) + width,
                 std::max(y0, y1) + width};
    ClipRect area = Pixels(bounds);
    float dx = x1 - x0, dy = y1 - y0, length2 = dx * dx + dy * dy;
    for (int y = area.top; y < area.bottom; ++y) {
      for (int x = area.left; x < area.right; ++x) {
        float px = x + 0.5f - x0, py = y + 0.5f - y0;
        float t = length2 > 0 ? std::clamp((px * dx + py * dy) / length2, 0.0f, 1.0f) : 0;
        float ex = px - t * dx, ey = py - t * dy;
        float cover = std::clamp(width / 2 + 0.5f - std::sqrt(ex * ex + ey * ey), 0.0f, 1.0f);
        if (cover <= 0) continue;
        uint32_t solid = Premultiply(color.r, color.g, color.b, color.a / 255.0f * cover);
        canvas_.At(x, y) = Over(canvas_.At(x, y), solid);
      }
    }
  }

  void PaintBackground(const Box& box, const css::ComputedStyle& style) {
    Shape outline = Outline(box, style);
    const css::Color& color = style.backgroundColor;
    ClipRect area = Pixels(box.border);
    if (!color.IsTransparent()) Fill(outline, color, area);
    if (style.backgroundImage.empty()) return;
    const Bitmap* picture = PictureAt(document_, cache_.images, css::JoinUrl(style.backgroundImageBase, style.backgroundImage));
    if (!picture) return;
    // Placed at the padding box's top left; repeated as the style says.
    RectF padding = box.Padding();
    bool repeatX = style.backgroundRepeat == css::BackgroundRepeat::Repeat ||
                   style.backgroundRepeat == css::BackgroundRepeat::RepeatX;
    bool repeatY = style.backgroundRepeat == css::BackgroundRepeat::Repeat ||
                   style.backgroundRepeat == css::BackgroundRepeat::RepeatY;
    int originX = static_cast<int>(std::lround(padding.left)), originY = static_cast<int>(std::lround(padding.top));
    for (int y = area.top; y < area.bottom; ++y) {
      int iy = y - originY;
      if (repeatY) iy = ((iy % picture->height) + picture->height) % picture->height;
      if (iy < 0 || iy >= picture->height) continue;
      for (int x = area.left; x < area.right; ++x) {
        int ix = x - originX;
        if (repeatX) ix = ((ix % picture->width) + picture->width) % picture->width;
        if (ix < 0 || ix >= picture->width) continue;
        float cover = Coverage(outline, x, y);
        if (cover <= 0) continue;
        uint32_t pixel = picture->pixels[static_cast<size_t>(iy) * picture->width + ix];
        canvas_.At(x, y) = Over(canvas_.At(x, y), cover >= 1 ? pixel : Scale(pixel, cover));
      }
    }
  }

  static uint32_t Scale(uint32_t pixel, float by) {
    uint32_t f = static_cast<uint32_t>(by * 256);
    uint32_t rb = ((pixel & 0x00FF00FF) * f >> 8) & 0x00FF00FF;
    uint32_t ag = ((pixel >> 8 & 0x00FF00FF) * f) & 0xFF00FF00;
    return rb | ag;
  }

  void PaintBorder(const Box& box, const css::ComputedStyle& style) {
    const float* bw = box.borderWidth;
    if (bw[0] <= 0 && bw[1] <= 0 && bw[2] <= 0 && bw[3] <= 0) return;
    Shape outer = Outline(box, style);
    Shape inner = Inner(box, outer);
    uint32_t colors[4];
    for (int side = 0; side < 4; ++side) {
      const css::BorderSide& border = style.border[side];
      css::Color c = border.colorIsCurrent ? style.color : border.color;
      colors[side] = border.style == css::BorderStyle::None ? 0 : Premultiply(c.r, c.g, c.b, c.a / 255.0f);
    }
    ClipRect area = Pixels(box.border);
    RectF in = inner.rect;
    for (int y = area.top; y < area.bottom; ++y) {
      int x0, x1;
      Interior(inner, y, x0, x1);
      for (int x = area.left; x < area.right; ++x) {
        if (x >= x0 && x < x1) {
          x = x1 - 1;  // inside the ring's hole
          continue;
        }
        float cover = Coverage(outer, x, y) - Coverage(inner, x, y);
        if (cover <= 0) continue;
        // The side of the ring this pixel is on: at a corner, the one it is
        // deeper into relative to that side's width.
        float mx = x + 0.5f, my = y + 0.5f;
        float depth[4] = {bw[css::kTop] > 0 ? (in.top - my) / bw[css::kTop] : -1,
                          bw[css::kRight] > 0 ? (mx - in.right) / bw[css::kRight] : -1,
                          bw[css::kBottom] > 0 ? (my - in.bottom) / bw[css::kBottom] : -1,
                          bw[css::kLeft] > 0 ? (in.left - mx) / bw[css::kLeft] : -1};
        int side = static_cast<int>(std::max_element(depth, depth + 4) - depth);
        uint32_t color = colors[side];
        if (!color) continue;
        canvas_.At(x, y) = Over(canvas_.At(x, y), cover >= 1 ? color : Scale(color, cover));
      }
    }
  }

  void PaintImg(const Element& element, const Box& box) {
    const Bitmap* picture = PictureOfImg(document_, cache_.images, element);
    if (!picture) return;
    RectF content = box.Content();
    if (content.Width() <= 0 || content.Height() <= 0) return;
    ClipRect area = Pixels(content);
    for (int y = area.top; y < area.bottom; ++y) {
      int iy = static_cast<int>((y + 0.5f - content.top) * picture->height / content.Height());
      if (iy < 0 || iy >= picture->height) continue;
      for (int x = area.left; x < area.right; ++x) {
        int ix = static_cast<int>((x + 0.5f - content.left) * picture->width / content.Width());
        if (ix < 0 || ix >= picture->width) continue;
        canvas_.At(x, y) = Over(canvas_.At(x, y), picture->pixels[static_cast<size_t>(iy) * picture->width + ix]);
      }
    }
  }

  // An element's own underline or that of an inline ancestor up to the block
  // that holds the line: a link's bold child is underlined too.
  static bool Underlined(const Element* element, const view::View& view) {
    for (const Element* up = element; up; up = up->parent) {
      const css::ComputedStyle* style = view.Styles().StyleOf(*up);
      if (!style) break;
      if (style->textDecoration & css::kUnderline) return true;
      if (style->display != css::Display::Inline) break;
    }
    return false;
  }

  void PaintLines(const Box& box) {
    if (box.lines.empty()) return;
    HDC dc = canvas_.Dc();
    const ClipRect& c = Clip();
    HRGN region = CreateRectRgn(c.left, c.top, c.right, c.bottom);
    SelectClipRgn(dc, region);
    DeleteObject(region);
    SetBkMode(dc, TRANSPARENT);
    SetTextAlign(dc, TA_BASELINE | TA_LEFT | TA_NOUPDATECP);
    for (const layout::LineBox& line : box.lines) {
      for (const layout::TextRun& run : line.runs) {
        const css::ComputedStyle* style = run.element ? view_.Styles().StyleOf(*run.element) : box.style;
        if (!style || style->visibility != css::Visibility::Visible || run.text.empty()) continue;
        PaintRun(dc, run, *style, line);
      }
    }
    SelectClipRgn(dc, nullptr);
  }

  void PaintRun(HDC dc, const layout::TextRun& run, const css::ComputedStyle& style, const layout::LineBox& line) {
    layout::FontMetrics metrics = view_.Measurer().Metrics(run.font);
    RectF extent{run.x - 2, run.baseline - metrics.ascent - 2, run.x + run.width + 2,
                 run.baseline + metrics.descent + 3};
    ClipRect area = Pixels(extent);
    if (area.right <= area.left || area.bottom <= area.top) return;
    // GDI writes colour without alpha into a 32-bit DIB: keep what was there to
    // give the pixels it touched full alpha afterwards.
    GdiFlush();
    std::vector<uint32_t> before;
    before.reserve(static_cast<size_t>(area.right - area.left) * (area.bottom - area.top));
    for (int y = area.top; y < area.bottom; ++y) {
      for (int x = area.left; x < area.right; ++x) before.push_back(canvas_.At(x, y));
    }
    HGDIOBJ old = SelectObject(dc, cache_.Font(view_.Measurer(), run.font, options_.fontSmoothing));
    const css::Color& color = style.color;
    SetTextColor(dc, RGB(color.r, color.g, color.b));
    // Glyphs go where the layout measured them: Wine draws small sizes with
    // advances that differ from GetTextExtentPoint32's by a pixel here and
    // there, which over a run moves a word into the next element's text.
    const int count = static_cast<int>(run.text.size());
    std::vector<INT> ends(count), advances(count);
    SIZE total{};
    const INT* dx = nullptr;
    if (GetTextExtentExPointW(dc, run.text.c_str(), count, 0, nullptr, ends.data(), &total)) {
      for (int i = 0; i < count; ++i) advances[i] = ends[i] - (i ? ends[i - 1] : 0);
      dx = advances.data();
    }
    ExtTextOutW(dc, static_cast<int>(std::lround(run.x)), static_cast<int>(std::lround(run.baseline)), 0, nullptr,
                run.text.c_str(), static_cast<UINT>(count), dx);
    SelectObject(dc, old);
    GdiFlush();
    size_t i = 0;
    for (int y = area.top; y < area.bottom; ++y) {
      for (int x = area.left; x < area.right; ++x, ++i) {
        uint32_t& pixel = canvas_.At(x, y);
        if (pixel != before[i]) pixel |= 0xFF000000;
      }
    }
    if (Underlined(run.element, view_)) {
      int y = static_cast<int>(std::lround(run.baseline + std::max(1.0f, metrics.descent / 2)));
      uint32_t ink = Premultiply(color.r, color.g, color.b, 1);
      ClipRect under = Pixels({run.x, static_cast<float>(y), run.x + run.width, static_cast<float>(y + 1)});
      for (int x = under.left; x < under.right; ++x) {
        if (y >= under.top && y < under.bottom) canvas_.At(x, y) = ink;
      }
    }
  }

  view::View& view_;
  Document& document_;
  Canvas& canvas_;
  PaintCache& cache_;
  const Options& options_;
  std::vector<ClipRect> clips_;
  std::vector<const Element*> overlays_;  // popups met on the way, painted last
};

}  // namespace

void PaintPage(view::View& view, Document& document, Canvas& canvas, PaintCache& cache, const Options& options) {
  if (!document.root || !canvas.Valid()) return;
  GdiFlush();
  PagePainter(view, document, canvas, cache, options).PaintAll(*document.root);
  GdiFlush();
}

}  // namespace hl::paint
