#include "standins/htmlayout/dom/Serializer.h"

#include <windows.h>

#include "standins/htmlayout/dom/Parser.h"

namespace hl {

namespace {

std::wstring Escape(const std::wstring& text, bool inAttribute) {
  std::wstring out;
  out.reserve(text.size());
  for (wchar_t c : text) {
    switch (c) {
      case L'&': out += L"&amp;"; break;
      case L'<': out += L"&lt;"; break;
      case L'>': out += L"&gt;"; break;
      case L'"':
        if (inAttribute) {
          out += L"&quot;";
          break;
        }
        out += c;
        break;
      default: out += c;
    }
  }
  return out;
}

void Write(const Element* element, bool outer, std::wstring& out) {
  if (outer) {
    out += L'<';
    out += element->tag;
    for (auto& attribute : element->attributes) {
      out += L' ';
      out += attribute.first;
      out += L"=\"";
      out += Escape(attribute.second, true);
      out += L'"';
    }
    out += L'>';
    if (IsVoidElement(element->tag) && element->children.empty()) return;
  }
  bool raw = IsRawTextElement(element->tag) && element->tag != L"textarea" && element->tag != L"title";
  for (auto& child : element->children) {
    if (child.element) {
      Write(child.element, true, out);
    } else {
      out += raw ? child.text : Escape(child.text, false);
    }
  }
  if (outer) {
    out += L"</";
    out += element->tag;
    out += L'>';
  }
}

}  // namespace

std::string SerializeHtml(const Element* element, bool outer) {
  std::wstring text;
  Write(element, outer, text);
  return ToUtf8(text);
}

std::string ToUtf8(const std::wstring& text) {
  if (text.empty()) return std::string();
  int length = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
  std::string out(static_cast<size_t>(length), '\0');
  if (length > 0) {
    WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), &out[0], length, nullptr, nullptr);
  }
  return out;
}

std::wstring FromUtf8(const std::string& text) {
  return DecodePage(reinterpret_cast<const unsigned char*>(text.data()), text.size());
}

}  // namespace hl
