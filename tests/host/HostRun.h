// Runs the reference engine as users run it: Installer.exe as a child process
// with real scripts written to a per-test folder, its output and exit code read.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

struct RunResult {
  DWORD exitCode = 0;
  std::string err;
  std::string out;
};

// The folder of this test program, with a trailing backslash.
std::wstring TestFolder();
// The built engine: bin\ of the build tree, two levels above the test program.
std::wstring Installer();
// Runs the engine with arguments (a command line, quoted as needed), at most 30 s.
RunResult RunInstaller(const std::wstring& arguments);

bool Has(const std::string& text, const std::string& part);

// Gives each test a fresh folder under %TEMP%; Script writes a script there and
// returns its quoted path for the command line.
class HostRunTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;
  std::wstring Script(const std::string& body);

  std::wstring folder_;
  std::vector<std::wstring> files_;
};
