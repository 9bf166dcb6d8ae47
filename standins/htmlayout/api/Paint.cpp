// The window's messages and its painting.
//
// A page is painted into a DIB of the client's size (paint/Canvas.h) with the
// document's lock held, then copied to the window in one BitBlt. A window with
// WS_EX_LAYERED shows nothing of WM_PAINT until its layered attributes are
// set, so it is painted over a transparent canvas and handed to
// UpdateLayeredWindow with per-pixel alpha: its rounded corners stay
// see-through. That call may send messages (a layered window's first update
// shows it), so it runs after every lock is left.
#include <windows.h>

#include "standins/htmlayout/api/Events.h"
#include "standins/htmlayout/api/Views.h"
#include "standins/htmlayout/include/htmlayout.h"
#include "standins/htmlayout/paint/Canvas.h"
#include "standins/htmlayout/paint/Painter.h"

using namespace hl;

namespace {

// The smoothing the host asked for, for this window or for all of them.
unsigned FontSmoothingOf(HWND hwnd) {
  unsigned smoothing = 0;
  bool set = false;
  if (std::shared_ptr<WindowRecord> record = WindowRecords::Find(hwnd)) {
    WindowRecords::Read(*record, [&](const WindowRecord& r) {
      auto found = r.options.find(HTMLAYOUT_FONT_SMOOTHING);
      if (found != r.options.end()) {
        smoothing = found->second;
        set = true;
      }
    });
  }
  if (!set) {
    // Global options are set once before windows are made.
    auto& global = WindowRecords::GlobalOptions();
    auto found = global.find(HTMLAYOUT_FONT_SMOOTHING);
    if (found != global.end()) smoothing = found->second;
  }
  return smoothing;
}

bool IsLayered(HWND hwnd) { return (GetWindowLongW(hwnd, GWL_EXSTYLE) & WS_EX_LAYERED) != 0; }

// Paints the window's page over white (or, for a layered window, over nothing).
void Render(HWND hwnd, paint::Canvas& canvas, bool transparent) {
  canvas.Fill(transparent ? 0 : 0xFFFFFFFF);
  paint::Options options;
  options.fontSmoothing = FontSmoothingOf(hwnd);
  WithWindowView(hwnd, [&](ViewAccess& access) {
    paint::PaintPage(access.window.view, access.document, canvas, access.window.cache, options);
  });
}

void PaintLayered(HWND hwnd) {
  RECT window{};
  GetWindowRect(hwnd, &window);
  SIZE size{window.right - window.left, window.bottom - window.top};
  if (size.cx <= 0 || size.cy <= 0) return;
  paint::Canvas canvas(size.cx, size.cy);
  if (!canvas.Valid()) return;
  Render(hwnd, canvas, true);
  POINT origin{0, 0};
  BLENDFUNCTION blend{AC_SRC_OVER, 0, 255, AC_SRC_ALPHA};
  UpdateLayeredWindow(hwnd, nullptr, nullptr, &size, canvas.Dc(), &origin, 0, &blend, ULW_ALPHA);
}

// Paints the client area into dc (a window's or a printing one).
void PaintInto(HWND hwnd, HDC dc) {
  SIZE size = ClientSize(hwnd);
  if (size.cx <= 0 || size.cy <= 0) return;
  paint::Canvas canvas(size.cx, size.cy);
  if (!canvas.Valid()) return;
  Render(hwnd, canvas, false);
  BitBlt(dc, 0, 0, size.cx, size.cy, canvas.Dc(), 0, 0, SRCCOPY);
}

}  // namespace

// The messages the library answers: painting, sizing, and the mouse and
// keyboard of the page (events.h); every other one (timers, close, the host's
// own WM_USER messages, non-client clicks) is the host's.
extern "C" LRESULT HLAPI HTMLayoutProcND(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam, BOOL* pbHandled) {
  BOOL handled = FALSE;
  LRESULT result = 0;
  switch (msg) {
    case WM_PAINT: {
      PAINTSTRUCT ps;
      HDC dc = BeginPaint(hwnd, &ps);
      bool layered = IsLayered(hwnd);
      if (dc && !layered) PaintInto(hwnd, dc);
      EndPaint(hwnd, &ps);
      if (layered) PaintLayered(hwnd);
      handled = TRUE;
      break;
    }
    case WM_PRINTCLIENT:
      PaintInto(hwnd, reinterpret_cast<HDC>(wParam));
      handled = TRUE;
      break;
    case WM_ERASEBKGND:
      result = 1;  // the paint covers every pixel: erasing first would only flicker
      handled = TRUE;
      break;
    case WM_SIZE:
      // The view lays out again for the new width at the next paint or query.
      if (IsLayered(hwnd)) {
        PaintLayered(hwnd);
      } else {
        InvalidateRect(hwnd, nullptr, FALSE);
      }
      handled = TRUE;
      break;
    case WM_NCDESTROY:
      events::Forget(hwnd);
      WindowRecords::Forget(hwnd);
      break;
    default:
      handled = events::HandleInput(hwnd, msg, wParam, lParam, &result);
      break;
  }
  if (pbHandled) *pbHandled = handled;
  return result;
}

extern "C" BOOL HLAPI HTMLayoutUpdateWindow(HWND hWndHTMLayout) {
  if (!IsWindow(hWndHTMLayout)) return FALSE;
  // No locks are held here, so the synchronous paint is allowed.
  if (IsLayered(hWndHTMLayout)) {
    PaintLayered(hWndHTMLayout);
  } else {
    UpdateWindow(hWndHTMLayout);
  }
  return TRUE;
}
