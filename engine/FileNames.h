// Names that come from outside (an online language file, a download request) and
// are joined to a folder of ours: only a bare file name stays inside that folder.
#pragma once

// Null when name is a bare file name that Windows keeps inside the folder it is
// joined to; otherwise why it is not, as a text for a log line. Refused: an empty
// name, a path separator of either kind, a drive or stream colon, "." and "..",
// a trailing dot or blank (Windows drops them, so "a.exe." is "a.exe"), names
// Windows reserves for devices (CON, NUL, COM1, ... with or without an
// extension), control characters and the characters Windows refuses in names.
const wchar_t* WhyNotBareFileName(const wchar_t* name);
