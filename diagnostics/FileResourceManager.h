// CFileResourceManager: the installer's texts read from the XLIFF files of a
// folder tree, loose files of that folder, and icons of the resource modules the
// engine publishes (HMODULE_LangDll, HMODULE_AdditionalDll, HMODULE_CurrentDll,
// in that order, so a language module overrides the plug-in's icon).
//
// LoadFolder adds to what is there; Clear empties the texts and keeps the folder.
// That is how a language switch works: Clear, the language's package leaves its
// files in the folder, LoadFolder again.
//
// No lock: loads run on the thread that executes LocalizationManager or selects
// a language, and GetString changes the map for an unknown id, so lookups must
// not run at the same time as either.
#pragma once

#include <windows.h>

#include <map>
#include <string>

#include "engine/interfaces/ResourceManager.h"
#include "engine/ScopedHandle.h"
#include "engine/interfaces/ResourceManager.h"

class CFileResourceManager : public IResourceManager {
 public:
  CFileResourceManager() = default;

  int32_t LoadFolder(const wchar_t* folder) override;
  void Clear() override;
  int32_t GetString(const wchar_t* id, wchar_t* buffer, int32_t size) override;
  int32_t GetStringById(uint32_t id, wchar_t* buffer, int32_t size) override;
  void EnumerateStrings(StringCallback callback, void* context) override;
  bool GetFileResource(const wchar_t* name, const wchar_t* extension, void* buffer, uint32_t* size) override;
  void GetResourceData() override;
  bool GetIcon(const wchar_t* id, HICON* result) override;

  const wchar_t* Folder() const { return folder_.Get(); }

  SELFFREE_DESTRUCTOR(CFileResourceManager)

 private:
  int32_t ScanFolder(const wchar_t* folder);
  void LoadXliff(const wchar_t* path);

  // Keys compare by UTF-16 code unit, case-sensitively.
  std::map<std::wstring, std::wstring> texts_;
  ScopedText folder_;
};

// The text of GetResourceData's exception.
extern const char kNotImplementedText[];
