#include "frontend/HtmlayoutHost.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "engine/Bounded.h"
#include "engine/Expand.h"
#include "engine/Log.h"
#include "engine/RuntimeLibrary.h"
#include "engine/ScopedHandle.h"
#include "engine/Store.h"
#include "engine/StoreNames.h"
#include "engine/interfaces/Logger.h"
#include "frontend/FrontendTexts.h"

namespace {

SRWLOCK g_bindLock = SRWLOCK_INIT;
HtmlayoutLibrary g_library;
bool g_bound = false;

volatile LONG g_refresherGate = 0;  // 1 once the process has its refresher

std::wstring Wide(const std::string& narrow) {
  int length = MultiByteToWideChar(CP_ACP, 0, narrow.c_str(), -1, nullptr, 0);
  std::wstring wide(length > 0 ? static_cast<size_t>(length) : 1, L'\0');
  MultiByteToWideChar(CP_ACP, 0, narrow.c_str(), -1, &wide[0], length);
  wide.resize(wcslen(wide.c_str()));
  return wide;
}

DWORD WINAPI RefresherProc(LPVOID parameter) {
  auto* self = static_cast<HtmlayoutThreadInfo*>(parameter);
  HANDLE handles[3] = {reinterpret_cast<HANDLE>(StoreGet(storename::kRefreshEvent)),
                       reinterpret_cast<HANDLE>(StoreGet(storename::kHardRefreshEvent)), self->stopEvent};
  if (ILoggerApi* logger = StoreGetObject<ILoggerApi>(storename::kLoggerApi)) {
    logger->StartThreadLog(hosttext::kRefresherLogName, false);
  }
  for (;;) {
    DWORD result = WaitForMultipleObjects(3, handles, FALSE, INFINITE);
    if (result == WAIT_OBJECT_0 || result == WAIT_TIMEOUT) {
      for (HtmlayoutWindowInfo* window : self->windows) {
        if (AtomicRead(&window->inUse) == 0) {
          LogMessage(hosttext::kRefreshNotInUse);
        } else if (AtomicRead(&window->refreshPending) != 0) {
          LogMessage(hosttext::kRefreshAlreadyPosted);
        } else {
          // Only this thread raises the counter: the test and the raise need not be one step.
          LONG pending = InterlockedIncrement(&window->refreshPending);
          LogMessage(hosttext::kRefreshPosting, pending);
          PostMessageW(window->hwnd, WM_HTMLAYOUT_REFRESH, 0, 0);
        }
      }
    } else if (result == WAIT_OBJECT_0 + 1) {
      LogMessage(hosttext::kRefreshHard);
      for (HtmlayoutWindowInfo* window : self->windows) {
        if (AtomicRead(&window->inUse) != 0) PostMessageW(window->hwnd, WM_HTMLAYOUT_HARD_REFRESH, 0, 0);
      }
    } else if (result == WAIT_OBJECT_0 + 2) {
      LogMessage(hosttext::kRefreshStop);
      return 0;
    } else {
      DWORD error = GetLastError();
      LogMessage(hosttext::kRefreshWaitFailed, static_cast<int>(result), static_cast<int>(error));
      return error;
    }
  }
}

// The resource manager's bytes of name.type, handed to the library under uri.
bool Deliver(HWND hwnd, IResourceManager* resources, const wchar_t* name, const wchar_t* type, LPCWSTR uri) {
  uint32_t size = 0;
  if (resources == nullptr || !resources->GetFileResource(name, type, nullptr, &size)) return false;
  std::vector<BYTE> bytes(size);
  if (!resources->GetFileResource(name, type, bytes.data(), &size)) return false;
  Htmlayout()->HTMLayoutDataReady(hwnd, uri, bytes.data(), size);
  return true;
}

// HLN_LOAD_DATA. 0 lets the library go on by itself, 1 discards the request.
LRESULT OnLoadData(NMHL_LOAD_DATA* request, IResourceManager* resources) {
  const wchar_t* uri = request->uri;
  if (uri == nullptr || *uri == L'\0') return LOAD_DISCARD;
  HWND hwnd = request->hdr.hwndFrom;
  wchar_t name[hosttext::kResourceNameCapacity];
  size_t prefix = wcslen(hosttext::kResourcePrefix);
  if (wcsncmp(uri, hosttext::kResourcePrefix, prefix) == 0) {
    BoundedCopy(name, hosttext::kResourceNameCapacity, uri + prefix);
    wchar_t* dot = wcsrchr(name, L'.');
    const wchar_t* type = MAKEINTRESOURCEW(hosttext::kHtmlResourceType);
    if (dot != nullptr) {
      *dot = L'\0';
      if (_wcsicmp(dot + 1, hosttext::kHtmlExtension) != 0) type = dot + 1;
    }
    Deliver(hwnd, resources, name, type, uri + prefix);
    return LOAD_OK;
  }
  // A local resource: a last path part that starts with an underscore.
  const wchar_t* start = nullptr;
  for (const wchar_t* at = uri + wcslen(uri) - 1; at > uri; --at) {
    if (*at == L'/') return LOAD_OK;
    if (*at == L'_' && at[-1] == L'/') {
      start = at + 1;
      break;
    }
  }
  if (start == nullptr) return LOAD_OK;
  BoundedCopy(name, hosttext::kResourceNameCapacity, start);
  wchar_t* dot = wcschr(name, L'.');
  if (dot == nullptr) return LOAD_OK;
  *dot = L'\0';
  return Deliver(hwnd, resources, name, dot + 1, uri) ? LOAD_OK : LOAD_DISCARD;
}

// HLN_ATTACH_BEHAVIOR: a behaviour of the process's list, by name.
void OnAttachBehavior(NMHL_ATTACH_BEHAVIOR* request) {
  HtmlBehavior* behavior = HtmlBehavior::Find(request->behaviorName);
  if (behavior == nullptr) return;
  request->elementProc = HtmlEventHandler::ElementProc;
  request->elementTag = behavior;
  request->elementEvents = behavior->subscription;
}

BOOL CALLBACK FillOne(HELEMENT element, LPVOID parameter) {
  auto* resources = static_cast<IResourceManager*>(parameter);
  const HtmlayoutLibrary* hl = Htmlayout();
  hl->HTMLayout_UseElement(element);
  LPCWSTR id = nullptr;
  hl->HTMLayoutGetAttributeByName(element, hosttext::kIdsAttribute, &id);
  if (id != nullptr && resources != nullptr) {
    std::vector<wchar_t> text(hosttext::kTextCapacity, L'\0');
    resources->GetString(id, text.data(), static_cast<int32_t>(text.size()));
    wchar_t* expanded = nullptr;
    if (ExpandVariables(text.data(), &expanded) && expanded != nullptr) {
      hl->HTMLayoutSetElementInnerText16(element, expanded, static_cast<UINT>(wcslen(expanded)));
      hl->HTMLayoutUpdateElement(element, TRUE);
      free(expanded);
    }
  }
  hl->HTMLayout_UnuseElement(element);
  return FALSE;  // the visit goes on
}

BOOL CALLBACK KeepFirst(HELEMENT element, LPVOID parameter) {
  *static_cast<HELEMENT*>(parameter) = element;
  return TRUE;
}

}  // namespace

const HtmlayoutLibrary* Htmlayout(std::wstring* path, DWORD* error) {
  std::wstring file = OwnModuleFolder() + hosttext::kLibraryName;
  if (path != nullptr) *path = file;
  DWORD status = ERROR_SUCCESS;
  AcquireSRWLockExclusive(&g_bindLock);
  if (!g_bound) {
    ScopedModule module(LoadLibraryAt(file));
    HtmlayoutLibrary library;
    bool complete = true;
    if (!module) {
      status = GetLastError() != ERROR_SUCCESS ? GetLastError() : ERROR_MOD_NOT_FOUND;
    } else {
#define HTMLAYOUT_FUNCTION(name) complete = BindExport(module.Get(), #name, &library.name) && complete;
#include "frontend/HtmlayoutFunctions.inc"
#undef HTMLAYOUT_FUNCTION
      if (!complete) {
        status = ERROR_PROC_NOT_FOUND;
      } else {
        g_library = library;
        g_bound = true;
        module.Release();  // the library stays for the process: windows and behaviours live on
      }
    }
  }
  bool bound = g_bound;
  ReleaseSRWLockExclusive(&g_bindLock);
  if (error != nullptr) *error = status;
  return bound ? &g_library : nullptr;
}

HtmlayoutThreadInfo::HtmlayoutThreadInfo() : stopEvent(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}

HtmlayoutThreadInfo::~HtmlayoutThreadInfo() {
  SetEvent(stopEvent);
  if (threadHandle != nullptr) {
    WaitForSingleObject(threadHandle, INFINITE);
    CloseHandle(threadHandle);
  }
  CloseHandle(stopEvent);
}

HtmlayoutWindowInfo::HtmlayoutWindowInfo(int32_t id) : windowId(id) {}

HtmlayoutWindowInfo::~HtmlayoutWindowInfo() {
  auto* refresher = StoreGetObject<HtmlayoutThreadInfo>(storename::kHtmlayoutRefresher);
  if (refresher == nullptr || refresher->windows.empty()) return;
  auto& list = refresher->windows;
  list.erase(std::remove(list.begin(), list.end(), this), list.end());
}

HtmlayoutWindowInfo* BuildWindowInfo(int32_t windowId) {
  auto* info = new HtmlayoutWindowInfo(windowId);
  if (InterlockedExchange(&g_refresherGate, 1) == 0) {
    auto* refresher = new HtmlayoutThreadInfo();
    refresher->windows.push_back(info);
    StorePutObject(storename::kHtmlayoutRefresher, refresher);
    refresher->threadHandle = CreateThread(nullptr, 0, RefresherProc, refresher, 0, nullptr);
  } else if (auto* refresher = StoreGetObject<HtmlayoutThreadInfo>(storename::kHtmlayoutRefresher)) {
    refresher->windows.push_back(info);
  }
  return info;
}

void ReportLostRefresh(HWND hwnd, LONG pending, WPARAM wParam, LPARAM lParam) {
  LogMessage(hosttext::kRefreshLost, static_cast<int>(pending));
  PostMessageW(hwnd, WM_HTMLAYOUT_REFRESH, wParam, lParam);
}

std::string WindowInfoName(int32_t windowId) {
  char name[64];
  BoundedFormatA(name, sizeof name, hosttext::kWindowInfoName, windowId);
  return name;
}

std::wstring WindowTitle(IResourceManager* resources) {
  if (resources == nullptr) return std::wstring();
  std::vector<wchar_t> text(hosttext::kTitleCapacity, L'\0');
  resources->GetString(hosttext::kWindowTitleId, text.data(), static_cast<int32_t>(text.size()));
  wchar_t* expanded = nullptr;
  std::wstring title;
  if (ExpandVariables(text.data(), &expanded) && expanded != nullptr) title = expanded;
  free(expanded);
  return title;
}

void RegisterWindowClass(int32_t windowId, WNDPROC procedure, IResourceManager* resources) {
  std::wstring name = Wide(WindowInfoName(windowId));
  HICON icon = nullptr;
  if (resources != nullptr) resources->GetIcon(MAKEINTRESOURCEW(kInstallerIconId), &icon);
  WNDCLASSEXW wc{sizeof wc};
  wc.style = CS_HREDRAW | CS_VREDRAW;
  wc.lpfnWndProc = procedure;
  wc.hInstance = reinterpret_cast<HINSTANCE>(StoreGet(storename::kLangDll));
  wc.hIcon = icon;
  wc.hIconSm = icon;
  wc.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  wc.hbrBackground = reinterpret_cast<HBRUSH>(static_cast<INT_PTR>(COLOR_WINDOW + 1));
  wc.lpszClassName = name.c_str();
  RegisterClassExW(&wc);
}

HWND CreateDialogWindow(int32_t windowId, IResourceManager* resources) {
  std::wstring name = Wide(WindowInfoName(windowId));
  std::wstring title = WindowTitle(resources);
  return CreateWindowExW(0, name.c_str(), title.c_str(), 0x4A0000, CW_USEDEFAULT, 0, 10, 10, nullptr, nullptr,
                         reinterpret_cast<HINSTANCE>(StoreGet(storename::kLangDll)), nullptr);
}

void SizeWindowToPage(HWND hwnd, HELEMENT root, bool firstLoad) {
  const HtmlayoutLibrary* hl = Htmlayout();
  RECT window{};
  GetWindowRect(hwnd, &window);
  INT minWidth = 0, maxWidth = 0, height = 0;
  hl->HTMLayoutGetElementIntrinsicWidths(root, &minWidth, &maxWidth);
  hl->HTMLayoutGetElementIntrinsicHeight(root, maxWidth, &height);
  // A reload passes the page's size without the 20 pixels the first load
  // adds: the window comes back 20 pixels smaller in each direction.
  int extra = firstLoad ? 20 : 0;
  MoveWindow(hwnd, window.left, window.top, maxWidth + extra, height + extra, TRUE);
  if (firstLoad) CenterWindowOnMonitor(hwnd);
}

POINT CenteredOrigin(const RECT& work, LONG width, LONG height) {
  POINT at{(work.left + work.right) / 2 - width / 2, (work.top + work.bottom) / 2 - height / 2};
  if (at.x + width > work.right) at.x = work.right - width;
  if (at.x < work.left) at.x = work.left;
  if (at.y + height > work.bottom) at.y = work.bottom - height;
  if (at.y < work.top) at.y = work.top;
  return at;
}

void CenterWindowOnMonitor(HWND hwnd) {
  RECT window{};
  if (!GetWindowRect(hwnd, &window)) return;
  MONITORINFO monitor{sizeof monitor};
  GetMonitorInfoW(MonitorFromWindow(hwnd, MONITOR_DEFAULTTOPRIMARY), &monitor);
  POINT at = CenteredOrigin(monitor.rcWork, window.right - window.left, window.bottom - window.top);
  SetWindowPos(hwnd, nullptr, at.x, at.y, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

LRESULT CALLBACK HtmlayoutNotify(UINT msg, WPARAM, LPARAM lParam, LPVOID param) {
  if (msg != WM_NOTIFY || lParam == 0) return 0;
  auto* header = reinterpret_cast<NMHDR*>(lParam);
  if (header->code == HLN_LOAD_DATA) {
    return OnLoadData(reinterpret_cast<NMHL_LOAD_DATA*>(lParam), static_cast<IResourceManager*>(param));
  }
  if (header->code == HLN_ATTACH_BEHAVIOR) OnAttachBehavior(reinterpret_cast<NMHL_ATTACH_BEHAVIOR*>(lParam));
  return 0;
}

void FillPageTexts(HELEMENT root, IResourceManager* resources) {
  Htmlayout()->HTMLayoutVisitElements(root, nullptr, hosttext::kIdsAttribute, nullptr, FillOne, resources, 0);
}

HELEMENT FindElementById(HELEMENT from, const char* id) {
  HELEMENT found = nullptr;
  if (from == nullptr || id == nullptr) return nullptr;
  std::wstring wide = Wide(id);
  Htmlayout()->HTMLayoutVisitElements(from, nullptr, "id", wide.c_str(), KeepFirst, &found, 0);
  return found;
}

HELEMENT SelectFirstElement(HELEMENT from, const char* format, ...) {
  char selector[2048];
  va_list args;
  va_start(args, format);
  vsnprintf(selector, sizeof selector, format, args);
  va_end(args);
  HELEMENT found = nullptr;
  if (from != nullptr) Htmlayout()->HTMLayoutSelectElements(from, selector, KeepFirst, &found);
  return found;
}

void InvalidateElement(HELEMENT element) {
  const HtmlayoutLibrary* hl = Htmlayout();
  RECT area{};
  HWND hwnd = nullptr;
  // Area 32 with no relation: the library gives it relative to the window's client area.
  hl->HTMLayoutGetElementLocation(element, &area, 32);
  hl->HTMLayoutGetElementHwnd(element, &hwnd, FALSE);
  InvalidateRect(hwnd, &area, FALSE);
}

HELEMENT NextSibling(HELEMENT element) {
  const HtmlayoutLibrary* hl = Htmlayout();
  HELEMENT parent = nullptr, next = nullptr;
  UINT index = 0, count = 0;
  if (hl->HTMLayoutGetParentElement(element, &parent) != HLDOM_OK || parent == nullptr) return nullptr;
  hl->HTMLayoutGetElementIndex(element, &index);
  hl->HTMLayoutGetChildrenCount(parent, &count);
  if (index + 1 < count) hl->HTMLayoutGetNthChild(parent, index + 1, &next);
  return next;
}

HELEMENT RootOf(HELEMENT element) {
  HELEMENT parent = nullptr;
  if (Htmlayout()->HTMLayoutGetParentElement(element, &parent) != HLDOM_OK || parent == nullptr) return element;
  return RootOf(parent);
}
