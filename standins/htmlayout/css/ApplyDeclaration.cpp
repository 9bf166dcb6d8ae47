// Apply, InheritedFrom and Finish of Declarations.h: the step from declared
// values to the ComputedStyle of one element.
#include "standins/htmlayout/css/Declarations.h"

namespace hl::css {
namespace {

int Index(Property p) { return static_cast<int>(p); }
int From(Property p, Property first) { return Index(p) - Index(first); }
bool InRange(Property p, Property first) { return Index(p) >= Index(first) && Index(p) < Index(first) + 4; }

// The field of a length property, for const and non-const styles alike; null for the others.
template <class Style>
auto LengthField(Style& s, Property p) -> decltype(&s.width) {
  switch (p) {
    case Property::Width: return &s.width;
    case Property::Height: return &s.height;
    case Property::MinWidth: return &s.minWidth;
    case Property::MinHeight: return &s.minHeight;
    case Property::MaxWidth: return &s.maxWidth;
    case Property::MaxHeight: return &s.maxHeight;
    case Property::LineHeight: return &s.lineHeight;
    default: break;
  }
  if (InRange(p, Property::MarginTop)) return &s.margin[From(p, Property::MarginTop)];
  if (InRange(p, Property::PaddingTop)) return &s.padding[From(p, Property::PaddingTop)];
  if (InRange(p, Property::BorderTopWidth)) return &s.border[From(p, Property::BorderTopWidth)].width;
  if (InRange(p, Property::BorderTopLeftRadius)) return &s.radius[From(p, Property::BorderTopLeftRadius)];
  if (InRange(p, Property::Top)) return &s.offset[From(p, Property::Top)];
  return nullptr;
}

template <class Style>
auto TextField(Style& s, Property p) -> decltype(&s.cursor) {
  switch (p) {
    case Property::FontFamily: return &s.fontFamily;
    case Property::Cursor: return &s.cursor;
    case Property::Behavior: return &s.behavior;
    default: return nullptr;
  }
}

// Everything but lengths and texts, from one style into another.
void CopyOther(Property p, const ComputedStyle& from, ComputedStyle* to) {
  if (InRange(p, Property::BorderTopStyle)) {
    to->border[From(p, Property::BorderTopStyle)].style = from.border[From(p, Property::BorderTopStyle)].style;
    return;
  }
  if (InRange(p, Property::BorderTopColor)) {
    int side = From(p, Property::BorderTopColor);
    to->border[side].color = from.border[side].color;
    to->border[side].colorIsCurrent = from.border[side].colorIsCurrent;
    return;
  }
  switch (p) {
    case Property::Display: to->display = from.display; break;
    case Property::Visibility: to->visibility = from.visibility; break;
    case Property::BackgroundColor: to->backgroundColor = from.backgroundColor; break;
    case Property::BackgroundImage:
      to->backgroundImage = from.backgroundImage;
      to->backgroundImageBase = from.backgroundImageBase;
      break;
    case Property::BackgroundRepeat: to->backgroundRepeat = from.backgroundRepeat; break;
    case Property::Color: to->color = from.color; break;
    case Property::FontSize: to->fontSize = from.fontSize; break;
    case Property::FontWeight: to->fontWeight = from.fontWeight; break;
    case Property::FontStyle: to->fontStyle = from.fontStyle; break;
    case Property::TextAlign: to->textAlign = from.textAlign; break;
    case Property::TextDecoration: to->textDecoration = from.textDecoration; break;
    case Property::VerticalAlign: to->verticalAlign = from.verticalAlign; break;
    case Property::WhiteSpace: to->whiteSpace = from.whiteSpace; break;
    case Property::Overflow: to->overflow = from.overflow; break;
    case Property::Position: to->position = from.position; break;
    case Property::Flow: to->flow = from.flow; break;
    default: break;
  }
}

void Copy(Property p, const ComputedStyle& from, ComputedStyle* to) {
  if (auto* length = LengthField(*to, p)) *length = *LengthField(from, p);
  else if (auto* text = TextField(*to, p)) *text = *TextField(from, p);
  else CopyOther(p, from, to);
}

int RelativeWeight(int parent, int keyword) {
  if (keyword == -1) return parent < 350 ? 400 : parent < 550 ? 700 : 900;  // bolder
  if (keyword == -2) return parent < 550 ? 100 : parent < 750 ? 400 : 700;  // lighter
  return keyword;
}

Length ToPixels(Length length, float fontSize) {
  if (length.unit == Unit::Em || length.unit == Unit::Pt) return Length::Px(Resolve(length, 0, fontSize));
  return length;
}

}  // namespace

void Apply(const Declaration& d, const ComputedStyle& parent, ComputedStyle* s) {
  Property p = d.property;
  if (d.kind != Declaration::Kind::Value) {
    static const ComputedStyle kInitial;
    Copy(p, d.kind == Declaration::Kind::Inherit ? parent : kInitial, s);
    return;
  }
  if (auto* length = LengthField(*s, p)) {
    *length = d.length;
    return;
  }
  if (auto* text = TextField(*s, p)) {
    *text = d.text;
    return;
  }
  if (InRange(p, Property::BorderTopStyle)) {
    s->border[From(p, Property::BorderTopStyle)].style = static_cast<BorderStyle>(d.keyword);
    return;
  }
  if (InRange(p, Property::BorderTopColor)) {
    BorderSide& side = s->border[From(p, Property::BorderTopColor)];
    side.color = d.color;
    side.colorIsCurrent = d.currentColor;
    return;
  }
  switch (p) {
    case Property::Display: s->display = static_cast<Display>(d.keyword); break;
    case Property::Visibility: s->visibility = static_cast<Visibility>(d.keyword); break;
    case Property::BackgroundColor: s->backgroundColor = d.currentColor ? s->color : d.color; break;
    case Property::BackgroundImage:
      s->backgroundImage = d.text;
      s->backgroundImageBase = d.base && !d.text.empty() ? *d.base : std::wstring();
      break;
    case Property::BackgroundRepeat: s->backgroundRepeat = static_cast<BackgroundRepeat>(d.keyword); break;
    case Property::Color: s->color = d.currentColor ? parent.color : d.color; break;
    case Property::FontSize:
      // Of the parent's size, so that nested "font-size: 1.2em" grows step by step.
      s->fontSize = d.length.unit == Unit::Px || d.length.unit == Unit::Pt ? Resolve(d.length, 0, 0)
                                                                             : Resolve(d.length, parent.fontSize, parent.fontSize);
      break;
    case Property::FontWeight: s->fontWeight = RelativeWeight(parent.fontWeight, d.keyword); break;
    case Property::FontStyle: s->fontStyle = static_cast<FontStyle>(d.keyword); break;
    case Property::TextAlign: s->textAlign = static_cast<TextAlign>(d.keyword); break;
    case Property::TextDecoration: s->textDecoration = static_cast<unsigned char>(d.keyword); break;
    case Property::VerticalAlign: s->verticalAlign = static_cast<VerticalAlign>(d.keyword); break;
    case Property::WhiteSpace: s->whiteSpace = static_cast<WhiteSpace>(d.keyword); break;
    case Property::Overflow: s->overflow = static_cast<Overflow>(d.keyword); break;
    case Property::Position: s->position = static_cast<Position>(d.keyword); break;
    case Property::Flow: s->flow = static_cast<Flow>(d.keyword); break;
    default: break;
  }
}

ComputedStyle InheritedFrom(const ComputedStyle& parent) {
  ComputedStyle s;
  for (int i = 0; i < static_cast<int>(Property::Count); ++i) {
    if (IsInherited(static_cast<Property>(i))) Copy(static_cast<Property>(i), parent, &s);
  }
  return s;
}

void Finish(ComputedStyle* s) {
  for (int i = 0; i < static_cast<int>(Property::Count); ++i) {
    Property p = static_cast<Property>(i);
    if (p == Property::LineHeight) continue;
    if (auto* length = LengthField(*s, p)) *length = ToPixels(*length, s->fontSize);
  }
  // A line height in em or % is fixed here, so that children inherit pixels,
  // while a bare number stays a multiplier of each child's own size.
  if (s->lineHeight.unit == Unit::Percent) s->lineHeight = Length::Px(s->lineHeight.value * s->fontSize / 100);
  s->lineHeight = ToPixels(s->lineHeight, s->fontSize);
  for (auto& side : s->border) {
    if (side.colorIsCurrent) side.color = s->color;
    if (side.style == BorderStyle::None) side.width = Length::Px(0);
  }
}

}  // namespace hl::css
