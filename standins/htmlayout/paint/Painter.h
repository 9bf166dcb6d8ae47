// Paints a laid-out page into a Canvas, in document order: each box's
// background (colour, blended when semi-transparent; then its background
// image), its borders per side inside the rounded outline of border-radius,
// the boxes inside it, then its lines of text. An <img> draws its picture
// scaled to its content box. overflow other than visible clips what is inside
// the box to its padding box; visibility: hidden boxes and runs are skipped
// (their visible descendants still paint).
//
// Pictures come from Document::resources; a background image nobody loaded is
// read from its file once, as <img> and style sheets are by the loader.
//
// Holds: the document's lock, as for View::Update.
#pragma once

#include <windows.h>

#include <map>

#include "standins/htmlayout/dom/Document.h"
#include "standins/htmlayout/paint/Canvas.h"
#include "standins/htmlayout/paint/Images.h"
#include "standins/htmlayout/view/View.h"

namespace hl::paint {

struct Options {
  // HTMLAYOUT_FONT_SMOOTHING: 0 the font as made, 1 none, 2 grey, 3 ClearType.
  unsigned fontSmoothing = 0;
};

// What painting keeps between paints of one window: decoded pictures and the
// fonts made for a smoothing other than the measurer's. It also tells the
// layout the size of an <img>'s picture, decoding it once for both.
class PaintCache : public layout::NaturalSizes {
 public:
  PaintCache() = default;
  ~PaintCache() override;
  PaintCache(const PaintCache&) = delete;
  PaintCache& operator=(const PaintCache&) = delete;

  Images images;
  HFONT Font(layout::GdiTextMeasurer& measurer, int font, unsigned smoothing);
  bool NaturalSize(const Element& element, float* width, float* height) override;

 private:
  std::map<std::pair<int, unsigned>, HFONT> fonts_;
  layout::GdiTextMeasurer* measurer_ = nullptr;  // fonts are numbered per measurer
};

// The picture at url among the document's resources, read from its file the
// first time when nobody loaded it; null when there is none.
const Bitmap* PictureAt(Document& document, Images& images, const std::wstring& url);
// The picture an <img> shows; null for other elements and missing pictures.
const Bitmap* PictureOfImg(Document& document, Images& images, const Element& element);

// Paints the document (root and all) over what the canvas holds; the view is
// up to date.
void PaintPage(view::View& view, Document& document, Canvas& canvas, PaintCache& cache, const Options& options);

}  // namespace hl::paint
