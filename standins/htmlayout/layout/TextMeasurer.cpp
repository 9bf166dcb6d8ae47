#include "standins/htmlayout/layout/TextMeasurer.h"

#include <cmath>
#include <cwctype>

namespace hl::layout {
namespace {

std::wstring Trim(const std::wstring& text) {
  size_t begin = 0, end = text.size();
  while (begin < end && (std::iswspace(text[begin]) || text[begin] == L'"' || text[begin] == L'\'')) ++begin;
  while (end > begin && (std::iswspace(text[end - 1]) || text[end - 1] == L'"' || text[end - 1] == L'\'')) --end;
  return text.substr(begin, end - begin);
}

std::wstring Lower(std::wstring text) {
  for (auto& c : text) c = static_cast<wchar_t>(std::towlower(c));
  return text;
}

// Generic CSS families stand for the faces every Windows has.
std::wstring GenericFace(const std::wstring& name) {
  std::wstring lower = Lower(name);
  if (lower == L"sans-serif" || lower == L"system-ui" || lower == L"system") return L"Tahoma";
  if (lower == L"serif") return L"Times New Roman";
  if (lower == L"monospace") return L"Courier New";
  return name;
}

}  // namespace

int TextMeasurer::FontOf(const FontKey& key) {
  auto found = ids_.find(key);
  if (found != ids_.end()) return found->second;
  int id = static_cast<int>(keys_.size());
  keys_.push_back(key);
  ids_.emplace(key, id);
  return id;
}

GdiTextMeasurer::GdiTextMeasurer() : dc_(CreateCompatibleDC(nullptr)) {
  if (dc_) original_ = GetCurrentObject(dc_.get(), OBJ_FONT);
}

GdiTextMeasurer::~GdiTextMeasurer() {
  // A font still selected into a DC cannot be deleted.
  if (dc_ && original_) SelectObject(dc_.get(), original_);
}

bool GdiTextMeasurer::Installed(const std::wstring& face) {
  auto known = installed_.find(face);
  if (known != installed_.end()) return known->second;
  // The font mapper answers a missing face with another one: a face is there
  // when the font made for its name reports that name back.
  bool found = false;
  if (dc_ && !face.empty() && face.size() < LF_FACESIZE) {
    ScopedFont probe(CreateFontW(-12, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, DEFAULT_CHARSET, OUT_DEFAULT_PRECIS,
                                 CLIP_DEFAULT_PRECIS, DEFAULT_QUALITY, DEFAULT_PITCH | FF_DONTCARE, face.c_str()));
    if (probe) {
      HGDIOBJ before = SelectObject(dc_.get(), probe.get());
      wchar_t actual[LF_FACESIZE] = {};
      if (GetTextFaceW(dc_.get(), LF_FACESIZE, actual) > 0) found = lstrcmpiW(actual, face.c_str()) == 0;
      SelectObject(dc_.get(), before);
    }
  }
  installed_.emplace(face, found);
  return found;
}

std::wstring GdiTextMeasurer::FaceOf(const std::wstring& familyList) {
  size_t begin = 0;
  while (begin <= familyList.size()) {
    size_t comma = familyList.find(L',', begin);
    if (comma == std::wstring::npos) comma = familyList.size();
    std::wstring face = GenericFace(Trim(familyList.substr(begin, comma - begin)));
    if (Installed(face)) return face;
    begin = comma + 1;
  }
  return Installed(L"Tahoma") ? L"Tahoma" : L"MS Shell Dlg";
}

HFONT GdiTextMeasurer::Handle(int font) {
  if (font < 0) return nullptr;
  if (static_cast<size_t>(font) >= fonts_.size()) fonts_.resize(font + 1);
  Font& slot = fonts_[font];
  if (!slot.handle) {
    const FontKey& key = Key(font);
    std::wstring face = FaceOf(key.family);
    // A negative height asks for the em size, which is what CSS font-size means.
    slot.handle.reset(CreateFontW(-key.sizePx, 0, 0, 0, key.weight, key.italic, FALSE, FALSE, DEFAULT_CHARSET,
                                  OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, DEFAULT_QUALITY,
                                  DEFAULT_PITCH | FF_DONTCARE, face.c_str()));
  }
  return slot.handle.get();
}

void GdiTextMeasurer::Select(int font) {
  if (font == selected_) return;
  HFONT handle = Handle(font);
  if (dc_ && handle) SelectObject(dc_.get(), handle);
  selected_ = font;
}

FontMetrics GdiTextMeasurer::Metrics(int font) {
  Handle(font);
  Font& slot = fonts_[font];
  if (!slot.measured) {
    Select(font);
    TEXTMETRICW metrics{};
    if (dc_ && GetTextMetricsW(dc_.get(), &metrics)) {
      slot.metrics = {static_cast<float>(metrics.tmAscent), static_cast<float>(metrics.tmDescent)};
    } else {
      // No DC: the proportions of Tahoma, so that the layout still adds up.
      float size = static_cast<float>(Key(font).sizePx);
      slot.metrics = {std::ceil(size * 1.0f), std::ceil(size * 0.21f)};
    }
    slot.measured = true;
  }
  return slot.metrics;
}

float GdiTextMeasurer::Width(int font, const wchar_t* text, size_t length) {
  if (length == 0) return 0;
  Select(font);
  SIZE size{};
  if (!dc_ || !GetTextExtentPoint32W(dc_.get(), text, static_cast<int>(length), &size)) {
    return static_cast<float>(length) * Key(font).sizePx * 0.5f;
  }
  return static_cast<float>(size.cx);
}

}  // namespace hl::layout
