// Small helpers the file commands share: bounded appends into the fixed path
// buffers, the two ways a command takes over the expansion of a stored text, and
// the names of the system's pending rename list.
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

// The stored text is replaced by its expansion; when the expansion fails (an
// unknown [name], a '[' without ']') it becomes null. A null text stays null.
void ReplaceWithExpansion(wchar_t** field);
// The stored text is replaced by its expansion only when that worked; returns
// whether it did.
bool ReplaceIfExpanded(wchar_t** field);

// The expansion of text as a new heap text, or, when there is none, keptLine
// logged and a copy of text (null stays null). An unknown variable lands here as
// well, so the path is then used with its brackets.
wchar_t* ExpandOrCopy(const wchar_t* text, const wchar_t* keptLine);

// "." and "..", by exact comparison.
bool IsDotEntry(const wchar_t* name);
