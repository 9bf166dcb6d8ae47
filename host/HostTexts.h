// The engine's exit codes and the fixed texts of its own messages: what a
// deployment tool and a script author read, kept in one place so that the README,
// the result file and the messages say the same.
#pragma once

namespace hostexit {

// The engine's own exit codes, Windows error numbers all. Append only: tools
// that deploy the product compare them.
enum : int {
  kFileNotFound = 2,         // ERROR_FILE_NOT_FOUND: the script file does not exist
  kBadScript = 13,           // ERROR_INVALID_DATA: the script cannot be loaded
  kBadCommandLine = 87,      // ERROR_INVALID_PARAMETER
  kNoPlugin = 126,           // ERROR_MOD_NOT_FOUND
  kCancelled = 1223,         // ERROR_CANCELLED: Ctrl+C
  kNoSuchCommand = 1168,     // ERROR_NOT_FOUND: the walk was sent to an index that names no command
};

// /check
enum : int {
  kCheckClean = 0,
  kCheckWarnings = 1,
  kCheckErrors = 2,
};

}  // namespace hostexit

namespace hosttext {

// What an exit code means, for the result file.
constexpr const wchar_t* kMeaningSuccess = L"the run ended and int_ReturnCode is 0";
constexpr const wchar_t* kMeaningReturnCode = L"int_ReturnCode as the script left it";
constexpr const wchar_t* kMeaningFileNotFound = L"the script file does not exist";
constexpr const wchar_t* kMeaningBadScript = L"the script cannot be loaded; nothing has run";
constexpr const wchar_t* kMeaningBadCommandLine = L"bad command line";
constexpr const wchar_t* kMeaningNoPlugin = L"the plug-in library cannot be loaded";
constexpr const wchar_t* kMeaningCancelled = L"the run was cancelled with Ctrl+C";
constexpr const wchar_t* kMeaningNoSuchCommand = L"the walk was sent to an index that names no command";
constexpr const wchar_t* kMeaningCommandStatus = L"a command returned a non-zero status, which stopped the walk";

// What a file given as the script is, when it is no script text.
constexpr const wchar_t* kFileIsFolder = L"it is a folder, not a file";
constexpr const wchar_t* kFileEmpty = L"the file is empty";
constexpr const wchar_t* kFileUnreadable = L"the file cannot be read (error ";
constexpr const wchar_t* kFileUtf16LeNoMark =
    L"the file is UTF-16 (little-endian) without a byte order mark; save it as UTF-8, or as UTF-16 with a mark";
constexpr const wchar_t* kFileUtf16BeNoMark =
    L"the file is UTF-16 (big-endian) without a byte order mark; save it as UTF-8, or as UTF-16 with a mark";
constexpr const wchar_t* kFileBinary = L"the file holds zero bytes: it is no text";

// Where the position scan finds a file stops being XML.
constexpr const wchar_t* kScanTextOutsideRoot = L"text outside the root element";
constexpr const wchar_t* kScanSecondRoot = L"a second root element (a document has one)";
constexpr const wchar_t* kScanOpenComment = L"a comment that is never closed with -->";
constexpr const wchar_t* kScanOpenCdata = L"a CDATA section that is never closed with ]]>";
constexpr const wchar_t* kScanOpenInstruction = L"a processing instruction that is never closed with ?>";
constexpr const wchar_t* kScanOpenDeclaration = L"a declaration that is never closed with >";
constexpr const wchar_t* kScanBadEndTag = L"a malformed end tag";
constexpr const wchar_t* kScanEndWithoutStart = L"closes no open element";
constexpr const wchar_t* kScanEndMismatch = L"closes <";
constexpr const wchar_t* kScanEndsInside = L"the file ends inside <";
constexpr const wchar_t* kScanNoElement = L"the file holds no element";
constexpr const wchar_t* kScanBadReference = L"an '&' that starts no reference (write &amp; for the character)";
constexpr const wchar_t* kScanBadName = L"a '<' that starts no tag (write &lt; for the character)";
constexpr const wchar_t* kScanBadAttribute = L"a malformed attribute in <";
constexpr const wchar_t* kScanDuplicateAttribute = L"an attribute given twice: ";
constexpr const wchar_t* kScanNoValue = L"an attribute without '=' and a value: ";
constexpr const wchar_t* kScanUnquoted = L"an attribute value without quotes: ";
constexpr const wchar_t* kScanOpenValue = L"an attribute value that is never closed: ";

// Loading a script. A message names the file, and where known the line and
// column, the element and its place among the commands, before these texts.
constexpr const wchar_t* kNotAScript = L"cannot be read as a script: ";
constexpr const wchar_t* kNotXml = L"cannot be read as XML: ";
constexpr const wchar_t* kMsxmlRefused = L"the scan finds well-formed XML, but MSXML refuses it: ";
// libxml2, under Wine's MSXML, refuses documents nested deeper than this.
constexpr int kDeepNesting = 256;
constexpr const wchar_t* kTooDeep = L"well-formed XML, but nested deeper than MSXML takes: ";
constexpr const wchar_t* kNoMsxml = L"cannot create the MSXML 3.0 document";
constexpr const wchar_t* kRootNotInstall = L"the root element must be <install>";
constexpr const wchar_t* kNoCommandsSection = L"<install> has no <commands> element";
constexpr const wchar_t* kNoCommand = L"<commands> holds no command";
constexpr const wchar_t* kVariableShape = L" must be <variable name=\"...\" value=\"...\"/>";
constexpr const wchar_t* kVariablePrefix = L"' must be an int_ or a String_ variable";
constexpr const wchar_t* kUnknownCommand = L"unknown command (the plug-in has no export ";
constexpr const wchar_t* kNoObject = L"the factory returned no command (out of memory)";
constexpr const wchar_t* kLoadFailed = L"Load failed with status ";
constexpr const wchar_t* kLoadMissing = L": the required attribute '";
constexpr const wchar_t* kLoadRefused = L": the command refuses the value of ";
constexpr const wchar_t* kIndexZero = L"index 0 is the end marker and cannot name a command";
constexpr const wchar_t* kIndexTaken = L" is used already by <";
constexpr const wchar_t* kNamesNoCommand = L" names no command";

// /check findings, after "<Element>: " and what they are about.
constexpr const wchar_t* kCheckNeverRead = L"' is never read by this command";
constexpr const wchar_t* kCheckDidYouMean = L" (did you mean '";
constexpr const wchar_t* kCheckNoSuchCommand = L" names no command";
constexpr const wchar_t* kCheckForkedTwice = L" is forked more than once; a thread runs once, so this Fork does nothing";
constexpr const wchar_t* kCheckNotForked = L" is started by no Fork";
constexpr const wchar_t* kCheckNoEvent = L"\" is made by no CreateEvent";
constexpr const wchar_t* kCheckConditionUnset = L"\" names a variable nothing sets, so the command never runs";
constexpr const wchar_t* kCheckBracketUnset = L"] names a variable nothing sets";
constexpr const wchar_t* kCheckUnreachable = L"no walk reaches this command, from the entry or a Fork's threadStart";
constexpr const wchar_t* kCheckBusyLoop = L"these commands loop with no WaitForHandle or Join in them: ";

// The autopilot (/autoclick=, /screens=), on standard error after "Installer: autopilot: ".
constexpr const wchar_t* kPilotPrefix = L"Installer: autopilot: ";
constexpr const wchar_t* kPilotNoLibrary = L"cannot pilot the dialog: ";
constexpr const wchar_t* kPilotClicked = L"clicked '";
constexpr const wchar_t* kPilotTimedOut = L"' did not show, or stayed disabled, within ";
constexpr const wchar_t* kPilotClosing = L"; clicking btnSysClose to end the run";
constexpr const wchar_t* kPilotNoClose = L"; no dialog with a close button to click";
constexpr const wchar_t* kPilotNotClicked = L"the run ended before this was clicked: ";
constexpr const wchar_t* kPilotStep = L"step ";
constexpr const wchar_t* kPilotPainted = L" (the window's own painting: the screen showed nothing)";
constexpr const wchar_t* kPilotNoPicture = L"no picture of step ";
constexpr const wchar_t* kPilotNoSight = L": the window shows nothing";
constexpr const wchar_t* kPilotCannotWrite = L": cannot write '";
constexpr const char* kPilotCloseId = "btnSysClose";
// The dialog's window class names start so; the window command's record names it.
constexpr const wchar_t* kDialogClassPrefix = L"HtmlayoutWindow";

// The command line.
constexpr const wchar_t* kPresetNoNumber = L"the value is no number (decimal, 0x hex or leading-zero octal)";
constexpr const wchar_t* kPresetTooBig = L"the value does not fit in 32 bits";

}  // namespace hosttext
