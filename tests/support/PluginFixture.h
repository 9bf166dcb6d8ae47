// Shared set-up for tests that host the plug-in. The test program is itself named
// Installer.exe and exports Get and Put from the engine's real store, so the
// library binds to it exactly as it binds to the engine.
#pragma once

#include <windows.h>
#include <msxml2.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine/interfaces/HostInterfaces.h"
#include "engine/InstallCommand.h"
#include "tests/support/CaptureLogger.h"

// The real library, loaded once from beside the test program.
HMODULE Plugin();

// The attributes of one element written as XML, e.g. L"<Fork threadId='1'/>".
// The caller owns the returned reference. name receives the element's name.
IXMLDOMNamedNodeMap* ParseAttributes(const std::wstring& elementXml, std::wstring* name = nullptr);

// Creates the command of an element through the library's export and loads it.
// loadStatus receives Load's result.
CInstallCommand* CreateCommand(const std::wstring& elementXml, int32_t* loadStatus = nullptr);

// A name no other test or test run uses, for events and variables.
std::wstring UniqueName(const wchar_t* stem);

// Publishes a fresh CaptureLogger, a decrypter and an empty command map; clears
// the store afterwards.
class PluginTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Creates, loads and files a command in the map under its index.
  CInstallCommand* Add(const std::wstring& elementXml);

  // Runs command->Execute on a thread of its own with cancel_ as its cancel
  // handle, and waits at most timeoutMs. On a timeout cancel_ is signalled, so a
  // command that waits wrongly is released before the test ends.
  bool ExecuteOnThread(CInstallCommand* command, int32_t* status = nullptr, DWORD timeoutMs = 5000);
  // Starts command->Execute on a thread of its own and returns at once. The test
  // ends only after the thread has.
  HANDLE StartExecute(CInstallCommand* command);

  CaptureLogger* log_ = nullptr;
  HANDLE cancel_ = nullptr;
  CommandMap* commands_ = nullptr;
  CRITICAL_SECTION storeLock_;

 private:
  std::vector<HANDLE> workers_;
};
