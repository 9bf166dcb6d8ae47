// The document tree of a page: elements and the text between them.
//
// One Document owns its nodes. An element handed out through the C API is
// counted (Use/Unuse): an element taken out of its document lives on, detached,
// while someone holds it, and is freed with its last reference.
//
// Names are lower case; attribute values and text are kept as written (after
// character references are resolved). The CSS code reads this structure and
// never changes it.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace hl {

class Document;
class Element;
struct DomainLock;

// A child of an element: an element, or a run of text.
struct Node {
  Element* element = nullptr;  // null for text
  std::wstring text;           // the text of a text node
};

// Element state bits, the values of the published STATE_* constants that the
// selectors of the style sheets read.
enum StateBits : uint32_t {
  kStateLink = 0x00000001,
  kStateHover = 0x00000002,
  kStateActive = 0x00000004,
  kStateFocus = 0x00000008,
  kStateVisited = 0x00000010,
  kStateCurrent = 0x00000020,
  kStateChecked = 0x00000040,
  kStateDisabled = 0x00000080,
  kStateReadonly = 0x00000100,
  kStateExpanded = 0x00000200,
  kStateCollapsed = 0x00000400,
};

// An event procedure attached to an element: by HTMLayoutAttachEventHandler,
// or the one the host gave for a `behavior` name the library does not know.
// Kept untyped here; the C interface knows the procedure's type.
struct AttachedHandler {
  void* proc = nullptr;
  void* tag = nullptr;
  unsigned subscription = 0;
};

class Element {
 public:
  std::wstring tag;                                            // lower case: L"div", L"html"
  std::vector<std::pair<std::wstring, std::wstring>> attributes;  // names lower case, in source order
  std::vector<Node> children;                                  // in order, text and elements
  Element* parent = nullptr;                                   // null for the root and for detached elements
  Document* document = nullptr;                                // the owner while attached
  uint32_t state = 0;                                          // StateBits
  long references = 0;                                         // holders through the C API

  // Style properties set on the element itself through the C API, names lower
  // case, in the order they were set; the cascade puts them above every sheet.
  std::vector<std::pair<std::wstring, std::wstring>> styleAttributes;
  std::vector<AttachedHandler> handlers;  // in attach order
  std::wstring offeredBehavior;           // the `behavior` name last offered to the host
  uint32_t uid;                  // unique in the process, never reused
  bool needsRestyle = true;      // an attribute, state, style or the content changed
  bool needsLayout = true;       // the content or a style property changed
  // The lock that guards this element: its document's while attached, the lock
  // of detached elements (null) otherwise. Only changed with both locks held.
  DomainLock* domain = nullptr;

  Element();

  // The value of an attribute, or null when absent.
  const std::wstring* Attribute(const std::wstring& name) const {
    for (auto& attribute : attributes) {
      if (attribute.first == name) return &attribute.second;
    }
    return nullptr;
  }
};

}  // namespace hl
