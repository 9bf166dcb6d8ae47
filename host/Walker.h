// The engine's walk of the command map, the same shape as a forked chain's: on
// each visit IsRequired, Execute when required, then GetNextIndex. Index 0 ends
// the walk, and so does a non-zero status from Execute: that is kept for a command
// that could not run at all (1359 above all). The walk's lines go to the logger.
#pragma once

#include <windows.h>

#include <cstdint>

#include "engine/interfaces/HostInterfaces.h"

// Stepping past the highest index without a next ends the walk as index 0 does,
// so a plain list of commands runs top to bottom and stops. Any other index that
// names no command is a fault of the script, and ends the walk as one.
struct WalkOutcome {
  int32_t status = 0;           // the non-zero status that stopped the walk, or 0
  int32_t failedIndex = 0;      // the command that returned it
  int32_t missingIndex = 0;     // an index the walk was sent to that names no command
  int32_t missingFrom = 0;      // the command whose next it was; 0 for the entry
  bool cancelled = false;
  uint32_t commandsRun = 0;     // Execute calls of the walk
};

// The main walk's cancel: the event commands wait on, and a flag raised with it,
// which the walk reads before each command. Under Wine every look at an event is
// a call to the wine server, which would cost more than a trivial command.
class CancelSignal {
 public:
  CancelSignal() : event_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
  ~CancelSignal() { CloseHandle(event_); }
  CancelSignal(const CancelSignal&) = delete;
  CancelSignal& operator=(const CancelSignal&) = delete;

  HANDLE Event() const { return event_; }
  // Safe from a console control handler's thread.
  void Raise() {
    InterlockedExchange(&raised_, 1);
    SetEvent(event_);
  }
  bool Raised() const { return InterlockedCompareExchange(const_cast<volatile LONG*>(&raised_), 0, 0) != 0; }

 private:
  HANDLE event_;
  volatile LONG raised_ = 0;
};

WalkOutcome WalkCommands(CommandMap& commands, int32_t entry, CancelSignal& cancel, CRITICAL_SECTION* storeLock);
