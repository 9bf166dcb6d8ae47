// Expansion of [name] references in attribute texts.
//
// "[InstallPath]" stands for the text of String_InstallPath; everything around the
// brackets stays. Expansion is single-level (inserted text is not scanned again),
// only String_ variables expand, there is no escape for '[', and a lone ']' is an
// ordinary character. It runs at Execute, so it sees what earlier commands left.
#pragma once

#include <cstdint>

// Expands source into a new heap text (free with free). A null source gives a null
// result and true. On failure the result is null, false, and the reason is logged.
bool ExpandVariables(const wchar_t* source, wchar_t** result);

// Expands the text in *field in place: the old text is freed and the field gets
// the expansion. A null field stays null, 0. On failure the field keeps its text,
// "Cannot expand command. Error" is logged after the reason, and 1359 is returned.
int32_t ExpandCommandString(wchar_t** field);
