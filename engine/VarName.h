// Store names built from script texts: "int_" + errVar, "String_" + a bracket
// name, "HANDLE_" + eventVar. Names are narrow, in the ANSI code page; script
// texts are wide. Every command builds its names here.
#pragma once

#include <cstdint>

#include "engine/ScopedHandle.h"

enum class Narrowing {
  // Whatever the ANSI code page makes of the text (a character it lacks becomes
  // its default character).
  Ansi,
  // Only text that narrows to exactly one byte a character; anything else gives
  // no name. For names that must match a variable byte for byte.
  OneBytePerCharacter,
};

class VarName : public ScopedNarrowText {
 public:
  VarName() = default;
  // "<prefix><bare>". None when bare is null, cannot be narrowed as asked, or
  // memory runs out.
  VarName(const char* prefix, const wchar_t* bare, Narrowing narrowing = Narrowing::Ansi);
  VarName(const char* prefix, const char* bare);
  // The bare text narrowed, without a prefix.
  explicit VarName(const wchar_t* bare, Narrowing narrowing = Narrowing::Ansi) : VarName("", bare, narrowing) {}

  // The same name as wide text, for the lines that print it (a heap copy, or none).
  ScopedText Wide() const;
};
