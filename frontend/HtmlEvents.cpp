#include "frontend/HtmlEvents.h"

#include <cstring>

#include "frontend/FrontendTexts.h"
#include "frontend/HtmlayoutHost.h"

namespace {

HtmlBehavior* g_behaviors = nullptr;  // newest first; filled while the plug-in loads

// The one behaviour of the front end, made when the plug-in loads.
DragWindowBehavior g_dragWindow;

}  // namespace

BOOL CALLBACK HtmlEventHandler::ElementProc(LPVOID tag, HELEMENT he, UINT group, LPVOID params) {
  auto* self = static_cast<HtmlEventHandler*>(tag);
  if (self == nullptr || params == nullptr) return FALSE;
  switch (group) {
    case HANDLE_MOUSE: return self->HandleMouse(he, *static_cast<MOUSE_PARAMS*>(params));
    case HANDLE_BEHAVIOR_EVENT: return self->HandleBehaviorEvent(he, *static_cast<BEHAVIOR_EVENT_PARAMS*>(params));
    default: return FALSE;
  }
}

HtmlBehavior::HtmlBehavior(UINT subscription, const char* name)
    : HtmlEventHandler(subscription), name(name), next(g_behaviors) {
  g_behaviors = this;
}

HtmlBehavior* HtmlBehavior::Find(const char* name) {
  if (name == nullptr) return nullptr;
  for (HtmlBehavior* behavior = g_behaviors; behavior != nullptr; behavior = behavior->next) {
    if (strcmp(behavior->name, name) == 0) return behavior;
  }
  return nullptr;
}

bool DragWindowBehavior::HandleMouse(HELEMENT he, MOUSE_PARAMS& params) {
  if (params.cmd != MOUSE_DOWN) return false;
  const HtmlayoutLibrary* hl = Htmlayout();
  if (hl == nullptr) return false;
  hl->HTMLayout_UseElement(he);
  HWND hwnd = nullptr;
  hl->HTMLayoutGetElementHwnd(he, &hwnd, TRUE);
  while (hwnd != nullptr && (GetWindowLongW(hwnd, GWL_STYLE) & WS_CHILD) != 0) hwnd = GetParent(hwnd);
  if (hwnd != nullptr) {
    wchar_t className[260] = {};
    RealGetWindowClassW(hwnd, className, 260);
    size_t prefix = wcslen(hosttext::kOurClassPrefix);
    if (wcsncmp(className, hosttext::kOurClassPrefix, prefix) == 0) {
      // The system moves the window as if its caption had been seized.
      PostMessageW(hwnd, WM_NCLBUTTONDOWN, HTCAPTION, 0);
    }
  }
  hl->HTMLayout_UnuseElement(he);
  return false;  // other handlers still see the press
}
