// What the window front end needs around the HTML library, whatever page it
// shows: the library bound at run time, the record of a window, the one
// refresher thread that turns the script's refresh events into window
// messages, the window class and its placement, the resources a page asks
// for, the filling of page texts by "IDS", and small element helpers.
//
// htmlayout.dll is optional: it is loaded by full path from the plug-in's
// folder at the first window, and without it only the window command fails
// (with its reason in the log); the console front end never needs it.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "engine/SelfFree.h"
#include "engine/interfaces/ResourceManager.h"
#include "frontend/HtmlEvents.h"

// The library's functions the front end calls, bound by name.
struct HtmlayoutLibrary {
#define HTMLAYOUT_FUNCTION(name) decltype(&::name) name = nullptr;
#include "frontend/HtmlayoutFunctions.inc"
#undef HTMLAYOUT_FUNCTION
};

// The library, bound once for the process; null when it cannot be loaded,
// with the path tried and the error (126 no file, 127 a function missing).
// A failed bind is tried again at the next call.
const HtmlayoutLibrary* Htmlayout(std::wstring* path = nullptr, DWORD* error = nullptr);

// Messages of the host to its own windows.
constexpr UINT WM_HTMLAYOUT_REFRESH = 1025;
constexpr UINT WM_HTMLAYOUT_HARD_REFRESH = 1026;
constexpr UINT WM_HTMLAYOUT_CLOSE = 2258;

class HtmlayoutWindowInfo;

// The refresher: one per process, stored under SelfFree_HtmlayoutRefresher.
class HtmlayoutThreadInfo : public CSelfFree {
 public:
  HtmlayoutThreadInfo();
  ~HtmlayoutThreadInfo();  // stops the thread and waits for it

  HANDLE stopEvent = nullptr;
  HANDLE threadHandle = nullptr;
  std::vector<HtmlayoutWindowInfo*> windows;  // not owned; no lock (see the refresher)

  SELFFREE_DESTRUCTOR(HtmlayoutThreadInfo)
};

// The record of one window, stored under HtmlayoutWindowInfo_WindowId<id>.
class HtmlayoutWindowInfo : public CSelfFree {
 public:
  explicit HtmlayoutWindowInfo(int32_t id);
  ~HtmlayoutWindowInfo();  // leaves the refresher's list

  int32_t windowId;
  HWND hwnd = nullptr;
  volatile LONG inUse = 0;
  volatile LONG created = 0;
  volatile LONG refreshPending = 0;

  SELFFREE_DESTRUCTOR(HtmlayoutWindowInfo)
};

// Builds the record of a window and enters it in the refresher's list; the
// first record of the process makes the refresher and starts its thread.
HtmlayoutWindowInfo* BuildWindowInfo(int32_t windowId);

// Reads an atomic field without changing it.
inline LONG AtomicRead(volatile LONG* field) { return InterlockedCompareExchange(field, 0, 0); }

// The window side of the refresh protocol around one pass of refreshPage.
template <class Refresh>
void RunRefreshPass(HtmlayoutWindowInfo& info, HWND hwnd, WPARAM wParam, LPARAM lParam, Refresh refreshPage);
void ReportLostRefresh(HWND hwnd, LONG pending, WPARAM wParam, LPARAM lParam);

// "HtmlayoutWindowInfo_WindowId<id>": the store name of the record and the
// window's class name.
std::string WindowInfoName(int32_t windowId);

// The window's title: the text "WelcomeWindowTitle" with its variables
// expanded, or empty.
std::wstring WindowTitle(IResourceManager* resources);
// Registers the class of windowId (the result is not looked at).
void RegisterWindowClass(int32_t windowId, WNDPROC procedure, IResourceManager* resources);
// Creates the dialog window of windowId, 10 by 10 until a page sizes it.
HWND CreateDialogWindow(int32_t windowId, IResourceManager* resources);
// Sizes the window to the page: on a first load the intrinsic size plus 20 in
// each direction, then centred; on a reload the size alone.
void SizeWindowToPage(HWND hwnd, HELEMENT root, bool firstLoad);
void CenterWindowOnMonitor(HWND hwnd);
// Where a window of that size goes in a work area (the arithmetic of
// CenterWindowOnMonitor).
POINT CenteredOrigin(const RECT& work, LONG width, LONG height);

// The notification callback every window of the front end installs: page
// resources through the resource manager, behaviours from the process's list.
LRESULT CALLBACK HtmlayoutNotify(UINT msg, WPARAM wParam, LPARAM lParam, LPVOID param);

// Fills every element with an "IDS" attribute with its text.
void FillPageTexts(HELEMENT root, IResourceManager* resources);

// Element helpers. Elements come back unheld; hold what is kept.
HELEMENT FindElementById(HELEMENT from, const char* id);
HELEMENT SelectFirstElement(HELEMENT from, const char* format, ...);
void InvalidateElement(HELEMENT element);
HELEMENT NextSibling(HELEMENT element);
HELEMENT RootOf(HELEMENT element);

template <class Refresh>
void RunRefreshPass(HtmlayoutWindowInfo& info, HWND hwnd, WPARAM wParam, LPARAM lParam, Refresh refreshPage) {
  InterlockedExchange(&info.refreshPending, 0);
  refreshPage();
  LONG pending = AtomicRead(&info.refreshPending);
  if (pending != 0) ReportLostRefresh(hwnd, pending, wParam, lParam);
}
