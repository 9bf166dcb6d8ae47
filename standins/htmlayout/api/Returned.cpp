#include "standins/htmlayout/api/Returned.h"

namespace hl {

namespace {
struct Ring {
  std::wstring wide[kRingSize];
  std::string narrow[kRingSize];
  size_t nextWide = 0;
  size_t nextNarrow = 0;
};

// A plain pointer: a thread_local with a destructor would run in a DLL that
// may already be unloaded when the thread ends.
thread_local Ring* ring = nullptr;

Ring& ThisThread() {
  if (!ring) ring = new Ring();
  return *ring;
}
}  // namespace

wchar_t* ReturnWide(const std::wstring& text) {
  Ring& r = ThisThread();
  std::wstring& slot = r.wide[r.nextWide++ % kRingSize];
  slot = text;
  return &slot[0];
}

const char* ReturnNarrow(const std::string& text) {
  Ring& r = ThisThread();
  std::string& slot = r.narrow[r.nextNarrow++ % kRingSize];
  slot = text;
  return slot.c_str();
}

}  // namespace hl
