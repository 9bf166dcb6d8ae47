// Splits style sheet text into tokens, the way browsers read CSS: comments
// vanish, anything unexpected becomes a one-character Delim token, and every
// step consumes at least one character, so no input can make the reader loop
// or fail. The parsers above decide what the tokens mean.
#pragma once

#include <string>
#include <vector>

namespace hl::css {

enum class TokenType : unsigned char {
  Ident,        // text: the name, escapes resolved
  Function,     // text: the name before '('
  AtKeyword,    // text: the name after '@'
  Hash,         // text: the name after '#'
  String,       // text: the contents, quotes removed
  Url,          // text: the contents of an unquoted url(...)
  Number,       // number, and text as written
  Percentage,   // number, and text as written without the '%'
  Dimension,    // number and text (the unit, lower case); "1*" is a Dimension with unit "*"
  Delim,        // text: the one character
  Whitespace,
  Colon, Semicolon, Comma,
  OpenSquare, CloseSquare, OpenParen, CloseParen, OpenCurly, CloseCurly,
  Cdo, Cdc,     // "<!--" and "-->", which pages put around the text of a style element
  BadString,    // a string cut by a line break
  BadUrl,
};

struct Token {
  TokenType type = TokenType::Delim;
  std::wstring text;
  double number = 0;
  size_t start = 0, end = 0;  // the source range, for values kept as written

  bool Is(TokenType t) const { return type == t; }
  bool IsDelim(wchar_t c) const { return type == TokenType::Delim && text.size() == 1 && text[0] == c; }
  // Ident compared without regard to ASCII case, as keywords are.
  bool IsIdent(const wchar_t* name) const;
};

std::vector<Token> Tokenize(const std::wstring& source);

// ASCII lower case: CSS keywords and names are case-insensitive in ASCII only.
std::wstring AsciiLower(std::wstring text);
bool EqualsIgnoreCase(const std::wstring& a, const wchar_t* b);

}  // namespace hl::css
