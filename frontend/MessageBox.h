// The standard message box provider and the command that installs it.
#pragma once

#include <windows.h>

#include <cstdint>

#include "engine/InstallCommand.h"
#include "engine/SelfFree.h"
#include "engine/interfaces/MessageBoxProvider.h"
#include "frontend/FrontendTexts.h"
#include "engine/interfaces/MessageBoxProvider.h"

// The MessageBoxW type for the installer's button and icon codes.
UINT MessageBoxType(uint32_t buttons, uint32_t icon);
// The installer's answer for a MessageBoxW result; 0 for a failed call.
uint32_t MessageBoxAnswer(int result);

// The standard provider: MessageBoxW without an owner. It blocks its thread until
// the user answers.
class CVltMessageBox : public IMessageBoxProvider {
 public:
  uint32_t ShowMessage(const wchar_t* text, const wchar_t* title, uint32_t buttons, uint32_t icon, uintptr_t owner,
                       uintptr_t reserved) override;
  void SetDefaultParent(uintptr_t window) override;

  SELFFREE_DESTRUCTOR(CVltMessageBox)
};

// VltMessageBox: frees the provider it finds under MessageBox and stores a new
// CVltMessageBox. defaultParentWindowId is accepted and has no effect.
class CVltMessageBoxCommand : public CInstallCommand {
 public:
  static constexpr const wchar_t* kTag = frontendtext::kMessageBoxTag;
  static constexpr FrameStyle kFrame{kTag};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  int32_t defaultParentWindowId = 0;

  SELFFREE_DESTRUCTOR(CVltMessageBoxCommand)
};
