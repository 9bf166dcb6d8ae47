#include "standins/htmlayout/css/Selector.h"

#include <algorithm>
#include <cwctype>

namespace hl::css {
namespace {

struct PseudoState {
  const wchar_t* name;
  uint32_t set, clear;
};

const PseudoState kStates[] = {
    {L"hover", kStateHover, 0},       {L"active", kStateActive, 0},     {L"focus", kStateFocus, 0},
    {L"current", kStateCurrent, 0},   {L"checked", kStateChecked, 0},   {L"disabled", kStateDisabled, 0},
    {L"enabled", 0, kStateDisabled},  {L"link", kStateLink, 0},         {L"visited", kStateVisited, 0},
    {L"readonly", kStateReadonly, 0}, {L"expanded", kStateExpanded, 0}, {L"collapsed", kStateCollapsed, 0},
};

const Element* FirstElement(const Element& parent, bool fromEnd) {
  auto& kids = parent.children;
  if (fromEnd) {
    for (auto it = kids.rbegin(); it != kids.rend(); ++it) if (it->element) return it->element;
  } else {
    for (auto& kid : kids) if (kid.element) return kid.element;
  }
  return nullptr;
}

bool HasWord(const std::wstring& list, const std::wstring& word) {
  if (word.empty()) return false;
  size_t pos = 0;
  while ((pos = list.find(word, pos)) != std::wstring::npos) {
    bool startOk = pos == 0 || std::iswspace(list[pos - 1]);
    size_t after = pos + word.size();
    if (startOk && (after == list.size() || std::iswspace(list[after]))) return true;
    pos = after;
  }
  return false;
}

bool MatchesCompound(const Compound& c, const Element& e) {
  if (!c.tag.empty() && c.tag != e.tag) return false;
  // A "disabled" attribute, also an empty one, disables as the state bit does.
  const uint32_t state = e.state | (e.Attribute(L"disabled") ? uint32_t{kStateDisabled} : 0u);
  if ((state & c.statesSet) != c.statesSet || (state & c.statesClear) != 0) return false;
  for (auto& id : c.ids) {
    const std::wstring* value = e.Attribute(L"id");
    if (!value || *value != id) return false;
  }
  if (!c.classes.empty()) {
    const std::wstring* value = e.Attribute(L"class");
    if (!value) return false;
    for (auto& name : c.classes) if (!HasWord(*value, name)) return false;
  }
  for (auto& test : c.attributes) {
    const std::wstring* value = e.Attribute(test.name);
    if (!value) return false;
    switch (test.op) {
      case AttributeTest::Op::Exists: break;
      case AttributeTest::Op::Equals: if (*value != test.value) return false; break;
      case AttributeTest::Op::Includes: if (!HasWord(*value, test.value)) return false; break;
      case AttributeTest::Op::DashMatch:
        if (*value != test.value && value->compare(0, test.value.size() + 1, test.value + L"-") != 0) return false;
        break;
    }
  }
  if (c.root && e.parent) return false;
  if (c.firstChild && (!e.parent || FirstElement(*e.parent, false) != &e)) return false;
  if (c.lastChild && (!e.parent || FirstElement(*e.parent, true) != &e)) return false;
  return true;
}

enum class Result { Matches, FailsHere, FailsAbove };

// Right to left from compound i at element e. A descendant step tries every
// ancestor, so "a b > c" finds the right "b" even when a nearer one fails; when
// the search runs out of ancestors, no element higher up can do better, and
// FailsAbove ends the outer searches too: "div div div" on a deep chain of divs
// costs the depth, not the number of ways to pick three of them.
Result MatchFrom(const ComplexSelector& s, size_t i, const Element& e) {
  if (!MatchesCompound(s.compounds[i], e)) return Result::FailsHere;
  if (i == 0) return Result::Matches;
  if (s.combinators[i - 1] == L'>') return e.parent ? MatchFrom(s, i - 1, *e.parent) : Result::FailsAbove;
  for (const Element* a = e.parent; a; a = a->parent) {
    Result r = MatchFrom(s, i - 1, *a);
    if (r != Result::FailsHere) return r;
  }
  return Result::FailsAbove;
}

class Parser {
 public:
  Parser(const std::vector<Token>& t, size_t begin, size_t end) : t_(t), i_(begin), end_(end) {}

  bool Run(std::vector<ComplexSelector>* out) {
    for (;;) {
      SkipSpace();
      ComplexSelector selector;
      if (!Complex(&selector)) return false;
      out->push_back(std::move(selector));
      SkipSpace();
      if (i_ >= end_) return true;
      if (!t_[i_].Is(TokenType::Comma)) return false;
      ++i_;
    }
  }

 private:
  void SkipSpace() { while (i_ < end_ && t_[i_].Is(TokenType::Whitespace)) ++i_; }

  bool Complex(ComplexSelector* s) {
    unsigned ids = 0, classes = 0, types = 0;
    for (;;) {
      Compound c;
      if (!CompoundAt(&c, &ids, &classes, &types)) return false;
      s->compounds.push_back(std::move(c));
      bool space = i_ < end_ && t_[i_].Is(TokenType::Whitespace);
      SkipSpace();
      if (i_ >= end_ || t_[i_].Is(TokenType::Comma)) break;
      if (t_[i_].IsDelim(L'>')) {
        ++i_;
        SkipSpace();
        s->combinators.push_back(L'>');
      } else if (space) {
        s->combinators.push_back(L' ');
      } else {
        return false;
      }
    }
    auto cap = [](unsigned v) { return std::min(v, 255u); };
    s->specificity = cap(ids) << 16 | cap(classes) << 8 | cap(types);
    return true;
  }

  bool CompoundAt(Compound* c, unsigned* ids, unsigned* classes, unsigned* types) {
    bool any = false;
    if (i_ < end_ && t_[i_].Is(TokenType::Ident)) {
      c->tag = AsciiLower(t_[i_++].text);
      ++*types;
      any = true;
    } else if (i_ < end_ && t_[i_].IsDelim(L'*')) {
      ++i_;
      any = true;
    }
    while (i_ < end_) {
      const Token& t = t_[i_];
      if (t.Is(TokenType::Hash)) {
        c->ids.push_back(t.text);
        ++*ids;
        ++i_;
      } else if (t.IsDelim(L'.') && i_ + 1 < end_ && t_[i_ + 1].Is(TokenType::Ident)) {
        c->classes.push_back(t_[i_ + 1].text);
        ++*classes;
        i_ += 2;
      } else if (t.Is(TokenType::OpenSquare)) {
        if (!Attribute(c)) return false;
        ++*classes;
      } else if (t.Is(TokenType::Colon)) {
        if (!Pseudo(c)) return false;
        ++*classes;
      } else {
        break;
      }
      any = true;
    }
    return any;
  }

  bool Attribute(Compound* c) {
    ++i_;
    SkipSpace();
    if (i_ >= end_ || !t_[i_].Is(TokenType::Ident)) return false;
    AttributeTest test;
    test.name = AsciiLower(t_[i_++].text);
    SkipSpace();
    if (i_ < end_ && !t_[i_].Is(TokenType::CloseSquare)) {
      if (t_[i_].IsDelim(L'=')) {
        test.op = AttributeTest::Op::Equals;
      } else if ((t_[i_].IsDelim(L'~') || t_[i_].IsDelim(L'|')) && i_ + 1 < end_ && t_[i_ + 1].IsDelim(L'=')) {
        test.op = t_[i_].IsDelim(L'~') ? AttributeTest::Op::Includes : AttributeTest::Op::DashMatch;
        ++i_;
      } else {
        return false;
      }
      ++i_;
      SkipSpace();
      if (i_ >= end_) return false;
      // [current_step=2] is common in pages written for the original engine; a number is text here.
      const Token& v = t_[i_];
      if (v.Is(TokenType::Ident) || v.Is(TokenType::String)) test.value = v.text;
      else if (v.Is(TokenType::Number) || v.Is(TokenType::Percentage)) test.value = Source(v);
      else return false;
      ++i_;
      SkipSpace();
    }
    if (i_ >= end_ || !t_[i_].Is(TokenType::CloseSquare)) return false;
    ++i_;
    c->attributes.push_back(std::move(test));
    return true;
  }

  bool Pseudo(Compound* c) {
    ++i_;
    if (i_ >= end_ || !t_[i_].Is(TokenType::Ident)) return false;  // "::before" and ":not(...)" end here
    const std::wstring name = AsciiLower(t_[i_++].text);
    for (auto& state : kStates) {
      if (name == state.name) {
        c->statesSet |= state.set;
        c->statesClear |= state.clear;
        return true;
      }
    }
    if (name == L"first-child") c->firstChild = true;
    else if (name == L"last-child") c->lastChild = true;
    else if (name == L"only-child") c->firstChild = c->lastChild = true;
    else if (name == L"root") c->root = true;
    else return false;
    return true;
  }

  // A number keeps the text it was written with (see the tokenizer).
  std::wstring Source(const Token& t) { return t.Is(TokenType::Percentage) ? t.text + L'%' : t.text; }

  const std::vector<Token>& t_;
  size_t i_, end_;
};

}  // namespace

bool ComplexSelector::Matches(const Element& element) const {
  return !compounds.empty() && MatchFrom(*this, compounds.size() - 1, element) == Result::Matches;
}

bool SelectorList::Parse(const std::wstring& text) {
  std::vector<Token> tokens = Tokenize(text);
  return Parse(tokens, 0, tokens.size());
}

bool SelectorList::Parse(const std::vector<Token>& tokens, size_t begin, size_t end) {
  selectors_.clear();
  if (!Parser(tokens, begin, std::min(end, tokens.size())).Run(&selectors_)) {
    selectors_.clear();
    return false;
  }
  return true;
}

bool SelectorList::Matches(const Element& element) const {
  for (auto& s : selectors_) if (s.Matches(element)) return true;
  return false;
}

int64_t SelectorList::MatchSpecificity(const Element& element) const {
  int64_t best = -1;
  for (auto& s : selectors_) {
    if (static_cast<int64_t>(s.specificity) > best && s.Matches(element)) best = s.specificity;
  }
  return best;
}

void SelectElements(const Element& root, const SelectorList& selectors, bool includeRoot,
                    const std::function<bool(const Element&)>& visit) {
  if (includeRoot && selectors.Matches(root) && !visit(root)) return;
  // (element, next child index) pairs: document order without recursion.
  std::vector<std::pair<const Element*, size_t>> stack{{&root, 0}};
  while (!stack.empty()) {
    auto& top = stack.back();
    if (top.second >= top.first->children.size()) {
      stack.pop_back();
      continue;
    }
    const Element* child = top.first->children[top.second++].element;
    if (!child) continue;
    if (selectors.Matches(*child) && !visit(*child)) return;
    stack.push_back({child, 0});
  }
}

std::vector<const Element*> SelectAll(const Element& root, const SelectorList& selectors, bool includeRoot) {
  std::vector<const Element*> found;
  SelectElements(root, selectors, includeRoot, [&found](const Element& e) {
    found.push_back(&e);
    return true;
  });
  return found;
}

}  // namespace hl::css

