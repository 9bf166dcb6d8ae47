// The window-level functions: notification callback, options, window event
// handlers, and the window class names of a later step. Painting and the
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

extern "C" LPCSTR HLAPI HTMLayoutClassNameA(void) { return "HTMLayout"; }
extern "C" LPCWSTR HLAPI HTMLayoutClassNameW(void) { return L"HTMLayout"; }
