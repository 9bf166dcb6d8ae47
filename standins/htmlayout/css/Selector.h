// Selectors: which elements a rule (or a search through the C interface) is for.
//
// Supported: type and universal, #id, .class (among the space-separated words of
// the class attribute), [name], [name=value], [name~=word], [name|=prefix],
// descendant and child (>) combinators, lists (a, b), and the pseudo-classes of
// the element states (:hover, :active, :focus, :current, :checked, :disabled,
// :enabled, :link, :visited, :readonly, :expanded, :collapsed) and of position
// (:first-child, :last-child, :only-child, :root). A selector with anything else
// (sibling combinators, pseudo-elements, unknown pseudo-classes) does not parse,
// and a rule whose selector list holds one is dropped whole, as browsers do.
//
// Type and attribute names compare without case, ids, classes and attribute
// values with case.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "standins/htmlayout/dom/Element.h"
#include "standins/htmlayout/css/Tokenizer.h"

namespace hl::css {

// (ids, classes + attributes + pseudo-classes, types), packed so that a larger
// number wins: each part saturates at 255.
using Specificity = uint32_t;

struct AttributeTest {
  enum class Op : unsigned char { Exists, Equals, Includes, DashMatch };
  std::wstring name;  // lower case
  Op op = Op::Exists;
  std::wstring value;
};

// What one element must be: every condition of a compound like "input.big[type=text]:focus".
struct Compound {
  std::wstring tag;  // lower case; empty for '*' or none
  std::vector<std::wstring> ids;
  std::vector<std::wstring> classes;
  std::vector<AttributeTest> attributes;
  uint32_t statesSet = 0;    // StateBits that must be on
  uint32_t statesClear = 0;  // StateBits that must be off (:enabled)
  bool firstChild = false, lastChild = false, root = false;
};

// Compounds left to right; combinators[i] joins compounds[i] and compounds[i + 1]:
// ' ' descendant, '>' child.
struct ComplexSelector {
  std::vector<Compound> compounds;
  std::vector<wchar_t> combinators;
  Specificity specificity = 0;

  bool Matches(const Element& element) const;
};

class SelectorList {
 public:
  // False (and an empty list) when any selector of the list does not parse.
  bool Parse(const std::wstring& text);
  // From tokens: the prelude of a rule.
  bool Parse(const std::vector<Token>& tokens, size_t begin, size_t end);

  bool Matches(const Element& element) const;
  // The highest specificity among the selectors that match, or -1 when none does.
  int64_t MatchSpecificity(const Element& element) const;
  const std::vector<ComplexSelector>& Selectors() const { return selectors_; }
  bool Empty() const { return selectors_.empty(); }

 private:
  std::vector<ComplexSelector> selectors_;
};

// Visits root (when includeRoot) and every element under it in document order,
// calling visit for each that matches; visit returns false to stop. Walks with
// its own stack: deep trees do not use the thread's stack.
void SelectElements(const Element& root, const SelectorList& selectors, bool includeRoot,
                    const std::function<bool(const Element&)>& visit);
std::vector<const Element*> SelectAll(const Element& root, const SelectorList& selectors, bool includeRoot = false);

}  // namespace hl::css
