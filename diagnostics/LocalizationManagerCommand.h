// LocalizationManager: builds the file resource manager over localeFolder and
// publishes it as SelfFree_ResourceManager, freeing any manager published
// before (the engine's own included).
//
//   <LocalizationManager localeFolder="[ApplicationPath]lang"/>
//
// localeFolder is required and expanded at Execute. A folder that cannot be read
// leaves the manager empty: every text then reads as empty.
#pragma once

#include "diagnostics/DiagnosticsTexts.h"
#include "engine/InstallCommand.h"

class CLocalizationManagerCommand : public CInstallCommand {
 public:
  static constexpr const wchar_t* kTag = diagtext::kLocalizationManagerTag;
  static constexpr FrameStyle kFrame{kTag};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  ScopedText localeFolder;

  SELFFREE_DESTRUCTOR(CLocalizationManagerCommand)
};
