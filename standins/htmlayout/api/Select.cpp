// HTMLayoutSelectElements: CSS selectors over the tree, through the selector
// engine of the style sheets, so that a page's rules and a host's searches
// agree on what matches.
//
// The elements under he (not he itself) are collected in document order with
// the lock held, each held for the callback, which runs after the lock is left.
#include <windows.h>

#include <vector>

#include "standins/htmlayout/css/Selector.h"
#include "standins/htmlayout/dom/Lock.h"
#include "standins/htmlayout/dom/Serializer.h"
#include "standins/htmlayout/include/htmlayout.h"

using namespace hl;

namespace {

HLDOM_RESULT Select(HELEMENT he, const std::wstring& text, HTMLayoutElementCallback* callback, LPVOID param) {
  css::SelectorList selectors;
  if (!selectors.Parse(text)) return HLDOM_INVALID_PARAMETER;
  Element* root = reinterpret_cast<Element*>(he);
  std::vector<Element*> found;
  {
    ElementLock lock(root);
    for (const Element* match : css::SelectAll(*root, selectors)) {
      Element* element = const_cast<Element*>(match);
      ++element->references;  // kept alive across the callback, as visits do
      found.push_back(element);
    }
  }
  bool stopped = false;
  for (Element* element : found) {
    HELEMENT handle = reinterpret_cast<HELEMENT>(element);
    if (!stopped && callback(handle, param)) stopped = true;
    HTMLayout_UnuseElement(handle);
  }
  return HLDOM_OK;
}

}  // namespace

extern "C" HLDOM_RESULT HLAPI HTMLayoutSelectElements(HELEMENT he, LPCSTR CSS_selectors,
                                                      HTMLayoutElementCallback* callback, LPVOID param) {
  if (!he) return HLDOM_INVALID_HANDLE;
  if (!CSS_selectors || !callback) return HLDOM_INVALID_PARAMETER;
  return Select(he, FromUtf8(CSS_selectors), callback, param);
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutSelectElementsW(HELEMENT he, LPCWSTR CSS_selectors,
                                                       HTMLayoutElementCallback* callback, LPVOID param) {
  if (!he) return HLDOM_INVALID_HANDLE;
  if (!CSS_selectors || !callback) return HLDOM_INVALID_PARAMETER;
  return Select(he, CSS_selectors, callback, param);
}
