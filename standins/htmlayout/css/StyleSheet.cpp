#include "standins/htmlayout/css/StyleSheet.h"

namespace hl::css {
namespace {

bool Opens(const Token& t) {
  return t.Is(TokenType::OpenCurly) || t.Is(TokenType::OpenParen) || t.Is(TokenType::OpenSquare) ||
         t.Is(TokenType::Function);
}
bool Closes(const Token& t) {
  return t.Is(TokenType::CloseCurly) || t.Is(TokenType::CloseParen) || t.Is(TokenType::CloseSquare);
}

// The index after the block that opens at i (its closing brace, or the end).
size_t SkipBlock(const std::vector<Token>& t, size_t i) {
  int depth = 0;
  for (; i < t.size(); ++i) {
    if (Opens(t[i])) ++depth;
    else if (Closes(t[i]) && --depth <= 0) return i + 1;
  }
  return i;
}

}  // namespace

StyleSheet StyleSheet::Parse(const std::wstring& text, const std::wstring& baseUrl) {
  StyleSheet sheet;
  auto base = std::make_shared<const std::wstring>(baseUrl);
  std::vector<Token> t = Tokenize(text);
  size_t i = 0;
  while (i < t.size()) {
    if (t[i].Is(TokenType::Whitespace) || t[i].Is(TokenType::Cdo) || t[i].Is(TokenType::Cdc)) {
      ++i;
      continue;
    }
    // The prelude runs to the '{' of the block, or for an @-rule to a ';' too.
    bool atRule = t[i].Is(TokenType::AtKeyword);
    size_t prelude = i;
    int depth = 0;
    while (i < t.size()) {
      if (depth == 0 && t[i].Is(TokenType::OpenCurly)) break;
      if (depth == 0 && atRule && t[i].Is(TokenType::Semicolon)) break;
      if (Opens(t[i])) ++depth;
      else if (Closes(t[i]) && depth > 0) --depth;
      ++i;
    }
    if (i >= t.size()) break;  // a prelude without a block sets nothing
    if (t[i].Is(TokenType::Semicolon)) {
      ++i;
      continue;
    }
    size_t open = i;
    i = SkipBlock(t, i);
    if (atRule) continue;
    Rule rule;
    if (!rule.selectors.Parse(t, prelude, open)) continue;
    size_t close = i > open + 1 && t[i - 1].Is(TokenType::CloseCurly) ? i - 1 : i;
    ParseDeclarationList(text, t, open + 1, close, &rule.declarations);
    for (auto& d : rule.declarations) d.base = base;
    if (!rule.declarations.empty()) sheet.rules.push_back(std::move(rule));
  }
  return sheet;
}

}  // namespace hl::css
