#include "standins/htmlayout/dom/Document.h"

namespace hl {

namespace {

volatile LONG nextUid = 0;

void SetDomain(Element* element, Document* document) {
  element->document = document;
  __atomic_store_n(&element->domain, document ? document->lock : nullptr, __ATOMIC_RELEASE);
  for (auto& child : element->children) {
    if (child.element) SetDomain(child.element, document);
  }
}

// Frees element and the part of its subtree nobody holds; held descendants are
// cut loose and live on as detached elements.
void FreeUnheld(Element* element) {
  if (element->references > 0) {
    element->parent = nullptr;
    return;
  }
  for (auto& child : element->children) {
    if (child.element) FreeUnheld(child.element);
  }
  delete element;
}

bool IsRoot(const Element* element) { return element->document && element->document->root == element; }

}  // namespace

Element::Element() : uid(static_cast<uint32_t>(InterlockedIncrement(&nextUid))) {}

Document::Document() : lock(NewDomainLock()) {}

Document::~Document() {
  if (!root) return;
  // The tree leaves the document under both locks: a thread that holds one of
  // its elements must see either the document or the detached domain.
  DomainGuard own(lock);
  DomainGuard detached(DetachedDomain());
  Element* tree = root;
  root = nullptr;
  SetDomain(tree, nullptr);
  FreeUnheld(tree);
}

void Document::SetRoot(Element* newRoot) {
  root = newRoot;
  newRoot->parent = nullptr;
  SetDomain(newRoot, this);
}

Element* NewElement(const std::wstring& tag) {
  Element* element = new Element();
  element->tag = tag;
  return element;
}

void AppendText(Element* parent, const std::wstring& text) {
  if (text.empty()) return;
  if (!parent->children.empty() && !parent->children.back().element) {
    parent->children.back().text += text;
    return;
  }
  Node node;
  node.text = text;
  parent->children.push_back(std::move(node));
}

void InsertChild(Element* parent, Element* child, size_t elementIndex) {
  size_t position = parent->children.size();
  size_t seen = 0;
  for (size_t i = 0; i < parent->children.size(); ++i) {
    if (!parent->children[i].element) continue;
    if (seen++ == elementIndex) {
      position = i;
      break;
    }
  }
  Node node;
  node.element = child;
  parent->children.insert(parent->children.begin() + static_cast<ptrdiff_t>(position), node);
  child->parent = parent;
  SetDomain(child, parent->document);
  MarkChanged(parent, true);
}

void Detach(Element* element) {
  Element* parent = element->parent;
  if (parent) {
    auto& siblings = parent->children;
    for (size_t i = 0; i < siblings.size(); ++i) {
      if (siblings[i].element == element) {
        siblings.erase(siblings.begin() + static_cast<ptrdiff_t>(i));
        break;
      }
    }
    element->parent = nullptr;
    MarkChanged(parent, true);
  } else if (IsRoot(element)) {
    element->document->root = nullptr;
  }
  SetDomain(element, nullptr);
  ReleaseIfUnowned(element);
}

void ReleaseIfUnowned(Element* element) {
  if (element->references > 0 || element->parent || IsRoot(element)) return;
  FreeUnheld(element);
}

void SetText(Element* element, const std::wstring& text) {
  std::vector<Node> old;
  old.swap(element->children);
  for (auto& child : old) {
    if (!child.element) continue;
    child.element->parent = nullptr;
    SetDomain(child.element, nullptr);
    ReleaseIfUnowned(child.element);
  }
  AppendText(element, text);
  MarkChanged(element, true);
}

namespace {
void CollectText(const Element* element, std::wstring& out) {
  for (auto& child : element->children) {
    if (child.element) {
      CollectText(child.element, out);
    } else {
      out += child.text;
    }
  }
}
}  // namespace

std::wstring InnerText(const Element* element) {
  std::wstring text;
  CollectText(element, text);
  return text;
}

std::vector<Element*> ChildElements(const Element* element) {
  std::vector<Element*> list;
  for (auto& child : element->children) {
    if (child.element) list.push_back(child.element);
  }
  return list;
}

size_t ElementIndex(const Element* element) {
  if (!element->parent) return 0;
  size_t index = 0;
  for (auto& child : element->parent->children) {
    if (child.element == element) return index;
    if (child.element) ++index;
  }
  return 0;
}

Element* FindByUid(Element* root, uint32_t uid) {
  if (!root) return nullptr;
  if (root->uid == uid) return root;
  for (auto& child : root->children) {
    if (!child.element) continue;
    if (Element* found = FindByUid(child.element, uid)) return found;
  }
  return nullptr;
}

void MarkChanged(Element* element, bool layout) {
  element->needsRestyle = true;
  if (layout) element->needsLayout = true;
  Document* document = element->document;
  if (!document) return;
  document->needsRestyle = true;
  if (layout) document->needsLayout = true;
  if (document->hwnd) InvalidateRect(document->hwnd, nullptr, FALSE);
}

}  // namespace hl
