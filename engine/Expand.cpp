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
wchar_t* ExpandText(const wchar_t* source) {
  size_t capacity = wcslen(source) + 1;
  wchar_t* output = static_cast<wchar_t*>(calloc(capacity, sizeof(wchar_t)));
  if (output == nullptr) return nullptr;
  size_t length = 0;
  const wchar_t* cursor = source;
  while (*cursor != L'\0') {
    if (*cursor != L'[') {
      output[length++] = *cursor++;
      continue;
    }
    const wchar_t* close = wcschr(cursor, L']');
    if (close == nullptr) {
      LogMessage(enginetext::kNoClosingBracket, cursor);
      free(output);
      return nullptr;
    }
    // The name is what lies between the brackets as it stands: it may hold a
    // further '[' and it may be empty.
    size_t nameLength = close - cursor - 1;
    size_t fullLength = nameLength + 8;  // "String_", the name and the terminator
    wchar_t* wideName = static_cast<wchar_t*>(calloc(fullLength, sizeof(wchar_t)));
    char* narrowName = static_cast<char*>(calloc(fullLength, 1));
    if (wideName == nullptr || narrowName == nullptr) {
      free(wideName);
      free(narrowName);
      free(output);
      return nullptr;
    }
    wcscpy(wideName, L"String_");
    wcsncpy(wideName + 7, cursor + 1, nameLength);
    int converted = WideCharToMultiByte(CP_ACP, 0, wideName, static_cast<int>(fullLength), narrowName,
                                        static_cast<int>(fullLength), nullptr, nullptr);
    if (converted != static_cast<int>(fullLength)) {
      LogMessage(enginetext::kNameNotAnsi, wideName);
      free(wideName);
      free(narrowName);
      free(output);
      return nullptr;
    }
    CString* value = StoreGetString(narrowName);
    if (value == nullptr) {
      LogMessage(enginetext::kNoVariable, narrowName);
      free(wideName);
      free(narrowName);
      free(output);
      return nullptr;
    }
    free(wideName);
    free(narrowName);

    size_t valueLength = wcslen(value->text);
    capacity = capacity + valueLength - (nameLength + 2);
    wchar_t* grown = static_cast<wchar_t*>(realloc(output, capacity * sizeof(wchar_t)));
    if (grown == nullptr) {
      free(output);
      return nullptr;
    }
    output = grown;
    output[length] = L'\0';
    wmemcpy(output + length, value->text, valueLength);
    length += valueLength;
    cursor = close + 1;
  }
  output[length] = L'\0';
  return output;
}

}  // namespace

ScopedText Expand(const wchar_t* source, OnFailure policy, bool* expanded) {
  if (expanded != nullptr) *expanded = true;
  if (source == nullptr) return ScopedText();
  ScopedText result(ExpandText(source));
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
