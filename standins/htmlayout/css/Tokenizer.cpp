#include "standins/htmlayout/css/Tokenizer.h"

#include <cmath>

namespace hl::css {
namespace {

bool IsNameStart(wchar_t c) { return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') || c == L'_' || c >= 0x80; }
bool IsName(wchar_t c) { return IsNameStart(c) || (c >= L'0' && c <= L'9') || c == L'-'; }
bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }
bool IsHex(wchar_t c) { return IsDigit(c) || (c >= L'a' && c <= L'f') || (c >= L'A' && c <= L'F'); }
int HexValue(wchar_t c) { return IsDigit(c) ? c - L'0' : (c | 0x20) - L'a' + 10; }
bool IsSpace(wchar_t c) { return c == L' ' || c == L'\t' || c == L'\n' || c == L'\r' || c == L'\f'; }

class Reader {
 public:
  explicit Reader(const std::wstring& s) : s_(s) {}

  std::vector<Token> Run() {
    std::vector<Token> tokens;
    while (pos_ < s_.size()) {
      size_t start = pos_;
      Token token = Next();
      token.start = start;
      token.end = pos_;
      if (token.type == TokenType::Whitespace && !tokens.empty() && tokens.back().type == TokenType::Whitespace) {
        tokens.back().end = pos_;  // comments between spaces leave one Whitespace token
        continue;
      }
      tokens.push_back(std::move(token));
    }
    return tokens;
  }

 private:
  wchar_t At(size_t offset) const { return pos_ + offset < s_.size() ? s_[pos_ + offset] : 0; }
  bool ValidEscape(size_t offset) const { return At(offset) == L'\\' && At(offset + 1) != L'\n' && pos_ + offset + 1 < s_.size(); }
  bool StartsIdent(size_t offset) const {
    wchar_t c = At(offset);
    if (c == L'-') return IsNameStart(At(offset + 1)) || At(offset + 1) == L'-' || ValidEscape(offset + 1);
    return IsNameStart(c) || ValidEscape(offset);
  }
  bool StartsNumber() const {
    wchar_t c = At(0);
    if (c == L'+' || c == L'-') return IsDigit(At(1)) || (At(1) == L'.' && IsDigit(At(2)));
    if (c == L'.') return IsDigit(At(1));
    return IsDigit(c);
  }

  // After a backslash: a hex code point of up to six digits and one space, or the next character.
  wchar_t Escape() {
    ++pos_;
    if (!IsHex(At(0))) return s_[pos_++];
    unsigned long code = 0;
    for (int i = 0; i < 6 && IsHex(At(0)); ++i, ++pos_) code = code * 16 + HexValue(s_[pos_]);
    if (IsSpace(At(0))) ++pos_;
    if (code == 0 || code > 0xFFFF) return 0xFFFD;  // wchar_t is UTF-16 here; outside the BMP is not a name anyone styles
    return static_cast<wchar_t>(code);
  }

  std::wstring Name() {
    std::wstring name;
    while (pos_ < s_.size()) {
      if (IsName(At(0))) name += s_[pos_++];
      else if (ValidEscape(0)) name += Escape();
      else break;
    }
    return name;
  }

  Token Make(TokenType type, std::wstring text = {}) {
    Token t;
    t.type = type;
    t.text = std::move(text);
    return t;
  }

  Token Number() {
    size_t begin = pos_;
    if (At(0) == L'+' || At(0) == L'-') ++pos_;
    while (IsDigit(At(0))) ++pos_;
    if (At(0) == L'.' && IsDigit(At(1))) {
      ++pos_;
      while (IsDigit(At(0))) ++pos_;
    }
    if ((At(0) == L'e' || At(0) == L'E') &&
        (IsDigit(At(1)) || ((At(1) == L'+' || At(1) == L'-') && IsDigit(At(2))))) {
      pos_ += 2;
      while (IsDigit(At(0))) ++pos_;
    }
    double value = std::wcstod(s_.substr(begin, pos_ - begin).c_str(), nullptr);
    if (!std::isfinite(value)) value = 0;
    Token t;
    t.number = value;
    if (At(0) == L'%') {
      ++pos_;
      t.type = TokenType::Percentage;
    } else if (At(0) == L'*') {  // the flex unit of this library: "width: 1*"
      ++pos_;
      t.type = TokenType::Dimension;
      t.text = L"*";
    } else if (StartsIdent(0)) {
      t.type = TokenType::Dimension;
      t.text = AsciiLower(Name());
    } else {
      t.type = TokenType::Number;
    }
    // Numbers and percentages keep their text: an attribute selector [step=2] compares it.
    if (t.type != TokenType::Dimension) t.text = s_.substr(begin, pos_ - begin - (t.type == TokenType::Percentage));
    return t;
  }

  Token String(wchar_t quote) {
    ++pos_;
    std::wstring text;
    while (pos_ < s_.size()) {
      wchar_t c = s_[pos_];
      if (c == quote) {
        ++pos_;
        return Make(TokenType::String, text);
      }
      if (c == L'\n') return Make(TokenType::BadString, text);  // the line break starts the next token
      if (c == L'\\') {
        if (At(1) == L'\n') pos_ += 2;
        else if (pos_ + 1 >= s_.size()) ++pos_;
        else text += Escape();
        continue;
      }
      text += c;
      ++pos_;
    }
    return Make(TokenType::String, text);  // an unclosed string ends with the sheet
  }

  Token Url() {
    while (IsSpace(At(0))) ++pos_;
    std::wstring text;
    while (pos_ < s_.size()) {
      wchar_t c = s_[pos_];
      if (c == L')') {
        ++pos_;
        return Make(TokenType::Url, text);
      }
      if (IsSpace(c)) {
        while (IsSpace(At(0))) ++pos_;
        if (At(0) == L')' || pos_ >= s_.size()) continue;
        break;
      }
      if (c == L'"' || c == L'\'' || c == L'(') break;
      if (c == L'\\') {
        if (ValidEscape(0)) text += Escape();
        else break;
        continue;
      }
      text += c;
      ++pos_;
    }
    if (pos_ >= s_.size()) return Make(TokenType::Url, text);
    // Skip the rest of a broken url(...) up to its parenthesis, as browsers do.
    while (pos_ < s_.size() && s_[pos_] != L')') pos_ += ValidEscape(0) ? 2 : 1;
    if (pos_ < s_.size()) ++pos_;
    return Make(TokenType::BadUrl);
  }

  Token IdentLike() {
    std::wstring name = Name();
    if (At(0) != L'(') return Make(TokenType::Ident, name);
    ++pos_;
    if (EqualsIgnoreCase(name, L"url")) {
      size_t look = pos_;
      while (look < s_.size() && IsSpace(s_[look])) ++look;
      if (look >= s_.size() || (s_[look] != L'"' && s_[look] != L'\'')) return Url();
    }
    return Make(TokenType::Function, name);
  }

  Token Next() {
    wchar_t c = s_[pos_];
    if (c == L'/' && At(1) == L'*') {
      size_t close = s_.find(L"*/", pos_ + 2);
      pos_ = close == std::wstring::npos ? s_.size() : close + 2;
      return Make(TokenType::Whitespace);
    }
    if (IsSpace(c)) {
      while (IsSpace(At(0))) ++pos_;
      return Make(TokenType::Whitespace);
    }
    if (c == L'"' || c == L'\'') return String(c);
    if (StartsNumber()) return Number();
    if (StartsIdent(0)) return IdentLike();
    if (c == L'#' && (IsName(At(1)) || ValidEscape(1))) {
      ++pos_;
      return Make(TokenType::Hash, Name());
    }
    if (c == L'@' && StartsIdent(1)) {
      ++pos_;
      return Make(TokenType::AtKeyword, Name());
    }
    if (c == L'<' && s_.compare(pos_, 4, L"<!--") == 0) {
      pos_ += 4;
      return Make(TokenType::Cdo);
    }
    if (c == L'-' && s_.compare(pos_, 3, L"-->") == 0) {
      pos_ += 3;
      return Make(TokenType::Cdc);
    }
    ++pos_;
    switch (c) {
      case L':': return Make(TokenType::Colon);
      case L';': return Make(TokenType::Semicolon);
      case L',': return Make(TokenType::Comma);
      case L'[': return Make(TokenType::OpenSquare);
      case L']': return Make(TokenType::CloseSquare);
      case L'(': return Make(TokenType::OpenParen);
      case L')': return Make(TokenType::CloseParen);
      case L'{': return Make(TokenType::OpenCurly);
      case L'}': return Make(TokenType::CloseCurly);
      default: return Make(TokenType::Delim, std::wstring(1, c));
    }
  }

  const std::wstring& s_;
  size_t pos_ = 0;
};

}  // namespace

bool Token::IsIdent(const wchar_t* name) const { return type == TokenType::Ident && EqualsIgnoreCase(text, name); }

std::vector<Token> Tokenize(const std::wstring& source) { return Reader(source).Run(); }

std::wstring AsciiLower(std::wstring text) {
  for (auto& c : text) {
    if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c - L'A' + L'a');
  }
  return text;
}

bool EqualsIgnoreCase(const std::wstring& a, const wchar_t* b) {
  size_t i = 0;
  for (; i < a.size(); ++i) {
    wchar_t x = a[i], y = b[i];
    if (y == 0) return false;
    if (x >= L'A' && x <= L'Z') x = static_cast<wchar_t>(x - L'A' + L'a');
    if (y >= L'A' && y <= L'Z') y = static_cast<wchar_t>(y - L'A' + L'a');
    if (x != y) return false;
  }
  return b[i] == 0;
}

}  // namespace hl::css
