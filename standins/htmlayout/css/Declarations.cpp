#include "standins/htmlayout/css/Declarations.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>

namespace hl::css {
namespace {

const wchar_t* const kNames[] = {
    L"display", L"visibility", L"width", L"height", L"min-width", L"min-height", L"max-width", L"max-height",
    L"margin-top", L"margin-right", L"margin-bottom", L"margin-left",
    L"padding-top", L"padding-right", L"padding-bottom", L"padding-left",
    L"border-top-width", L"border-right-width", L"border-bottom-width", L"border-left-width",
    L"border-top-style", L"border-right-style", L"border-bottom-style", L"border-left-style",
    L"border-top-color", L"border-right-color", L"border-bottom-color", L"border-left-color",
    L"border-top-left-radius", L"border-top-right-radius", L"border-bottom-right-radius", L"border-bottom-left-radius",
    L"background-color", L"background-image", L"background-repeat",
    L"color", L"font-family", L"font-size", L"font-weight", L"font-style", L"text-align", L"text-decoration",
    L"line-height", L"vertical-align", L"white-space", L"overflow", L"position", L"top", L"right", L"bottom",
    L"left", L"cursor", L"behavior", L"flow",
};
static_assert(sizeof(kNames) / sizeof(kNames[0]) == static_cast<size_t>(Property::Count), "a name per property");

Property operator+(Property p, int n) { return static_cast<Property>(static_cast<int>(p) + n); }

// One value of a declaration: a token, or a function with its arguments.
struct Component {
  const Token* head;
  std::vector<const Token*> args;  // inside a function's parentheses, no whitespace
};

std::vector<Component> Components(const std::vector<Token>& t, size_t begin, size_t end) {
  std::vector<Component> out;
  for (size_t i = begin; i < end; ++i) {
    if (t[i].Is(TokenType::Whitespace)) continue;
    Component c{&t[i], {}};
    if (t[i].Is(TokenType::Function) || t[i].Is(TokenType::OpenParen)) {
      int depth = 1;
      for (++i; i < end; ++i) {
        if (t[i].Is(TokenType::Function) || t[i].Is(TokenType::OpenParen)) ++depth;
        else if (t[i].Is(TokenType::CloseParen) && --depth == 0) break;
        if (!t[i].Is(TokenType::Whitespace)) c.args.push_back(&t[i]);
      }
    }
    out.push_back(std::move(c));
  }
  return out;
}

struct KeywordValue {
  const wchar_t* name;
  int value;
};

bool KeywordOf(const Component& c, std::initializer_list<KeywordValue> table, int* out) {
  if (!c.head->Is(TokenType::Ident)) return false;
  for (auto& k : table) {
    if (EqualsIgnoreCase(c.head->text, k.name)) {
      *out = k.value;
      return true;
    }
  }
  return false;
}

enum : unsigned { kPercent = 1, kNegative = 2, kFlex = 4, kAuto = 8, kNumber = 16 };

bool LengthOf(const Component& c, unsigned allow, Length* out) {
  const Token& t = *c.head;
  if (t.IsIdent(L"auto") && (allow & kAuto)) {
    *out = Length::Auto();
    return true;
  }
  float v = static_cast<float>(t.number);
  if (t.Is(TokenType::Number)) {
    // A bare number: a multiplier where one is allowed, otherwise pixels, as
    // browsers read older pages ("width: 100").
    *out = (allow & kNumber) ? Length{v, Unit::Number} : Length::Px(v);
  } else if (t.Is(TokenType::Percentage) && (allow & kPercent)) {
    *out = {v, Unit::Percent};
  } else if (t.Is(TokenType::Dimension)) {
    const std::wstring& u = t.text;
    if (u == L"px") *out = Length::Px(v);
    else if (u == L"pt") *out = {v, Unit::Pt};
    else if (u == L"em") *out = {v, Unit::Em};
    else if (u == L"ex") *out = {v / 2, Unit::Em};
    else if (u == L"pc") *out = {v * 12, Unit::Pt};
    else if (u == L"in") *out = Length::Px(v * 96);
    else if (u == L"cm") *out = Length::Px(v * 96 / 2.54f);
    else if (u == L"mm") *out = Length::Px(v * 96 / 25.4f);
    else if (u == L"*" && (allow & kFlex)) *out = {v, Unit::Flex};
    else return false;
  } else {
    return false;
  }
  return v >= 0 || (allow & kNegative);
}

uint8_t Channel(const Token& t, double scale) {
  // 255 * 50 % is 127.5 and rounds up; multiplying by 2.55 would land below it.
  double v = t.Is(TokenType::Percentage) ? t.number * 255 / 100 : t.number * scale;
  return static_cast<uint8_t>(std::lround(std::clamp(v, 0.0, 255.0)));
}

int Hex(wchar_t c) {
  if (c >= L'0' && c <= L'9') return c - L'0';
  if ((c | 0x20) >= L'a' && (c | 0x20) <= L'f') return (c | 0x20) - L'a' + 10;
  return -1;
}

bool ColorOf(const Component& c, Color* out, bool* current) {
  const Token& t = *c.head;
  *current = false;
  if (t.Is(TokenType::Ident)) {
    if (t.IsIdent(L"currentcolor")) return *current = true;
    return NamedColor(t.text, out);
  }
  if (t.Is(TokenType::Hash)) {
    const std::wstring& h = t.text;
    int digits[8];
    if (h.size() != 3 && h.size() != 4 && h.size() != 6 && h.size() != 8) return false;
    for (size_t i = 0; i < h.size(); ++i) if ((digits[i] = Hex(h[i])) < 0) return false;
    uint8_t v[4] = {0, 0, 0, 255};
    bool shortForm = h.size() <= 4;
    for (size_t i = 0; i < (shortForm ? h.size() : h.size() / 2); ++i) {
      v[i] = static_cast<uint8_t>(shortForm ? digits[i] * 17 : digits[2 * i] * 16 + digits[2 * i + 1]);
    }
    *out = Color::Rgb(v[0], v[1], v[2], v[3]);
    return true;
  }
  if (t.Is(TokenType::Function) && (EqualsIgnoreCase(t.text, L"rgb") || EqualsIgnoreCase(t.text, L"rgba"))) {
    std::vector<const Token*> numbers;
    for (const Token* a : c.args) {
      if (a->Is(TokenType::Number) || a->Is(TokenType::Percentage)) numbers.push_back(a);
      else if (!a->Is(TokenType::Comma) && !a->IsDelim(L'/')) return false;
    }
    if (numbers.size() != 3 && numbers.size() != 4) return false;
    *out = Color::Rgb(Channel(*numbers[0], 1), Channel(*numbers[1], 1), Channel(*numbers[2], 1),
                      numbers.size() == 4 ? Channel(*numbers[3], 255) : 255);
    return true;
  }
  return false;
}

bool UrlOf(const Component& c, std::wstring* out) {
  if (c.head->Is(TokenType::Url)) {
    *out = c.head->text;
    return true;
  }
  if (c.head->Is(TokenType::Function) && EqualsIgnoreCase(c.head->text, L"url") && c.args.size() == 1 &&
      c.args[0]->Is(TokenType::String)) {
    *out = c.args[0]->text;
    return true;
  }
  return false;
}

// "Segoe UI", Tahoma, sans-serif -> Segoe UI,Tahoma,sans-serif
bool FamilyOf(const std::vector<Token>& t, size_t begin, size_t end, std::wstring* out) {
  std::wstring list, name;
  bool expectName = true;
  for (size_t i = begin; i <= end; ++i) {
    if (i == end || t[i].Is(TokenType::Comma)) {
      if (name.empty()) return false;
      list += (list.empty() ? L"" : L",") + name;
      name.clear();
      expectName = true;
    } else if (t[i].Is(TokenType::String) && expectName && name.empty()) {
      name = t[i].text;
      expectName = false;
    } else if (t[i].Is(TokenType::Ident) && (expectName || !name.empty())) {
      name += (name.empty() ? L"" : L" ") + t[i].text;
    } else if (!t[i].Is(TokenType::Whitespace)) {
      return false;
    }
  }
  *out = list;
  return true;
}

std::wstring Trimmed(const std::wstring& source, const std::vector<Token>& t, size_t begin, size_t end) {
  while (begin < end && t[begin].Is(TokenType::Whitespace)) ++begin;
  while (end > begin && t[end - 1].Is(TokenType::Whitespace)) --end;
  return begin < end ? source.substr(t[begin].start, t[end - 1].end - t[begin].start) : std::wstring();
}

bool BorderWidthOf(const Component& c, Length* out) {
  int px;
  if (KeywordOf(c, {{L"thin", 1}, {L"medium", 3}, {L"thick", 5}}, &px)) {
    *out = Length::Px(static_cast<float>(px));
    return true;
  }
  return LengthOf(c, 0, out);
}

bool BorderStyleOf(const Component& c, int* out) {
  return KeywordOf(c, {{L"none", 0}, {L"hidden", 0}, {L"solid", 1}, {L"dotted", 2}, {L"dashed", 3}, {L"double", 1},
                       {L"groove", 1}, {L"ridge", 1}, {L"inset", 1}, {L"outset", 1}},
                   out);
}

bool FontSizeOf(const Component& c, Length* out) {
  int step;
  // The keywords by the ratios browsers use, from medium.
  if (KeywordOf(c, {{L"xx-small", 9}, {L"x-small", 10}, {L"small", 13}, {L"medium", 16}, {L"large", 18},
                    {L"x-large", 24}, {L"xx-large", 32}},
                &step)) {
    *out = Length::Px(kMediumFontPx * step / 16);
    return true;
  }
  if (KeywordOf(c, {{L"smaller", 83}, {L"larger", 120}}, &step)) {
    *out = {static_cast<float>(step), Unit::Percent};
    return true;
  }
  return LengthOf(c, kPercent, out);
}

bool FontWeightOf(const Component& c, int* out) {
  if (KeywordOf(c, {{L"normal", 400}, {L"bold", 700}, {L"bolder", -1}, {L"lighter", -2}}, out)) return true;
  if (!c.head->Is(TokenType::Number) || c.head->number < 1 || c.head->number > 1000) return false;
  *out = static_cast<int>(c.head->number);
  return true;
}

// The value of a longhand that takes one component.
bool SingleValue(Property p, const Component& c, Declaration* d) {
  switch (p) {
    case Property::Display:
      return KeywordOf(c, {{L"inline", int(Display::Inline)}, {L"block", int(Display::Block)},
                           {L"inline-block", int(Display::InlineBlock)}, {L"none", int(Display::None)},
                           {L"list-item", int(Display::Block)}},
                       &d->keyword);
    case Property::Visibility:
      return KeywordOf(c, {{L"visible", 0}, {L"hidden", 1}, {L"collapse", 2}}, &d->keyword);
    case Property::Width: case Property::Height:
      return LengthOf(c, kPercent | kFlex | kAuto, &d->length);
    case Property::MinWidth: case Property::MinHeight:
      return LengthOf(c, kPercent, &d->length);
    case Property::MaxWidth: case Property::MaxHeight:
      if (c.head->IsIdent(L"none")) return d->length = Length::Auto(), true;
      return LengthOf(c, kPercent, &d->length);
    case Property::MarginTop: case Property::MarginRight: case Property::MarginBottom: case Property::MarginLeft:
      return LengthOf(c, kPercent | kNegative | kFlex | kAuto, &d->length);
    case Property::PaddingTop: case Property::PaddingRight: case Property::PaddingBottom: case Property::PaddingLeft:
      return LengthOf(c, kPercent, &d->length);
    case Property::BorderTopWidth: case Property::BorderRightWidth: case Property::BorderBottomWidth:
    case Property::BorderLeftWidth:
      return BorderWidthOf(c, &d->length);
    case Property::BorderTopStyle: case Property::BorderRightStyle: case Property::BorderBottomStyle:
    case Property::BorderLeftStyle:
      return BorderStyleOf(c, &d->keyword);
    case Property::BorderTopColor: case Property::BorderRightColor: case Property::BorderBottomColor:
    case Property::BorderLeftColor: case Property::BackgroundColor: case Property::Color:
      return ColorOf(c, &d->color, &d->currentColor);
    case Property::BorderTopLeftRadius: case Property::BorderTopRightRadius: case Property::BorderBottomRightRadius:
    case Property::BorderBottomLeftRadius:
      return LengthOf(c, kPercent, &d->length);
    case Property::BackgroundImage:
      if (c.head->IsIdent(L"none")) return d->text.clear(), true;
      return UrlOf(c, &d->text);
    case Property::BackgroundRepeat:
      return KeywordOf(c, {{L"repeat", 0}, {L"no-repeat", 1}, {L"repeat-x", 2}, {L"repeat-y", 3}}, &d->keyword);
    case Property::FontSize:
      return FontSizeOf(c, &d->length);
    case Property::FontWeight:
      return FontWeightOf(c, &d->keyword);
    case Property::FontStyle:
      return KeywordOf(c, {{L"normal", 0}, {L"italic", 1}, {L"oblique", 1}}, &d->keyword);
    case Property::TextAlign:
      return KeywordOf(c, {{L"left", 0}, {L"right", 1}, {L"center", 2}, {L"justify", 3}, {L"start", 0}, {L"end", 1}},
                       &d->keyword);
    case Property::LineHeight:
      if (c.head->IsIdent(L"normal")) return d->length = Length::Auto(), true;
      return LengthOf(c, kPercent | kNumber, &d->length);
    case Property::VerticalAlign:
      return KeywordOf(c, {{L"baseline", 0}, {L"top", 1}, {L"middle", 2}, {L"bottom", 3}, {L"text-top", 1},
                           {L"text-bottom", 3}},
                       &d->keyword);
    case Property::WhiteSpace:
      return KeywordOf(c, {{L"normal", 0}, {L"nowrap", 1}, {L"pre", 2}, {L"pre-wrap", 3}, {L"pre-line", 0}},
                       &d->keyword);
    case Property::Overflow:
      return KeywordOf(c, {{L"visible", 0}, {L"hidden", 1}, {L"auto", 2}, {L"scroll", 3}}, &d->keyword);
    case Property::Position:
      return KeywordOf(c, {{L"static", 0}, {L"relative", 1}, {L"absolute", 2}, {L"fixed", 2}}, &d->keyword);
    case Property::Top: case Property::Right: case Property::Bottom: case Property::Left:
      return LengthOf(c, kPercent | kNegative | kAuto, &d->length);
    case Property::Flow:
      return KeywordOf(c, {{L"vertical", 0}, {L"horizontal", 1}}, &d->keyword);
    default:
      return false;
  }
}

class DeclarationReader {
 public:
  DeclarationReader(const std::wstring& source, const std::vector<Token>& t, size_t begin, size_t end, bool important,
                    std::vector<Declaration>* out)
      : source_(source), t_(t), begin_(begin), end_(end), important_(important), out_(out),
        c_(Components(t, begin, end)) {}

  bool Read(const std::wstring& name) {
    if (c_.empty()) return false;
    if (c_.size() == 1 && (c_[0].head->IsIdent(L"inherit") || c_[0].head->IsIdent(L"initial"))) {
      std::vector<Property> longhands = Longhands(name);
      for (Property p : longhands) {
        Declaration& d = Add(p);
        d.kind = c_[0].head->IsIdent(L"inherit") ? Declaration::Kind::Inherit : Declaration::Kind::Initial;
      }
      return !longhands.empty();
    }
    for (int i = 0; i < static_cast<int>(Property::Count); ++i) {
      if (name == kNames[i]) return Longhand(static_cast<Property>(i));
    }
    if (name == L"margin") return FourSides(Property::MarginTop);
    if (name == L"padding") return FourSides(Property::PaddingTop);
    if (name == L"border-width") return FourSides(Property::BorderTopWidth);
    if (name == L"border-style") return FourSides(Property::BorderTopStyle);
    if (name == L"border-color") return FourSides(Property::BorderTopColor);
    if (name == L"border-radius") return FourSides(Property::BorderTopLeftRadius);
    if (name == L"border") return Border(kTop, 4);
    if (name == L"border-top") return Border(kTop, 1);
    if (name == L"border-right") return Border(kRight, 1);
    if (name == L"border-bottom") return Border(kBottom, 1);
    if (name == L"border-left") return Border(kLeft, 1);
    if (name == L"background") return Background();
    if (name == L"font") return Font();
    return false;
  }

 private:
  static std::vector<Property> Longhands(const std::wstring& name) {
    for (int i = 0; i < static_cast<int>(Property::Count); ++i) {
      if (name == kNames[i]) return {static_cast<Property>(i)};
    }
    auto four = [](Property first) { return std::vector<Property>{first, first + 1, first + 2, first + 3}; };
    if (name == L"margin") return four(Property::MarginTop);
    if (name == L"padding") return four(Property::PaddingTop);
    if (name == L"border-width") return four(Property::BorderTopWidth);
    if (name == L"border-style") return four(Property::BorderTopStyle);
    if (name == L"border-color") return four(Property::BorderTopColor);
    if (name == L"border-radius") return four(Property::BorderTopLeftRadius);
    if (name == L"background") return {Property::BackgroundColor, Property::BackgroundImage, Property::BackgroundRepeat};
    if (name == L"font") return {Property::FontStyle, Property::FontWeight, Property::FontSize, Property::LineHeight,
                                 Property::FontFamily};
    std::vector<Property> border;
    for (int side = 0; side < 4; ++side) {
      if (name == L"border" || name == std::wstring(L"border-") + kNames[static_cast<int>(Property::Top) + side]) {
        for (Property first : {Property::BorderTopWidth, Property::BorderTopStyle, Property::BorderTopColor}) {
          border.push_back(first + side);
        }
      }
    }
    return border;
  }

  Declaration& Add(Property p) {
    out_->emplace_back();
    out_->back().property = p;
    out_->back().important = important_;
    return out_->back();
  }

  bool Longhand(Property p) {
    Declaration d;
    d.property = p;
    d.important = important_;
    if (p == Property::FontFamily) {
      if (!FamilyOf(t_, begin_, end_, &d.text)) return false;
    } else if (p == Property::Cursor || p == Property::Behavior) {
      d.text = Trimmed(source_, t_, begin_, end_);
    } else if (p == Property::TextDecoration) {
      int bits = 0, bit;
      for (auto& c : c_) {
        if (c_.size() == 1 && c.head->IsIdent(L"none")) break;
        if (!KeywordOf(c, {{L"underline", kUnderline}, {L"overline", kOverline}, {L"line-through", kLineThrough}}, &bit))
          return false;
        bits |= bit;
      }
      d.keyword = bits;
    } else if (c_.size() != 1 || !SingleValue(p, c_[0], &d)) {
      return false;
    }
    out_->push_back(std::move(d));
    return true;
  }

  // 1 to 4 values: top, right, bottom, left, the missing ones copied from the opposite side.
  bool FourSides(Property first) {
    size_t count = c_.size();
    for (size_t i = 0; i < c_.size(); ++i) {
      if (first == Property::BorderTopLeftRadius && c_[i].head->IsDelim(L'/')) count = i;  // "border-radius: 4px / 2px": elliptic corners drawn round
    }
    if (count < 1 || count > 4) return false;
    Declaration sides[4];
    for (size_t i = 0; i < count; ++i) {
      if (!SingleValue(first, c_[i], &sides[i])) return false;
    }
    static const size_t kFrom[5][4] = {{}, {0, 0, 0, 0}, {0, 1, 0, 1}, {0, 1, 2, 1}, {0, 1, 2, 3}};
    for (int side = 0; side < 4; ++side) {
      Declaration& d = Add(first + side);
      Property p = d.property;
      d = sides[kFrom[count][side]];
      d.property = p;
      d.important = important_;
    }
    return true;
  }

  // Width, style and colour in any order, each at most once; the ones left out are reset.
  bool Border(int firstSide, int sides) {
    Declaration width, style, color;
    width.length = Length::Px(3);
    color.currentColor = true;
    bool haveWidth = false, haveStyle = false, haveColor = false;
    for (auto& c : c_) {
      if (!haveWidth && BorderWidthOf(c, &width.length)) haveWidth = true;
      else if (!haveStyle && BorderStyleOf(c, &style.keyword)) haveStyle = true;
      else if (!haveColor && ColorOf(c, &color.color, &color.currentColor)) haveColor = true;
      else return false;
    }
    for (int side = firstSide; side < firstSide + sides; ++side) {
      for (auto* part : {&width, &style, &color}) {
        Property first = part == &width ? Property::BorderTopWidth
                         : part == &style ? Property::BorderTopStyle
                                          : Property::BorderTopColor;
        Declaration& d = Add(first + side);
        Property p = d.property;
        d = *part;
        d.property = p;
        d.important = important_;
      }
    }
    return true;
  }

  // Colour, image and repeat; positions are read and left to the image's own placement.
  bool Background() {
    Declaration color, image, repeat;
    bool haveColor = false, haveImage = false, haveRepeat = false;
    for (auto& c : c_) {
      Length ignored;
      if (!haveColor && ColorOf(c, &color.color, &color.currentColor)) haveColor = true;
      else if (!haveImage && (UrlOf(c, &image.text) || c.head->IsIdent(L"none"))) haveImage = true;
      else if (!haveRepeat && SingleValue(Property::BackgroundRepeat, c, &repeat)) haveRepeat = true;
      else if (KeywordOf(c, {{L"left", 0}, {L"right", 0}, {L"top", 0}, {L"bottom", 0}, {L"center", 0}}, &ignored_)) continue;
      else if (LengthOf(c, kPercent | kNegative, &ignored)) continue;
      else return false;
    }
    Property props[] = {Property::BackgroundColor, Property::BackgroundImage, Property::BackgroundRepeat};
    Declaration* parts[] = {&color, &image, &repeat};
    for (int i = 0; i < 3; ++i) {
      parts[i]->property = props[i];
      parts[i]->important = important_;
      out_->push_back(*parts[i]);
    }
    return true;
  }

  // [style] [weight] size[/line-height] family
  bool Font() {
    Declaration style, weight, size, height, family;
    height.length = Length::Auto();
    weight.keyword = 400;
    size_t i = 0;
    for (; i < c_.size(); ++i) {
      const Component& c = c_[i];
      if (SingleValue(Property::FontStyle, c, &style) && !c.head->IsIdent(L"normal")) continue;
      if (c.head->IsIdent(L"normal") || c.head->IsIdent(L"small-caps")) continue;
      if (!c.head->Is(TokenType::Number) && FontWeightOf(c, &weight.keyword)) continue;
      if (c.head->Is(TokenType::Number) && c.head->number >= 100 && FontWeightOf(c, &weight.keyword)) continue;
      break;
    }
    if (i >= c_.size() || !FontSizeOf(c_[i], &size.length)) return false;
    ++i;
    if (i + 1 < c_.size() && c_[i].head->IsDelim(L'/')) {
      if (!SingleValue(Property::LineHeight, c_[i + 1], &height)) return false;
      i += 2;
    }
    if (i >= c_.size() || !FamilyOf(t_, static_cast<size_t>(c_[i].head - t_.data()), end_, &family.text)) return false;
    Property props[] = {Property::FontStyle, Property::FontWeight, Property::FontSize, Property::LineHeight,
                        Property::FontFamily};
    Declaration* parts[] = {&style, &weight, &size, &height, &family};
    for (int k = 0; k < 5; ++k) {
      parts[k]->property = props[k];
      parts[k]->important = important_;
      out_->push_back(*parts[k]);
    }
    return true;
  }

  const std::wstring& source_;
  const std::vector<Token>& t_;
  size_t begin_, end_;
  bool important_;
  std::vector<Declaration>* out_;
  std::vector<Component> c_;
  int ignored_ = 0;
};

}  // namespace

bool IsInherited(Property p) {
  switch (p) {
    case Property::Color: case Property::FontFamily: case Property::FontSize: case Property::FontWeight:
    case Property::FontStyle: case Property::TextAlign: case Property::LineHeight: case Property::WhiteSpace:
    case Property::Visibility: case Property::Cursor:
      return true;
    default:
      return false;
  }
}

bool ParseDeclaration(const std::wstring& name, const std::wstring& source, const std::vector<Token>& tokens,
                      size_t begin, size_t end, bool important, std::vector<Declaration>* out) {
  size_t before = out->size();
  bool ok = DeclarationReader(source, tokens, begin, std::min(end, tokens.size()), important, out)
                .Read(AsciiLower(name));
  if (!ok) out->resize(before);
  return ok;
}

void ParseDeclarationList(const std::wstring& source, const std::vector<Token>& t, size_t begin, size_t end,
                          std::vector<Declaration>* out) {
  end = std::min(end, t.size());
  size_t i = begin;
  while (i < end) {
    // One declaration runs to the next ';' outside brackets of any kind.
    size_t stop = i;
    int depth = 0;
    for (; stop < end; ++stop) {
      TokenType type = t[stop].type;
      if (type == TokenType::OpenCurly || type == TokenType::OpenParen || type == TokenType::OpenSquare ||
          type == TokenType::Function) {
        ++depth;
      } else if (type == TokenType::CloseCurly || type == TokenType::CloseParen || type == TokenType::CloseSquare) {
        if (depth > 0) --depth;
      } else if (type == TokenType::Semicolon && depth == 0) {
        break;
      }
    }
    size_t k = i;
    while (k < stop && t[k].Is(TokenType::Whitespace)) ++k;
    if (k < stop && t[k].Is(TokenType::Ident)) {
      const std::wstring& name = t[k].text;
      ++k;
      while (k < stop && t[k].Is(TokenType::Whitespace)) ++k;
      if (k < stop && t[k].Is(TokenType::Colon)) {
        size_t valueEnd = stop;
        while (valueEnd > k + 1 && t[valueEnd - 1].Is(TokenType::Whitespace)) --valueEnd;
        bool important = false;
        if (valueEnd > k + 1 && t[valueEnd - 1].IsIdent(L"important")) {
          size_t bang = valueEnd - 1;
          while (bang > k + 1 && t[bang - 1].Is(TokenType::Whitespace)) --bang;
          if (bang > k + 1 && t[bang - 1].IsDelim(L'!')) {
            important = true;
            valueEnd = bang - 1;
          }
        }
        ParseDeclaration(name, source, t, k + 1, valueEnd, important, out);
      }
    }
    i = stop + 1;
  }
}

std::vector<Declaration> ParseDeclarationList(const std::wstring& text) {
  std::vector<Declaration> out;
  std::vector<Token> tokens = Tokenize(text);
  ParseDeclarationList(text, tokens, 0, tokens.size(), &out);
  return out;
}

}  // namespace hl::css
