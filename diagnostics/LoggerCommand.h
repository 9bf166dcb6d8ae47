// Logger: builds the logger and the error collector and publishes them as
// SelfFree_LoggerApi and SelfFree_ErrorApi; registers the executing thread as
// "Installer main thread", and, with isMainThread, as the fallback for threads
// that log without registering.
//
// Unlike other commands it writes no end line, never marks itself executed and
// never leaves its lock; its busy message names it "Jump". Scripts and the
// engine's log readers rely on that trace.
#pragma once

#include "diagnostics/DiagnosticsTexts.h"
#include "engine/InstallCommand.h"

class CLoggerCommand : public CInstallCommand {
 public:
  static constexpr const wchar_t* kTag = diagtext::kLoggerTag;
  // Every run ends with KeepLock: another thread that reaches the command later
  // is turned away, and its busy line names "Jump".
  static constexpr FrameStyle kFrame{kTag, kFrameNoEndLine | kFrameNeverMarked, diagtext::kLoggerBusyTag};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  bool isMainThread = false;

  SELFFREE_DESTRUCTOR(CLoggerCommand)
};
