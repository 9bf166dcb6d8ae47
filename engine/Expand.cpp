#include "engine/Expand.h"

#include <windows.h>

#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "engine/EngineTexts.h"
#include "engine/InstallCommand.h"
#include "engine/Log.h"
#include "engine/SelfFree.h"
#include "engine/Store.h"

namespace {

// The scan both routines share. Returns the new text, or null after logging why.
// The output capacity is kept exact: each variable costs one reallocation to the
// size the text will have once the rest of the source is copied.
ScopedText ExpandText(const wchar_t* source) {
  size_t capacity = wcslen(source) + 1;
  ScopedText output(static_cast<wchar_t*>(calloc(capacity, sizeof(wchar_t))));
  if (!output) return ScopedText();
  size_t length = 0;
  const wchar_t* cursor = source;
  while (*cursor != L'\0') {
    if (*cursor != L'[') {
      output.Get()[length++] = *cursor++;
      continue;
    }
    const wchar_t* close = wcschr(cursor, L']');
    if (close == nullptr) {
      LogMessage(enginetext::kNoClosingBracket, cursor);
      return ScopedText();
    }
    // The name is what lies between the brackets as it stands: it may hold a
    // further '[' and it may be empty.
    size_t nameLength = close - cursor - 1;
    size_t fullLength = nameLength + 8;  // "String_", the name and the terminator
    CString* value = nullptr;
    {
      ScopedText wideName(static_cast<wchar_t*>(calloc(fullLength, sizeof(wchar_t))));
      ScopedNarrowText narrowName(static_cast<char*>(calloc(fullLength, 1)));
      if (!wideName || !narrowName) return ScopedText();
      wcscpy(wideName.Get(), L"String_");
      wcsncpy(wideName.Get() + 7, cursor + 1, nameLength);
      int converted = WideCharToMultiByte(CP_ACP, 0, wideName.Get(), static_cast<int>(fullLength), narrowName.Get(),
                                          static_cast<int>(fullLength), nullptr, nullptr);
      if (converted != static_cast<int>(fullLength)) {
        LogMessage(enginetext::kNameNotAnsi, wideName.Get());
        return ScopedText();
      }
      value = StoreGetString(narrowName.Get());
      if (value == nullptr) {
        LogMessage(enginetext::kNoVariable, narrowName.Get());
        return ScopedText();
      }
    }

    size_t valueLength = wcslen(value->text);
    capacity = capacity + valueLength - (nameLength + 2);
    wchar_t* grown = static_cast<wchar_t*>(realloc(output.Get(), capacity * sizeof(wchar_t)));
    if (grown == nullptr) return ScopedText();
    // realloc has taken the old block over: it must not be freed again.
    output.Release();
    output.Reset(grown);
    output.Get()[length] = L'\0';
    wmemcpy(output.Get() + length, value->text, valueLength);
    length += valueLength;
    cursor = close + 1;
  }
  output.Get()[length] = L'\0';
  return output;
}

}  // namespace

ScopedText Expand(const wchar_t* source, OnFailure policy, bool* expanded) {
  if (expanded != nullptr) *expanded = true;
  if (source == nullptr) return ScopedText();
  ScopedText result = ExpandText(source);
  if (result) return result;
  if (expanded != nullptr) *expanded = false;
  if (policy == OnFailure::KeepText) return CopyText(source);
  if (policy == OnFailure::Stop) LogMessage(enginetext::kCannotExpand);
  return ScopedText();
}

int32_t ExpandField(ScopedText& field, OnFailure policy, bool* expanded) {
  bool done = true;
  ScopedText result = Expand(field.Get(), policy == OnFailure::DropText ? OnFailure::DropText : OnFailure::KeepText,
                             &done);
  if (expanded != nullptr) *expanded = done;
  if (!done && policy == OnFailure::Stop) {
    LogMessage(enginetext::kCannotExpand);
    return kStatusBusy;
  }
  if (done || policy == OnFailure::DropText) field = std::move(result);
  return kStatusOk;
}

bool ExpandVariables(const wchar_t* source, wchar_t** result) {
  bool expanded = true;
  *result = Expand(source, OnFailure::DropText, &expanded).Release();
  return expanded;
}

int32_t ExpandCommandString(wchar_t** field) {
  ScopedText text(*field);
  int32_t status = ExpandField(text, OnFailure::Stop);
  *field = text.Release();
  return status;
}
