#include "host/XmlScan.h"

#include <windows.h>

#include <cwctype>

#include "engine/ScopedHandle.h"
#include "host/HostServices.h"
#include "host/HostTexts.h"

namespace {

bool IsNameStart(wchar_t c) { return iswalpha(c) || c == L'_' || c == L':' || c >= 0x80; }
bool IsNameChar(wchar_t c) { return IsNameStart(c) || iswdigit(c) || c == L'-' || c == L'.'; }
bool IsSpace(wchar_t c) { return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n'; }

class Scanner {
 public:
  explicit Scanner(const std::wstring& text) : text_(text) {}

  XmlScan Run() {
    std::vector<int> open;  // the elements whose end tag is still to come
    bool rootClosed = false;
    while (Clean() && pos_ < text_.size()) {
      wchar_t c = text_[pos_];
      if (c != L'<') {
        if (open.empty() && !IsSpace(c)) return Fault(pos_, hosttext::kScanTextOutsideRoot);
        if (c == L'&' && !Reference()) return scan_;
        ++pos_;
      } else if (Starts(L"<!--")) {
        if (!SkipPast(L"-->", hosttext::kScanOpenComment)) return scan_;
      } else if (Starts(L"<![CDATA[")) {
        if (open.empty()) return Fault(pos_, hosttext::kScanTextOutsideRoot);
        if (!SkipPast(L"]]>", hosttext::kScanOpenCdata)) return scan_;
      } else if (Starts(L"<?")) {
        if (!SkipPast(L"?>", hosttext::kScanOpenInstruction)) return scan_;
      } else if (Starts(L"<!")) {
        if (!Declaration()) return scan_;
      } else if (Starts(L"</")) {
        size_t at = pos_;
        pos_ += 2;
        std::wstring name = Name();
        SkipSpace();
        if (name.empty() || pos_ >= text_.size() || text_[pos_] != L'>') {
          return Fault(at, hosttext::kScanBadEndTag);
        }
        ++pos_;
        if (open.empty() || scan_.elements[open.back()].name != name) {
          std::wstring why = L"</" + name + L"> ";
          why += open.empty() ? hosttext::kScanEndWithoutStart
                              : hosttext::kScanEndMismatch + scan_.elements[open.back()].name + L"> (" +
                                    PositionText(scan_.elements[open.back()].at) + L")";
          return Fault(at, why);
        }
        open.pop_back();
        rootClosed = open.empty();
      } else {
        if (rootClosed) return Fault(pos_, hosttext::kScanSecondRoot);
        bool empty = false;
        if (!StartTag(open.empty() ? -1 : open.back(), static_cast<int>(open.size()) + 1, &empty)) return scan_;
        if (!empty) open.push_back(static_cast<int>(scan_.elements.size()) - 1);
        rootClosed = open.empty();
      }
    }
    if (!scan_.fault.empty()) return scan_;
    if (!open.empty()) {
      const ScannedElement& last = scan_.elements[open.back()];
      return Fault(text_.size(), hosttext::kScanEndsInside + last.name + L"> (" + PositionText(last.at) + L")");
    }
    if (scan_.elements.empty()) return Fault(text_.size(), hosttext::kScanNoElement);
    scan_.wellFormed = true;
    return scan_;
  }

 private:
  bool Clean() const { return scan_.fault.empty(); }

  bool Starts(const wchar_t* prefix) const { return text_.compare(pos_, wcslen(prefix), prefix) == 0; }

  void SkipSpace() {
    while (pos_ < text_.size() && IsSpace(text_[pos_])) ++pos_;
  }

  std::wstring Name() {
    size_t start = pos_;
    if (pos_ < text_.size() && IsNameStart(text_[pos_])) {
      while (pos_ < text_.size() && IsNameChar(text_[pos_])) ++pos_;
    }
    return text_.substr(start, pos_ - start);
  }

  // Positions are asked for in rising order, as a rule, so counting lines from
  // the last one asked for keeps the scan linear.
  TextPosition At(size_t offset) {
    if (offset < counted_) {
      counted_ = 0;
      line_ = 1;
      lineStart_ = 0;
    }
    for (; counted_ < offset && counted_ < text_.size(); ++counted_) {
      wchar_t c = text_[counted_];
      bool lineEnd = c == L'\n' || (c == L'\r' && (counted_ + 1 >= text_.size() || text_[counted_ + 1] != L'\n'));
      if (lineEnd) {
        ++line_;
        lineStart_ = counted_ + 1;
      }
    }
    TextPosition at;
    at.line = line_;
    at.column = static_cast<long>(offset - lineStart_) + 1;
    return at;
  }

  XmlScan& Fault(size_t offset, const std::wstring& why) {
    scan_.faultAt = At(offset);
    scan_.fault = why;
    return scan_;
  }

  bool SkipPast(const wchar_t* end, const wchar_t* unclosed) {
    size_t found = text_.find(end, pos_ + 2);
    if (found == std::wstring::npos) {
      Fault(pos_, unclosed);
      return false;
    }
    pos_ = found + wcslen(end);
    return true;
  }

  // <!DOCTYPE ...> with an internal subset in brackets; the scan keeps out of it.
  bool Declaration() {
    size_t at = pos_;
    int brackets = 0;
    for (pos_ += 2; pos_ < text_.size(); ++pos_) {
      wchar_t c = text_[pos_];
      if (c == L'[') ++brackets;
      if (c == L']') --brackets;
      if (c == L'>' && brackets <= 0) {
        ++pos_;
        return true;
      }
    }
    Fault(at, hosttext::kScanOpenDeclaration);
    return false;
  }

  // &name; or &#digits; or &#xhex;. Without a document type only the five
  // predefined names exist.
  bool Reference() {
    size_t at = pos_;
    size_t end = text_.find(L';', pos_);
    std::wstring body = end == std::wstring::npos || end - pos_ > 12 ? L"" : text_.substr(pos_ + 1, end - pos_ - 1);
    bool ok = body == L"lt" || body == L"gt" || body == L"amp" || body == L"apos" || body == L"quot";
    if (!ok && body.size() > 1 && body[0] == L'#') {
      bool hex = body[1] == L'x';
      ok = body.size() > (hex ? 2u : 1u);
      for (size_t i = hex ? 2 : 1; i < body.size() && ok; ++i) ok = hex ? iswxdigit(body[i]) : iswdigit(body[i]);
    }
    if (!ok) {
      Fault(at, hosttext::kScanBadReference);
      return false;
    }
    pos_ = end + 1;
    return true;
  }

  bool StartTag(int parent, int depth, bool* empty) {
    size_t at = pos_;
    ++pos_;
    ScannedElement element;
    element.name = Name();
    if (element.name.empty()) {
      Fault(at, hosttext::kScanBadName);
      return false;
    }
    element.at = At(at);
    element.parent = parent;
    element.depth = depth;
    std::vector<std::wstring> attributes;
    for (;;) {
      bool spaced = pos_ < text_.size() && IsSpace(text_[pos_]);
      SkipSpace();
      if (pos_ >= text_.size()) {
        Fault(at, hosttext::kScanEndsInside + element.name + L"> (" + PositionText(element.at) + L")");
        return false;
      }
      if (Starts(L"/>") || text_[pos_] == L'>') {
        *empty = text_[pos_] == L'/';
        pos_ += *empty ? 2 : 1;
        break;
      }
      size_t attributeAt = pos_;
      std::wstring name = Name();
      if (name.empty() || !spaced) {
        Fault(attributeAt, hosttext::kScanBadAttribute + element.name + L">");
        return false;
      }
      for (const std::wstring& seen : attributes) {
        if (seen == name) {
          Fault(attributeAt, hosttext::kScanDuplicateAttribute + name);
          return false;
        }
      }
      attributes.push_back(name);
      SkipSpace();
      if (pos_ >= text_.size() || text_[pos_] != L'=') {
        Fault(attributeAt, hosttext::kScanNoValue + name);
        return false;
      }
      ++pos_;
      SkipSpace();
      wchar_t quote = pos_ < text_.size() ? text_[pos_] : L'\0';
      if (quote != L'"' && quote != L'\'') {
        Fault(pos_, hosttext::kScanUnquoted + name);
        return false;
      }
      for (++pos_; pos_ < text_.size() && text_[pos_] != quote; ++pos_) {
        if (text_[pos_] == L'<') {
          Fault(attributeAt, hosttext::kScanOpenValue + name);
          return false;
        }
        if (text_[pos_] == L'&') {
          if (!Reference()) return false;
          --pos_;
        }
      }
      if (pos_ >= text_.size()) {
        Fault(attributeAt, hosttext::kScanOpenValue + name);
        return false;
      }
      ++pos_;
    }
    scan_.elements.push_back(element);
    int index = static_cast<int>(scan_.elements.size()) - 1;
    if (scan_.deepest < 0 || depth > scan_.elements[scan_.deepest].depth) scan_.deepest = index;
    return true;
  }

  const std::wstring& text_;
  size_t pos_ = 0;
  XmlScan scan_;
  size_t counted_ = 0;
  long line_ = 1;
  size_t lineStart_ = 0;
};

}  // namespace

std::vector<int> XmlScan::Children(int parent) const {
  std::vector<int> children;
  for (size_t i = 0; i < elements.size(); ++i) {
    if (elements[i].parent == parent) children.push_back(static_cast<int>(i));
  }
  return children;
}

XmlScan ScanXml(const std::wstring& text) {
  // A byte order mark that survived decoding is no text of the document.
  size_t skip = !text.empty() && text[0] == 0xFEFF ? 1 : 0;
  if (skip == 0) return Scanner(text).Run();
  std::wstring body = L" " + text.substr(1);  // the same columns, the mark counted as one
  return Scanner(body).Run();
}

bool ReadScriptFile(const std::wstring& path, std::wstring* text, std::wstring* whatItIs) {
  DWORD attributes = GetFileAttributesW(path.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY)) {
    *whatItIs = hosttext::kFileIsFolder;
    return false;
  }
  ScopedKernelHandle file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                    OPEN_EXISTING, 0, nullptr));
  LARGE_INTEGER size = {};
  if (!file || !GetFileSizeEx(file.Get(), &size) || size.QuadPart > 0x7FFFFFFF) {
    *whatItIs = hosttext::kFileUnreadable + std::to_wstring(GetLastError()) + L")";
    return false;
  }
  std::string bytes(static_cast<size_t>(size.QuadPart), '\0');
  DWORD read = 0;
  if (!bytes.empty() && (!ReadFile(file.Get(), &bytes[0], static_cast<DWORD>(bytes.size()), &read, nullptr) ||
                         read != bytes.size())) {
    *whatItIs = hosttext::kFileUnreadable + std::to_wstring(GetLastError()) + L")";
    return false;
  }
  if (bytes.empty()) {
    *whatItIs = hosttext::kFileEmpty;
    return false;
  }
  auto byte = [&bytes](size_t i) { return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0x100u; };
  bool utf16le = byte(0) == 0xFF && byte(1) == 0xFE;
  bool utf16be = byte(0) == 0xFE && byte(1) == 0xFF;
  if (utf16le || utf16be) {
    text->clear();
    for (size_t i = 2; i + 1 < bytes.size(); i += 2) {
      text->push_back(static_cast<wchar_t>(utf16le ? byte(i) | byte(i + 1) << 8 : byte(i) << 8 | byte(i + 1)));
    }
    return true;
  }
  // UTF-16 without a mark: the zero high byte of '<' or of a blank shows it.
  if (bytes.size() > 1 && (byte(0) == 0) != (byte(1) == 0)) {
    *whatItIs = byte(1) == 0 ? hosttext::kFileUtf16LeNoMark : hosttext::kFileUtf16BeNoMark;
    return false;
  }
  if (bytes.find('\0') != std::string::npos) {
    *whatItIs = hosttext::kFileBinary;
    return false;
  }
  size_t skip = byte(0) == 0xEF && byte(1) == 0xBB && byte(2) == 0xBF ? 3 : 0;
  *text = FromUtf8(bytes.data() + skip, bytes.size() - skip);
  return true;
}

std::wstring PositionText(const TextPosition& at) {
  return L"line " + std::to_wstring(at.line) + L", column " + std::to_wstring(at.column);
}
