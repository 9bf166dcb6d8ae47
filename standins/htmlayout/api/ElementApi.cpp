// The element functions of the C interface.
//
// Each call takes the lock domain of the elements it touches (dom/Lock.h) for
// its whole duration and calls no user code while holding it: visits collect
// first and call back after, writers get a finished copy. Every change marks
// the element for a new style and layout and invalidates the window.
#include <windows.h>

#include <string>
#include <vector>

#include "standins/htmlayout/api/Returned.h"
#include "standins/htmlayout/api/Windows.h"
#include "standins/htmlayout/dom/Document.h"
#include "standins/htmlayout/dom/Lock.h"
#include "standins/htmlayout/dom/Serializer.h"
#include "standins/htmlayout/include/htmlayout.h"

using namespace hl;

namespace {

Element* ElementOf(HELEMENT he) { return reinterpret_cast<Element*>(he); }
HELEMENT HandleOf(Element* element) { return reinterpret_cast<HELEMENT>(element); }

// The checks every call on one element makes first, in the same order, then
// the work under the element's lock.
template <class Out, class Work>
HLDOM_RESULT WithElement(HELEMENT he, Out* out, Work work) {
  Element* e = ElementOf(he);
  if (!e) return HLDOM_INVALID_HANDLE;
  if (!out) return HLDOM_INVALID_PARAMETER;
  ElementLock lock(e);
  return work(e);
}

// Names come in as narrow strings: ASCII in practice, UTF-8 at worst.
std::wstring NameOf(LPCSTR name) {
  std::wstring wide = FromUtf8(name);
  for (auto& c : wide) {
    if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c + 32);
  }
  return wide;
}

using Pairs = std::vector<std::pair<std::wstring, std::wstring>>;

const std::wstring* Find(const Pairs& pairs, const std::wstring& name) {
  for (auto& pair : pairs) {
    if (pair.first == name) return &pair.second;
  }
  return nullptr;
}

// Sets (value non-null) or removes (null) one name of a list; true when it changed.
bool SetPair(Pairs& pairs, const std::wstring& name, LPCWSTR value) {
  for (size_t i = 0; i < pairs.size(); ++i) {
    if (pairs[i].first != name) continue;
    if (!value) {
      pairs.erase(pairs.begin() + static_cast<ptrdiff_t>(i));
      return true;
    }
    if (pairs[i].second == value) return false;
    pairs[i].second = value;
    return true;
  }
  if (!value) return false;
  pairs.emplace_back(name, value);
  return true;
}

// '*' any run, '?' any one character, '[set]' one of a set with ranges.
bool WildcardMatch(const wchar_t* pattern, const wchar_t* text) {
  while (*pattern) {
    if (*pattern == L'*') {
      while (*pattern == L'*') ++pattern;
      if (!*pattern) return true;
      for (const wchar_t* t = text; *t; ++t) {
        if (WildcardMatch(pattern, t)) return true;
      }
      return false;
    }
    if (!*text) return false;
    if (*pattern == L'[') {
      const wchar_t* p = pattern + 1;
      bool found = false;
      while (*p && *p != L']') {
        if (p[1] == L'-' && p[2] && p[2] != L']') {
          found = found || (*text >= p[0] && *text <= p[2]);
          p += 3;
        } else {
          found = found || *text == *p;
          ++p;
        }
      }
      if (!found) return false;
      pattern = *p ? p + 1 : p;
      ++text;
      continue;
    }
    if (*pattern != L'?' && *pattern != *text) return false;
    ++pattern;
    ++text;
  }
  return !*text;
}

struct VisitFilter {
  std::vector<std::wstring> tags;  // empty: any
  std::wstring attributeName;      // empty: no condition
  const wchar_t* attributeValue = nullptr;

  bool Matches(const Element* element) const {
    if (!tags.empty()) {
      bool any = false;
      for (auto& tag : tags) any = any || tag == L"*" || tag == element->tag;
      if (!any) return false;
    }
    if (attributeName.empty() && !attributeValue) return true;
    for (auto& attribute : element->attributes) {
      if (!attributeName.empty() && !WildcardMatch(attributeName.c_str(), attribute.first.c_str())) continue;
      if (attributeValue && !WildcardMatch(attributeValue, attribute.second.c_str())) continue;
      return true;
    }
    return false;
  }
};

void Collect(Element* element, const VisitFilter& filter, DWORD depth, DWORD level, std::vector<Element*>& found) {
  for (auto& child : element->children) {
    if (!child.element) continue;
    if (filter.Matches(child.element)) found.push_back(child.element);
    if (depth == 0 || level < depth) Collect(child.element, filter, depth, level + 1, found);
  }
}

// Visits call back with no lock held and each found element held meanwhile,
// so that a callback that changes or removes it (or its neighbours) is harmless.
void HoldAll(const std::vector<Element*>& elements) {
  for (Element* element : elements) ++element->references;  // under the caller's lock
}

void Unhold(const std::vector<Element*>& elements) {
  for (Element* element : elements) HTMLayout_UnuseElement(HandleOf(element));
}

bool IsAncestorOrSelf(const Element* ancestor, const Element* element) {
  for (const Element* e = element; e; e = e->parent) {
    if (e == ancestor) return true;
  }
  return false;
}

}  // namespace

extern "C" HLDOM_RESULT HLAPI HTMLayout_UseElement(HELEMENT he) {
  Element* e = ElementOf(he);
  if (!e) return HLDOM_INVALID_HANDLE;
  ElementLock lock(e);
  ++e->references;
  return HLDOM_OK;
}

extern "C" HLDOM_RESULT HLAPI HTMLayout_UnuseElement(HELEMENT he) {
  Element* e = ElementOf(he);
  if (!e) return HLDOM_INVALID_HANDLE;
  ElementLock lock(e);
  if (e->references <= 0) return HLDOM_PASSIVE_HANDLE;
  --e->references;
  ReleaseIfUnowned(e);  // only detached elements go: their domain is the one held
  return HLDOM_OK;
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutGetRootElement(HWND hwnd, HELEMENT* phe) {
  if (!phe) return HLDOM_INVALID_PARAMETER;
  *phe = nullptr;
  if (!IsWindow(hwnd)) return HLDOM_INVALID_HWND;
  std::shared_ptr<Document> document = WindowRecords::DocumentOf(hwnd);
  if (!document) return HLDOM_OK;
  DomainGuard guard(document->lock);
  *phe = HandleOf(document->root);
  return HLDOM_OK;
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutGetParentElement(HELEMENT he, HELEMENT* p_parent_he) {
  return WithElement(he, p_parent_he, [&](Element* e) -> HLDOM_RESULT {
    *p_parent_he = HandleOf(e->parent);
    return HLDOM_OK;
  });
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutGetChildrenCount(HELEMENT he, UINT* count) {
  return WithElement(he, count, [&](Element* e) -> HLDOM_RESULT {
    *count = static_cast<UINT>(ChildElements(e).size());
    return HLDOM_OK;
  });
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutGetNthChild(HELEMENT he, UINT n, HELEMENT* phe) {
  return WithElement(he, phe, [&](Element* e) -> HLDOM_RESULT {
    std::vector<Element*> children = ChildElements(e);
    *phe = n < children.size() ? HandleOf(children[n]) : nullptr;
    return HLDOM_OK;
  });
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutGetElementIndex(HELEMENT he, LPUINT p_index) {
  return WithElement(he, p_index, [&](Element* e) -> HLDOM_RESULT {
    *p_index = static_cast<UINT>(ElementIndex(e));
    return HLDOM_OK;
  });
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutGetElementType(HELEMENT he, LPCSTR* p_type) {
  return WithElement(he, p_type, [&](Element* e) -> HLDOM_RESULT {
    *p_type = ReturnNarrow(ToUtf8(e->tag));
    return HLDOM_OK;
  });
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutGetElementUID(HELEMENT he, UINT* puid) {
  Element* e = ElementOf(he);
  if (!e) return HLDOM_INVALID_HANDLE;
  if (!puid) return HLDOM_INVALID_PARAMETER;
  *puid = e->uid;  // fixed at creation: no lock needed
  return HLDOM_OK;
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutGetElementByUID(HWND hwnd, UINT uid, HELEMENT* phe) {
  if (!phe) return HLDOM_INVALID_PARAMETER;
  *phe = nullptr;
  if (!IsWindow(hwnd)) return HLDOM_INVALID_HWND;
  std::shared_ptr<Document> document = WindowRecords::DocumentOf(hwnd);
  if (!document) return HLDOM_OPERATION_FAILED;
  DomainGuard guard(document->lock);
  *phe = HandleOf(FindByUid(document->root, uid));
  return *phe ? HLDOM_OK : HLDOM_OPERATION_FAILED;
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutGetElementHwnd(HELEMENT he, HWND* p_hwnd, BOOL rootWindow) {
  return WithElement(he, p_hwnd, [&](Element* e) -> HLDOM_RESULT {
    // Scrollable child windows come with layout: every element is in the root window.
    *p_hwnd = e->document ? e->document->hwnd : nullptr;
    return HLDOM_OK;
  });
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutGetAttributeCount(HELEMENT he, LPUINT p_count) {
  return WithElement(he, p_count, [&](Element* e) -> HLDOM_RESULT {
    *p_count = static_cast<UINT>(e->attributes.size());
    return HLDOM_OK;
  });
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutGetNthAttribute(HELEMENT he, UINT n, LPCSTR* p_name, LPCWSTR* p_value) {
  Element* e = ElementOf(he);
  if (!e) return HLDOM_INVALID_HANDLE;
  ElementLock lock(e);
  if (n >= e->attributes.size()) return HLDOM_INVALID_PARAMETER;
  if (p_name) *p_name = ReturnNarrow(ToUtf8(e->attributes[n].first));
  if (p_value) *p_value = ReturnWide(e->attributes[n].second);
  return HLDOM_OK;
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutGetAttributeByName(HELEMENT he, LPCSTR name, LPCWSTR* p_value) {
  Element* e = ElementOf(he);
  if (!e) return HLDOM_INVALID_HANDLE;
  if (!name || !p_value) return HLDOM_INVALID_PARAMETER;
  ElementLock lock(e);
  const std::wstring* value = e->Attribute(NameOf(name));
  *p_value = value ? ReturnWide(*value) : nullptr;
  return HLDOM_OK;
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutSetAttributeByName(HELEMENT he, LPCSTR name, LPCWSTR value) {
  Element* e = ElementOf(he);
  if (!e) return HLDOM_INVALID_HANDLE;
  if (!name || !*name) return HLDOM_INVALID_PARAMETER;
  ElementLock lock(e);
  if (SetPair(e->attributes, NameOf(name), value)) MarkChanged(e, true);
  return HLDOM_OK;
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutClearAttributes(HELEMENT he) {
  Element* e = ElementOf(he);
  if (!e) return HLDOM_INVALID_HANDLE;
  ElementLock lock(e);
  if (e->attributes.empty()) return HLDOM_OK;
  e->attributes.clear();
  MarkChanged(e, true);
  return HLDOM_OK;
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutGetStyleAttribute(HELEMENT he, LPCSTR name, LPCWSTR* p_value) {
  Element* e = ElementOf(he);
  if (!e) return HLDOM_INVALID_HANDLE;
  if (!name || !p_value) return HLDOM_INVALID_PARAMETER;
  ElementLock lock(e);
  const std::wstring* value = Find(e->styleAttributes, NameOf(name));
  *p_value = value ? ReturnWide(*value) : nullptr;
  return HLDOM_OK;
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutSetStyleAttribute(HELEMENT he, LPCSTR name, LPCWSTR value) {
  Element* e = ElementOf(he);
  if (!e) return HLDOM_INVALID_HANDLE;
  if (!name || !*name) return HLDOM_INVALID_PARAMETER;
  ElementLock lock(e);
  if (SetPair(e->styleAttributes, NameOf(name), value)) MarkChanged(e, true);
  return HLDOM_OK;
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutGetElementInnerText16(HELEMENT he, LPWSTR* utf16words) {
  return WithElement(he, utf16words, [&](Element* e) -> HLDOM_RESULT {
    *utf16words = ReturnWide(InnerText(e));
    return HLDOM_OK;
  });
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutSetElementInnerText16(HELEMENT he, LPCWSTR utf16words, UINT length) {
  Element* e = ElementOf(he);
  if (!e) return HLDOM_INVALID_HANDLE;
  if (!utf16words && length) return HLDOM_INVALID_PARAMETER;
  ElementLock lock(e, nullptr, true);  // children it had leave the document
  SetText(e, utf16words ? std::wstring(utf16words, length) : std::wstring());
  return HLDOM_OK;
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutGetElementInnerTextCB(HELEMENT he, HTMLayoutWriterCallbackW* cb,
                                                             VOID* cb_param) {
  Element* e = ElementOf(he);
  if (!e) return HLDOM_INVALID_HANDLE;
  if (!cb) return HLDOM_INVALID_PARAMETER;
  std::wstring text;
  {
    ElementLock lock(e);
    text = InnerText(e);
  }
  cb(text.c_str(), static_cast<UINT>(text.size()), cb_param);
  return HLDOM_OK;
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutGetElementHtmlCB(HELEMENT he, BOOL outer, HTMLayoutWriterCallbackB* cb,
                                                        VOID* cb_param) {
  Element* e = ElementOf(he);
  if (!e) return HLDOM_INVALID_HANDLE;
  if (!cb) return HLDOM_INVALID_PARAMETER;
  std::string html;
  {
    ElementLock lock(e);
    html = SerializeHtml(e, outer != FALSE);
  }
  cb(reinterpret_cast<LPCBYTE>(html.c_str()), static_cast<UINT>(html.size()), cb_param);
  return HLDOM_OK;
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutGetElementState(HELEMENT he, UINT* pstateBits) {
  return WithElement(he, pstateBits, [&](Element* e) -> HLDOM_RESULT {
    *pstateBits = e->state;
    return HLDOM_OK;
  });
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutSetElementState(HELEMENT he, UINT stateBitsToSet, UINT stateBitsToClear,
                                                       BOOL updateView) {
  Element* e = ElementOf(he);
  if (!e) return HLDOM_INVALID_HANDLE;
  ElementLock lock(e);
  uint32_t state = (e->state & ~stateBitsToClear) | stateBitsToSet;
  if (state == e->state) return HLDOM_OK;
  e->state = state;
  MarkChanged(e, true);  // state selectors may change sizes too
  return HLDOM_OK;
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutCreateElement(LPCSTR tagname, LPCWSTR textOrNull, HELEMENT* phe) {
  if (!tagname || !*tagname || !phe) return HLDOM_INVALID_PARAMETER;
  Element* e = NewElement(NameOf(tagname));
  if (textOrNull) AppendText(e, textOrNull);
  e->references = 1;  // the caller's: published as created used
  *phe = HandleOf(e);
  return HLDOM_OK;
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutInsertElement(HELEMENT he, HELEMENT hparent, UINT index) {
  Element* e = ElementOf(he);
  Element* parent = ElementOf(hparent);
  if (!e || !parent) return HLDOM_INVALID_HANDLE;
  ElementLock lock(e, parent, true);
  if (IsAncestorOrSelf(e, parent)) return HLDOM_INVALID_PARAMETER;
  if (e->document && e->document->root == e) return HLDOM_INVALID_PARAMETER;
  if (e->parent) {
    ++e->references;  // moving, not freeing
    Detach(e);
    --e->references;
  }
  InsertChild(parent, e, index);
  return HLDOM_OK;
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutDetachElement(HELEMENT he) {
  Element* e = ElementOf(he);
  if (!e) return HLDOM_INVALID_HANDLE;
  ElementLock lock(e, nullptr, true);
  if (e->document && e->document->root == e) return HLDOM_OPERATION_FAILED;
  Detach(e);  // freed here unless held
  return HLDOM_OK;
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutDeleteElement(HELEMENT he) { return HTMLayoutDetachElement(he); }

extern "C" HLDOM_RESULT HLAPI HTMLayoutVisitElements(HELEMENT he, LPCSTR tagName, LPCSTR attributeName,
                                                     LPCWSTR attributeValue, HTMLayoutElementCallback* callback,
                                                     LPVOID param, DWORD depth) {
  Element* e = ElementOf(he);
  if (!e) return HLDOM_INVALID_HANDLE;
  if (!callback) return HLDOM_INVALID_PARAMETER;
  VisitFilter filter;
  if (tagName) {
    std::wstring list = NameOf(tagName);
    size_t start = 0;
    while (start <= list.size()) {
      size_t end = list.find(L',', start);
      if (end == std::wstring::npos) end = list.size();
      std::wstring tag = list.substr(start, end - start);
      size_t first = tag.find_first_not_of(L" \t"), last = tag.find_last_not_of(L" \t");
      if (first != std::wstring::npos) filter.tags.push_back(tag.substr(first, last - first + 1));
      start = end + 1;
    }
  }
  if (attributeName) filter.attributeName = NameOf(attributeName);
  filter.attributeValue = attributeValue;

  std::vector<Element*> found;
  {
    ElementLock lock(e);
    Collect(e, filter, depth, 1, found);
    HoldAll(found);
  }
  for (size_t i = 0; i < found.size(); ++i) {
    if (callback(HandleOf(found[i]), param)) break;
  }
  Unhold(found);
  return HLDOM_OK;
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutUpdateElement(HELEMENT he, BOOL remeasure) {
  Element* e = ElementOf(he);
  if (!e) return HLDOM_INVALID_HANDLE;
  ElementLock lock(e);
  MarkChanged(e, remeasure != FALSE);
  return HLDOM_OK;
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutUpdateElementEx(HELEMENT he, UINT flags) {
  Element* e = ElementOf(he);
  if (!e) return HLDOM_INVALID_HANDLE;
  HWND hwnd = nullptr;
  {
    ElementLock lock(e);
    MarkChanged(e, (flags & (MEASURE_DEEP | MEASURE_INPLACE)) != 0);
    if (e->document) hwnd = e->document->hwnd;
  }
  // A synchronous paint sends WM_PAINT: only with the lock left.
  if ((flags & REDRAW_NOW) && hwnd) UpdateWindow(hwnd);
  return HLDOM_OK;
}
