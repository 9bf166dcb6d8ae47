// Declarations ("width: 1*; border: 1px solid gray"): read once when a sheet
// or style attribute is read, shorthands split into their longhands, so the
// cascade only copies values. A declaration whose value does not parse is
// dropped whole and leaves the property to the rules before it, as browsers do.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "standins/htmlayout/css/ComputedStyle.h"
#include "standins/htmlayout/css/Tokenizer.h"

namespace hl::css {

// The longhands. Four-sided ones are in Side (or Corner) order so that
// MarginTop + side names the side's property.
enum class Property : unsigned char {
  Display, Visibility, Width, Height, MinWidth, MinHeight, MaxWidth, MaxHeight,
  MarginTop, MarginRight, MarginBottom, MarginLeft,
  PaddingTop, PaddingRight, PaddingBottom, PaddingLeft,
  BorderTopWidth, BorderRightWidth, BorderBottomWidth, BorderLeftWidth,
  BorderTopStyle, BorderRightStyle, BorderBottomStyle, BorderLeftStyle,
  BorderTopColor, BorderRightColor, BorderBottomColor, BorderLeftColor,
  BorderTopLeftRadius, BorderTopRightRadius, BorderBottomRightRadius, BorderBottomLeftRadius,
  BackgroundColor, BackgroundImage, BackgroundRepeat,
  Color, FontFamily, FontSize, FontWeight, FontStyle, TextAlign, TextDecoration, LineHeight,
  VerticalAlign, WhiteSpace, Overflow, Position, Top, Right, Bottom, Left, Cursor, Behavior, Flow,
  Count
};

bool IsInherited(Property property);

struct Declaration {
  enum class Kind : unsigned char { Value, Inherit, Initial };
  Property property = Property::Display;
  Kind kind = Kind::Value;
  bool important = false;
  bool currentColor = false;  // colour properties: "currentColor"
  int keyword = 0;            // the enum value of keyword properties; font-weight: 100..900, -1 bolder, -2 lighter
  Length length;              // length properties; font-size: px, em or % of the parent's
  hl::css::Color color;
  std::wstring text;          // font-family, background-image, cursor, behavior
  std::shared_ptr<const std::wstring> base;  // the address of the sheet or page: urls are relative to it
};

// One declaration of name (any case) with the value tokens [begin, end) of
// source. Appends its longhands and answers true, or appends nothing.
bool ParseDeclaration(const std::wstring& name, const std::wstring& source, const std::vector<Token>& tokens,
                      size_t begin, size_t end, bool important, std::vector<Declaration>* out);

// A declaration list as in a style attribute or between a rule's braces
// (tokens [begin, end) of source). Skips what does not parse up to the next ';'.
void ParseDeclarationList(const std::wstring& source, const std::vector<Token>& tokens, size_t begin, size_t end,
                          std::vector<Declaration>* out);
std::vector<Declaration> ParseDeclarationList(const std::wstring& text);

// Sets one property of style from a declaration; parent gives inherit, % and
// em font sizes and relative weights.
void Apply(const Declaration& declaration, const ComputedStyle& parent, ComputedStyle* style);
// A child's style before its own declarations: inherited properties from the
// parent, the rest initial.
ComputedStyle InheritedFrom(const ComputedStyle& parent);
// After the last declaration: em and pt to pixels, currentColor borders, none
// borders to width 0.
void Finish(ComputedStyle* style);

}  // namespace hl::css
