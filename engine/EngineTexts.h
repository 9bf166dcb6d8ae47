// The fixed log texts of the command engine, exactly as log readers know them.
// Formats are Microsoft-style: %s is wide text, %S narrow.
#pragma once

#include <cstdint>

namespace enginetext {

// The frame of every command's Execute.
constexpr const wchar_t* kBegin = L"%i: %s Begin execute.\n";
constexpr const wchar_t* kEnd = L"%i: %s End execute. Next command %i.\n";
constexpr const wchar_t* kBusy = L"%i: %s Error: Multiple threads attempting execution.\n";
constexpr const wchar_t* kNextBeforeExecute = L"[InstallCommand] Warning: GetNextIndex called before Execute\n";
constexpr const wchar_t* kBaseBusy = L"[InstallCommand] Error: Multiple threads attempting execution\n";

// The last line before a fatal overrun of a bounded copy ends the process.
constexpr const wchar_t* kOverrunInCommand = L"%i: %s Fatal: a text of %u characters overruns a buffer of %u: '%s'\n";
constexpr const wchar_t* kOverrunOutside = L"Fatal: a text of %u characters overruns a buffer of %u: '%s'\n";
constexpr const wchar_t* kOverrunUnknownText = L"%i: %s Fatal: a text overruns its fixed buffer\n";
constexpr const wchar_t* kOverrunUnknownOutside = L"Fatal: a text overruns its fixed buffer\n";

// Why a name from outside is not a bare file name (engine/FileNames.h).
constexpr const wchar_t* kNameEmpty = L"it is empty";
constexpr const wchar_t* kNameDots = L"it names a folder ('.' or '..')";
constexpr const wchar_t* kNameHasSeparator = L"it holds a path separator";
constexpr const wchar_t* kNameHasColon = L"it names a drive or a stream";
constexpr const wchar_t* kNameHasForbidden = L"it holds a character Windows does not allow in names";
constexpr const wchar_t* kNameTrailing = L"it ends in a dot or a blank";
constexpr const wchar_t* kNameDevice = L"Windows reserves it for a device";

// Expansion
constexpr const wchar_t* kNoClosingBracket = L"ExpandVariables: No terminating ']' character found for variable '%s'.\n";
constexpr const wchar_t* kNameNotAnsi = L"ExpandVariables: Could not convert string '%s' to ASCII.\n";
constexpr const wchar_t* kNoVariable = L"ExpandVariables: No variable '%S' could be found.\n";
constexpr const wchar_t* kCannotExpand = L"Cannot expand command. Error\n";

// Fork, Join, Cancel and the forked chains
constexpr const wchar_t* kForkBegin = L"%i: %s Begin execute, threadId=%i, threadStart=%i.\n";
constexpr const wchar_t* kForkStarting = L"%i: %s Starting threadId=%i.\n";
constexpr const wchar_t* kThreadBegin = L"%i: %s Begin execute, threadId=%i.\n";
constexpr const wchar_t* kJoinSkipped = L"%i: %s ThreadId=%i not joining.\n";
constexpr const wchar_t* kJoinWaiting = L"%i: %s Waiting for threadId=%i.\n";
constexpr const wchar_t* kJoinDone = L"%i: %s ThreadId=%i joined.\n";
constexpr const wchar_t* kInfoFound = L"%i: %s Found thread info for threadId=%i.\n";
constexpr const wchar_t* kInfoCreated = L"%i: %s Creating thread info for threadId=%i.\n";
constexpr const wchar_t* kChainJoining = L"[ThreadId %i] Joining.\n";
constexpr const wchar_t* kChainNoEntry = L"[ThreadId %i] Entry command with index %i not found, ending.\n";
constexpr const wchar_t* kChainCancelled = L"[ThreadId %i] cancel handle was signaled. Exiting\n";
constexpr const wchar_t* kChainExecuting = L"[ThreadId %i] Executing command %i.\n";
constexpr const wchar_t* kChainFailed = L"[ThreadId %i] Command %i failed.\n";
constexpr const wchar_t* kChainNotRequired = L"[ThreadId %i] Command %i not required.\n";
constexpr const wchar_t* kChainEnd = L"[ThreadId %i] Reached end command.\n";
constexpr const wchar_t* kChainNoNext = L"[ThreadId %i] Next command %i not found, ending.\n";

// Events
constexpr const wchar_t* kEventCreateFailed = L"Failed creating event!\n";
constexpr const wchar_t* kNoEventToSet = L"%S doesn't contain an event to set!\n";
constexpr const wchar_t* kNoEventToWait = L"%S doesn't contain an event to wait for!\n";

}  // namespace enginetext

// Status numbers of the command engine, Windows error numbers all.
enum : int32_t {
  kStatusOk = 0,
  kStatusMissingAttribute = 1,        // S_FALSE of an absent required attribute
  kStatusInvalidParameter = 87,       // SetErrorVar without errVar
  kStatusBusy = 1359,                 // the command runs on another thread
  kStatusWrongArchitecture = 1633,
};
