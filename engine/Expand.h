// Expansion of [name] references in attribute texts.
//
// "[InstallPath]" stands for the text of String_InstallPath; everything around the
// brackets stays. Expansion is single-level (inserted text is not scanned again),
// only String_ variables expand, there is no escape for '[', and a lone ']' is an
// ordinary character. It runs at Execute, so it sees what earlier commands left.
//
// A text that cannot be expanded (no closing ']', a name that is not in the store
// or does not narrow) is logged with its reason by the expansion itself. What the
// command does then differs from command to command, and every caller names it:
#pragma once

#include <cstdint>

#include "engine/ScopedHandle.h"

enum class OnFailure {
  KeepText,  // go on with the text as it stands
  DropText,  // go on with no text at all
  // Give up: "Cannot expand command. Error" is logged and the status is 1359.
  // An in-place field keeps its text.
  Stop,
};

// The expansion of source (none for a null source). On failure, what the policy
// says: a copy of source, or none. expanded, when given, tells which it was.
ScopedText Expand(const wchar_t* source, OnFailure policy, bool* expanded = nullptr);

// Replaces field by its expansion. On failure the policy decides: KeepText leaves
// the field, DropText empties it, Stop leaves it and returns 1359. Otherwise 0. A
// null field stays null and counts as expanded.
int32_t ExpandField(ScopedText& field, OnFailure policy, bool* expanded = nullptr);

// The two forms the engine's hosts and scripts know by name.
// ExpandVariables: a new heap text (free with free) in *result; null source gives
// null and true; on failure null and false.
bool ExpandVariables(const wchar_t* source, wchar_t** result);
// ExpandCommandString: ExpandField with the Stop policy, on a raw field.
int32_t ExpandCommandString(wchar_t** field);
