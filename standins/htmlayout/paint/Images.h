// Pictures of a page decoded once with WIC (PNG, BMP, ICO and whatever else
// the system's codecs read) into premultiplied BGRA, kept by url for the
// window's next paints.
//
// WIC needs COM on the calling thread: Decode initialises it for the call when
// the thread has not, and leaves it as it found it.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace hl::paint {

struct Bitmap {
  int width = 0, height = 0;
  std::vector<uint32_t> pixels;  // premultiplied BGRA, top-down
};

class Images {
 public:
  // The picture of url from its bytes, decoded on first use; null when the
  // bytes are no picture the codecs know.
  const Bitmap* Get(const std::wstring& url, const std::string& bytes);

 private:
  std::map<std::wstring, Bitmap> decoded_;  // failures kept as 0x0 so they are tried once
};

// Decodes one picture; false when no codec reads it.
bool Decode(const std::string& bytes, Bitmap& out);

}  // namespace hl::paint
