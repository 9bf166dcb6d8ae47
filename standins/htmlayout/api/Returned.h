// Strings handed out through the C interface (attribute values, tag names,
// inner text). The published functions return pointers the caller does not
// free. Pointers into the element itself would dangle as soon as another
// thread changes the element, so each thread gets copies from a ring of its
// own: a pointer stays valid for the next kRingSize - 1 calls of that thread.
// The ring of a thread is not freed when the thread ends (a few kilobytes per
// thread that ever asked), since the DLL's entry point does no work.
#pragma once

#include <string>

namespace hl {

constexpr size_t kRingSize = 16;

wchar_t* ReturnWide(const std::wstring& text);
const char* ReturnNarrow(const std::string& text);

}  // namespace hl
