// Small helpers the file commands share: bounded appends into the fixed path
// buffers and the names of the system's pending rename list.
#pragma once

#include <windows.h>

#include <cstddef>

// The pending rename list that MoveFileExW(..., MOVEFILE_DELAY_UNTIL_REBOOT)
// fills and the system carries out at the next boot: REG_MULTI_SZ pairs of
// "\??\"-prefixed source and target, an empty target meaning "delete".
constexpr const wchar_t* kSessionManagerKey = L"SYSTEM\\CurrentControlSet\\Control\\Session Manager";
constexpr const wchar_t* kPendingRenameValue = L"PendingFileRenameOperations";

// Appends source (null appends nothing) to the text in target, a buffer of
// capacity characters. An overlong result ends the process, as every bounded
// copy into a fixed path buffer does.
void BoundedAppend(wchar_t* target, size_t capacity, const wchar_t* source);
// PathAddBackslashW that ends the process, rather than silently leaving the
// backslash off, when the buffer is full.
void AddBackslashOrFail(wchar_t* path);
// PathAppendW, likewise fatal when the joined path does not fit MAX_PATH.
void AppendPathOrFail(wchar_t* path, const wchar_t* name);

// "." and "..", by exact comparison.
bool IsDotEntry(const wchar_t* name);
