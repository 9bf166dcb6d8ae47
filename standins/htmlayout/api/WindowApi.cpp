// The window-level functions: notification callback, options, window event
// handlers, and the library's window class. Painting and the
// window's messages are in Paint.cpp.
#include <windows.h>

#include <algorithm>

#include "standins/htmlayout/api/Windows.h"
#include "standins/htmlayout/include/htmlayout.h"

using namespace hl;

extern "C" VOID HLAPI HTMLayoutSetCallback(HWND hWndHTMLayout, LPHTMLAYOUT_NOTIFY cb, LPVOID cbParam) {
  if (!IsWindow(hWndHTMLayout)) return;
  auto record = WindowRecords::FindOrAdd(hWndHTMLayout);
  WindowRecords::Change(*record, [&](WindowRecord& r) {
    r.callback = cb;
    r.callbackParam = cbParam;
  });
}

extern "C" BOOL HLAPI HTMLayoutSetOption(HWND hWndHTMLayout, UINT option, UINT value) {
  if (option < HTMLAYOUT_SMOOTH_SCROLL || option > HTMLAYOUT_TRANSPARENT_WINDOW) return FALSE;
  if (!hWndHTMLayout) {
    static SRWLOCK globalLock = SRWLOCK_INIT;
    AcquireSRWLockExclusive(&globalLock);
    WindowRecords::GlobalOptions()[option] = value;
    ReleaseSRWLockExclusive(&globalLock);
    return TRUE;
  }
  if (!IsWindow(hWndHTMLayout)) return FALSE;
  auto record = WindowRecords::FindOrAdd(hWndHTMLayout);
  WindowRecords::Change(*record, [&](WindowRecord& r) { r.options[option] = value; });
  return TRUE;
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutWindowAttachEventHandler(HWND hwndLayout, LPELEMENT_EVENT_PROC pep, LPVOID tag,
                                                                UINT subscription) {
  if (!IsWindow(hwndLayout)) return HLDOM_INVALID_HWND;
  if (!pep) return HLDOM_INVALID_PARAMETER;
  auto record = WindowRecords::FindOrAdd(hwndLayout);
  WindowRecords::Change(*record, [&](WindowRecord& r) {
    for (auto& handler : r.handlers) {
      if (handler.proc == pep && handler.tag == tag) {
        handler.subscription = subscription;  // attached once; a second attach changes what it hears
        return;
      }
    }
    r.handlers.push_back({pep, tag, subscription});
  });
  return HLDOM_OK;
}

extern "C" HLDOM_RESULT HLAPI HTMLayoutWindowDetachEventHandler(HWND hwndLayout, LPELEMENT_EVENT_PROC pep,
                                                                LPVOID tag) {
  auto record = WindowRecords::Find(hwndLayout);
  if (!record) return IsWindow(hwndLayout) ? HLDOM_OPERATION_FAILED : HLDOM_INVALID_HWND;
  bool removed = false;
  WindowRecords::Change(*record, [&](WindowRecord& r) {
    auto match = std::find_if(r.handlers.begin(), r.handlers.end(),
                              [&](const WindowEventHandler& h) { return h.proc == pep && h.tag == tag; });
    if (match == r.handlers.end()) return;
    r.handlers.erase(match);
    removed = true;
  });
  return removed ? HLDOM_OK : HLDOM_OPERATION_FAILED;
}

namespace {

// The library's own window class: a window of it shows a page with no host
// procedure in between. Registered (globally, for every module of the process)
// the first time a host asks for its name.
LRESULT CALLBACK PageWindowProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  BOOL handled = FALSE;
  LRESULT result = HTMLayoutProcND(hwnd, msg, wParam, lParam, &handled);
  return handled ? result : DefWindowProcW(hwnd, msg, wParam, lParam);
}

BOOL CALLBACK RegisterPageClass(PINIT_ONCE, PVOID, PVOID*) {
  WNDCLASSEXW wc{sizeof wc};
  wc.style = CS_GLOBALCLASS | CS_DBLCLKS;
  wc.lpfnWndProc = PageWindowProc;
  HMODULE self = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<LPCWSTR>(&PageWindowProc), &self);
  wc.hInstance = self;
  wc.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  wc.lpszClassName = L"HTMLayout";
  RegisterClassExW(&wc);  // already registered (another copy of the library) is as good
  return TRUE;
}

void EnsurePageClass() {
  static INIT_ONCE once = INIT_ONCE_STATIC_INIT;
  InitOnceExecuteOnce(&once, RegisterPageClass, nullptr, nullptr);
}

}  // namespace

extern "C" LPCSTR HLAPI HTMLayoutClassNameA(void) {
  EnsurePageClass();
  return "HTMLayout";
}
extern "C" LPCWSTR HLAPI HTMLayoutClassNameW(void) {
  EnsurePageClass();
  return L"HTMLayout";
}
