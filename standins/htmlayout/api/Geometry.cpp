// Where elements are and how big they want to be: the layout of the window's
// document, brought up to date first (Views.h), read under the document's lock.
#include <windows.h>

#include <cmath>

#include "standins/htmlayout/api/Views.h"
#include "standins/htmlayout/include/htmlayout.h"

using namespace hl;

namespace {
Element* ElementOf(HELEMENT he) { return reinterpret_cast<Element*>(he); }
}  // namespace

extern "C" HLDOM_RESULT HLAPI HTMLayoutGetElementLocation(HELEMENT he, LPRECT p_location, UINT areas) {
  if (!he) return HLDOM_INVALID_HANDLE;
  if (!p_location) return HLDOM_INVALID_PARAMETER;
  SetRectEmpty(p_location);
  // No relation given: the window's client area. Hosts pass such a rectangle
  // straight to InvalidateRect; the view does not scroll, so it is the view's.
  if ((areas & 0x0F) == 0) areas |= VIEW_RELATIVE;
  bool shown = WithElementView(ElementOf(he), [&](ViewAccess& access) {
    access.window.view.Layout().Location(*ElementOf(he), areas, p_location);  // no box: stays empty
  });
  return shown ? HLDOM_OK : HLDOM_PASSIVE_HANDLE;
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutGetElementIntrinsicWidths(HELEMENT he, INT* pMinWidth, INT* pMaxWidth) {
  if (!he) return HLDOM_INVALID_HANDLE;
  layout::Widths widths;
  bool shown = WithElementView(ElementOf(he), [&](ViewAccess& access) {
    widths = access.window.view.Layout().IntrinsicWidths(*ElementOf(he));
  });
  if (pMinWidth) *pMinWidth = static_cast<INT>(std::ceil(widths.min));
  if (pMaxWidth) *pMaxWidth = static_cast<INT>(std::ceil(widths.max));
  return shown ? HLDOM_OK : HLDOM_PASSIVE_HANDLE;
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutGetElementIntrinsicHeight(HELEMENT he, INT forWidth, INT* pHeight) {
  if (!he) return HLDOM_INVALID_HANDLE;
  float height = 0;
  bool shown = WithElementView(ElementOf(he), [&](ViewAccess& access) {
    height = access.window.view.Layout().HeightFor(*ElementOf(he), static_cast<float>(forWidth));
  });
  if (pHeight) *pHeight = static_cast<INT>(std::ceil(height));
  return shown ? HLDOM_OK : HLDOM_PASSIVE_HANDLE;
}

// The window is sized from the root: its widest content on one line plus its
// margins, then the height the page takes at a width.
extern "C" UINT HLAPI HTMLayoutGetMinWidth(HWND hWndHTMLayout) {
  float width = 0;
  WithWindowView(hWndHTMLayout, [&](ViewAccess& access) {
    const Element& root = *access.document.root;
    layout::LayoutEngine& layout = access.window.view.Layout();
    const layout::Box* box = layout.BoxOf(root);
    width = layout.IntrinsicWidths(root).max;
    if (box) width += box->margin[css::kLeft] + box->margin[css::kRight];
  });
  return static_cast<UINT>(std::ceil(width));
}

extern "C" UINT HLAPI HTMLayoutGetMinHeight(HWND hWndHTMLayout, UINT width) {
  float height = 0;
  WithWindowView(hWndHTMLayout, [&](ViewAccess& access) {
    const Element& root = *access.document.root;
    layout::LayoutEngine& layout = access.window.view.Layout();
    const layout::Box* box = layout.BoxOf(root);
    float horizontal = box ? box->margin[css::kLeft] + box->margin[css::kRight] : 0;
    height = layout.HeightFor(root, static_cast<float>(width) - horizontal);
    if (box) height += box->margin[css::kTop] + box->margin[css::kBottom];
  });
  return static_cast<UINT>(std::ceil(height));
}
