#include "files/PathHelpers.h"

#include <shlwapi.h>

#include <cstdlib>
#include <cwchar>

#include "engine/Bounded.h"
#include "engine/Expand.h"
#include "engine/Log.h"

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

void ReplaceWithExpansion(wchar_t** field) {
  if (*field == nullptr) return;
  wchar_t* expanded = nullptr;
  ExpandVariables(*field, &expanded);
  free(*field);
  *field = expanded;
}

bool ReplaceIfExpanded(wchar_t** field) {
  wchar_t* expanded = nullptr;
  if (!ExpandVariables(*field, &expanded) || expanded == nullptr) return false;
  free(*field);
  *field = expanded;
  return true;
}

wchar_t* ExpandOrCopy(const wchar_t* text, const wchar_t* keptLine) {
  wchar_t* expanded = nullptr;
  ExpandVariables(text, &expanded);
  if (expanded != nullptr) return expanded;
  LogMessage(keptLine);
  return text != nullptr ? _wcsdup(text) : nullptr;
}

bool IsDotEntry(const wchar_t* name) { return wcscmp(name, L".") == 0 || wcscmp(name, L"..") == 0; }
