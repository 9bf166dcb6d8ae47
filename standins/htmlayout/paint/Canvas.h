// A 32-bit top-down DIB section with a memory DC: what a page is painted into
// before it goes to the window in one BitBlt (no flicker) or, for a layered
// window, to UpdateLayeredWindow.
//
// Pixels are premultiplied BGRA, the format UpdateLayeredWindow and AlphaBlend
// take: a page painted over a transparent canvas keeps its rounded corners
// see-through.
#pragma once

#include <windows.h>

#include <cstdint>

namespace hl::paint {

class Canvas {
 public:
  Canvas(int width, int height);
  ~Canvas();
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;

  bool Valid() const { return bits_ != nullptr; }
  HDC Dc() const { return dc_; }
  int Width() const { return width_; }
  int Height() const { return height_; }
  uint32_t* Row(int y) { return bits_ + static_cast<size_t>(y) * width_; }
  uint32_t& At(int x, int y) { return bits_[static_cast<size_t>(y) * width_ + x]; }
  void Fill(uint32_t pixel);

 private:
  int width_, height_;
  HDC dc_ = nullptr;
  HBITMAP bitmap_ = nullptr;
  HGDIOBJ original_ = nullptr;
  uint32_t* bits_ = nullptr;
};

// Premultiplied pixel of a colour with its alpha scaled by coverage (0..1).
uint32_t Premultiply(uint8_t r, uint8_t g, uint8_t b, float alpha);
// Source-over of a premultiplied pixel onto another.
inline uint32_t Over(uint32_t dst, uint32_t src) {
  uint32_t sa = src >> 24;
  if (sa == 255) return src;
  if (sa == 0) return dst;
  uint32_t inv = 255 - sa;
  uint32_t rb = ((dst & 0x00FF00FF) * inv + 0x00800080) >> 8 & 0x00FF00FF;
  uint32_t ag = ((dst >> 8 & 0x00FF00FF) * inv + 0x00800080) & 0xFF00FF00;
  return src + (rb | ag);
}

}  // namespace hl::paint
