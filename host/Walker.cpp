#include "host/Walker.h"

#include <iterator>

#include "engine/InstallCommand.h"
#include "host/HostServices.h"

namespace {

// Unlike a forked chain, the engine looks commands up without inserting into the
// map, so the main walk never changes it. Most steps go to the following entry,
// which is found without a search, so a long script costs the same per command as
// a short one.
CommandMap::iterator Find(CommandMap& commands, CommandMap::iterator from, int32_t index) {
  if (from != commands.end()) {
    auto following = std::next(from);
    if (following != commands.end() && following->first == index) return following;
  }
  return commands.find(index);
}

}  // namespace

WalkOutcome WalkCommands(CommandMap& commands, int32_t entry, CancelSignal& cancel, CRITICAL_SECTION* storeLock) {
  WalkOutcome outcome;
  // Taken before any chain runs: a chain's look-up of an absent index leaves an
  // empty entry behind in the map.
  const int32_t highest = commands.empty() ? 0 : commands.rbegin()->first;
  auto at = commands.find(entry);
  CInstallCommand* command = at == commands.end() ? nullptr : at->second;
  if (command == nullptr) {
    HostLog(L"[Main] Entry command with index %i not found, ending.\n", entry);
    outcome.missingIndex = entry;
    return outcome;
  }
  for (;;) {
    if (cancel.Raised()) {
      HostLog(L"[Main] cancel handle was signaled. Exiting\n");
      outcome.cancelled = true;
      return outcome;
    }
    if (command->IsRequired()) {
      HostLog(L"[Main] Executing command %i.\n", command->GetIndex());
      ++outcome.commandsRun;
      int32_t status = command->Execute(cancel.Event(), storeLock);
      if (status != 0) {
        HostLog(L"[Main] Command %i failed.\n", command->GetIndex());
        outcome.status = status;
        outcome.failedIndex = command->GetIndex();
        return outcome;
      }
    } else {
      HostLog(L"[Main] Command %i not required.\n", command->GetIndex());
    }
    int32_t nextIndex = command->GetNextIndex();
    if (nextIndex == 0 || (command->next < 0 && nextIndex > highest)) {
      HostLog(L"[Main] Reached end command.\n");
      return outcome;
    }
    int32_t from = command->GetIndex();
    at = Find(commands, at, nextIndex);
    command = at == commands.end() ? nullptr : at->second;
    if (command == nullptr) {
      HostLog(L"[Main] Next command %i not found, ending.\n", nextIndex);
      outcome.missingIndex = nextIndex;
      outcome.missingFrom = from;
      return outcome;
    }
  }
}
