#include "host/WindowPicture.h"

#include <objbase.h>
#include <wincodec.h>

#include "engine/ScopedHandle.h"

namespace {

// A 32-bit top-down DIB section selected into a memory DC, for the pixels of
// one picture.
class PixelCanvas {
 public:
  PixelCanvas(int width, int height) : width_(width), height_(height) {
    BITMAPINFO info{};
    info.bmiHeader = {sizeof(BITMAPINFOHEADER), width, -height, 1, 32, BI_RGB};
    dc_ = CreateCompatibleDC(nullptr);
    if (dc_ != nullptr) bitmap_ = CreateDIBSection(dc_, &info, DIB_RGB_COLORS, &bits_, nullptr, 0);
    if (bitmap_ != nullptr) old_ = SelectObject(dc_, bitmap_);
  }
  ~PixelCanvas() {
    if (old_ != nullptr) SelectObject(dc_, old_);
    if (bitmap_ != nullptr) DeleteObject(bitmap_);
    if (dc_ != nullptr) DeleteDC(dc_);
  }
  PixelCanvas(const PixelCanvas&) = delete;
  PixelCanvas& operator=(const PixelCanvas&) = delete;

  bool Valid() const { return bits_ != nullptr; }
  HDC Dc() const { return dc_; }

  WindowPicture Take(bool fromScreen) const {
    GdiFlush();
    WindowPicture picture;
    picture.width = width_;
    picture.height = height_;
    picture.fromScreen = fromScreen;
    const uint32_t* source = static_cast<const uint32_t*>(bits_);
    picture.pixels.assign(source, source + static_cast<size_t>(width_) * height_);
    // A screen DC leaves the alpha byte 0, a layered window's painting gives
    // its own: the file is of an opaque picture either way.
    for (uint32_t& pixel : picture.pixels) pixel |= 0xFF000000u;
    return picture;
  }

 private:
  int width_;
  int height_;
  HDC dc_ = nullptr;
  HBITMAP bitmap_ = nullptr;
  HGDIOBJ old_ = nullptr;
  void* bits_ = nullptr;
};

// One colour all over is what an X server gives for a window it has not shown
// yet, or a desktop that is not there: no picture of the dialog.
bool ShowsSomething(const WindowPicture& picture) {
  for (uint32_t pixel : picture.pixels) {
    if (pixel != picture.pixels.front()) return true;
  }
  return false;
}

WindowPicture FromScreen(HWND hwnd) {
  RECT r{};
  if (!GetWindowRect(hwnd, &r) || r.right <= r.left || r.bottom <= r.top) return {};
  PixelCanvas canvas(r.right - r.left, r.bottom - r.top);
  if (!canvas.Valid()) return {};
  HDC screen = GetDC(nullptr);
  if (screen == nullptr) return {};
  BOOL copied = BitBlt(canvas.Dc(), 0, 0, r.right - r.left, r.bottom - r.top, screen, r.left, r.top,
                       SRCCOPY | CAPTUREBLT);
  ReleaseDC(nullptr, screen);
  return copied ? canvas.Take(true) : WindowPicture();
}

WindowPicture Printed(HWND hwnd) {
  RECT r{};
  if (!GetClientRect(hwnd, &r) || r.right <= 0 || r.bottom <= 0) return {};
  PixelCanvas canvas(r.right, r.bottom);
  if (!canvas.Valid()) return {};
  DWORD_PTR answer = 0;
  // The window belongs to another thread: a hung one must not hold the caller.
  if (!SendMessageTimeoutW(hwnd, WM_PRINTCLIENT, reinterpret_cast<WPARAM>(canvas.Dc()), PRF_CLIENT,
                           SMTO_ABORTIFHUNG | SMTO_BLOCK, 2000, &answer)) {
    return {};
  }
  return canvas.Take(false);
}

}  // namespace

WindowPicture TakeWindowPicture(HWND hwnd) {
  WindowPicture picture = FromScreen(hwnd);
  if (!picture.Empty() && ShowsSomething(picture)) return picture;
  picture = Printed(hwnd);
  return ShowsSomething(picture) ? picture : WindowPicture();
}

WindowPicture Cropped(const WindowPicture& picture, const RECT& area) {
  if (area.left < 0 || area.top < 0 || area.right > picture.width || area.bottom > picture.height ||
      area.right <= area.left || area.bottom <= area.top) {
    return picture;
  }
  WindowPicture part;
  part.width = area.right - area.left;
  part.height = area.bottom - area.top;
  part.fromScreen = picture.fromScreen;
  part.pixels.reserve(static_cast<size_t>(part.width) * part.height);
  for (int y = area.top; y < area.bottom; ++y) {
    auto row = picture.pixels.begin() + static_cast<ptrdiff_t>(y) * picture.width;
    part.pixels.insert(part.pixels.end(), row + area.left, row + area.right);
  }
  return part;
}

bool WritePng(const std::wstring& path, const WindowPicture& picture, HRESULT* failure) {
  ScopedCom<IWICImagingFactory> factory;
  ScopedCom<IWICStream> stream;
  ScopedCom<IWICBitmapEncoder> encoder;
  ScopedCom<IWICBitmapFrameEncode> frame;
  WICPixelFormatGUID format = GUID_WICPixelFormat32bppBGRA;
  UINT stride = static_cast<UINT>(picture.width) * 4;
  UINT size = stride * static_cast<UINT>(picture.height);
  auto* bytes = reinterpret_cast<BYTE*>(const_cast<uint32_t*>(picture.pixels.data()));
  HRESULT hr = CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_IWICImagingFactory,
                                reinterpret_cast<void**>(factory.Receive()));
  if (SUCCEEDED(hr)) hr = factory.Get()->CreateStream(stream.Receive());
  if (SUCCEEDED(hr)) hr = stream.Get()->InitializeFromFilename(path.c_str(), GENERIC_WRITE);
  if (SUCCEEDED(hr)) hr = factory.Get()->CreateEncoder(GUID_ContainerFormatPng, nullptr, encoder.Receive());
  if (SUCCEEDED(hr)) hr = encoder.Get()->Initialize(stream.Get(), WICBitmapEncoderNoCache);
  if (SUCCEEDED(hr)) hr = encoder.Get()->CreateNewFrame(frame.Receive(), nullptr);
  if (SUCCEEDED(hr)) hr = frame.Get()->Initialize(nullptr);
  if (SUCCEEDED(hr)) hr = frame.Get()->SetSize(static_cast<UINT>(picture.width), static_cast<UINT>(picture.height));
  if (SUCCEEDED(hr)) hr = frame.Get()->SetPixelFormat(&format);
  if (SUCCEEDED(hr)) hr = frame.Get()->WritePixels(static_cast<UINT>(picture.height), stride, size, bytes);
  if (SUCCEEDED(hr)) hr = frame.Get()->Commit();
  if (SUCCEEDED(hr)) hr = encoder.Get()->Commit();
  if (failure != nullptr) *failure = hr;
  return SUCCEEDED(hr);
}
