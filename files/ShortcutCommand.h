// Shortcut: writes up to three shell links to one target, currentDir + file.
//
//   <Shortcut file="app.exe" currentDir="[InstallPath]" linkName="App.lnk" desktop="1" startMenu="1"
//             otherPath="[InstallPath]links" appName="Vendor.App" arguments="/start"/>
//
// - desktop: in String_CommonDesktopPath (which ends in a backslash);
// - startMenu: in String_CommonPrograms + the product name, created when missing;
// - otherPath: in that directory, which has to exist.
// The product name is String_ClearProductName when set, else String_ProductName.
// startMenuVar / desktopVar name int_ variables that, when given, replace the
// startMenu / desktop numbers (so an unset variable turns the link off).
// arguments is written as it stands, brackets and all. The link's working
// directory is currentDir, its icon the target's first one, and on Windows 8 and
// later (no int_IsWindowsXp, int_IsWindowsVista or int_IsWindows7 set to 1) it
// carries appName as its application id.
//
// Only the last link written decides the closing "created"/"Failed" line; every
// failure ends in the log and the command returns 0. A link that cannot be
// written because what it needs is missing (no target file, an unset folder or
// product variable) is not written and counts as failed; with no link asked for,
// the line says "created". The command is never marked executed, so GetNextIndex
// warns before its end line. Its lines are mirrored into the second log sink.
//
// COM: each link initialises COM on the calling thread for itself (and
// uninitialises only what it initialised). The link itself is written by
// WriteShellLink (files/ShellLink.h).
#pragma once

#include "engine/InstallCommand.h"
#include "files/FileTexts.h"
#include "files/ShellLink.h"

class CShortcutCommand : public CInstallCommand {
 public:
  // Guarded but never marked executed; the busy line names "Exec", and the frame
  // lines are mirrored.
  static constexpr FrameStyle kFrame{filetext::kShortcutTag, kFrameNeverMarked | kFrameMirrored,
                                     filetext::kShortcutGuardTag, filetext::kShortcutSite,
                                     filetext::kShortcutSiteWide};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  // Every attribute is optional.
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  ScopedText file;
  ScopedText linkName;
  ScopedText otherPath;
  ScopedText currentDir;
  ScopedText appName;
  ScopedText arguments;
  ScopedText startMenuVar;
  ScopedText desktopVar;
  int32_t desktop = 0;
  int32_t startMenu = 0;

  SELFFREE_DESTRUCTOR(CShortcutCommand)

 private:
  HRESULT DesktopLink();
  HRESULT MenuLink();
  HRESULT OtherLink();
  // currentDir + file into target (2048 characters); false without a file.
  bool BuildTarget(wchar_t* target);
  // Writes one link at linkPath to target, with arguments, currentDir as its
  // working folder, the target's first icon and appName as its application id;
  // COM is initialised for the link alone. The result of WriteShellLink.
  HRESULT CreateLink(const wchar_t* target, const wchar_t* linkPath, const wchar_t* description);
};
