// The view of a window's document for the C interface: one place that finds
// the window's document and view, takes the document's lock, brings styles and
// layout up to date for the client area, and runs the caller's work.
//
// Lock order: the document's lock, then the view's own (a window may hold an
// old and a new document for a moment, both reaching the one view). Neither is
// held while a message is sent: painting to the window is a BitBlt into the DC
// of BeginPaint, and UpdateLayeredWindow runs after the locks are left.
#pragma once

#include <windows.h>

#include <memory>

#include "standins/htmlayout/api/Windows.h"
#include "standins/htmlayout/paint/Painter.h"
#include "standins/htmlayout/view/View.h"

namespace hl {

struct WindowView {
  CRITICAL_SECTION lock;
  view::View view;
  paint::PaintCache cache;
  WindowView() {
    InitializeCriticalSection(&lock);
    view.SetNaturalSizes(&cache);
  }
  ~WindowView() { DeleteCriticalSection(&lock); }
};

// What a piece of work sees: the document (locked) and its up-to-date view.
struct ViewAccess {
  Document& document;
  WindowView& window;
  HWND hwnd;
};

// The window's document and view made current; work(ViewAccess&) runs with
// the locks held. False when the window shows no document.
template <class F>
bool WithWindowView(HWND hwnd, F work);
// The same for the window whose document holds element; false when the
// element is detached or its document is not shown in a window. With update
// false the view is taken as the last query or paint left it (positions for
// events, which must not cost a layout each).
template <class F>
bool WithElementView(Element* element, F work, bool update = true);

// The client size of a window, the width the page is laid out for.
SIZE ClientSize(HWND hwnd);
// The window's view record, made on first use.
std::shared_ptr<WindowView> ViewOf(WindowRecord& record);

class ViewLock {
 public:
  explicit ViewLock(WindowView& view) : view_(view) { EnterCriticalSection(&view_.lock); }
  ~ViewLock() { LeaveCriticalSection(&view_.lock); }
  ViewLock(const ViewLock&) = delete;
  ViewLock& operator=(const ViewLock&) = delete;

 private:
  WindowView& view_;
};

template <class F>
bool WithWindowView(HWND hwnd, F work) {
  std::shared_ptr<WindowRecord> record = WindowRecords::Find(hwnd);
  if (!record) return false;
  std::shared_ptr<Document> document;
  WindowRecords::Read(*record, [&](const WindowRecord& r) { document = r.document; });
  if (!document) return false;
  std::shared_ptr<WindowView> window = ViewOf(*record);
  SIZE size = ClientSize(hwnd);
  DomainGuard guard(document->lock);
  ViewLock viewLock(*window);
  window->view.Update(document, size.cx, size.cy);
  ViewAccess access{*document, *window, hwnd};
  work(access);
  return true;
}

template <class F>
bool WithElementView(Element* element, F work, bool update) {
  HWND hwnd = nullptr;
  {
    ElementLock lock(element);
    if (element->document) hwnd = element->document->hwnd;
  }
  if (!hwnd) return false;
  std::shared_ptr<WindowRecord> record = WindowRecords::Find(hwnd);
  if (!record) return false;
  std::shared_ptr<Document> document;
  WindowRecords::Read(*record, [&](const WindowRecord& r) { document = r.document; });
  if (!document) return false;
  std::shared_ptr<WindowView> window = ViewOf(*record);
  SIZE size = ClientSize(hwnd);
  ElementLock lock(element);
  if (element->document != document.get()) return false;  // moved meanwhile
  ViewLock viewLock(*window);
  if (update || window->view.Width() < 0) window->view.Update(document, size.cx, size.cy);
  ViewAccess access{*document, *window, hwnd};
  work(access);
  return true;
}

}  // namespace hl
