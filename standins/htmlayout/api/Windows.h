// The record the library keeps per window: its document, its notification
// callback, options and window-level event handlers.
//
// The records are guarded by one lock of their own. That lock is never held
// while a document's lock is taken, nor while calling out: callers copy what
// they need (the document's shared_ptr, the callback) and let go first.
#pragma once

#include <windows.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "standins/htmlayout/dom/Document.h"
#include "standins/htmlayout/include/htmlayout.h"

namespace hl {

struct WindowView;  // Views.h: styles, layout and paint cache of the window's document

struct WindowEventHandler {
  LPELEMENT_EVENT_PROC proc = nullptr;
  LPVOID tag = nullptr;
  UINT subscription = 0;
};

// A resource asked for through HLN_LOAD_DATA, answered by HTMLayoutDataReady
// from inside the callback.
struct PendingLoad {
  std::wstring uri;
  DWORD thread = 0;
  std::string data;
  bool delivered = false;
};

struct WindowRecord {
  HWND hwnd = nullptr;
  LPHTMLAYOUT_NOTIFY callback = nullptr;
  LPVOID callbackParam = nullptr;
  std::map<UINT, UINT> options;
  std::vector<WindowEventHandler> handlers;  // in attach order, for the event dispatch
  std::shared_ptr<Document> document;
  PendingLoad* pending = nullptr;
  std::shared_ptr<WindowView> view;  // made on the first geometry query or paint
};

class WindowRecords {
 public:
  // The record of a window, or null.
  static std::shared_ptr<WindowRecord> Find(HWND hwnd);
  static std::shared_ptr<WindowRecord> FindOrAdd(HWND hwnd);
  // Drops the record when the window goes away.
  static void Forget(HWND hwnd);
  // The document a window shows now (it stays alive while the pointer is kept).
  static std::shared_ptr<Document> DocumentOf(HWND hwnd);

  // Runs change on the record under the records' lock; change must not call out.
  template <class F>
  static void Change(WindowRecord& record, F change) {
    AcquireSRWLockExclusive(&lock_);
    change(record);
    ReleaseSRWLockExclusive(&lock_);
  }
  template <class F>
  static void Read(const WindowRecord& record, F read) {
    AcquireSRWLockShared(&lock_);
    read(record);
    ReleaseSRWLockShared(&lock_);
  }

  // Sends a notification to the window's host: its callback, or WM_NOTIFY to
  // the parent window when it set none (the published fallback). Call with no
  // lock held: the host runs.
  static LRESULT Notify(HWND hwnd, NMHDR& header);

  // Options set with a null window: they apply to every window.
  static std::map<UINT, UINT>& GlobalOptions();

 private:
  static SRWLOCK lock_;
};

}  // namespace hl
