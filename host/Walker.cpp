#include "host/Walker.h"

#include "engine/InstallCommand.h"
#include "host/HostServices.h"

namespace {

// Unlike a forked chain, the engine looks commands up without inserting into the
// map, so the main walk never changes it.
CInstallCommand* Find(CommandMap& commands, int32_t index) {
  auto found = commands.find(index);
  return found == commands.end() ? nullptr : found->second;
}

}  // namespace

WalkOutcome WalkCommands(CommandMap& commands, int32_t entry, HANDLE cancelEvent, CRITICAL_SECTION* storeLock) {
  WalkOutcome outcome;
  CInstallCommand* command = Find(commands, entry);
  if (command == nullptr) {
    HostLog(L"[Main] Entry command with index %i not found, ending.\n", entry);
    outcome.missingIndex = entry;
    return outcome;
  }
  for (;;) {
    if (WaitForSingleObject(cancelEvent, 0) == WAIT_OBJECT_0) {
      HostLog(L"[Main] cancel handle was signaled. Exiting\n");
      outcome.cancelled = true;
      return outcome;
    }
    if (command->IsRequired()) {
      HostLog(L"[Main] Executing command %i.\n", command->GetIndex());
      int32_t status = command->Execute(cancelEvent, storeLock);
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
    if (nextIndex == 0) {
      HostLog(L"[Main] Reached end command.\n");
      return outcome;
    }
    command = Find(commands, nextIndex);
    if (command == nullptr) {
      HostLog(L"[Main] Next command %i not found, ending.\n", nextIndex);
      outcome.missingIndex = nextIndex;
      return outcome;
    }
  }
}
