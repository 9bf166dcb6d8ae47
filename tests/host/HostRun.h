// Runs Installer.exe as users run it, with scripts in a per-test folder: exit codes and system state, not log lines.
#pragma once

#include "tests/support/Kit.h"

// bin\ of the build tree, two levels above the test program.
std::wstring BinFolder();
// Runs the engine with arguments (a command line, quoted as needed), at most 30 s.
ProcessResult RunInstaller(const std::wstring& arguments);
bool Has(const std::string& text, const std::string& part);

// Gives each test a fresh folder under %TEMP%, removed afterwards.
class HostRunTest : public ::testing::Test {
 protected:
  void TearDown() override { RemoveTree(folder_); }
  // Writes a script into the folder; its quoted path for the command line.
  std::wstring Script(const std::string& body);

  std::wstring folder_ = NewTempFolder(L"hostrun");
  int scripts_ = 0;
};
