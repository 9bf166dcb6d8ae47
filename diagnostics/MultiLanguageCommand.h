// MultiLanguage (logged as "Multilanguage"): builds the language manager once and publishes it as
// SelfFree_MultiLanguageApi, applies the cloud language list, flags
// int_MultiLanguageAvailable when more than one language is on offer, and
// selects the language in String_DefaultLanguage.
//
//   <MultiLanguage langDir="[ApplicationPath]lang" configFile="languages.xml"
//                  onlineConfigLocation="http://example.com/lang/"/>
//
// langDir and configFile are required; onlineConfigLocation is the folder the
// downloader fetches "<configFile>.online" and the packages of languages known
// only online from. A second MultiLanguage command reuses the manager.
//
// It never marks itself executed, so its GetNextIndex logs the warning of a
// command that did not run: that line is part of its trace.
#pragma once

#include "diagnostics/DiagnosticsTexts.h"
#include "engine/InstallCommand.h"

class CMultiLanguageCommand : public CInstallCommand {
 public:
  static constexpr const wchar_t* kTag = diagtext::kMultiLanguageTag;
  static constexpr FrameStyle kFrame{kTag, kFrameNeverMarked};  // see above

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  ScopedText langDir;
  ScopedText configFile;
  ScopedText onlineConfigLocation;

  SELFFREE_DESTRUCTOR(CMultiLanguageCommand)
};
