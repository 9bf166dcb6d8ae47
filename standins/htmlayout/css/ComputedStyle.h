// The style of one element after the cascade: what layout and painting read.
//
// Lengths keep percentages, flex shares ("1*") and auto for the layout, which
// knows the containing block; em and pt are already pixels (em of the
// element's own font size; font-size itself in pixels, em and % of the
// parent's). Resolve() in Values.h turns what is left into pixels.
//
// Inherited from the parent unless set: color, font-family, font-size,
// font-weight, font-style, text-align, line-height, white-space, visibility,
// cursor. text-decoration is not inherited, but painting draws an ancestor's
// underline across the text of its descendants, so a link's children look
// underlined too: painting walks up for it, the style does not copy it.
#pragma once

#include <string>

#include "standins/htmlayout/css/Values.h"

namespace hl::css {

enum Side { kTop = 0, kRight = 1, kBottom = 2, kLeft = 3 };
enum Corner { kTopLeft = 0, kTopRight = 1, kBottomRight = 2, kBottomLeft = 3 };

enum class Display : unsigned char { Inline, Block, InlineBlock, None };
enum class Visibility : unsigned char { Visible, Hidden, Collapse };
// Double, groove, ridge, inset and outset draw as Solid.
enum class BorderStyle : unsigned char { None, Solid, Dotted, Dashed };
enum class BackgroundRepeat : unsigned char { Repeat, NoRepeat, RepeatX, RepeatY };
enum class FontStyle : unsigned char { Normal, Italic };  // oblique too
enum class TextAlign : unsigned char { Left, Right, Center, Justify };
enum TextDecoration : unsigned char { kUnderline = 1, kOverline = 2, kLineThrough = 4 };
enum class VerticalAlign : unsigned char { Baseline, Top, Middle, Bottom };
enum class WhiteSpace : unsigned char { Normal, NoWrap, Pre, PreWrap };
enum class Overflow : unsigned char { Visible, Hidden, Auto, Scroll };
enum class Position : unsigned char { Static, Relative, Absolute };  // fixed is absolute: the dialog is the viewport
// How a block lays out its children: one under the other (the default), or in a row.
enum class Flow : unsigned char { Vertical, Horizontal };

// The font size of the root, "medium": the 9 pt of Windows dialog text.
constexpr float kMediumFontPx = 12.0f;
constexpr const wchar_t* kDefaultFontFamily = L"Tahoma";

struct BorderSide {
  Length width = Length::Px(3);  // "medium"; computes to 0 while the style is none
  BorderStyle style = BorderStyle::None;
  Color color;                   // currentColor unless set: see colorIsCurrent
  bool colorIsCurrent = true;
};

struct ComputedStyle {
  Display display = Display::Inline;
  Visibility visibility = Visibility::Visible;
  Length width = Length::Auto(), height = Length::Auto();
  Length minWidth = Length::Px(0), minHeight = Length::Px(0);
  Length maxWidth = Length::Auto(), maxHeight = Length::Auto();  // Auto: none
  Length margin[4], padding[4];                                  // Side order
  BorderSide border[4];
  Length radius[4];                                              // Corner order
  Color backgroundColor;
  std::wstring backgroundImage;      // the url as written; empty for none
  std::wstring backgroundImageBase;  // the address of the sheet or page that wrote it: JoinUrl(base, image)
  BackgroundRepeat backgroundRepeat = BackgroundRepeat::Repeat;
  Color color = Color::Rgb(0, 0, 0);
  std::wstring fontFamily = kDefaultFontFamily;  // names as listed, comma separated, no quotes
  float fontSize = kMediumFontPx;
  int fontWeight = 400;
  FontStyle fontStyle = FontStyle::Normal;
  TextAlign textAlign = TextAlign::Left;
  unsigned char textDecoration = 0;  // TextDecoration bits
  Length lineHeight = Length::Auto();  // Auto: normal; Number: times the font size; else pixels
  VerticalAlign verticalAlign = VerticalAlign::Baseline;
  WhiteSpace whiteSpace = WhiteSpace::Normal;
  Overflow overflow = Overflow::Visible;
  Position position = Position::Static;
  Length offset[4] = {Length::Auto(), Length::Auto(), Length::Auto(), Length::Auto()};  // top right bottom left, Side order
  std::wstring cursor;    // a keyword or a url as written; empty for auto
  std::wstring behavior;  // as written, for the behaviours of controls
  Flow flow = Flow::Vertical;
};

}  // namespace hl::css
