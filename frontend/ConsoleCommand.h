// VltConsole: the front end of a run without a window. It decides the action from
// the command line (/remove, /repair, /update; /verbose opens a console), lets the
// work start through HANDLE_StartInstallEv, and prints the progress that the work
// publishes until it reports an end: 100 or more, exactly -1, or a failure.
#pragma once

#include "engine/InstallCommand.h"
#include "frontend/FrontendTexts.h"

class CVltConsoleCommand : public CInstallCommand {
 public:
  static constexpr const wchar_t* kTag = frontendtext::kConsoleTag;
  // No begin line, and never marked: the engine's "GetNextIndex called before
  // Execute" warning follows every run.
  static constexpr FrameStyle kFrame{kTag, kFrameNoBeginLine | kFrameNeverMarked};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  // Searches the own command line, then, when it names no action, the parent's:
  // at most one action is set, /remove before /repair before /update.
  void ParseConsoleSwitches();

  bool install = false;
  bool remove = false;
  bool repair = false;
  bool update = false;
  bool verbose = false;

  SELFFREE_DESTRUCTOR(CVltConsoleCommand)

 private:
  // One text's searches; true when an action was found.
  bool SearchSwitches(const wchar_t* text);
};
