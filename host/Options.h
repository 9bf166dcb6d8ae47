// The reference engine's command line.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

struct HostOptions {
  std::wstring script;
  std::wstring plugin;  // empty: InstallCommands.dll beside Installer.exe
  std::vector<std::pair<std::wstring, std::wstring>> presets;  // /set:name=value
  bool trace = false;
  bool autoAnswer = false;  // /autoanswer[=<code>]
  uint32_t answer = 0;
  bool help = false;
  // After the walk, standing in for the front end's language dialog: list the
  // languages (waiting for the online list), select one, print the texts.
  bool listLanguages = false;
  std::wstring selectLanguage;
  bool printTexts = false;
  std::wstring langDll;  // resource module published as HMODULE_LangDll
  bool verifyDownloads = false;  // a download without a checksum at its source fails
  bool check = false;            // /check: load the script, report its problems, run nothing
  std::wstring resultPath;       // /result=<file.json>: written at the end of the run
  // The autopilot of the dialog: element ids to click in turn, the folder of the
  // pictures of its steps, and how long each click waits for its element.
  std::vector<std::wstring> autoClicks;  // /autoclick=<id>[,<id>...]
  std::wstring screens;                  // /screens=<folder>
  uint32_t autoClickSeconds = 60;        // /autoclick-timeout=<seconds>
};

// Parses the arguments after the program's name. Switches the engine does not know
// (/silent, /path=..., /lang=...) are left for the script's commands, which read the
// whole command line from String_CommandLine. False with error on a bad argument;
// what came before it is filled in all the same (the result file's path above all).
bool ParseOptions(const std::vector<std::wstring>& arguments, HostOptions* options, std::wstring* error);

extern const wchar_t kUsage[];
