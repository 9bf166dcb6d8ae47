#include "engine/VarName.h"

#include <cstdio>
#include <cstring>
#include <cwchar>

VarName::VarName(const char* prefix, const wchar_t* bare, Narrowing narrowing) {
  if (bare == nullptr) return;
  int bytes = WideCharToMultiByte(CP_ACP, 0, bare, -1, nullptr, 0, nullptr, nullptr);
  if (bytes <= 0) return;
  if (narrowing == Narrowing::OneBytePerCharacter && static_cast<size_t>(bytes) != wcslen(bare) + 1) return;
  size_t prefixLength = strlen(prefix);
  ScopedNarrowText name(static_cast<char*>(calloc(prefixLength + bytes + 1, 1)));
  if (!name) return;
  memcpy(name.Get(), prefix, prefixLength);
  if (WideCharToMultiByte(CP_ACP, 0, bare, -1, name.Get() + prefixLength, bytes, nullptr, nullptr) == 0) return;
  Reset(name.Release());
}

VarName::VarName(const char* prefix, const char* bare) {
  if (bare == nullptr) return;
  size_t size = strlen(prefix) + strlen(bare) + 1;
  char* name = static_cast<char*>(malloc(size));
  if (name != nullptr) snprintf(name, size, "%s%s", prefix, bare);
  Reset(name);
}

ScopedText VarName::Wide() const {
  if (Get() == nullptr) return ScopedText();
  int characters = MultiByteToWideChar(CP_ACP, 0, Get(), -1, nullptr, 0);
  if (characters <= 0) return ScopedText();
  wchar_t* wide = static_cast<wchar_t*>(calloc(characters, sizeof(wchar_t)));
  if (wide != nullptr) MultiByteToWideChar(CP_ACP, 0, Get(), -1, wide, characters);
  return ScopedText(wide);
}
