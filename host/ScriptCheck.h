// Installer.exe /check: a script's problems before it ships, compiler style.
//
// The script is loaded as a run loads it, every element through its export and
// its Load, and nothing runs. What the load finds is an error; what the checker
// then finds by reading the loaded script is an error when the walk would fail
// on it (a next, entry or threadStart that names no command) and a warning when
// the script is likely not what its author meant: attributes no command reads,
// commands no walk reaches, threads joined or cancelled that nothing forks,
// events nothing makes, variables nothing sets, loops with nothing to wait on.
#pragma once

#include <string>
#include <vector>

#include "host/ScriptLoader.h"

// Adds the checker's findings about a script loaded for checking to check.
void CheckScript(const LoadedScript& script, LoadCheck* check);

// The findings as lines "file:line:column: error: <Element>: text", in the
// order of the file, and a last line that counts them.
std::wstring FindingsText(const std::wstring& file, const std::vector<Finding>& findings);

// 0 clean, 1 warnings only, 2 errors.
int CheckExitCode(const std::vector<Finding>& findings);
