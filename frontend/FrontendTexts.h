// The fixed texts of the front end commands, in one place, exactly as scripts,
// log readers and users know them. Log formats are Microsoft-style: %s is wide
// text, %S narrow text. The console texts are narrow printf formats, where %S
// prints wide text.
//
// Two lines of VltCommandLineParser name it "VrtCommandLine", and have no "\n" of
// their own (the logger then drops their last character): log readers search
// for them as they are.
#pragma once

#include <cstddef>
#include <cstdint>

namespace frontendtext {

// Tags of the frame lines "%i: %s End execute." and the like.
constexpr const wchar_t* kCommandLineTag = L"VltCommandLine";
constexpr const wchar_t* kConsoleTag = L"VltConsole";
constexpr const wchar_t* kMessageBoxTag = L"VltMessageBox";
constexpr const wchar_t* kUpdateProgressTag = L"VltUpdateProgress";
constexpr const wchar_t* kSetErrorTag = L"VltSetError";
constexpr const wchar_t* kRunAsUserTag = L"VltRunAsUser";

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

// VltRunAsUser. The lines of the process start have no "\n" of their own, and
// two end in a blank: log readers know them so.
constexpr const wchar_t* kCannotCreateDir = L"Cannot create dir %s. (error %d)\n";
constexpr const wchar_t* kCommandLineQuoted = L"\"%s\"";
constexpr const wchar_t* kCommandLineWithArgs = L"\"%s\" %s";
constexpr const wchar_t* kNoTerminalServer = L"Could not open WTSserver. errCode:%d";
constexpr const wchar_t* kNoSessionList = L"Could not enumerate sessions. errCode:%d";
constexpr const wchar_t* kNoUserToken = L"Could not query the user token for session %d. errCode:%d";
constexpr const wchar_t* kStartAsUserFailed = L"Could not create process %s as user with session Id %d. errCode:%d";
constexpr const wchar_t* kStartedAsUser = L"Process %s as user with session Id %d was started with pid %d";
constexpr const wchar_t* kNoUserLoggedIn = L"No user is logged in Trying normal CreateProcess! (retval:%d)";
constexpr const wchar_t* kStartFailed = L"Could not create process %s  errCode:%d ";
constexpr const wchar_t* kStarted = L"Process %s was started with pid %d ";

}  // namespace frontendtext

// The built-in install sequence: its fixed names, log lines and the failure
// texts the user sees. "Could not get unpacked size for %S" hands a wide path to
// the narrow specifier and has no line break of its own: log readers know it so.
namespace installtext {

constexpr const wchar_t* kArchiveName = L"installerpackage.exe";
constexpr const wchar_t* kServiceName = L"vlserv";
constexpr const wchar_t* kServiceBinary = L"vlscan.exe \\svc";
constexpr const wchar_t* kServiceGroup = L"Norvane Delayed Group";
constexpr const wchar_t* kShortcutTarget = L"vliface.exe";
constexpr const wchar_t* kShortcutExtension = L".lnk";

constexpr const wchar_t* kNoApplicationPath = L"%i: VltInstall Error: Could not get ApplicationPath.\n";
constexpr const wchar_t* kNoInstallPath = L"%i: VltInstall Error: Could not get InstallPath.\n";
constexpr const wchar_t* kExtractFailed = L"%i: VltInstall Error: Could not extract installer package. errCode:%d\n";
constexpr const wchar_t* kServiceFailed = L"%i: VltInstall Error: Could not install service. errCode:%d\n";
constexpr const wchar_t* kShortcutsFailed = L"%i: VltInstall Error: Could not set shortcuts. errCode:%d\n";
constexpr const wchar_t* kNoUnpackedSize = L"Could not get unpacked size for %S. errCode:%d";
constexpr const wchar_t* kNoServiceManager = L"%i: VltInstall Error: Could not open scMgr. errCode:%d\n";
constexpr const wchar_t* kServiceCreateFailed = L"%i: VltInstall Error: Could not create service. errCode:%d\n";
constexpr const wchar_t* kServiceConfigFailed = L"%i: VltInstall Error: Could not change service config. errCode:%d\n";
constexpr const wchar_t* kNoStartMenu = L"%i: VltInstall Error: Could not get CSIDL_COMMON_STARTMENU. errCode:%d\n";
constexpr const wchar_t* kNoStartup = L"%i: VltInstall Error: Could not get CSIDL_COMMON_STARTUP. errCode:%d\n";
constexpr const wchar_t* kStartMenuShortcutFailed =
    L"%i: VltInstall Error: Could not create start menu shortcut. errCode:%d\n";
constexpr const wchar_t* kStartupShortcutFailed = L"%i: VltInstall Error: Could not create startup shortcut. errCode:%d\n";
constexpr const wchar_t* kLinkCreateFailed = L"%i: VltInstall Error: Could not CoCreateInstance. errCode:0x%x\n";
constexpr const wchar_t* kLinkPersistFailed = L"%i: VltInstall Error: Could not get IPersistFile. errCode:0x%x\n";
constexpr const wchar_t* kLinkSaveFailed = L"%i: VltInstall Error: Could not save %s. errCode:0x%x\n";

constexpr const wchar_t* kFailInternal = L"Internal Error";
constexpr const wchar_t* kFailExtract = L"Could not extract files";
constexpr const wchar_t* kFailService = L"Could not install service";
constexpr const wchar_t* kFailShortcuts = L"Could not set shortcuts";

}  // namespace installtext

// The window host and its refresher
namespace hosttext {

constexpr const wchar_t* kLibraryName = L"htmlayout.dll";
constexpr const char* kWindowInfoName = "HtmlayoutWindowInfo_WindowId%i";  // also the window's class name
constexpr const wchar_t* kOurClassPrefix = L"HtmlayoutWindow";                // what drag-window moves
constexpr const wchar_t* kWindowTitleId = L"WelcomeWindowTitle";
constexpr const wchar_t* kRefresherLogName = L"HtmlayoutRefresherThreadProc";
constexpr const wchar_t* kRefreshNotInUse = L"@@@@@@HtmlayoutRefresher: Window not in use.\n";
constexpr const wchar_t* kRefreshAlreadyPosted = L"@@@@@@HtmlayoutRefresher: Window already has refresh posted.\n";
constexpr const wchar_t* kRefreshPosting = L"@@@@@@HtmlayoutRefresher: Posting refresh, counter is %i.\n";
constexpr const wchar_t* kRefreshHard = L"HtmlayoutRefresher: Received HardRefresh\n";
constexpr const wchar_t* kRefreshStop = L"HtmlayoutRefresher: Received Stop, dying.\n";
constexpr const wchar_t* kRefreshWaitFailed = L"HtmlayoutRefresher: Wait Failed: received %d; lastError %d.\n";
constexpr const wchar_t* kRefreshLost = L"Not enough refreshes!!!!!!!!!!!!! (newVal :%d)\n";
constexpr const wchar_t* kResourcePrefix = L"res:";
constexpr size_t kResourceNameCapacity = 259;  // 258 characters and the terminator; longer is fatal
constexpr const wchar_t* kHtmlExtension = L"HTML";
constexpr uint16_t kHtmlResourceType = 23;     // RT_HTML, for managers that read module resources
constexpr const char* kDragWindowName = "drag-window";
constexpr const char* kIdsAttribute = "IDS";
constexpr size_t kTextCapacity = 4096;
constexpr size_t kTitleCapacity = 512;

}  // namespace hosttext
