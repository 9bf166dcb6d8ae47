#include "standins/htmlayout/paint/Canvas.h"

#include <algorithm>

namespace hl::paint {

Canvas::Canvas(int width, int height) : width_(std::max(width, 1)), height_(std::max(height, 1)) {
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof(info.bmiHeader);
  info.bmiHeader.biWidth = width_;
  info.bmiHeader.biHeight = -height_;  // top-down: row 0 is the top of the page
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  info.bmiHeader.biCompression = BI_RGB;
  void* bits = nullptr;
  dc_ = CreateCompatibleDC(nullptr);
  bitmap_ = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
  if (!dc_ || !bitmap_) return;
  original_ = SelectObject(dc_, bitmap_);
  bits_ = static_cast<uint32_t*>(bits);
}

Canvas::~Canvas() {
  if (original_) SelectObject(dc_, original_);
  if (bitmap_) DeleteObject(bitmap_);
  if (dc_) DeleteDC(dc_);
}

void Canvas::Fill(uint32_t pixel) {
  if (!bits_) return;
  GdiFlush();
  std::fill(bits_, bits_ + static_cast<size_t>(width_) * height_, pixel);
}

uint32_t Premultiply(uint8_t r, uint8_t g, uint8_t b, float alpha) {
  alpha = std::clamp(alpha, 0.0f, 1.0f);
  uint32_t a = static_cast<uint32_t>(alpha * 255 + 0.5f);
  auto scale = [&](uint8_t c) { return (c * a + 127) / 255; };
  return a << 24 | scale(r) << 16 | scale(g) << 8 | scale(b);
}

}  // namespace hl::paint
