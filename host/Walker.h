// The engine's walk of the command map, the same shape as a forked chain's: on
// each visit IsRequired, Execute when required, then GetNextIndex. Index 0 ends
// the walk, and so does a non-zero status from Execute: that is kept for a command
// that could not run at all (1359 above all). The walk's lines go to the logger.
#pragma once

#include <windows.h>

#include <cstdint>

#include "engine/interfaces/HostInterfaces.h"

struct WalkOutcome {
  int32_t status = 0;           // the non-zero status that stopped the walk, or 0
  int32_t failedIndex = 0;      // the command that returned it
  int32_t missingIndex = 0;     // an index the walk was sent to that names no command
  bool cancelled = false;
};

WalkOutcome WalkCommands(CommandMap& commands, int32_t entry, HANDLE cancelEvent, CRITICAL_SECTION* storeLock);
