#include "engine/SelfFree.h"

#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <new>

#include "engine/ScopedHandle.h"

void CSelfFree::Free() { DeletingDestructor(1); }

void* CSelfFree::DeletingDestructor(unsigned int flags) {
  this->~CSelfFree();
  if (flags & 1) ::operator delete(static_cast<void*>(this));
  return this;
}

CString::CString(const wchar_t* source) : text(_wcsdup(source != nullptr ? source : L"")) {}

CString::~CString() {
  free(text);
  text = nullptr;
}

CString* MakeString(const wchar_t* source) {
  ScopedSelfFree<CString> value(new (std::nothrow) CString(source));
  if (value && value.Get()->text == nullptr) return nullptr;
  return value.Release();
}

CBuffer::CBuffer(const void* source, uint64_t count) : data(nullptr), size(count) {
  data = new uint8_t[count];
  if (count != 0) memcpy(data, source, count);
}

CBuffer::~CBuffer() {
  delete[] data;
  data = nullptr;
}
