// A page parsed, styled and laid out for the layout tests. Text is measured by
// a fixed-width font unless a test brings GDI: every character is half the
// font size wide, ascent 0.8 and descent 0.2 of it, so with the 10px text of
// the base sheet a character is 5px and a line 12px with its baseline at 9.
#pragma once

#include <cstdio>
#include <memory>
#include <string>

#include "standins/htmlayout/css/StyleEngine.h"
#include "standins/htmlayout/dom/Parser.h"
#include "standins/htmlayout/include/htmlayout.h"
#include "standins/htmlayout/layout/LayoutEngine.h"

class FixedMeasurer : public hl::layout::TextMeasurer {
 public:
  hl::layout::FontMetrics Metrics(int font) override {
    float size = static_cast<float>(Key(font).sizePx);
    return {size * 0.8f, size * 0.2f};
  }
  float Width(int font, const wchar_t*, size_t length) override { return length * Key(font).sizePx * 0.5f; }
};

inline const hl::Element* FindId(const hl::Element* element, const std::wstring& id) {
  if (const std::wstring* value = element->Attribute(L"id"); value && *value == id) return element;
  for (const hl::Node& node : element->children) {
    if (const hl::Element* found = node.element ? FindId(node.element, id) : nullptr) return found;
  }
  return nullptr;
}

template <class Measurer = FixedMeasurer>
struct Page {
  std::unique_ptr<hl::Document> document;
  hl::css::StyleEngine styles;
  Measurer measurer;
  hl::layout::LayoutEngine layout{styles, measurer};

  explicit Page(const std::wstring& body, float width = 200, float height = -1) {
    document = hl::ParseHtml(L"<style>html,body{margin:0;padding:0;font-size:10px}</style>" + body);
    for (const hl::StyleSource& sheet : document->styles) styles.AddSheet(sheet.text, L"");
    styles.Restyle(*document->root);
    layout.Layout(*document->root, width, height);
  }
  hl::Element* operator[](const std::wstring& id) const {
    return const_cast<hl::Element*>(FindId(document->root, id));
  }
  // "x,y,w,h" of an area in view coordinates, "none" without a box.
  std::string Rect(const std::wstring& id, unsigned area = BORDER_BOX, unsigned relative = VIEW_RELATIVE) const {
    const hl::Element* element = (*this)[id];
    RECT r;
    if (!element || !layout.Location(*element, area | relative, &r)) return "none";
    char text[64];
    snprintf(text, sizeof text, "%ld,%ld,%ld,%ld", r.left, r.top, r.right - r.left, r.bottom - r.top);
    return text;
  }
};
