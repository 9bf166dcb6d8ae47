// The cascade: computes the style of every element of a document from the
// built-in sheet for HTML elements, the page's sheets in the order they were
// added, each element's style attribute, and the properties set on the element
// through the C interface (Element::styleAttributes), in that order of strength. Within one origin a
// more specific selector wins, then the later rule; !important declarations
// win over normal ones, page sheets' below style attributes' below the
// per-element ones'.
//
// Styles are kept per element until the next restyle of that element. Parents
// are styled before their children. Restyle after a change of an element's
// attributes or state: its subtree (descendant selectors may depend on it).
// After children are inserted or removed, restyle the parent's subtree
// (:first-child and :last-child of the siblings change).
//
// Cost: each element is tested against the selectors whose last compound could
// match it (by its id, classes and tag, plus the universal ones), so a restyle
// is linear in the number of elements.
#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "standins/htmlayout/css/StyleSheet.h"

namespace hl::css {

class StyleEngine {
 public:
  StyleEngine();

  // Page sheets apply after the built-in one, in the order added.
  void AddSheet(const std::wstring& text, const std::wstring& baseUrl);
  void AddSheet(StyleSheet sheet);
  void ClearSheets();
  // The address style attributes' urls are relative to: the page's.
  void SetPageBase(const std::wstring& baseUrl);

  // The whole tree under root, root included; styles of elements no longer
  // under root are dropped.
  void Restyle(const Element& root);
  // One element and everything under it, from its parent's present style.
  void RestyleSubtree(const Element& element);
  // Drops the styles kept for an element and its subtree (before they are freed).
  void Forget(const Element& element);

  // Null before the element's first restyle.
  const ComputedStyle* StyleOf(const Element& element) const;
  // One element's style from a given parent style, without keeping it.
  ComputedStyle Compute(const Element& element, const ComputedStyle& parent) const;

  // The built-in sheet for HTML elements, as text.
  static const wchar_t* DefaultSheet();

 private:
  struct Entry {
    uint32_t rule;
    const ComplexSelector* selector;
  };
  struct IndexedRule {
    const Rule* rule;
    int origin;  // 0 built in, 1 page
  };

  void BuildIndex() const;
  void StyleTree(const Element& top, const ComputedStyle& parentStyle);

  std::vector<std::shared_ptr<const StyleSheet>> sheets_;  // the built-in sheet first
  std::shared_ptr<const std::wstring> pageBase_;
  std::unordered_map<const Element*, ComputedStyle> styles_;

  // Selectors by the id, class or tag their last compound requires.
  mutable bool indexed_ = false;
  mutable std::vector<IndexedRule> rules_;
  mutable std::unordered_map<std::wstring, std::vector<Entry>> byId_, byClass_, byTag_;
  mutable std::vector<Entry> universal_;
};

}  // namespace hl::css
