// A style sheet read from text: its rules in order, each a selector list and
// the declarations it sets. Reading never fails: a rule whose selector does
// not parse is dropped, a declaration that does not parse is skipped, @-rules
// (@media, @import, @font-face, @charset...) are passed over with their blocks,
// "<!--" and "-->" around a style element's text are ignored, and a sheet cut
// short ends its open rule where the text ends.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "standins/htmlayout/css/Declarations.h"
#include "standins/htmlayout/css/Selector.h"

namespace hl::css {

struct Rule {
  SelectorList selectors;
  std::vector<Declaration> declarations;
};

struct StyleSheet {
  std::vector<Rule> rules;

  // baseUrl: the address of the sheet (or of the page, for a style element),
  // kept with every url the sheet writes; see JoinUrl.
  static StyleSheet Parse(const std::wstring& text, const std::wstring& baseUrl = std::wstring());
};

}  // namespace hl::css
