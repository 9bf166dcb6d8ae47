// htmlayout.dll's cost for a dialog page of about 200 elements (40 option rows
// of a box, a label, a spacer and a bold value, with a header and a row of
// buttons): loading it (parse), the first style and layout (the first geometry
// query), a paint of the whole client area (WM_PRINTCLIENT into a DIB), and
// the relayout after one attribute changes. Then, in a shown window of a
// dialog's size, the way from a posted message to what the user sees: a click
// (button down and up posted) until the handler hears BUTTON_CLICK, and a move
// onto a button until its hover face is painted. Medians of repeated runs, in
// milliseconds. Uses the copy of the library beside it.
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "standins/htmlayout/include/htmlayout.h"

namespace {

double Now() {
  LARGE_INTEGER now, frequency;
  QueryPerformanceCounter(&now);
  QueryPerformanceFrequency(&frequency);
  return static_cast<double>(now.QuadPart) * 1000.0 / frequency.QuadPart;
}

std::string Page() {
  std::string html =
      "<style>html,body{margin:0;padding:0;font:12px Tahoma} #dialog{border:1px solid #b8c2cc;border-radius:8px;"
      "overflow:hidden;background:white} #header{background:#2f6fb2;color:white;padding:12px;flow:horizontal}"
      ".row{flow:horizontal;padding:2px 8px} .row:hover{background:#eef} .box{width:12px;height:12px;"
      "border:1px solid #52606d;border-radius:3px;margin-right:6px;behavior:button} .row[checked] .box{background:#2f6fb2}"
      ".spacer{width:1*} .value{font-weight:bold} #buttons{flow:horizontal;padding:8px;background:#f5f7fa}"
      ".button{behavior:button;padding:4px 14px;border:1px solid #9aa5b1;border-radius:4px;margin-left:8px;"
      "background:rgba(47,111,178,0.1)}</style>"
      "<div id=dialog><div id=header><b>Setup - choose components</b></div><div id=rows>";
  for (int i = 0; i < 40; ++i) {
    html += "<div class=row id=r" + std::to_string(i) + "><div class=box></div><div class=label>Component number " +
            std::to_string(i) + " with a longer description</div><div class=spacer></div><div class=value>" +
            std::to_string(i * 37 % 500) + " KB</div></div>";
  }
  html += "</div><div id=buttons><div class=spacer></div><div class=button>Back</div><div class=button>Next</div>"
          "<div class=button>Cancel</div></div></div>";
  return html;
}

int paints = 0;  // WM_PAINTs the library answered
int clicks = 0;  // BUTTON_CLICKs a handler heard

LRESULT CALLBACK Proc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  BOOL handled = FALSE;
  LRESULT result = HTMLayoutProcND(hwnd, msg, wParam, lParam, &handled);
  if (msg == WM_PAINT && handled) ++paints;
  return handled ? result : DefWindowProcW(hwnd, msg, wParam, lParam);
}

BOOL CALLBACK OnClick(LPVOID, HELEMENT, UINT group, LPVOID prms) {
  if (group == HANDLE_BEHAVIOR_EVENT && static_cast<BEHAVIOR_EVENT_PARAMS*>(prms)->cmd == BUTTON_CLICK) ++clicks;
  return FALSE;
}

// Runs the thread's messages until done() holds (or a second passed).
template <class Done>
void PumpUntil(Done done) {
  DWORD start = GetTickCount();
  MSG msg;
  while (!done() && GetTickCount() - start < 1000) {
    if (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
      TranslateMessage(&msg);
      DispatchMessageW(&msg);
    } else {
      MsgWaitForMultipleObjects(0, nullptr, FALSE, 5, QS_ALLINPUT);
    }
  }
}

LPARAM CentreOf(HELEMENT he) {
  RECT r{};
  HTMLayoutGetElementLocation(he, &r, ROOT_RELATIVE | BORDER_BOX);
  return MAKELPARAM((r.left + r.right) / 2, (r.top + r.bottom) / 2);
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

HELEMENT First(HWND hwnd, const char* selector) {
  HELEMENT root = nullptr, found = nullptr;
  HTMLayoutGetRootElement(hwnd, &root);
  HTMLayoutSelectElements(
      root, selector,
      [](HELEMENT he, LPVOID param) -> BOOL {
        *static_cast<HELEMENT*>(param) = he;
        return TRUE;
      },
      &found);
  return found;
}

}  // namespace

int main() {
  WNDCLASSW wc{};
  wc.lpfnWndProc = Proc;
  wc.hInstance = GetModuleHandleW(nullptr);
  wc.lpszClassName = L"htmlayout_bench";
  RegisterClassW(&wc);
  HWND hwnd = CreateWindowExW(0, wc.lpszClassName, L"bench", WS_POPUP, 0, 0, 520, 1200, nullptr, nullptr,
                              wc.hInstance, nullptr);
  if (!hwnd) {
    printf("no window (error %lu): is DISPLAY set?\n", GetLastError());
    return 1;
  }
  HDC dc = CreateCompatibleDC(nullptr);
  BITMAPINFO info{};
  info.bmiHeader = {sizeof(BITMAPINFOHEADER), 520, -1200, 1, 32, BI_RGB};
  void* bits = nullptr;
  HBITMAP bitmap = CreateDIBSection(dc, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
  SelectObject(dc, bitmap);

  std::string html = Page();
  const int runs = 30;
  std::vector<double> load, layout, paint, change, changePaint;
  int elements = 0;
  for (int run = 0; run < runs; ++run) {
    double t0 = Now();
    HTMLayoutLoadHtml(hwnd, reinterpret_cast<LPCBYTE>(html.data()), static_cast<UINT>(html.size()));
    double t1 = Now();
    HELEMENT root = nullptr;
    HTMLayoutGetRootElement(hwnd, &root);
    RECT r;
    HTMLayoutGetElementLocation(root, &r, VIEW_RELATIVE | BORDER_BOX);  // styles and lays out
    double t2 = Now();
    SendMessageW(hwnd, WM_PRINTCLIENT, reinterpret_cast<WPARAM>(dc), PRF_CLIENT);
    double t3 = Now();
    HELEMENT row = First(hwnd, "#r20");
    double t4 = Now();
    HTMLayoutSetAttributeByName(row, "checked", L"");
    HTMLayoutGetElementLocation(row, &r, VIEW_RELATIVE | BORDER_BOX);
    double t5 = Now();
    SendMessageW(hwnd, WM_PRINTCLIENT, reinterpret_cast<WPARAM>(dc), PRF_CLIENT);
    double t6 = Now();
    load.push_back(t1 - t0);
    layout.push_back(t2 - t1);
    paint.push_back(t3 - t2);
    change.push_back(t5 - t4);
    changePaint.push_back(t6 - t5);
    if (run == 0) {
      HTMLayoutSelectElements(
          root, "*", [](HELEMENT, LPVOID param) -> BOOL { return ++*static_cast<int*>(param), FALSE; }, &elements);
    }
  }
  printf("page: %d elements, %zu bytes, window 520x1200, %d runs (medians)\n", elements, html.size(), runs);
  printf("load (parse)                   %7.3f ms\n", Median(load));
  printf("first style + layout           %7.3f ms\n", Median(layout));
  printf("paint 520x1200                 %7.3f ms\n", Median(paint));
  printf("one attribute: restyle+layout  %7.3f ms\n", Median(change));
  printf("paint after it                 %7.3f ms\n", Median(changePaint));

  // The same page shown at a dialog's size.
  HWND shown = CreateWindowExW(0, wc.lpszClassName, L"bench", WS_POPUP | WS_VISIBLE, 0, 0, 520, 400, nullptr, nullptr,
                               wc.hInstance, nullptr);
  HTMLayoutLoadHtml(shown, reinterpret_cast<LPCBYTE>(html.data()), static_cast<UINT>(html.size()));
  HTMLayoutWindowAttachEventHandler(shown, OnClick, nullptr, HANDLE_BEHAVIOR_EVENT);
  UpdateWindow(shown);
  PumpUntil([] { return false; });  // settle: the first paints and the desktop
  LPARAM row = CentreOf(First(shown, "#r2"));
  LPARAM button = CentreOf(First(shown, "#r1 .box"));
  std::vector<double> click, hover;
  for (int run = 0; run < runs; ++run) {
    int before = clicks;
    double t0 = Now();
    PostMessageW(shown, WM_LBUTTONDOWN, MK_LBUTTON, button);
    PostMessageW(shown, WM_LBUTTONUP, 0, button);
    PumpUntil([&] { return clicks > before; });
    click.push_back(Now() - t0);
    PostMessageW(shown, WM_MOUSEMOVE, 0, button);
    PumpUntil([&] { return GetQueueStatus(QS_ALLINPUT) == 0 && !GetUpdateRect(shown, nullptr, FALSE); });
    int painted = paints;
    t0 = Now();
    PostMessageW(shown, WM_MOUSEMOVE, 0, row);
    PumpUntil([&] { return paints > painted; });
    hover.push_back(Now() - t0);
  }
  printf("window 520x400, %d runs (medians)\n", runs);
  printf("click posted -> BUTTON_CLICK   %7.3f ms\n", Median(click));
  printf("move posted -> hover painted   %7.3f ms\n", Median(hover));
  DestroyWindow(shown);
  DeleteDC(dc);
  DeleteObject(bitmap);
  DestroyWindow(hwnd);
  return 0;
}
