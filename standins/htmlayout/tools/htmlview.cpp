// htmlview.exe page.html [--width N] [--set id:attribute=value]... [--click id]... [--events]
//               [--png out.png]
//
// Shows a page the way a host shows it: a window whose procedure hands every
// message to HTMLayoutProcND. With --png the page is rendered without showing
// the window (WM_PRINTCLIENT into a DIB) and written as a PNG through WIC, at
// the given width (default: the page's own, HTMLayoutGetMinWidth) and the
// height the page takes there. --set gives the element of that id an attribute
// after loading, as a host does (a page's face for a step, a bar's value);
// --click clicks an element's centre with window messages (to render an open
// dropdown, a checked box); --events prints every behaviour event the page
// sends (code, target, source), for page authors.
// Prints what it wrote; exits 1 on failure.
#include <windows.h>
#include <objbase.h>
#include <wincodec.h>

#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "standins/htmlayout/include/htmlayout.h"

namespace {

LRESULT CALLBACK ViewProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  BOOL handled = FALSE;
  LRESULT result = HTMLayoutProcND(hwnd, msg, wParam, lParam, &handled);
  if (handled) return result;
  if (msg == WM_DESTROY) PostQuitMessage(0);
  return DefWindowProcW(hwnd, msg, wParam, lParam);
}

bool ReadAll(const std::wstring& path, std::string& bytes) {
  HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  LARGE_INTEGER size{};
  bool ok = GetFileSizeEx(file, &size) && size.QuadPart < (64 << 20);
  if (ok) {
    bytes.resize(static_cast<size_t>(size.QuadPart));
    DWORD read = 0;
    ok = bytes.empty() || (ReadFile(file, &bytes[0], static_cast<DWORD>(bytes.size()), &read, nullptr) && read == bytes.size());
  }
  CloseHandle(file);
  return ok;
}

template <class T>
void Release(T*& p) {
  if (p) p->Release();
  p = nullptr;
}

// Writes BGRA pixels (opaque) as a PNG file.
bool WritePng(const std::wstring& path, int width, int height, const std::vector<uint32_t>& pixels) {
  IWICImagingFactory* factory = nullptr;
  IWICStream* stream = nullptr;
  IWICBitmapEncoder* encoder = nullptr;
  IWICBitmapFrameEncode* frame = nullptr;
  WICPixelFormatGUID format = GUID_WICPixelFormat32bppBGRA;
  bool ok = SUCCEEDED(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                       IID_IWICImagingFactory, reinterpret_cast<void**>(&factory))) &&
            SUCCEEDED(factory->CreateStream(&stream)) &&
            SUCCEEDED(stream->InitializeFromFilename(path.c_str(), GENERIC_WRITE)) &&
            SUCCEEDED(factory->CreateEncoder(GUID_ContainerFormatPng, nullptr, &encoder)) &&
            SUCCEEDED(encoder->Initialize(stream, WICBitmapEncoderNoCache)) &&
            SUCCEEDED(encoder->CreateNewFrame(&frame, nullptr)) && SUCCEEDED(frame->Initialize(nullptr)) &&
            SUCCEEDED(frame->SetSize(width, height)) && SUCCEEDED(frame->SetPixelFormat(&format)) &&
            SUCCEEDED(frame->WritePixels(height, width * 4, width * height * 4,
                                         reinterpret_cast<BYTE*>(const_cast<uint32_t*>(pixels.data())))) &&
            SUCCEEDED(frame->Commit()) && SUCCEEDED(encoder->Commit());
  Release(frame);
  Release(encoder);
  Release(stream);
  Release(factory);
  return ok;
}

// The client area as the window paints it.
std::vector<uint32_t> Render(HWND hwnd, int width, int height) {
  std::vector<uint32_t> pixels(static_cast<size_t>(width) * height);
  BITMAPINFO info{};
  info.bmiHeader = {sizeof(BITMAPINFOHEADER), width, -height, 1, 32, BI_RGB};
  void* bits = nullptr;
  HDC dc = CreateCompatibleDC(nullptr);
  HBITMAP bitmap = CreateDIBSection(dc, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
  if (!bitmap) {
    DeleteDC(dc);
    return {};
  }
  HGDIOBJ old = SelectObject(dc, bitmap);
  SendMessageW(hwnd, WM_PRINTCLIENT, reinterpret_cast<WPARAM>(dc), PRF_CLIENT);
  GdiFlush();
  const uint32_t* source = static_cast<const uint32_t*>(bits);
  for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = source[i] | 0xFF000000;  // a PNG of the opaque window
  SelectObject(dc, old);
  DeleteObject(bitmap);
  DeleteDC(dc);
  return pixels;
}

// The page's first element of that id, or null.
HELEMENT ElementById(HWND hwnd, const std::wstring& id) {
  HELEMENT root = nullptr, found = nullptr;
  if (HTMLayoutGetRootElement(hwnd, &root) != HLDOM_OK) return nullptr;
  std::string selector = "#" + std::string(id.begin(), id.end());
  HTMLayoutSelectElements(
      root, selector.c_str(),
      [](HELEMENT he, LPVOID param) -> BOOL {
        *static_cast<HELEMENT*>(param) = he;
        return TRUE;  // the first is enough
      },
      &found);
  return found;
}

// "id:attribute=value" set on the page's element of that id.
bool SetAttribute(HWND hwnd, const std::wstring& setting) {
  size_t colon = setting.find(L':'), equals = setting.find(L'=', colon == std::wstring::npos ? 0 : colon);
  if (colon == std::wstring::npos || equals == std::wstring::npos) return false;
  std::wstring name = setting.substr(colon + 1, equals - colon - 1), value = setting.substr(equals + 1);
  std::string narrow(name.begin(), name.end());
  HELEMENT element = ElementById(hwnd, setting.substr(0, colon));
  return element && HTMLayoutSetAttributeByName(element, narrow.c_str(), value.c_str()) == HLDOM_OK;
}

const char* EventName(UINT code) {
  switch (code) {
    case BUTTON_CLICK: return "BUTTON_CLICK";
    case BUTTON_PRESS: return "BUTTON_PRESS";
    case BUTTON_STATE_CHANGED: return "BUTTON_STATE_CHANGED";
    case EDIT_VALUE_CHANGED: return "EDIT_VALUE_CHANGED";
    case SELECT_SELECTION_CHANGED: return "SELECT_SELECTION_CHANGED";
    case HYPERLINK_CLICK: return "HYPERLINK_CLICK";
    default: return "event";
  }
}

void Describe(HELEMENT he, char* out, size_t size) {
  LPCSTR tag = "";
  LPCWSTR id = nullptr;
  if (he) {
    HTMLayoutGetElementType(he, &tag);
    HTMLayoutGetAttributeByName(he, "id", &id);
  }
  snprintf(out, size, "%s%s%ls", he ? tag : "(none)", id ? "#" : "", id ? id : L"");
}

BOOL CALLBACK PrintEvent(LPVOID, HELEMENT, UINT group, LPVOID prms) {
  auto* p = static_cast<BEHAVIOR_EVENT_PARAMS*>(prms);
  if (group != HANDLE_BEHAVIOR_EVENT || (p->cmd & SINKING)) return FALSE;
  char target[128], source[128];
  Describe(p->heTarget, target, sizeof target);
  Describe(p->he, source, sizeof source);
  printf("%s (%u) target %s source %s reason %u\n", EventName(p->cmd), p->cmd, target, source,
         static_cast<unsigned>(p->reason));
  fflush(stdout);
  return FALSE;
}

bool ClickOn(HWND hwnd, const std::wstring& id) {
  HELEMENT found = ElementById(hwnd, id);
  RECT r{};
  if (!found || HTMLayoutGetElementLocation(found, &r, ROOT_RELATIVE | BORDER_BOX) != HLDOM_OK) return false;
  LPARAM at = MAKELPARAM((r.left + r.right) / 2, (r.top + r.bottom) / 2);
  SendMessageW(hwnd, WM_MOUSEMOVE, 0, at);
  SendMessageW(hwnd, WM_LBUTTONDOWN, MK_LBUTTON, at);
  SendMessageW(hwnd, WM_LBUTTONUP, 0, at);
  return true;
}

int Fail(const char* what, const std::wstring& subject) {
  fprintf(stderr, "htmlview: %s: %ls (error %lu)\n", what, subject.c_str(), GetLastError());
  return 1;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  std::wstring page, png;
  std::vector<std::wstring> sets, clicks;
  bool events = false;
  int width = 0;
  for (int i = 1; i < argc; ++i) {
    std::wstring arg = argv[i];
    if (arg == L"--width" && i + 1 < argc) {
      width = _wtoi(argv[++i]);
    } else if (arg == L"--click" && i + 1 < argc) {
      clicks.push_back(argv[++i]);
    } else if (arg == L"--events") {
      events = true;
    } else if (arg == L"--set" && i + 1 < argc) {
      sets.push_back(argv[++i]);
    } else if (arg == L"--png" && i + 1 < argc) {
      png = argv[++i];
    } else if (page.empty()) {
      page = arg;
    }
  }
  if (page.empty()) {
    fprintf(stderr, "usage: htmlview page.html [--width N] [--set id:attribute=value]... [--click id]... [--events] "
                    "[--png out.png]\n");
    return 2;
  }
  wchar_t full[MAX_PATH];
  if (!GetFullPathNameW(page.c_str(), MAX_PATH, full, nullptr)) return Fail("bad path", page);
  std::string html;
  if (!ReadAll(full, html)) return Fail("cannot read", full);
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);

  WNDCLASSW wc{};
  wc.lpfnWndProc = ViewProc;
  wc.hInstance = GetModuleHandleW(nullptr);
  wc.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  wc.lpszClassName = L"htmlview";
  RegisterClassW(&wc);
  DWORD style = WS_OVERLAPPEDWINDOW;
  HWND hwnd = CreateWindowExW(0, wc.lpszClassName, full, style, CW_USEDEFAULT, CW_USEDEFAULT, 640, 480, nullptr,
                              nullptr, wc.hInstance, nullptr);
  if (!hwnd) return Fail("cannot make a window for", full);
  if (!HTMLayoutLoadHtmlEx(hwnd, reinterpret_cast<LPCBYTE>(html.data()), static_cast<UINT>(html.size()), full))
    return Fail("cannot load", full);
  for (const std::wstring& set : sets) {
    if (!SetAttribute(hwnd, set)) return Fail("no element for", set);
  }
  if (width <= 0) width = static_cast<int>(HTMLayoutGetMinWidth(hwnd));
  int height = static_cast<int>(HTMLayoutGetMinHeight(hwnd, static_cast<UINT>(width)));
  if (width <= 0 || height <= 0) return Fail("the page has no size", full);
  RECT frame{0, 0, width, height};
  AdjustWindowRect(&frame, style, FALSE);
  SetWindowPos(hwnd, nullptr, 0, 0, frame.right - frame.left, frame.bottom - frame.top, SWP_NOMOVE | SWP_NOZORDER);
  if (events) HTMLayoutWindowAttachEventHandler(hwnd, PrintEvent, nullptr, HANDLE_BEHAVIOR_EVENT);
  for (const std::wstring& click : clicks) {
    if (!ClickOn(hwnd, click)) return Fail("no element to click", click);
  }

  if (!png.empty()) {
    RECT client;
    GetClientRect(hwnd, &client);
    std::vector<uint32_t> pixels = Render(hwnd, client.right, client.bottom);
    if (pixels.empty() || !WritePng(png, client.right, client.bottom, pixels)) return Fail("cannot write", png);
    std::set<uint32_t> colours(pixels.begin(), pixels.end());
    printf("htmlview: wrote %ldx%ld pixels, %zu colours to %ls\n", client.right, client.bottom, colours.size(),
           png.c_str());
    DestroyWindow(hwnd);
    return 0;
  }
  ShowWindow(hwnd, SW_SHOW);
  MSG msg;
  while (GetMessageW(&msg, nullptr, 0, 0) > 0) {
    TranslateMessage(&msg);
    DispatchMessageW(&msg);
  }
  return 0;
}
