// Trees built by hand for the style tests: elements owned by the tree, each
// reachable by a label.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "standins/htmlayout/dom/Element.h"

class TestTree {
 public:
  // attributes: "name=value" pairs, '|'-separated: L"id=main|class=page wide".
  hl::Element* Add(hl::Element* parent, const std::wstring& label, const std::wstring& tag,
                   const std::wstring& attributes = L"", uint32_t state = 0) {
    owned_.push_back(std::make_unique<hl::Element>());
    hl::Element* e = owned_.back().get();
    e->tag = tag;
    e->state = state;
    e->parent = parent;
    size_t start = 0;
    while (start < attributes.size()) {
      size_t end = attributes.find(L'|', start);
      if (end == std::wstring::npos) end = attributes.size();
      std::wstring pair = attributes.substr(start, end - start);
      size_t eq = pair.find(L'=');
      e->attributes.push_back({pair.substr(0, eq), eq == std::wstring::npos ? L"" : pair.substr(eq + 1)});
      start = end + 1;
    }
    if (parent) parent->children.push_back({e, {}});
    labels_[e] = label;
    byLabel_[label] = e;
    return e;
  }
  hl::Element* operator[](const std::wstring& label) { return byLabel_.at(label); }
  std::wstring Label(const hl::Element* e) const { return labels_.at(e); }

 private:
  std::vector<std::unique_ptr<hl::Element>> owned_;
  std::map<const hl::Element*, std::wstring> labels_;
  std::map<std::wstring, hl::Element*> byLabel_;
};
