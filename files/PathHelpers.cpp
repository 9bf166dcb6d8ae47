#include "files/PathHelpers.h"

#include <shlwapi.h>

#include <cwchar>

#include "engine/Bounded.h"

void BoundedAppend(wchar_t* target, size_t capacity, const wchar_t* source) {
  if (source == nullptr) return;
  size_t used = wcslen(target);
  size_t length = wcslen(source);
  if (used + length >= capacity) FailFastOverrun();
  wmemcpy(target + used, source, length + 1);
}

void AddBackslashOrFail(wchar_t* path) {
  if (PathAddBackslashW(path) == nullptr) FailFastOverrun();
}

void AppendPathOrFail(wchar_t* path, const wchar_t* name) {
  // A failed PathAppendW leaves the parent's path in the buffer; walking on with
  // it would treat the parent as its own child.
  if (!PathAppendW(path, name)) FailFastOverrun();
}

bool IsDotEntry(const wchar_t* name) { return wcscmp(name, L".") == 0 || wcscmp(name, L"..") == 0; }
