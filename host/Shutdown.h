// The end of a run: forked chains are waited for, and the store's values are
// released by the prefix of their names.
#pragma once

#include <windows.h>

#include <set>

#include "engine/SelfFree.h"

// Signals the cancel event of every forked chain.
void CancelForkedChains();

// Waits until every forked chain that was started has ended. A chain still running
// when the main walk is over is named on standard error, so a missing Join shows.
void WaitForForkedChains();

// Releases what the store owns, so that services finish their work (the logger
// merges its files when freed): thread records through their own release routine,
// the commands, events, texts and lists, then the SelfFree_ services, with the
// error collector and the logger last so that the others can still log. A value
// stored under two names is released once. extraOwned lists objects of the
// engine's that may or may not still be in the store; they are released too,
// once.
void ReleaseStore(const std::set<CSelfFree*>& extraOwned);
