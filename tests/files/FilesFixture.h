// Shared set-up of the file command tests: a fresh folder under %TEMP% for each
// test, removed with all it holds afterwards, and with it whatever the test left
// on the pending rename list.
#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/files/FileHelpers.h"
#include "tests/support/PluginFixture.h"

class FilesTest : public PluginTest {
 protected:
  void SetUp() override;
  void TearDown() override;
  // A String_ variable for [name] expansion.
  void SetString(const char* name, const std::wstring& value);
  void SetInt(const char* name, int64_t value);
  // folder_ + relative.
  std::wstring At(const std::wstring& relative) const { return folder_ + relative; }
  int32_t Run(CInstallCommand* command) { return command->Execute(INVALID_HANDLE_VALUE, &storeLock_); }
  // All lines logged so far, joined.
  std::wstring LogText();

  // The test's folder, with a trailing backslash.
  std::wstring folder_;
  // Files outside folder_ that the test made and that go at the end.
  std::vector<std::wstring> strays_;
  // Children are ended before the folder is removed.
  std::vector<std::unique_ptr<FileHolder>> holders_;
};
