// The log lines of the file system commands, in one place, exactly as scripts and
// log readers know them. Formats are Microsoft-style: %s is wide text, %S narrow.
//
// Some texts carry their old spellings and spacing ("Impersionation",
// "succesful", "succesufully", "Could set value", the blank before "\n" in
// "Preparing to delete file %s \n"): log readers search for them as they are.
// Several lines have no "\n" of their own; the logger then drops their last
// character, which is how those lines have always looked.
#pragma once

#include <cstdint>

namespace filetext {

// Tags of the frame lines "%i: %s Begin execute." and the like.
constexpr const wchar_t* kCreateDirTag = L"CreateDir";
constexpr const wchar_t* kRmdirTag = L"Rmdir";
constexpr const wchar_t* kShortcutTag = L"Shortcut";
constexpr const wchar_t* kUndoMoveFileExTag = L"UndoMoveFileEx";
constexpr const wchar_t* kShortcutGuardTag = L"Exec";  // the busy line of Shortcut names "Exec"
constexpr const wchar_t* kWriteIEADSTag = L"WriteIEADS";
constexpr const wchar_t* kUnrarTag = L"Unrar";
// Tags of the commands that write no frame lines; CopyDir and CopyFile never
// name themselves, DeleteFile only in its GetTempFileName failure.
constexpr const wchar_t* kCopyDirTag = L"CopyDir";
constexpr const wchar_t* kCopyFileTag = L"CopyFile";
constexpr const wchar_t* kDeleteFileTag = L"DeleteFile";
constexpr const wchar_t* kDeleteFileClass = L"CDeleteFileCommand";

// The sites under which the mirrored lines reach the second log sink
// (engine/LogLibrary.h).
constexpr const char* kCreateDirSite = "CCreateDirCommand::Execute";
constexpr const wchar_t* kCreateDirSiteWide = L"CCreateDirCommand::Execute";
constexpr const char* kDeleteFileSite = "CDeleteFileCommand::Execute";
constexpr const wchar_t* kDeleteFileSiteWide = L"CDeleteFileCommand::Execute";
constexpr const char* kShortcutSite = "CShortcutCommand::Execute";
constexpr const wchar_t* kShortcutSiteWide = L"CShortcutCommand::Execute";
constexpr const char* kShellLinkSite = "CShortcutCommand::CreateLink";
constexpr const wchar_t* kShellLinkSiteWide = L"CShortcutCommand::CreateLink";

// Tree walkers
constexpr const wchar_t* kCannotMoveFileEx = L"Cannot movefileex file: %s. (error %d)\n";
// What ScheduleTreeDelete answers for a path it cannot list (ERROR_INTERNAL_ERROR).
constexpr uint32_t kCannotListTree = 1359;

// CopyDir
constexpr const wchar_t* kCopyDirExecuting = L"Executing CopyDir command\n";
constexpr const wchar_t* kCopyDirRoughSource = L"Rough source dir: %s\n";
constexpr const wchar_t* kCopyDirRoughDestination = L"Rough destination dir: %s\n";
constexpr const wchar_t* kCopyDirSourceKept = L"No variables to expand in source dir. Using original\n";
constexpr const wchar_t* kCopyDirDestinationKept = L"No variables to expand in destination dir. Using original";
constexpr const wchar_t* kCopyDirPreparing = L"Preparing to copy directory %s to %s\n";
constexpr const wchar_t* kCopyDirIntoItself =
    L"CopyDir refused: destination dir %s lies inside source dir %s, and would be copied into itself until the "
    L"path limit; nothing is copied\n";
constexpr const wchar_t* kCopyDirFinished = L"Finished copying directory\n";

// CopyFile
constexpr const wchar_t* kCopyFileExecuting = L"Executing CopyFile command\n";
constexpr const wchar_t* kCopyFileRoughSource = L"Rough source file: %s\n";
constexpr const wchar_t* kCopyFileRoughDestination = L"Rough destination file: %s\n";
constexpr const wchar_t* kCopyFileSourceKept = L"No variables to expand in source file. Using original\n";
constexpr const wchar_t* kCopyFileDestinationKept = L"No variables to expand in destination file. Using original";
constexpr const wchar_t* kCopyFilePreparing = L"Preparing to copy file %s to %s\n";
constexpr const wchar_t* kCopyFileFinished = L"Finished copying file: %d\n";
constexpr const wchar_t* kRevertFailed = L"RevertToSelf failed. Error %d\n";
constexpr const wchar_t* kRevertDone = L"RevertToSelf Success!\n";

// Impersonation of the desktop user
constexpr const wchar_t* kSnapshotFailed = L"Cannot create process snapshot. Error %d";
constexpr const wchar_t* kExplorersFound = L"Found %d instances of explorer.exe";
constexpr const wchar_t* kExplorerOpenFailed = L"Cannot open process explorer.exe - pid %d (error %d)";
constexpr const wchar_t* kExplorerOpened = L"Opened process explorer.exe (pid %d)";
constexpr const wchar_t* kTokenOpenFailed = L"Cannot open process token (Error %d)";
constexpr const wchar_t* kTokenOpened = L"Opened process explorer.exe token";
constexpr const wchar_t* kTokenDuplicateFailed = L"Cannot duplicate explorer (%d) token (error %d)";
constexpr const wchar_t* kImpersonated = L"Impersionation as current user succesful!\n";
constexpr const wchar_t* kImpersonationFailed = L"Impersonation as current user failed. Error %d\n";
constexpr const wchar_t* kFirstProcessFailed = L"Cannot get first process of the snapshot. Error: %d";

// DeleteFile
constexpr const wchar_t* kDeleteExecuting = L"Executing DeleteFile command\n";
constexpr const wchar_t* kDeleteRoughPath = L"Rough path file: %s\n";
constexpr const wchar_t* kDeletePreparing = L"Preparing to delete file %s \n";
constexpr const wchar_t* kDeleteError = L"DeleteFile error: %d\n";
constexpr const wchar_t* kTempNameFailed = L"%i: %s Error: GetTempFileName failed.\n";
constexpr const wchar_t* kDeleteMoved = L"CDeleteFileCommand MoveFile %s to %s res = %i\n";
constexpr const wchar_t* kDeleteQueued = L"CDeleteFileCommand MoveFileEx %i\n";
constexpr const wchar_t* kDeleteFinished = L"Finished delete file\n";

// Rmdir
constexpr const wchar_t* kRmdirPath = L"%i: %s Begin, Path='%s'.\n";
constexpr const wchar_t* kRmdirSkipFolders = L"%i: %s Begin, SkipFolders='%s'.\n";

// UndoMoveFileEx
constexpr const wchar_t* kUndoBegin = L"%i: UndoMoveFileEx Begin execute.\n";
constexpr const wchar_t* kUndoOpenFailed = L"%i: UndoMoveFileEx Could not open key '%s'.\n";
constexpr const wchar_t* kUndoQueryFailed = L"%i: UndoMoveFileEx Could not get value '%s' in key '%s' errCode:%d.\n";
constexpr const wchar_t* kUndoSetFailed = L"%i:UndoMoveFileEx Could set value '%s' in key '%s' errCode:%d .\n";

// Shortcut
constexpr const wchar_t* kShortcutCreated = L"Shortcut %s was created succesufully";
constexpr const wchar_t* kShortcutFailed = L"Shortcut %s Failed";
constexpr const wchar_t* kSaveFailed = L"IPersistFile::Save failed.";
constexpr const wchar_t* kQueryInterfaceFailed = L"QueryInterface failed.";
constexpr const wchar_t* kNotWindows8 = L"[_AddAppUserModelId] Is not Windows 8. Exit";
constexpr const wchar_t* kWindows8 = L"[_AddAppUserModelId] Is Windows 8. Set Property Store";

// WriteIEADS
constexpr const wchar_t* kZoneBegin = L"%i: Write IE ADS for %s\n";
constexpr const wchar_t* kZoneOpenFailed = L"%i: Could not open %s errCode:%d\n";
constexpr const wchar_t* kZoneWriteFailed = L"%i: Could not write ads stream in %s errCode:%d\n";

// Unrar
constexpr const wchar_t* kUnrarExtracting = L"%i: %s Extracting: %s to %s.\n";
constexpr const wchar_t* kUnrarSizeFailed = L"%i: %s FAILED getting unpacked size. errCode %i.\n";
constexpr const wchar_t* kUnrarFileFailed = L"Error on current file: '%s' extracting from %s to %s\n";
constexpr const wchar_t* kUnrarHeaderBroken = L"\n\tFile header broken\n";
constexpr const wchar_t* kUnrarNoDestination = L"%i: %s No destination folder given; nothing extracted.\n";
constexpr const wchar_t* kUnrarNoLibrary = L"%i: %s Could not load the UnRAR library %s. errCode %u.\n";
// The first pass reports a broken header on standard output, not in the log.
constexpr const char* kUnrarHeaderBrokenOut = "\n\tFile header broken";
// A failed open; %s is the archive.
constexpr const wchar_t* kUnrarOpenNoMemory = L"\n\tNot enough memory\n";
constexpr const wchar_t* kUnrarOpenBadData = L"\n\t%s: archive header broken\n";
constexpr const wchar_t* kUnrarOpenBadArchive = L"\n\t%s is not RAR archive\n";
constexpr const wchar_t* kUnrarOpenFailed = L"\n\tCannot open %s\n";
constexpr const wchar_t* kUnrarOpenUnknown = L"\n\tUnknown error\n";
// An entry that failed to skip or extract.
constexpr const wchar_t* kUnrarCrcError = L"\tCRC error\n";
constexpr const wchar_t* kUnrarBadVolume = L"\tBad volume\n";
constexpr const wchar_t* kUnrarUnknownFormat = L"\tUnknown archive format\n";
constexpr const wchar_t* kUnrarVolumeOpenError = L"\tVolume open error\n";
constexpr const wchar_t* kUnrarCreateError = L"\tFile create error\n";
constexpr const wchar_t* kUnrarCloseError = L"\tFile close error\n";
constexpr const wchar_t* kUnrarReadError = L"\tRead error\n";
constexpr const wchar_t* kUnrarWriteError = L"\tWrite error\n";
constexpr const wchar_t* kUnrarUnknownError = L"\tUnknown error\n";
constexpr const wchar_t* kUnrarNoPassword = L"\tPassword for encrypted file is not specified\n";

}  // namespace filetext
