// Event handlers for pages shown by htmlayout.dll, after the classes of its
// published headers: a handler object with a subscription and one procedure
// that hands each event group to its method; named behaviours that a page
// asks for with `behavior: name` and the window's callback looks up; and the
// one behaviour of the front end, drag-window.
//
// The library's interface is declared by its published header; its functions
// are bound at run time (HtmlayoutHost.h), never linked.
#pragma once

#include <windows.h>

#include "standins/htmlayout/include/htmlayout.h"

class HtmlEventHandler {
 public:
  explicit HtmlEventHandler(UINT subscription) : subscription(subscription) {}
  virtual ~HtmlEventHandler() = default;
  HtmlEventHandler(const HtmlEventHandler&) = delete;
  HtmlEventHandler& operator=(const HtmlEventHandler&) = delete;

  // The procedure the library calls, with the handler as its tag.
  static BOOL CALLBACK ElementProc(LPVOID tag, HELEMENT he, UINT group, LPVOID params);

  virtual bool HandleMouse(HELEMENT, MOUSE_PARAMS&) { return false; }
  virtual bool HandleBehaviorEvent(HELEMENT, BEHAVIOR_EVENT_PARAMS&) { return false; }

  UINT subscription;
};

// A handler with a name, in one process-wide list that a page's behaviour
// names are looked up in (newest first, names compared as narrow text).
class HtmlBehavior : public HtmlEventHandler {
 public:
  HtmlBehavior(UINT subscription, const char* name);
  static HtmlBehavior* Find(const char* name);

  const char* name;
  HtmlBehavior* next;
};

// drag-window: a main-button press on the element moves its top-level window
// as if its caption had been seized, when that window is one of the front
// end's ("HtmlayoutWindow..." classes); the event goes on to other handlers.
class DragWindowBehavior : public HtmlBehavior {
 public:
  DragWindowBehavior() : HtmlBehavior(HANDLE_MOUSE, "drag-window") {}
  bool HandleMouse(HELEMENT he, MOUSE_PARAMS& params) override;
};
