// VltCommandLineParser: turns the command line into the variables the install
// reads. It searches the installer's own command line and its parent's, joined
// with no separator, as one text: a switch given to the process that started the
// installer counts like one of its own. Switches are case-sensitive substrings
// anywhere in that text, not parsed arguments.
//
//   /silent -> int_IsSilent, /update -> int_IsUpdate, /crash -> int_ForceFail
//   /aur    -> int_SendAur (only ever set to 1)
//   /path=<up to the next blank>  -> String_CmdLineInstallPath (one trailing
//                                    backslash removed), " " when absent
//   /lang=<the next five characters> -> String_CmdLineDefaultLanguage, " " when absent
#pragma once

#include "engine/InstallCommand.h"
#include "frontend/FrontendTexts.h"

class CVltCommandLineParserCommand : public CInstallCommand {
 public:
  static constexpr const wchar_t* kTag = frontendtext::kCommandLineTag;
  // No begin line, and never marked: the engine's "GetNextIndex called before
  // Execute" warning follows every run.
  static constexpr FrameStyle kFrame{kTag, kFrameNoBeginLine | kFrameNeverMarked};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  SELFFREE_DESTRUCTOR(CVltCommandLineParserCommand)
};
