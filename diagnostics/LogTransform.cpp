#include "diagnostics/LogTransform.h"

const char kLogContentKey[] = "InstallCommands.log/7f3a";

namespace {

const wchar_t kFirst = 0x20;
const int kRange = 0x7F - 0x20;  // 95 printable characters

void Rotate(const wchar_t* text, size_t byteCount, const char* key, size_t keyLength, wchar_t* output,
            size_t position, int direction) {
  size_t count = byteCount / sizeof(wchar_t);
  if (key == nullptr || keyLength == 0) {
    for (size_t i = 0; i < count; ++i) output[i] = text[i];
    return;
  }
  // The key index wraps by hand: this runs for every character of every line.
  size_t k = position % keyLength;
  for (size_t i = 0; i < count; ++i) {
    wchar_t c = text[i];
    if (c >= kFirst && c < kFirst + kRange) {
      int shift = static_cast<unsigned char>(key[k]) % kRange;
      int offset = c - kFirst + (direction > 0 ? shift : kRange - shift);
      if (offset >= kRange) offset -= kRange;
      c = static_cast<wchar_t>(kFirst + offset);
    }
    output[i] = c;
    if (++k == keyLength) k = 0;
  }
}

}  // namespace

void TransformLogText(const wchar_t* text, size_t byteCount, const char* key, size_t keyLength, wchar_t* output,
                      size_t position) {
  Rotate(text, byteCount, key, keyLength, output, position, 1);
}

void RestoreLogText(const wchar_t* text, size_t byteCount, const char* key, size_t keyLength, wchar_t* output,
                    size_t position) {
  Rotate(text, byteCount, key, keyLength, output, position, -1);
}
