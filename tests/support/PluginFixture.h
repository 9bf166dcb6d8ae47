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
#include "host/VariableStore.h"
#include "tests/support/CaptureLogger.h"
#include "tests/support/Kit.h"

// The real library, loaded once from beside the test program.
HMODULE Plugin();

// The attributes of one element written as XML, e.g. L"<Fork threadId='1'/>".
// The caller owns the returned reference. name receives the element's name.
IXMLDOMNamedNodeMap* ParseAttributes(const std::wstring& elementXml, std::wstring* name = nullptr);

// Creates the command of an element through the library's export and loads it.
CInstallCommand* CreateCommand(const std::wstring& elementXml, int32_t* loadStatus = nullptr);

// A name no other test or test run uses, for events, keys and variables.
std::wstring UniqueName(const wchar_t* stem);

// The store, as the engine's own code sees it.
void StoreText(const char* name, const std::wstring& value);
void StoreInt(const char* name, int64_t value);
StoreValue StoreRead(const char* name);
std::wstring TextOf(const char* name);  // "<absent>" when unset

// Publishes a fresh CaptureLogger, a decrypter and an empty command map; clears
// the store afterwards.
class PluginTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Creates, loads (expecting 0) and files a command in the map under its index;
  // one without an index gets a free one from 1000 on.
  CInstallCommand* Add(const std::wstring& elementXml);
  // Runs command->Execute with cancel_ on a fresh thread, at most timeoutMs; its
  // status. The thread's id is left in worker_. On a timeout cancel_ is
  // signalled and the test fails.
  int32_t Run(CInstallCommand* command, DWORD timeoutMs = 20000);
  // Starts command->Execute on a thread of its own and returns at once; its
  // status goes to status, when given, as it ends. The test ends only after the
  // thread has.
  HANDLE StartExecute(CInstallCommand* command, volatile int32_t* status = nullptr);

  CaptureLogger* log_ = nullptr;
  HANDLE cancel_ = nullptr;
  CommandMap* commands_ = nullptr;
  CRITICAL_SECTION storeLock_;
  DWORD worker_ = 0;

 private:
  std::vector<HANDLE> workers_;
};
