// Small probes of the system that commands share: the architecture, the parent
// process and its command line, and running a hidden child process.
//
// Probes do not report errors: they answer 0, false or empty text, and callers
// take that as "no".
#pragma once

#include <windows.h>

#include <string>

// True on a 64-bit (x64) system, whether this process is 64-bit or WOW64.
bool IsSystem64Bit();
// Non-zero when this process runs under WOW64; 0 also when the system cannot say.
BOOL IsProcessWow64();
// The id of the process that started this one, 0 when it cannot be found.
DWORD GetParentProcessId();
// The image path of a process as the kernel names it (a device path on Windows,
// a \??\X: path under Wine); empty when the process cannot be opened.
std::wstring GetProcessImagePath(DWORD processId);
std::wstring GetParentImagePath();
// The parent's command line, read from its process parameters; empty on failure.
std::wstring GetParentCommandLine();
// Runs commandLine hidden, without a window, in currentDirectory (null: this
// process's), and waits for it without limit. False when it cannot be started.
// The exit code is not read.
bool RunAndWait(const wchar_t* commandLine, const wchar_t* currentDirectory);
