// The two start-up guards.
//
// ArchitectureCheck publishes int_x64, int_x86 and String_Arhitecture (the
// variable's spelling is its name) and refuses, with 1633, a 32-bit process on a
// 64-bit system when a force value is set; a 64-bit build never meets that case.
//
// ForceSingleInstance keeps a second installer from running beside the first
// through a "Local\" named event that the first one signals and holds for the life
// of the process. A second instance fails with int_ReturnCode 183 and status 1359,
// unless ignoreInstallerParent is 1 and its parent is a copy of the same
// installer.
#pragma once

#include "engine/InstallCommand.h"

class CArchitectureCheckCommand : public CInstallCommand {
 public:
  static constexpr const wchar_t* kTag = L"ArchitectureCheck";
  static constexpr FrameStyle kFrame{kTag};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  int32_t forceArchitecture = 0;
  ScopedNarrowText forceArchitectureVar;  // "int_" and the name, none when absent

  SELFFREE_DESTRUCTOR(CArchitectureCheckCommand)
};

class CForceSingleInstanceCommand : public CInstallCommand {
 public:
  static constexpr const wchar_t* kTag = L"ForceSingleInstance";
  static constexpr FrameStyle kFrame{kTag};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  ScopedText eventName;  // expanded in place at Execute
  bool ignoreInstallerParent = false;

  SELFFREE_DESTRUCTOR(CForceSingleInstanceCommand)
};

// Shows a message whose text and title come from the resource manager, by numeric
// id first and by key when the id gives nothing; error icon, OK button.
void ShowResourceMessage(uint32_t textId, const wchar_t* textKey, uint32_t titleId, const wchar_t* titleKey);
