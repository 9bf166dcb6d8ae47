#include "standins/htmlayout/tests/ViewWindow.h"

#include <objbase.h>
#include <wincodec.h>

#include "tests/support/Kit.h"

namespace {

LRESULT CALLBACK HostProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  BOOL handled = FALSE;
  LRESULT result = Hl().HTMLayoutProcND(hwnd, msg, wParam, lParam, &handled);
  return handled ? result : DefWindowProcW(hwnd, msg, wParam, lParam);
}

Shot FromDc(HDC source, int x, int y, int width, int height) {
  Shot shot;
  shot.width = width;
  shot.height = height;
  shot.pixels.resize(static_cast<size_t>(width) * height);
  BITMAPINFO info{};
  info.bmiHeader = {sizeof(BITMAPINFOHEADER), width, -height, 1, 32, BI_RGB};
  void* bits = nullptr;
  HDC dc = CreateCompatibleDC(source);
  HBITMAP bitmap = CreateDIBSection(dc, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
  HGDIOBJ old = SelectObject(dc, bitmap);
  BitBlt(dc, 0, 0, width, height, source, x, y, SRCCOPY);
  GdiFlush();
  memcpy(shot.pixels.data(), bits, shot.pixels.size() * 4);
  SelectObject(dc, old);
  DeleteObject(bitmap);
  DeleteDC(dc);
  return shot;
}

}  // namespace

ViewWindow::ViewWindow(int width, int height, DWORD exStyle, bool shown) {
  static ATOM atom = [] {
    WNDCLASSW wc{};
    wc.lpfnWndProc = HostProc;
    wc.hInstance = GetModuleHandleW(nullptr);
    wc.lpszClassName = L"htmlayout_view_window";
    return RegisterClassW(&wc);
  }();
  hwnd_ = CreateWindowExW(exStyle | WS_EX_TOPMOST, MAKEINTATOM(atom), L"view", WS_POPUP | (shown ? WS_VISIBLE : 0), 0,
                          0, width, height, nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
  EXPECT_NE(hwnd_, nullptr) << "CreateWindowExW: " << GetLastError();
}

ViewWindow::~ViewWindow() { DestroyWindow(hwnd_); }

HELEMENT ViewWindow::Load(const std::string& html, const wchar_t* baseUrl) { return LoadPage(hwnd_, html, baseUrl); }

HELEMENT ViewWindow::Find(const char* selector) const {
  HELEMENT root = nullptr, found = nullptr;
  Hl().HTMLayoutGetRootElement(hwnd_, &root);
  Hl().HTMLayoutSelectElements(
      root, selector,
      [](HELEMENT he, LPVOID param) -> BOOL {
        *static_cast<HELEMENT*>(param) = he;
        return TRUE;
      },
      &found);
  return found;
}

std::string Where(HELEMENT he, UINT areas) {
  RECT r{-1, -1, -1, -1};
  EXPECT_EQ(Hl().HTMLayoutGetElementLocation(he, &r, areas), HLDOM_OK);
  return std::to_string(r.left) + "," + std::to_string(r.top) + "," + std::to_string(r.right) + "," +
         std::to_string(r.bottom);
}

void Pump(DWORD milliseconds) {
  DWORD start = GetTickCount();
  do {
    MSG msg;
    while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
      TranslateMessage(&msg);
      DispatchMessageW(&msg);
    }
    Sleep(10);
  } while (GetTickCount() - start < milliseconds);
}

Shot FromScreen(HWND hwnd) {
  // A fresh prefix's desktop, or a busy X server, may show nothing for a while
  // after the window was mapped: read again until the screen holds something.
  Shot shot;
  for (int attempt = 0; attempt < 50; ++attempt) {
    RECT r;
    GetWindowRect(hwnd, &r);
    HDC screen = GetDC(nullptr);
    shot = FromDc(screen, r.left, r.top, r.right - r.left, r.bottom - r.top);
    ReleaseDC(nullptr, screen);
    for (uint32_t pixel : shot.pixels) {
      if ((pixel & 0xFFFFFF) != 0) return shot;
    }
    Pump(100);
  }
  return shot;
}

Shot Printed(HWND hwnd) {
  RECT r;
  GetClientRect(hwnd, &r);
  HDC dc = CreateCompatibleDC(nullptr);
  BITMAPINFO info{};
  info.bmiHeader = {sizeof(BITMAPINFOHEADER), r.right, -r.bottom, 1, 32, BI_RGB};
  void* bits = nullptr;
  HBITMAP bitmap = CreateDIBSection(dc, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
  HGDIOBJ old = SelectObject(dc, bitmap);
  SendMessageW(hwnd, WM_PRINTCLIENT, reinterpret_cast<WPARAM>(dc), PRF_CLIENT);
  Shot shot = FromDc(dc, 0, 0, r.right, r.bottom);
  SelectObject(dc, old);
  DeleteObject(bitmap);
  DeleteDC(dc);
  return shot;
}

std::string EncodePng(int width, int height, const std::vector<uint32_t>& pixels) {
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  std::string png;
  IWICImagingFactory* factory = nullptr;
  IStream* stream = nullptr;
  IWICBitmapEncoder* encoder = nullptr;
  IWICBitmapFrameEncode* frame = nullptr;
  WICPixelFormatGUID format = GUID_WICPixelFormat32bppBGRA;
  bool ok = SUCCEEDED(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                       IID_IWICImagingFactory, reinterpret_cast<void**>(&factory))) &&
            SUCCEEDED(CreateStreamOnHGlobal(nullptr, TRUE, &stream)) &&
            SUCCEEDED(factory->CreateEncoder(GUID_ContainerFormatPng, nullptr, &encoder)) &&
            SUCCEEDED(encoder->Initialize(stream, WICBitmapEncoderNoCache)) &&
            SUCCEEDED(encoder->CreateNewFrame(&frame, nullptr)) && SUCCEEDED(frame->Initialize(nullptr)) &&
            SUCCEEDED(frame->SetSize(width, height)) && SUCCEEDED(frame->SetPixelFormat(&format)) &&
            format == GUID_WICPixelFormat32bppBGRA &&
            SUCCEEDED(frame->WritePixels(height, width * 4, width * height * 4,
                                         reinterpret_cast<BYTE*>(const_cast<uint32_t*>(pixels.data())))) &&
            SUCCEEDED(frame->Commit()) && SUCCEEDED(encoder->Commit());
  if (ok) {
    HGLOBAL memory = nullptr;
    GetHGlobalFromStream(stream, &memory);
    STATSTG stat{};
    stream->Stat(&stat, STATFLAG_NONAME);
    png.assign(static_cast<const char*>(GlobalLock(memory)), static_cast<size_t>(stat.cbSize.QuadPart));
    GlobalUnlock(memory);
  }
  EXPECT_TRUE(ok) << "PNG encoding with WIC failed";
  if (frame) frame->Release();
  if (encoder) encoder->Release();
  if (stream) stream->Release();
  if (factory) factory->Release();
  return png;
}
