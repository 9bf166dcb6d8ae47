// The values style sheets give: lengths with their unit, colours, and the
// joining of a url(...) with the address of the page or sheet that wrote it.
#pragma once

#include <cstdint>
#include <string>

namespace hl::css {

enum class Unit : unsigned char {
  Auto,     // no value: the layout decides (width: auto, left: auto)
  Px,
  Pt,       // 96 px per 72 pt, the screen resolution dialogs are designed at
  Em,       // times the element's font size
  Percent,  // of the containing block (of the parent's font size for font-size, resolved at once)
  Flex,     // "N*": N shares of the space left in the parent's flow
  Number,   // a bare multiplier (line-height: 1.4)
};

struct Length {
  float value = 0;
  Unit unit = Unit::Px;

  static Length Px(float v) { return {v, Unit::Px}; }
  static Length Auto() { return {0, Unit::Auto}; }
  bool IsAuto() const { return unit == Unit::Auto; }
  bool operator==(const Length& o) const { return value == o.value && unit == o.unit; }
  bool operator!=(const Length& o) const { return !(*this == o); }
};

// Pixels of a length: percentages of base, em of fontSize, pt at 96 dpi, a
// Number times fontSize (a line height). Auto and Flex give 0: the layout
// shares out what is left before it asks for those.
float Resolve(const Length& length, float base, float fontSize);

// sRGB with alpha, 255 opaque. Transparent is all zero.
struct Color {
  uint8_t r = 0, g = 0, b = 0, a = 0;

  static Color Rgb(uint8_t r, uint8_t g, uint8_t b, uint8_t a = 255) { return {r, g, b, a}; }
  bool IsTransparent() const { return a == 0; }
  bool operator==(const Color& o) const { return r == o.r && g == o.g && b == o.b && a == o.a; }
  bool operator!=(const Color& o) const { return !(*this == o); }
};

// A named colour (ASCII case-insensitive): the 16 basic names, the greys and
// the common others dialogs use, and "transparent".
bool NamedColor(const std::wstring& name, Color* out);

// A url(...) as written, joined with the address of the page or sheet it came
// from. Bases look like "file://C:\dir\lang\" (backslashes, two slashes),
// "file:///C:/dir/" or a plain folder "C:\dir\"; a base naming a file
// ("...\page.htm") stands for its folder. The result keeps the separator the
// base uses. Absolute addresses ("http://...", "res:...", "C:\...") come back
// unchanged; "/x" starts at the drive (or host) of the base; "." and ".."
// segments are resolved, never above the drive.
std::wstring JoinUrl(const std::wstring& base, const std::wstring& relative);

}  // namespace hl::css
