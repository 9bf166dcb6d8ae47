// The fixed texts of the logger, the error collector, the resource manager and the
// language manager, in one place, exactly as scripts and log readers know them.
// Formats are Microsoft-style: %s is wide text, %S narrow text.
//
// The Logger command's busy line names it "Jump", and MultiLanguage logs as
// "Multilanguage": log readers know both so. The line of an XLIFF file that does
// not parse has arguments that do not fit its format (see FileResourceManager).
// Several lines have no "\n" of their own; the logger then drops their last
// character, which is how those lines have always looked.
#pragma once

namespace diagtext {

// Tags of the frame lines "%i: %s Begin execute." and the like.
constexpr const wchar_t* kLoggerTag = L"Logger";
constexpr const wchar_t* kLoggerBusyTag = L"Jump";
constexpr const wchar_t* kMultiLanguageTag = L"Multilanguage";
constexpr const wchar_t* kLocalizationManagerTag = L"LocalizationManager";
constexpr const wchar_t* kFileResourceManagerTag = L"FileResourceManager";

// Logger and the logger behind SelfFree_LoggerApi
constexpr const wchar_t* kMainThreadDescription = L"Installer main thread";
constexpr const wchar_t* kNoDescription = L"No description";
constexpr const wchar_t* kThreadStarted =
    L"=========== Started logging for thread %u (%s) on %02ld.%02ld.%02ld ===========";
// Each line in a thread's file: the time, then the transformed body.
constexpr const wchar_t* kFileLine = L"[%02ld:%02ld:%02ld:%03ld] %s\n";
// The files in the common application data folder: the start time, then the
// thread id or "nvinstall" for the merged log.
constexpr const wchar_t* kThreadFileName = L"%I64u.%u.bin";
constexpr const wchar_t* kMergedFileName = L"%I64u.nvinstall.bin";

// The error collector
constexpr const wchar_t* kErrorLineHead = L"Error: 0x%X|%s|";
constexpr const wchar_t* kErrorBufferFailed = L"Could not allocate space for error buffer. errCode:%d\n";

// LocalizationManager
constexpr const wchar_t* kLocaleFolder = L"%i: %s Locale Folder: '%s'.\n";

// The file resource manager
constexpr const wchar_t* kXliffFound = L"%s Xliff Found: '%s'.\n";
constexpr const wchar_t* kXliffParseError = L"%s Line %i, Position %i: Error: %s";
constexpr const wchar_t* kXliffTexts = L"%s Found %i texts in '%s'.\n";

// The language manager
constexpr const wchar_t* kNoDownloader = L"Error! No downloader api to add the file to.\n";
// A package named by a language file that would not stay in the language folder.
constexpr const wchar_t* kPackageRefused = L"Multilanguage: package '%s' of language '%s' refused: %s.\n";
constexpr const wchar_t* kReadyHandle = L"@@@@@@@@@@@File ready handle: %x\n";
constexpr const wchar_t* kReadingLanguages = L"MultiLanguageApi: Reading languages from: %s\n";
constexpr const wchar_t* kLanguageFileError =
    L"MultiLanguageApi: XML parsing error! Xml file: %s; reason: %s (line: %d; col: %d)\n";
constexpr const wchar_t* kReadingVariables = L"MultiLanguageApi: Reading variables for: %s\n";
// The location of the online language file when its text cannot be expanded.
constexpr const wchar_t* kFallbackLocation = L"http://";

}  // namespace diagtext
