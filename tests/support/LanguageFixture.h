// Language tests' set-up: a folder per test under work\ (emptied once per run: scans keep their search
// handles open), served by the web server on 127.0.0.1, and the engine's downloader.
#pragma once

#include <windows.h>

#include <functional>
#include <string>

#include "diagnostics/MultiLanguageApi.h"
#include "engine/interfaces/ResourceManager.h"
#include "tests/support/PluginFixture.h"

// An XLIFF document with the xlf prefix around units (trans-unit elements).
std::string Xliff(const std::string& units);
// A language file around the language elements.
std::string LanguageFile(const std::string& languages);
// Runs work on a thread of its own and waits at most timeoutMs. A call that is
// still running then will never come back (the manager's waits have no limit),
// so the program stops with a message rather than free what the call uses.
void Bounded(const std::function<void()>& work, DWORD timeoutMs = 20000);

class LanguageTest : public PluginTest {
 protected:
  void SetUp() override;

  // lang\ and server\ of this test's folder, with trailing backslashes.
  std::wstring lang_;
  std::wstring server_;
  // The web address of server_, with a trailing slash; empty without a server.
  std::wstring serverUrl_;

  // Copies the demo's package of code (lang-en-US.exe, lang-de-DE.exe) into
  // folder, under name when given; with its checksum file if it has one.
  void CopyPackage(const wchar_t* code, const std::wstring& folder, const std::wstring& name = L"");
  IMultiLanguageApi* Languages();
  IResourceManager* Texts();
  std::wstring Text(const wchar_t* id);
  // Runs a command through the library and expects status 0.
  void RunElement(const std::wstring& elementXml);
};
