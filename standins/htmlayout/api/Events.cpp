#include "standins/htmlayout/api/Events.h"

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "standins/htmlayout/api/Controls.h"
#include "standins/htmlayout/api/Views.h"
#include "standins/htmlayout/api/Windows.h"
#include "standins/htmlayout/dom/Document.h"
#include "standins/htmlayout/dom/Lock.h"

namespace hl::events {
namespace {

HELEMENT HandleOf(Element* element) { return reinterpret_cast<HELEMENT>(element); }
void Hold(Element* element) {
  if (element) HTMLayout_UseElement(HandleOf(element));
}
void Release(Element*& element) {
  if (element) HTMLayout_UnuseElement(HandleOf(element));
  element = nullptr;
}

// Takes over a held element in place of another.
void Replace(Element*& slot, Element* element) {
  Hold(element);
  Release(slot);
  slot = element;
}

// What the library remembers of a window between messages. Touched only on
// the window's thread, apart from the focus that HTMLayoutGetFocusElement
// reads under the lock.
struct Pointer {
  Element* hover = nullptr;    // the element under the mouse
  Element* pressed = nullptr;  // the element the main button went down on
  Element* pressedControl = nullptr;
  Element* focus = nullptr;
  Element* openSelect = nullptr;  // the dropdown whose list is open
  bool tracking = false;          // TrackMouseEvent asked for WM_MOUSELEAVE
  unsigned offeredRestyles = ~0u;
  std::weak_ptr<Document> offeredDocument;
};

CRITICAL_SECTION& PointersLock() {
  static CRITICAL_SECTION lock = [] {
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    return section;
  }();
  return lock;
}
std::map<HWND, Pointer>& Pointers() {
  static std::map<HWND, Pointer> pointers;
  return pointers;
}
// The window's record; map nodes stay put, so the reference outlives the lock.
Pointer& PointerOf(HWND hwnd) {
  EnterCriticalSection(&PointersLock());
  Pointer& pointer = Pointers()[hwnd];
  LeaveCriticalSection(&PointersLock());
  return pointer;
}

bool Contains(const Element* ancestor, const Element* element) {
  for (; element; element = element->parent) {
    if (element == ancestor) return true;
  }
  return false;
}

Element* SelectOf(Element* element) {
  for (; element; element = element->parent) {
    if (element->tag == L"select") return element;
  }
  return nullptr;
}

// The elements an event passes, held, with what their handlers need.
struct Route {
  HWND hwnd = nullptr;
  std::vector<Element*> path;                       // root .. target
  std::vector<std::vector<AttachedHandler>> attached;  // per element of path
  std::vector<POINT> origins;                       // border box origin per element, view coordinates
  std::vector<WindowEventHandler> window;

  Route() = default;
  Route(const Route&) = delete;
  Route& operator=(const Route&) = delete;
  ~Route() {
    for (Element*& element : path) Release(element);
  }
};

// Collects the route to target. Holds: the target's document lock, with the
// view up to date when access is given (for positions).
void Collect(Element* target, ViewAccess* access, Route& route) {
  for (Element* e = target; e; e = e->parent) route.path.push_back(e);
  std::reverse(route.path.begin(), route.path.end());
  for (Element* e : route.path) {
    Hold(e);
    route.attached.push_back(e->handlers);
    POINT origin{0, 0};
    if (access) {
      if (const layout::Box* box = access->window.view.Layout().BoxOf(*e)) {
        origin = {static_cast<LONG>(box->border.left), static_cast<LONG>(box->border.top)};
      }
    }
    route.origins.push_back(origin);
  }
}

void CollectWindowHandlers(Route& route) {
  if (std::shared_ptr<WindowRecord> record = WindowRecords::Find(route.hwnd)) {
    WindowRecords::Read(*record, [&](const WindowRecord& r) { route.window = r.handlers; });
  }
}

bool Subscribed(UINT subscription, UINT group) {
  if (group == HANDLE_INITIALIZATION) return (subscription & DISABLE_INITIALIZATION) == 0;
  return (subscription & group) != 0;
}

// Calls the handlers along the route. setPhase(cmd, index) prepares the
// parameters for the handler of path[index] (-1: a window handler).
template <class Prepare>
bool Deliver(Route& route, UINT group, void* params, Prepare prepare) {
  if (route.path.empty()) return false;
  HELEMENT root = HandleOf(route.path.front());
  auto callWindow = [&](UINT phase) {
    for (const WindowEventHandler& h : route.window) {
      if (!h.proc || !Subscribed(h.subscription, group)) continue;
      prepare(phase, -1);
      if (h.proc(h.tag, root, group, params)) return true;
    }
    return false;
  };
  auto callElement = [&](size_t i, UINT phase) {
    for (const AttachedHandler& h : route.attached[i]) {
      if (!h.proc || !Subscribed(h.subscription, group)) continue;
      prepare(phase, static_cast<int>(i));
      auto proc = reinterpret_cast<LPELEMENT_EVENT_PROC>(h.proc);
      if (proc(h.tag, HandleOf(route.path[i]), group, params)) return true;
    }
    return false;
  };
  if (callWindow(SINKING)) return true;
  for (size_t i = 0; i < route.path.size(); ++i) {
    if (callElement(i, SINKING)) return true;
  }
  for (size_t i = route.path.size(); i-- > 0;) {
    if (callElement(i, BUBBLING)) return true;
  }
  return callWindow(BUBBLING);
}

// The route of an event to target: its elements held, their handlers, the window's.
void Prepare(Element* target, Route& route) {
  HWND hwnd = nullptr;
  {
    ElementLock lock(target);
    if (target->document) hwnd = target->document->hwnd;
  }
  route.hwnd = hwnd;
  bool viewed =
      hwnd && WithElementView(target, [&](ViewAccess& access) { Collect(target, &access, route); }, false);
  if (!viewed) {
    ElementLock lock(target);
    Collect(target, nullptr, route);
  }
  CollectWindowHandlers(route);
}

// A press or release on a control is the control's: the handlers it bubbles
// on to (its ancestors' and the window's) see it marked HANDLED, so that an
// enclosing behaviour such as drag-window leaves a button's click alone.
bool SendMouse(Element* target, UINT cmd, POINT document, UINT buttons, UINT keys, Element* control = nullptr) {
  if (!target) return false;
  Route route;
  Prepare(target, route);
  int handledAbove = -1;  // path index of the control; bubbling above it is marked
  for (size_t i = 0; control && i < route.path.size(); ++i) {
    if (route.path[i] == control) handledAbove = static_cast<int>(i);
  }
  MOUSE_PARAMS params{};
  params.target = HandleOf(target);
  params.pos_document = document;
  params.button_state = buttons;
  params.alt_state = keys;
  return Deliver(route, HANDLE_MOUSE, &params, [&](UINT phase, int index) {
    bool handled = handledAbove >= 0 && phase == BUBBLING && index < handledAbove;
    params.cmd = cmd | phase | (handled ? UINT{HANDLED} : 0u);
    POINT origin = index < 0 ? route.origins.front() : route.origins[static_cast<size_t>(index)];
    params.pos = {document.x - origin.x, document.y - origin.y};
  });
}

bool SendKey(Element* target, UINT cmd, UINT code, UINT keys) {
  if (!target) return false;
  Route route;
  Prepare(target, route);
  KEY_PARAMS params{};
  params.target = HandleOf(target);
  params.key_code = code;
  params.alt_state = keys;
  return Deliver(route, HANDLE_KEY, &params, [&](UINT phase, int) { params.cmd = cmd | phase; });
}

void SendFocus(Element* target, UINT cmd, Element* other, bool byMouse) {
  if (!target) return;
  Route route;
  Prepare(target, route);
  FOCUS_PARAMS params{};
  params.target = HandleOf(other);
  params.by_mouse_click = byMouse;
  Deliver(route, HANDLE_FOCUS, &params, [&](UINT phase, int) { params.cmd = cmd | phase; });
}

UINT KeyState() {
  UINT keys = 0;
  if (GetKeyState(VK_CONTROL) < 0) keys |= CONTROL_KEY_PRESSED;
  if (GetKeyState(VK_SHIFT) < 0) keys |= SHIFT_KEY_PRESSED;
  if (GetKeyState(VK_MENU) < 0) keys |= ALT_KEY_PRESSED;
  return keys;
}

void SetState(Element* element, UINT set, UINT clear) {
  if (element) HTMLayoutSetElementState(HandleOf(element), set, clear, FALSE);
}

// Sets or clears a state bit on an element and its ancestors (hover and
// active apply to the whole chain, as :hover does in CSS).
void ChainState(Element* element, UINT bit, bool on) {
  std::vector<Element*> chain;
  {
    if (!element) return;
    ElementLock lock(element);
    for (Element* e = element; e; e = e->parent) {
      Hold(e);
      chain.push_back(e);
    }
  }
  for (Element*& e : chain) {
    SetState(e, on ? bit : 0, on ? 0 : bit);
    Release(e);
  }
}

// Where the mouse is: the element under it and the control that acts for it.
struct Spot {
  Element* target = nullptr;  // held
  Element* control = nullptr;  // held
  Control kind = Control::None;
  bool disabled = false;  // the target or one of its ancestors is disabled
  std::wstring cursor;
  Spot() = default;
  Spot(const Spot&) = delete;
  Spot& operator=(const Spot&) = delete;
  ~Spot() {
    Release(target);
    Release(control);
  }
};

void Probe(HWND hwnd, POINT at, Spot& spot) {
  WithWindowView(hwnd, [&](ViewAccess& access) {
    if (!access.document.root) return;
    Element* target = access.window.view.HitTest(*access.document.root, static_cast<float>(at.x),
                                                 static_cast<float>(at.y));
    if (!target) target = access.document.root;
    Replace(spot.target, target);
    const css::StyleEngine& styles = access.window.view.Styles();
    if (const css::ComputedStyle* style = styles.StyleOf(*target)) spot.cursor = style->cursor;
    for (Element* e = target; e; e = e->parent) {
      spot.disabled = spot.disabled || Disabled(*e);
      if (spot.control) continue;
      const css::ComputedStyle* style = styles.StyleOf(*e);
      Control kind = ControlOf(*e, style ? style->behavior : std::wstring());
      if (kind == Control::None || kind == Control::Custom || kind == Control::Progress) continue;
      Replace(spot.control, e);
      spot.kind = kind;
    }
  });
}

POINT PointOf(LPARAM lParam) {
  return {static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam))};
}

void OpenPopup(HWND hwnd, Pointer& pointer, Element* select, bool open) {
  if (!select) return;
  Element* popup = nullptr;
  {
    ElementLock lock(select);
    std::vector<Element*> kids = ChildElements(select);
    for (Element* kid : kids) {
      if (kid->tag == L"popup") popup = kid;
    }
    Hold(popup);
  }
  SetState(select, open ? kStateExpanded | STATE_OWNS_POPUP : 0, open ? 0 : kStateExpanded | STATE_OWNS_POPUP);
  SetState(popup, open ? STATE_POPUP : 0, open ? 0 : STATE_POPUP);
  Release(popup);
  if (open) {
    Replace(pointer.openSelect, select);
  } else if (pointer.openSelect == select) {
    Release(pointer.openSelect);
  }
  InvalidateRect(hwnd, nullptr, FALSE);
}

void CloseOpenPopup(HWND hwnd, Pointer& pointer) {
  if (!pointer.openSelect) return;
  Element* select = pointer.openSelect;
  Hold(select);
  OpenPopup(hwnd, pointer, select, false);
  Release(select);
}

void MoveFocus(Pointer& pointer, Element* to, bool byMouse) {
  if (pointer.focus == to) return;
  Element* old = pointer.focus;
  Hold(old);
  SendFocus(old, FOCUS_LOST, to, byMouse);
  SetState(old, 0, kStateFocus);
  Replace(pointer.focus, to);
  SetState(to, kStateFocus, 0);
  SendFocus(to, FOCUS_GOT, old, byMouse);
  Release(old);
}

// The control the user acted on does its part and says so.
void Activate(HWND hwnd, Pointer& pointer, Element* control, Control kind, UINT reason) {
  switch (kind) {
    case Control::Button: SendBehaviorEvent(control, BUTTON_CLICK, control, reason); break;
    case Control::Link: SendBehaviorEvent(control, HYPERLINK_CLICK, control, reason); break;
    case Control::Check: {
      UINT state = 0;
      HTMLayoutGetElementState(HandleOf(control), &state);
      bool checked = (state & kStateChecked) == 0;
      SetState(control, checked ? UINT{kStateChecked} : 0u, checked ? 0u : UINT{kStateChecked});
      SendBehaviorEvent(control, BUTTON_STATE_CHANGED, control, reason);
      break;
    }
    case Control::Select: OpenPopup(hwnd, pointer, control, pointer.openSelect != control); break;
    case Control::Option: {
      Element* select = nullptr;
      {
        ElementLock lock(control);
        select = SelectOf(control);
        Hold(select);
      }
      CloseOpenPopup(hwnd, pointer);
      if (select && PickOption(select, control)) SendBehaviorEvent(select, SELECT_SELECTION_CHANGED, control, reason);
      Release(select);
      break;
    }
    default: break;
  }
}

bool MouseDown(HWND hwnd, Pointer& pointer, POINT at, UINT buttons) {
  Spot spot;
  Probe(hwnd, at, spot);
  if (pointer.openSelect && !Contains(pointer.openSelect, spot.target)) CloseOpenPopup(hwnd, pointer);
  if (spot.disabled || !spot.target) return true;  // a disabled element takes no clicks
  if (buttons == MAIN_MOUSE_BUTTON) {
    bool focusable = spot.kind != Control::None && spot.kind != Control::Option;
    if (focusable) MoveFocus(pointer, spot.control, true);
    if (GetFocus() != hwnd) SetFocus(hwnd);
    Replace(pointer.pressed, spot.target);
    Replace(pointer.pressedControl, spot.control);
    ChainState(spot.target, kStateActive, true);
    SetCapture(hwnd);
  }
  bool stopped = SendMouse(spot.target, MOUSE_DOWN, at, buttons, KeyState(), spot.control);
  if (buttons != MAIN_MOUSE_BUTTON) return true;
  if (stopped) {
    Release(pointer.pressedControl);
  } else if (spot.kind == Control::Button && spot.control) {
    SendBehaviorEvent(spot.control, BUTTON_PRESS, spot.control, BY_MOUSE_CLICK);
  }
  return true;
}

bool MouseUp(HWND hwnd, Pointer& pointer, POINT at, UINT buttons) {
  Element* pressed = pointer.pressed;
  Element* pressedControl = pointer.pressedControl;
  pointer.pressed = pointer.pressedControl = nullptr;  // taken over: released below
  if (buttons == MAIN_MOUSE_BUTTON && GetCapture() == hwnd) ReleaseCapture();
  if (pressed) ChainState(pressed, kStateActive, false);
  Spot spot;
  Probe(hwnd, at, spot);
  if (!spot.disabled && spot.target) {
    bool stopped = SendMouse(spot.target, MOUSE_UP, at, buttons, KeyState(), spot.control);
    // A click is an up inside the control the down was in.
    if (!stopped && pressedControl && spot.control == pressedControl) {
      Activate(hwnd, pointer, spot.control, spot.kind, BY_MOUSE_CLICK);
    }
  }
  Release(pressed);
  Release(pressedControl);
  return true;
}

bool MouseMove(HWND hwnd, Pointer& pointer, POINT at) {
  if (!pointer.tracking) {
    TRACKMOUSEEVENT track{sizeof track, TME_LEAVE, hwnd, 0};
    pointer.tracking = TrackMouseEvent(&track) != FALSE;
  }
  Spot spot;
  Probe(hwnd, at, spot);
  if (spot.target != pointer.hover) {
    Element* old = pointer.hover;
    Hold(old);
    if (old) {
      ChainState(old, kStateHover, false);
      SendMouse(old, MOUSE_LEAVE, at, 0, KeyState());
    }
    Replace(pointer.hover, spot.target);
    ChainState(spot.target, kStateHover, true);
    SendMouse(spot.target, MOUSE_ENTER, at, 0, KeyState());
    Release(old);
  }
  SendMouse(spot.target, MOUSE_MOVE, at, (GetKeyState(VK_LBUTTON) < 0) ? MAIN_MOUSE_BUTTON : 0, KeyState());
  return true;
}

void MouseLeave(HWND hwnd, Pointer& pointer) {
  pointer.tracking = false;
  if (!pointer.hover) return;
  Element* old = pointer.hover;
  pointer.hover = nullptr;
  ChainState(old, kStateHover, false);
  POINT outside{-1, -1};
  SendMouse(old, MOUSE_LEAVE, outside, 0, KeyState());
  Release(old);
  InvalidateRect(hwnd, nullptr, FALSE);
}

// The controls that take the focus, in document order, that are shown and enabled.
void Focusables(HWND hwnd, std::vector<Element*>& out) {
  WithWindowView(hwnd, [&](ViewAccess& access) {
    std::vector<Element*> stack{access.document.root};
    while (!stack.empty()) {
      Element* e = stack.back();
      stack.pop_back();
      if (!e || Disabled(*e) || !access.window.view.Layout().BoxOf(*e)) continue;
      const css::ComputedStyle* style = access.window.view.Styles().StyleOf(*e);
      Control kind = ControlOf(*e, style ? style->behavior : std::wstring());
      if (kind != Control::None && kind != Control::Option && kind != Control::Progress && kind != Control::Custom) {
        Hold(e);
        out.push_back(e);
        if (kind == Control::Select) continue;  // its parts are not stops of their own
      }
      std::vector<Element*> kids = ChildElements(e);
      for (auto it = kids.rbegin(); it != kids.rend(); ++it) stack.push_back(*it);
    }
  });
}

void Tab(HWND hwnd, Pointer& pointer, bool back) {
  std::vector<Element*> stops;
  Focusables(hwnd, stops);
  if (!stops.empty()) {
    auto at = std::find(stops.begin(), stops.end(), pointer.focus);
    size_t index;
    if (at == stops.end()) {
      index = back ? stops.size() - 1 : 0;
    } else {
      size_t here = static_cast<size_t>(at - stops.begin());
      index = back ? (here + stops.size() - 1) % stops.size() : (here + 1) % stops.size();
    }
    MoveFocus(pointer, stops[index], false);
    InvalidateRect(hwnd, nullptr, FALSE);
  }
  for (Element*& e : stops) Release(e);
}

Element* KeyTarget(HWND hwnd, Pointer& pointer) {
  if (pointer.focus) {
    Hold(pointer.focus);
    return pointer.focus;
  }
  HELEMENT root = nullptr;
  HTMLayoutGetRootElement(hwnd, &root);  // held for the caller
  return reinterpret_cast<Element*>(root);
}

bool KeyDown(HWND hwnd, Pointer& pointer, UINT vk) {
  Element* target = KeyTarget(hwnd, pointer);
  bool used = SendKey(target, KEY_DOWN, vk, KeyState());
  if (!used) {
    Element* focus = pointer.focus;
    Control kind = focus ? KindOf(focus) : Control::None;
    if (vk == VK_ESCAPE && pointer.openSelect) {
      CloseOpenPopup(hwnd, pointer);
      used = true;
    } else if (vk == VK_TAB) {
      Tab(hwnd, pointer, GetKeyState(VK_SHIFT) < 0);
      used = true;
    } else if (focus && (vk == VK_RETURN || vk == VK_SPACE)) {
      if (kind == Control::Button) {
        SendBehaviorEvent(focus, BUTTON_PRESS, focus, BY_KEY_CLICK);
        Activate(hwnd, pointer, focus, kind, BY_KEY_CLICK);
        used = true;
      } else if ((kind == Control::Check && vk == VK_SPACE) || (kind == Control::Link && vk == VK_RETURN) ||
                 kind == Control::Select) {
        Activate(hwnd, pointer, focus, kind, BY_KEY_CLICK);
        used = true;
      }
    }
  }
  Release(target);
  return used;
}

bool KeyChar(HWND hwnd, Pointer& pointer, UINT code) {
  Element* target = KeyTarget(hwnd, pointer);
  bool used = SendKey(target, KEY_CHAR, code, KeyState());
  if (!used && pointer.focus && KindOf(pointer.focus) == Control::Edit && !Disabled(*pointer.focus)) {
    Element* edit = pointer.focus;
    UINT_PTR reason = 0;
    {
      ElementLock lock(edit);
      std::wstring text = InnerText(edit);
      if (code == 8) {
        if (!text.empty()) {
          text.pop_back();
          reason = BY_DEL_CHAR;
        }
      } else if (code >= 0x20 && code != 0x7F) {
        text.push_back(static_cast<wchar_t>(code));
        reason = BY_INS_CHAR;
      }
      if (reason) SetText(edit, text);
    }
    if (reason) {
      SendBehaviorEvent(edit, EDIT_VALUE_CHANGED, edit, reason);
      used = true;
    }
  }
  Release(target);
  return used;
}

bool SetCursorFor(HWND hwnd) {
  POINT at;
  if (!GetCursorPos(&at) || !ScreenToClient(hwnd, &at)) return false;
  Spot spot;
  Probe(hwnd, at, spot);
  LPCWSTR shape = IDC_ARROW;
  if (spot.cursor == L"pointer" || spot.cursor == L"hand") shape = IDC_HAND;
  if (spot.cursor == L"text" || (spot.cursor.empty() && spot.kind == Control::Edit)) shape = IDC_IBEAM;
  if (spot.cursor == L"wait") shape = IDC_WAIT;
  if (spot.cursor == L"move") shape = IDC_SIZEALL;
  if (spot.cursor == L"not-allowed") shape = IDC_NO;
  SetCursor(LoadCursorW(nullptr, shape));
  return true;
}

}  // namespace

Control ControlOf(const Element& element, const std::wstring& behavior) {
  if (!behavior.empty()) {
    std::wstring name = behavior.substr(0, behavior.find(L' '));
    if (name == L"button" || name == L"clickable") return Control::Button;
    if (name == L"check" || name == L"checkbox") return Control::Check;
    if (name == L"hyperlink") return Control::Link;
    if (name == L"dropdown" || name == L"select" || name == L"dropdown-select") return Control::Select;
    if (name == L"edit") return Control::Edit;
    if (name == L"progress") return Control::Progress;
    return Control::Custom;
  }
  const std::wstring& tag = element.tag;
  if (tag == L"button") {
    // A dropdown's own button is a part of the select, not a control.
    return element.parent && element.parent->tag == L"select" ? Control::None : Control::Button;
  }
  if (tag == L"input") {
    const std::wstring* type = element.Attribute(L"type");
    if (type && *type == L"checkbox") return Control::Check;
    if (type && (*type == L"button" || *type == L"submit" || *type == L"reset")) return Control::Button;
    if (type && *type == L"hidden") return Control::None;
    return Control::Edit;
  }
  if (tag == L"textarea") return Control::Edit;
  if (tag == L"a" && element.Attribute(L"href")) return Control::Link;
  if (tag == L"select") return Control::Select;
  if (tag == L"option" && element.parent && element.parent->tag == L"popup") return Control::Option;
  if (tag == L"progress") return Control::Progress;
  return Control::None;
}

bool SendBehaviorEvent(Element* control, UINT code, Element* source, UINT_PTR reason) {
  if (!control) return false;
  Route route;
  Prepare(control, route);
  BEHAVIOR_EVENT_PARAMS params{};
  params.heTarget = HandleOf(control);
  params.he = HandleOf(source);
  params.reason = reason;
  return Deliver(route, HANDLE_BEHAVIOR_EVENT, &params, [&](UINT phase, int) { params.cmd = code | phase; });
}

void OfferBehaviors(HWND hwnd) {
  Pointer& pointer = PointerOf(hwnd);
  struct Offer {
    Element* element;
    std::string name;
  };
  std::vector<Offer> offers;
  WithWindowView(hwnd, [&](ViewAccess& access) {
    std::shared_ptr<Document> shown = WindowRecords::DocumentOf(hwnd);
    unsigned restyles = access.window.view.Restyles();
    if (restyles == pointer.offeredRestyles && pointer.offeredDocument.lock() == shown) return;
    pointer.offeredRestyles = restyles;
    pointer.offeredDocument = shown;
    std::vector<Element*> stack{access.document.root};
    while (!stack.empty()) {
      Element* e = stack.back();
      stack.pop_back();
      if (!e) continue;
      const css::ComputedStyle* style = access.window.view.Styles().StyleOf(*e);
      if (style && !style->behavior.empty() && ControlOf(*e, style->behavior) == Control::Custom) {
        std::wstring name = style->behavior.substr(0, style->behavior.find(L' '));
        if (e->offeredBehavior != name) {
          e->offeredBehavior = name;
          Hold(e);
          offers.push_back({e, std::string(name.begin(), name.end())});
        }
      }
      for (const Node& node : e->children) {
        if (node.element) stack.push_back(node.element);
      }
    }
  });
  for (Offer& offer : offers) {
    NMHL_ATTACH_BEHAVIOR request{};
    request.hdr.code = HLN_ATTACH_BEHAVIOR;
    request.element = HandleOf(offer.element);
    request.behaviorName = offer.name.c_str();
    WindowRecords::Notify(hwnd, request.hdr);
    if (request.elementProc) {
      HTMLayoutAttachEventHandlerEx(request.element, request.elementProc, request.elementTag, request.elementEvents);
    }
    Release(offer.element);
  }
}

void Forget(HWND hwnd) {
  Pointer pointer;
  EnterCriticalSection(&PointersLock());
  auto found = Pointers().find(hwnd);
  if (found != Pointers().end()) {
    pointer = found->second;
    Pointers().erase(found);
  }
  LeaveCriticalSection(&PointersLock());
  for (Element** held : {&pointer.hover, &pointer.pressed, &pointer.pressedControl, &pointer.focus,
                         &pointer.openSelect}) {
    Release(*held);
  }
}

// Lets go of elements of a page the window no longer shows.
void DropStale(Pointer& pointer, const Document* shown) {
  for (Element** held : {&pointer.hover, &pointer.pressed, &pointer.pressedControl, &pointer.focus,
                         &pointer.openSelect}) {
    if (!*held) continue;
    bool stale;
    {
      ElementLock lock(*held);
      stale = (*held)->document != shown;
    }
    if (stale) Release(*held);
  }
}

bool HandleInput(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam, LRESULT* result) {
  std::shared_ptr<Document> shown = WindowRecords::DocumentOf(hwnd);
  if (!shown) return false;
  OfferBehaviors(hwnd);
  Pointer& pointer = PointerOf(hwnd);
  DropStale(pointer, shown.get());
  *result = 0;
  switch (msg) {
    case WM_MOUSEMOVE: return MouseMove(hwnd, pointer, PointOf(lParam));
    case WM_MOUSELEAVE: MouseLeave(hwnd, pointer); return true;
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK:  // the second click of a double click comes as this instead of a down
      if (msg == WM_LBUTTONDBLCLK) {
        Spot spot;
        Probe(hwnd, PointOf(lParam), spot);
        if (!spot.disabled) SendMouse(spot.target, MOUSE_DCLICK, PointOf(lParam), MAIN_MOUSE_BUTTON, KeyState());
      }
      return MouseDown(hwnd, pointer, PointOf(lParam), MAIN_MOUSE_BUTTON);
    case WM_LBUTTONUP: return MouseUp(hwnd, pointer, PointOf(lParam), MAIN_MOUSE_BUTTON);
    case WM_RBUTTONDOWN: return MouseDown(hwnd, pointer, PointOf(lParam), PROP_MOUSE_BUTTON);
    case WM_RBUTTONUP: return MouseUp(hwnd, pointer, PointOf(lParam), PROP_MOUSE_BUTTON);
    case WM_CAPTURECHANGED:
      if (reinterpret_cast<HWND>(lParam) != hwnd && pointer.pressed) {
        ChainState(pointer.pressed, kStateActive, false);
        Release(pointer.pressed);
        Release(pointer.pressedControl);
      }
      return false;
    case WM_KEYDOWN: return KeyDown(hwnd, pointer, static_cast<UINT>(wParam));
    case WM_KEYUP: {
      Element* target = KeyTarget(hwnd, pointer);
      bool used = SendKey(target, KEY_UP, static_cast<UINT>(wParam), KeyState());
      Release(target);
      return used;
    }
    case WM_CHAR: return KeyChar(hwnd, pointer, static_cast<UINT>(wParam));
    case WM_SETCURSOR:
      if (LOWORD(lParam) != HTCLIENT || reinterpret_cast<HWND>(wParam) != hwnd) return false;
      *result = TRUE;
      return SetCursorFor(hwnd);
    default: return false;
  }
}

}  // namespace hl::events

using namespace hl;

extern "C" HLDOM_RESULT HLAPI HTMLayoutAttachEventHandlerEx(HELEMENT he, LPELEMENT_EVENT_PROC pep, LPVOID tag,
                                                             UINT subscription) {
  Element* e = reinterpret_cast<Element*>(he);
  if (!e) return HLDOM_INVALID_HANDLE;
  if (!pep) return HLDOM_INVALID_PARAMETER;
  {
    ElementLock lock(e);
    for (const AttachedHandler& h : e->handlers) {
      if (h.proc == reinterpret_cast<void*>(pep) && h.tag == tag) return HLDOM_OK;  // once per procedure and tag
    }
    e->handlers.push_back({reinterpret_cast<void*>(pep), tag, subscription});
  }
  if ((subscription & DISABLE_INITIALIZATION) == 0) {
    INITIALIZATION_PARAMS params{BEHAVIOR_ATTACH};
    pep(tag, he, HANDLE_INITIALIZATION, &params);
  }
  return HLDOM_OK;
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutAttachEventHandler(HELEMENT he, LPELEMENT_EVENT_PROC pep, LPVOID tag) {
  return HTMLayoutAttachEventHandlerEx(he, pep, tag, HANDLE_ALL);
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutDetachEventHandler(HELEMENT he, LPELEMENT_EVENT_PROC pep, LPVOID tag) {
  Element* e = reinterpret_cast<Element*>(he);
  if (!e) return HLDOM_INVALID_HANDLE;
  UINT subscription = 0;
  {
    ElementLock lock(e);
    auto match = std::find_if(e->handlers.begin(), e->handlers.end(), [&](const AttachedHandler& h) {
      return h.proc == reinterpret_cast<void*>(pep) && h.tag == tag;
    });
    if (match == e->handlers.end()) return HLDOM_INVALID_PARAMETER;
    subscription = match->subscription;
    e->handlers.erase(match);
  }
  if ((subscription & DISABLE_INITIALIZATION) == 0) {
    INITIALIZATION_PARAMS params{BEHAVIOR_DETACH};
    pep(tag, he, HANDLE_INITIALIZATION, &params);
  }
  return HLDOM_OK;
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutSendEvent(HELEMENT he, UINT appEventCode, HELEMENT heSource, UINT_PTR reason,
                                                  BOOL* handled) {
  if (!he) return HLDOM_INVALID_HANDLE;
  bool stopped = events::SendBehaviorEvent(reinterpret_cast<Element*>(he), appEventCode,
                                           reinterpret_cast<Element*>(heSource), reason);
  if (handled) *handled = stopped;
  return HLDOM_OK;
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutGetFocusElement(HWND hwnd, HELEMENT* phe) {
  if (!phe) return HLDOM_INVALID_PARAMETER;
  if (!IsWindow(hwnd)) return HLDOM_INVALID_HWND;
  EnterCriticalSection(&events::PointersLock());
  auto found = events::Pointers().find(hwnd);
  *phe = found == events::Pointers().end() ? nullptr : reinterpret_cast<HELEMENT>(found->second.focus);
  LeaveCriticalSection(&events::PointersLock());
  return HLDOM_OK;
}
