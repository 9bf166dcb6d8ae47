// The fixed texts of the front end commands, in one place, exactly as scripts,
// log readers and users know them. Log formats are Microsoft-style: %s is wide
// text, %S narrow text. The console texts are narrow printf formats, where %S
// prints wide text.
//
// Two lines of VltCommandLineParser name it "VrtCommandLine", and have no "\n" of
// their own (the logger then drops their last character): log readers search
// for them as they are.
#pragma once

namespace frontendtext {

// Tags of the frame lines "%i: %s End execute." and the like.
constexpr const wchar_t* kCommandLineTag = L"VltCommandLine";
constexpr const wchar_t* kConsoleTag = L"VltConsole";
constexpr const wchar_t* kMessageBoxTag = L"VltMessageBox";
constexpr const wchar_t* kUpdateProgressTag = L"VltUpdateProgress";
constexpr const wchar_t* kSetErrorTag = L"VltSetError";

// VltCommandLineParser
constexpr const wchar_t* kNoCommandLine = L"%i: VltCommandLine Could not get command line\n";
constexpr const wchar_t* kInstallPathSwitch = L"%i: VrtCommandLine Install path is %s";
constexpr const wchar_t* kLanguageSwitch = L"%i: VrtCommandLine Default language is %s";

// VltConsole: the log
constexpr const wchar_t* kNoProgressEvent = L"%i: VltConsole Error: Could not get InstallProgressEv!\n";
constexpr const wchar_t* kNoStartEvent = L"%i: VltConsole Error: Could not get StartInstallEv!\n";
constexpr const wchar_t* kNoLanguageApi = L"%i: %s Warning: No MultiLanguageApi.\n";
constexpr const wchar_t* kProgressWaitFailed = L"%i: VltConsole Error: InstallProgressEv returned %d on wait!\n";

// VltConsole: standard output
constexpr const char* kConsoleRunning = "\nRunning silent installer\n";
constexpr const char* kConsoleInstalling = "Installing!\n";
constexpr const char* kConsoleInstallPath = "Install path is %S\n";
constexpr const char* kConsoleUninstalling = "Uninstalling!\n";
constexpr const char* kConsoleRepairing = "Repairing!\n";
constexpr const char* kConsoleUpdating = "Updating!\n";
constexpr const char* kConsoleFailed = "Error while installing: %S\n";
constexpr const char* kConsoleFailedUnknown = "Unknown error while installing!\n";
constexpr const char* kConsoleProgress = "%S - %d%%\n";

// VltUpdateProgress and VltSetError
constexpr const wchar_t* kUpdateProgress = L"%i: UpdateProgress:%d\n";
constexpr const wchar_t* kSetError = L"%i: SetError: %s\n";

}  // namespace frontendtext
