// How wide a run of text is and how tall its font stands, for the layout.
//
// Fonts are named by a small number (FontOf) that text runs and caches keep;
// painting asks the GDI measurer for the HFONT of that number, so one handle
// per font serves both. A measurer belongs to one thread (the window's): it
// keeps a device context and the handles it made.
//
// The GDI measurer is what the library uses; tests that need exact numbers
// give the layout a fixed-width measurer of their own through the same
// interface.
#pragma once

#include <windows.h>

#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace hl::layout {

struct FontKey {
  std::wstring family;  // the style's comma list as written; the first that exists is used
  int sizePx = 12;
  int weight = 400;
  bool italic = false;

  bool operator<(const FontKey& o) const {
    if (sizePx != o.sizePx) return sizePx < o.sizePx;
    if (weight != o.weight) return weight < o.weight;
    if (italic != o.italic) return italic < o.italic;
    return family < o.family;
  }
};

struct FontMetrics {
  float ascent = 0, descent = 0;  // above and below the baseline, pixels
};

class TextMeasurer {
 public:
  virtual ~TextMeasurer() = default;

  // The number of a font, the same for equal keys for the measurer's life.
  int FontOf(const FontKey& key);
  const FontKey& Key(int font) const { return keys_[font]; }

  virtual FontMetrics Metrics(int font) = 0;
  virtual float Width(int font, const wchar_t* text, size_t length) = 0;

 private:
  std::map<FontKey, int> ids_;
  std::vector<FontKey> keys_;
};

// Measures with GDI on a memory device context, as the window will draw.
class GdiTextMeasurer : public TextMeasurer {
 public:
  GdiTextMeasurer();
  ~GdiTextMeasurer() override;
  GdiTextMeasurer(const GdiTextMeasurer&) = delete;
  GdiTextMeasurer& operator=(const GdiTextMeasurer&) = delete;

  // The handle of a font, made on first use and owned by the measurer.
  HFONT Handle(int font);
  // The face a family list comes to: its first installed name, else Tahoma,
  // else "MS Shell Dlg" (which Windows always maps to some face).
  std::wstring FaceOf(const std::wstring& familyList);

  FontMetrics Metrics(int font) override;
  float Width(int font, const wchar_t* text, size_t length) override;

 private:
  struct DcDeleter {
    void operator()(HDC dc) const { DeleteDC(dc); }
  };
  struct FontDeleter {
    void operator()(HFONT font) const { DeleteObject(font); }
  };
  using ScopedDc = std::unique_ptr<std::remove_pointer_t<HDC>, DcDeleter>;
  using ScopedFont = std::unique_ptr<std::remove_pointer_t<HFONT>, FontDeleter>;
  struct Font {
    ScopedFont handle;
    FontMetrics metrics;
    bool measured = false;
  };

  void Select(int font);
  bool Installed(const std::wstring& face);

  ScopedDc dc_;
  HGDIOBJ original_ = nullptr;  // the DC's own font, put back before ours are deleted
  int selected_ = -1;
  std::vector<Font> fonts_;
  std::map<std::wstring, bool> installed_;  // face -> present, asked once each
};

}  // namespace hl::layout
