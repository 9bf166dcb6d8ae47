// Reads an install script and creates its commands through the plug-in's
// factories.
//
//   <install>
//     <variables>                      optional: store presets
//       <variable name="String_InstallPath" value="C:\Product\"/>
//     </variables>
//     <commands entry="1">             entry optional: the first command's index
//       <CreateEvent index="1" eventVar="Done" manualReset="1"/>
//       ...
//     </commands>
//   </install>
//
// Element <Name> is made by the export GetC<Name>Command and loaded with its
// attributes. A command without an index gets its position (1 for the first), so
// that a plain list of elements runs top to bottom. Anything wrong stops the load
// before a single command runs, with a message naming the file, the line and
// column, the element and its position. Loading and releasing cost the same per
// command however long the script is.
#pragma once

#include <windows.h>

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "engine/interfaces/HostInterfaces.h"
#include "host/XmlScan.h"

// Where a command comes from, for messages and the result file.
struct CommandSource {
  std::wstring element;
  TextPosition at;
};

// One problem of a script, as the checker reports it.
struct Finding {
  bool error = true;  // false: a warning
  TextPosition at;
  std::wstring element;  // empty for the file as a whole
  std::wstring text;
};

// What the checker learns of each element of <commands>, loaded or not.
struct ElementRecord {
  std::wstring element;
  TextPosition at;
  bool loaded = false;  // made by its factory and loaded
  int32_t index = 0;    // once loaded
  int32_t next = -1;    // the next attribute as loaded; negative: index + 1
  std::vector<std::pair<std::wstring, std::wstring>> attributes;  // as written, in order
  std::vector<std::wstring> asked;                                // the names Load asked for
};

struct LoadedScript {
  CommandMap* commands = nullptr;  // owned by the caller once loaded
  int32_t entry = 0;
  TextPosition entryAt;  // the <commands> element
  std::map<int32_t, CommandSource> sources;
  std::vector<std::pair<std::wstring, std::wstring>> variables;  // name, value
  std::vector<ElementRecord> records;  // only when checking
};

// Checking instead of running: every problem becomes a finding and loading goes
// on, so that one pass reports them all; the records are kept.
struct LoadCheck {
  std::vector<Finding> findings;
};

// COM must be initialised on the calling thread. On failure returns false, fills
// error, and releases every command made so far. With check, problems go to it
// instead, and the result is false only when there is no document to look at.
bool LoadScript(const std::wstring& path, HMODULE plugin, LoadedScript* script, std::wstring* error,
                LoadCheck* check = nullptr);

// The same from the text of a script; name stands for it in messages.
bool LoadScriptText(const std::wstring& text, const std::wstring& name, HMODULE plugin, LoadedScript* script,
                    std::wstring* error, LoadCheck* check = nullptr);

// Frees the commands and the map.
void FreeCommands(CommandMap* commands);
