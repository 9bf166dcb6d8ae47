#include "standins/htmlayout/paint/Images.h"

#include <objbase.h>
#include <wincodec.h>

namespace hl::paint {

namespace {

template <class T>
struct ComRef {
  T* p = nullptr;
  ~ComRef() {
    if (p) p->Release();
  }
  T** operator&() { return &p; }
  T* operator->() const { return p; }
};

// COM for the length of a call, balanced: uninitialised only when this call
// initialised it (S_OK or S_FALSE), not when the thread is in another mode.
class ComScope {
 public:
  ComScope() : result_(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)) {}
  ~ComScope() {
    if (SUCCEEDED(result_)) CoUninitialize();
  }

 private:
  HRESULT result_;
};

}  // namespace

bool Decode(const std::string& bytes, Bitmap& out) {
  if (bytes.empty() || bytes.size() > 0x7FFFFFFF) return false;
  ComScope com;
  ComRef<IWICImagingFactory> factory;
  if (FAILED(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_IWICImagingFactory,
                              reinterpret_cast<void**>(&factory))))
    return false;
  ComRef<IWICStream> stream;
  if (FAILED(factory->CreateStream(&stream)) ||
      FAILED(stream->InitializeFromMemory(reinterpret_cast<BYTE*>(const_cast<char*>(bytes.data())),
                                          static_cast<DWORD>(bytes.size()))))
    return false;
  ComRef<IWICBitmapDecoder> decoder;
  if (FAILED(factory->CreateDecoderFromStream(stream.p, nullptr, WICDecodeMetadataCacheOnDemand, &decoder)))
    return false;
  ComRef<IWICBitmapFrameDecode> frame;
  if (FAILED(decoder->GetFrame(0, &frame))) return false;
  ComRef<IWICFormatConverter> converter;
  if (FAILED(factory->CreateFormatConverter(&converter)) ||
      FAILED(converter->Initialize(frame.p, GUID_WICPixelFormat32bppPBGRA, WICBitmapDitherTypeNone, nullptr, 0,
                                   WICBitmapPaletteTypeCustom)))
    return false;
  UINT width = 0, height = 0;
  if (FAILED(converter->GetSize(&width, &height)) || !width || !height || width > 16384 || height > 16384)
    return false;
  out.width = static_cast<int>(width);
  out.height = static_cast<int>(height);
  out.pixels.resize(static_cast<size_t>(width) * height);
  return SUCCEEDED(converter->CopyPixels(nullptr, width * 4, static_cast<UINT>(out.pixels.size() * 4),
                                         reinterpret_cast<BYTE*>(out.pixels.data())));
}

const Bitmap* Images::Get(const std::wstring& url, const std::string& bytes) {
  auto known = decoded_.find(url);
  if (known == decoded_.end()) {
    Bitmap bitmap;
    if (!Decode(bytes, bitmap)) bitmap = Bitmap();
    known = decoded_.emplace(url, std::move(bitmap)).first;
  }
  return known->second.width ? &known->second : nullptr;
}

}  // namespace hl::paint
