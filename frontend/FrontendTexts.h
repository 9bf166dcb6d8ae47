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

// The dialog command. Its warning about a missing language manager carries a
// tag of its own, "QzEulaInterface": log readers know it so.
namespace welcometext {

constexpr const wchar_t* kTag = L"VltWelcomeInterface";
constexpr const wchar_t* kNoLanguageApiTag = L"QzEulaInterface";
constexpr const wchar_t* kBegin = L"%i: %s Begin execute on windowId=%i.\n";
constexpr const wchar_t* kCreatingInfo = L"%i: %s Creating window info for windowId=%i.\n";
constexpr const wchar_t* kFoundInfo = L"%i: %s Found window info for windowId=%i.\n";
constexpr const wchar_t* kInUse = L"%i: %s Error: windowId=%i already in use.\n";
constexpr const wchar_t* kCreated = L"%i: %s windowId=%i Created.\n";
constexpr const wchar_t* kCreating = L"%i: %s Creating windowId=%i.\n";
constexpr const wchar_t* kNoPage = L"%i: %s Could not load html resource 'WELCOME'.\n";
constexpr const wchar_t* kNoPageOnReload = L"%i: %s Could not load html resource '%s'.\n";
constexpr const wchar_t* kProgressRead = L"int_InstallProgressPercent = %i\n";
// Where no window can be shown at all: the reason, before the page's own line.
constexpr const wchar_t* kNoLibrary =
    L"%i: %s Error: Could not load %s (error %d): the dialog cannot be shown.\n";
constexpr const wchar_t* kNoWindow =
    L"%i: %s Error: Could not create the window for windowId=%i (error %d): is there a display?\n";
constexpr const wchar_t* kNoFailReason =
    L"%i: %s Error: The work failed without a String_InstallFailReason: the failure view cannot be built.\n";
constexpr const wchar_t* kNoMessageBox =
    L"%i: %s Error: No MessageBox to tell the user that the language could not be changed.\n";

constexpr const wchar_t* kPageFolder = L"lang\\";
constexpr const wchar_t* kPageName = L"lang\\welcome";
constexpr const wchar_t* kPageExtension = L".html";
constexpr const wchar_t* kUrlScheme = L"file://";
constexpr const wchar_t* kEulaPath = L"\\lang\\eula.html";
constexpr const wchar_t* kStartEventName = L"StartInstallEv";
constexpr size_t kUrlCapacity = 2048;
constexpr size_t kReloadUrlCapacity = 512;
constexpr size_t kSuccessTextCapacity = 1024;
constexpr size_t kFailureTextCapacity = 2048;

// Element ids and attributes of the page
constexpr const char* kInstallWindow = "install_window";
constexpr const char* kCurrentStep = "current_step";
constexpr const wchar_t* kClose = L"btnSysClose";
constexpr const wchar_t* kMinimize = L"btnSysMinimize";
constexpr const char* kCloseId = "btnSysClose";
constexpr const char* kAgree = "AgreeInstall";
constexpr const char* kEula = "link_eula";
constexpr const char* kFinish = "FinishInstall";
constexpr const char* kUninstall = "UninstallButton";
constexpr const char* kRepair = "RepairButton";
constexpr const char* kLanguageSelect = "nvui_select";
constexpr const char* kLanguageCheckbox = "nvui_checkbox";
constexpr const char* kSendUsage = "vlt_sendAur";
constexpr const char* kOverlay = "overlay";
constexpr const char* kInstallPath = "InstallPath";
constexpr const char* kInstallPathText = "InstallPathpopup";
constexpr const char* kBrowseFolders = "BrowseFolders";
constexpr const char* kInstallBar = "downloadProgressBar";
constexpr const char* kUninstallBar = "UninstallProgressBar";
constexpr const char* kRepairBar = "RepairProgressBar";
constexpr const char* kSuccessBubble = "bubble_success";
constexpr const char* kFailBubble = "bubble_fail";
constexpr const char* kUninstallStatus = "uninstall_status";  // _sucess, _fail, _title
constexpr const char* kRepairStatus = "repair_status";
constexpr const char* kSuccessSuffix = "_sucess";
constexpr const char* kFailSuffix = "_fail";
constexpr const char* kTitleSuffix = "_title";

constexpr const wchar_t* kHidden = L"display:none;";
constexpr const wchar_t* kShownBlock = L"display:block;";
constexpr const wchar_t* kBubbleHidden = L"width:400px; display:none;";
constexpr const wchar_t* kBubbleShown = L"width:400px; display:block;";
constexpr const wchar_t* kStatusShown = L"width:400px; visibility:visible;";

// Texts of the resource manager
constexpr const wchar_t* kInstallSuccessful = L"InstallSuccessful";
constexpr const wchar_t* kInstallNotSuccessful = L"InstallNotSuccessful";
constexpr const wchar_t* kUninstallSuccessful = L"UninstallSuccessful";
constexpr const wchar_t* kUninstallNotSuccessful = L"UninstallNotSuccessful";
constexpr const wchar_t* kRepairNotSuccessful = L"RepairNotSuccessful";

// The language select
constexpr const char* kOptionTag = "option";
constexpr const char* kOptionId = "langOption";
constexpr const char* kLanguageCode = "languageCode";
constexpr const char* kCaptionSelector = "caption";
constexpr const wchar_t* kReferenceLanguage = L"en-US";
constexpr const wchar_t* kDownloadSeparator = L" - ";
constexpr size_t kDownloadTextCapacity = 256;
constexpr size_t kOptionTextCapacity = 260;
constexpr size_t kMessageCapacity = 260;
constexpr UINT kAppendIndex = 0x7FFFFFFF;
constexpr const wchar_t* kLanguageFailedText = L"IDS_WelcomeLanguageChangeFailedText";
constexpr const wchar_t* kLanguageFailedTitle = L"IDS_WelcomeLanguageChangeFailedTitle";

}  // namespace welcometext
