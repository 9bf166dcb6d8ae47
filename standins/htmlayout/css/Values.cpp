#include "standins/htmlayout/css/Values.h"

#include <vector>

#include "standins/htmlayout/css/Tokenizer.h"

namespace hl::css {

float Resolve(const Length& length, float base, float fontSize) {
  switch (length.unit) {
    case Unit::Px: return length.value;
    case Unit::Pt: return length.value * 96.0f / 72.0f;
    case Unit::Em:
    case Unit::Number: return length.value * fontSize;
    case Unit::Percent: return length.value * base / 100.0f;
    case Unit::Auto:
    case Unit::Flex: return 0;
  }
  return 0;
}

namespace {

struct NamedValue {
  const wchar_t* name;
  uint32_t rgb;
};

const NamedValue kColors[] = {
    {L"black", 0x000000}, {L"silver", 0xc0c0c0}, {L"gray", 0x808080}, {L"grey", 0x808080},
    {L"white", 0xffffff}, {L"maroon", 0x800000}, {L"red", 0xff0000}, {L"purple", 0x800080},
    {L"fuchsia", 0xff00ff}, {L"magenta", 0xff00ff}, {L"green", 0x008000}, {L"lime", 0x00ff00},
    {L"olive", 0x808000}, {L"yellow", 0xffff00}, {L"navy", 0x000080}, {L"blue", 0x0000ff},
    {L"teal", 0x008080}, {L"aqua", 0x00ffff}, {L"cyan", 0x00ffff}, {L"orange", 0xffa500},
    {L"lightgray", 0xd3d3d3}, {L"lightgrey", 0xd3d3d3}, {L"darkgray", 0xa9a9a9}, {L"darkgrey", 0xa9a9a9},
    {L"dimgray", 0x696969}, {L"dimgrey", 0x696969}, {L"gainsboro", 0xdcdcdc}, {L"whitesmoke", 0xf5f5f5},
    {L"slategray", 0x708090}, {L"lightslategray", 0x778899}, {L"darkslategray", 0x2f4f4f},
    {L"darkblue", 0x00008b}, {L"darkred", 0x8b0000}, {L"darkgreen", 0x006400}, {L"darkcyan", 0x008b8b},
    {L"darkorange", 0xff8c00}, {L"darkviolet", 0x9400d3}, {L"lightblue", 0xadd8e6}, {L"lightgreen", 0x90ee90},
    {L"lightyellow", 0xffffe0}, {L"lightcyan", 0xe0ffff}, {L"lightsteelblue", 0xb0c4de},
    {L"lightskyblue", 0x87cefa}, {L"skyblue", 0x87ceeb}, {L"deepskyblue", 0x00bfff}, {L"powderblue", 0xb0e0e6},
    {L"steelblue", 0x4682b4}, {L"royalblue", 0x4169e1}, {L"cornflowerblue", 0x6495ed}, {L"dodgerblue", 0x1e90ff},
    {L"midnightblue", 0x191970}, {L"indigo", 0x4b0082}, {L"violet", 0xee82ee}, {L"plum", 0xdda0dd},
    {L"orchid", 0xda70d6}, {L"rebeccapurple", 0x663399}, {L"brown", 0xa52a2a}, {L"pink", 0xffc0cb},
    {L"gold", 0xffd700}, {L"beige", 0xf5f5dc}, {L"ivory", 0xfffff0}, {L"khaki", 0xf0e68c},
    {L"crimson", 0xdc143c}, {L"tomato", 0xff6347}, {L"coral", 0xff7f50}, {L"salmon", 0xfa8072},
    {L"orangered", 0xff4500}, {L"firebrick", 0xb22222}, {L"chocolate", 0xd2691e}, {L"tan", 0xd2b48c},
    {L"wheat", 0xf5deb3}, {L"linen", 0xfaf0e6}, {L"snow", 0xfffafa}, {L"azure", 0xf0ffff},
    {L"aliceblue", 0xf0f8ff}, {L"lavender", 0xe6e6fa}, {L"honeydew", 0xf0fff0}, {L"mintcream", 0xf5fffa},
    {L"ghostwhite", 0xf8f8ff}, {L"forestgreen", 0x228b22}, {L"seagreen", 0x2e8b57}, {L"limegreen", 0x32cd32},
    {L"yellowgreen", 0x9acd32},
};

bool IsSeparator(wchar_t c) { return c == L'/' || c == L'\\'; }

// Where the path of an address starts, and how much of it no ".." may climb
// above: "file://C:\" and "file:///C:/" keep their drive, "http://host/" its host.
size_t RootLength(const std::wstring& url) {
  size_t colon = url.find(L':');
  bool hasScheme = colon != std::wstring::npos && colon > 1;
  size_t pos = 0;
  if (hasScheme) {
    pos = colon + 1;
    if (pos + 1 < url.size() && IsSeparator(url[pos]) && IsSeparator(url[pos + 1])) {
      pos += 2;
      // A host runs to the next separator; "file://C:\..." has a drive where the host would be.
      if (!(pos + 1 < url.size() && url[pos + 1] == L':')) {
        while (pos < url.size() && !IsSeparator(url[pos])) ++pos;
      }
    }
  }
  if (pos < url.size() && IsSeparator(url[pos]) && pos + 2 < url.size() && url[pos + 2] == L':') ++pos;  // "/C:"
  if (pos + 1 < url.size() && url[pos + 1] == L':') pos += 2;                                      // "C:"
  if (pos < url.size() && IsSeparator(url[pos])) ++pos;
  return pos;
}

bool IsAbsolute(const std::wstring& url) {
  if (url.size() >= 2 && url[1] == L':') return true;  // a drive
  if (url.size() >= 2 && IsSeparator(url[0]) && IsSeparator(url[1])) return true;  // a share or "//host"
  for (size_t i = 0; i < url.size(); ++i) {
    wchar_t c = url[i];
    if (c == L':') return i > 1;
    bool letter = (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z');
    if (!letter && !(i > 0 && ((c >= L'0' && c <= L'9') || c == L'+' || c == L'-' || c == L'.'))) return false;
  }
  return false;
}

}  // namespace

bool NamedColor(const std::wstring& name, Color* out) {
  for (auto& named : kColors) {
    if (EqualsIgnoreCase(name, named.name)) {
      *out = Color::Rgb(static_cast<uint8_t>(named.rgb >> 16), static_cast<uint8_t>(named.rgb >> 8),
                        static_cast<uint8_t>(named.rgb));
      return true;
    }
  }
  if (EqualsIgnoreCase(name, L"transparent")) {
    *out = Color{};
    return true;
  }
  return false;
}

std::wstring JoinUrl(const std::wstring& base, const std::wstring& relative) {
  if (relative.empty()) return base;
  if (IsAbsolute(relative) || base.empty()) return relative;
  size_t rootLength = RootLength(base);
  wchar_t separator = base.find(L'\\', rootLength > 0 ? rootLength - 1 : 0) != std::wstring::npos ? L'\\' : L'/';
  if (rootLength > 0 && base[rootLength - 1] == L'\\') separator = L'\\';

  // The folder segments of the base, then those of the relative part.
  std::vector<std::wstring> segments;
  auto push = [&segments](const std::wstring& text, bool lastIsFile) {
    size_t begin = 0;
    while (begin <= text.size()) {
      size_t end = begin;
      while (end < text.size() && !IsSeparator(text[end])) ++end;
      bool last = end >= text.size();
      std::wstring segment = text.substr(begin, end - begin);
      if (last && lastIsFile) {
        segments.push_back(segment);
        break;
      }
      if (segment == L"..") {
        if (!segments.empty()) segments.pop_back();
      } else if (!segment.empty() && segment != L".") {
        segments.push_back(segment);
      }
      if (last) break;
      begin = end + 1;
    }
  };
  bool fromRoot = IsSeparator(relative[0]);
  if (!fromRoot) {
    std::wstring folder = base.substr(rootLength);
    size_t cut = folder.find_last_of(L"/\\");
    push(cut == std::wstring::npos ? std::wstring() : folder.substr(0, cut), false);
  }
  push(relative, true);

  std::wstring joined = base.substr(0, rootLength);
  if (!joined.empty() && !IsSeparator(joined.back()) && joined.back() != L':') joined += separator;
  for (size_t i = 0; i < segments.size(); ++i) {
    if (i > 0) joined += separator;
    joined += segments[i];
  }
  return joined;
}

}  // namespace hl::css
