// The progress protocol's two script commands. UpdateProgress publishes a
// percentage, SetError declares the install failed with a reason. Each
// publication happens under storeLock, the variables first and then
// HANDLE_InstallProgressEv, so a reader woken by the event sees all of it.
//
// Neither reads the common attributes (index and next come from the engine), and
// neither marks itself executed, so every run is followed by the engine's
// "GetNextIndex called before Execute" warning.
#pragma once

#include "engine/InstallCommand.h"
#include "frontend/FrontendTexts.h"

// No begin line, and never marked (see above).
constexpr unsigned kProgressFrameFlags = kFrameNoBeginLine | kFrameNeverMarked;

class CVltUpdateProgressCommand : public CInstallCommand {
 public:
  static constexpr const wchar_t* kTag = frontendtext::kUpdateProgressTag;
  static constexpr FrameStyle kFrame{kTag, kProgressFrameFlags};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  int32_t progress = 0;

  SELFFREE_DESTRUCTOR(CVltUpdateProgressCommand)
};

class CVltSetErrorCommand : public CInstallCommand {
 public:
  static constexpr const wchar_t* kTag = frontendtext::kSetErrorTag;
  static constexpr FrameStyle kFrame{kTag, kProgressFrameFlags};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  ScopedText reason;
  bool reasonIsResource = false;

  SELFFREE_DESTRUCTOR(CVltSetErrorCommand)
};

// The progress publisher every front end command shares.

// Takes storeLock, stores percent as int_InstallProgressPercent, signals the
// progress event when there is one, and releases the lock.
void PublishProgress(CRITICAL_SECTION* storeLock, int32_t percent, HANDLE progressEvent);

// When the reason that PublishFailure replaces is freed. Readers that copy the
// text under storeLock see no difference; the two orders are kept as the
// commands have always had them.
enum class OldReason { FreedAfter, FreedFirst };

// Replaces String_InstallFailReason with a copy of reason, sets
// int_InstallFailed and -1 as the percentage, and signals the progress event.
// The caller holds storeLock.
void PublishFailure(const wchar_t* reason, HANDLE progressEvent, OldReason old = OldReason::FreedAfter);
