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
// before a single command runs, with a message naming the file, the element and
// its position.
#pragma once

#include <windows.h>

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "engine/interfaces/HostInterfaces.h"

struct LoadedScript {
  CommandMap* commands = nullptr;  // owned by the caller once loaded
  int32_t entry = 0;
  std::map<int32_t, std::wstring> elementNames;
  std::vector<std::pair<std::wstring, std::wstring>> variables;  // name, value
};

// COM must be initialised on the calling thread. On failure returns false, fills
// error, and releases every command made so far.
bool LoadScript(const std::wstring& path, HMODULE plugin, LoadedScript* script, std::wstring* error);

// The same from the text of a script; name stands for it in messages.
bool LoadScriptText(const std::wstring& text, const std::wstring& name, HMODULE plugin, LoadedScript* script,
                    std::wstring* error);

// Frees the commands and the map.
void FreeCommands(CommandMap* commands);
