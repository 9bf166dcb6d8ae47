// Events: what the user does to a page, delivered to the host's handlers and
// to the library's own controls.
//
// Dispatch follows the published model. An event has a target (the element
// under the mouse, the focused element, the control a behaviour event is
// about). Handlers see it twice: sinking, from the window's handlers through
// the root down to the target, with SINKING in the code; then bubbling, from
// the target up to the root and the window's handlers, with the bare code. A
// handler that returns TRUE stops it there. Each handler gets the element it
// is attached to (the root for window handlers) and only the groups of its
// subscription; mouse positions are relative to that element's border box.
//
// The library's controls act after the host's handlers had their say, and
// send behaviour events (BUTTON_CLICK, ...) whose target is the control: the
// button, not the text inside it that was clicked.
//
// Nothing here runs host code with a lock held: the elements an event passes
// are found and held under the document's lock, then the lock is left and the
// handlers are called.
#pragma once

#include <windows.h>

#include "standins/htmlayout/dom/Element.h"
#include "standins/htmlayout/include/htmlayout.h"

namespace hl::events {

// The mouse and keyboard messages of a window that shows a page; true when
// the library used the message, with its result in *result.
bool HandleInput(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam, LRESULT* result);

// Offers the `behavior` names the library does not know to the host
// (HLN_ATTACH_BEHAVIOR) and attaches the procedures it answers with. Cheap
// when nothing was restyled since the last call.
void OfferBehaviors(HWND hwnd);

// Drops what the library remembers of a window's pointer and focus.
void Forget(HWND hwnd);

// Sends a behaviour event about control (sinking and bubbling); true when a
// handler stopped it.
bool SendBehaviorEvent(Element* control, UINT code, Element* source, UINT_PTR reason);

// The kinds of control the library drives itself.
enum class Control { None, Button, Link, Check, Select, Option, Edit, Progress, Custom };
// What an element is, from its tag, type and `behavior` (may be empty).
Control ControlOf(const Element& element, const std::wstring& behavior);
// The same with the behaviour of its style, when its document is shown.
Control KindOf(Element* element);
// Disabled by the state bit or by a "disabled" attribute, also an empty one.
// Holds: the element's lock.
bool Disabled(const Element& element);

}  // namespace hl::events
