// IResourceManager: the installer's texts by id, loose files of the language
// folder, and icons of the resource modules. Published as
// SelfFree_ResourceManager. Callers that know a numeric id try GetStringById first
// and fall back on GetString with the text id, so that implementations with and
// without numeric tables can stand in for each other.
#pragma once

#include <windows.h>

#include <cstdint>

#include "engine/SelfFree.h"

typedef void (*StringCallback)(const wchar_t* id, void* context, int reserved);

class IResourceManager : public CSelfFree {
 public:
  // Slot 2. Scans folder for ".xlf" files and adds their texts. 0, or the error
  // of the failed folder search.
  virtual int32_t LoadFolder(const wchar_t* folder) = 0;
  virtual void Clear() = 0;  // slot 3
  // Slot 4. Copies the text of id into buffer (size characters); its length, 0
  // for an unknown id.
  virtual int32_t GetString(const wchar_t* id, wchar_t* buffer, int32_t size) = 0;
  // Slot 5. Less than 1 when the numeric id is not known.
  virtual int32_t GetStringById(uint32_t id, wchar_t* buffer, int32_t size) = 0;
  virtual void EnumerateStrings(StringCallback callback, void* context) = 0;  // slot 6
  // Slot 7. The bytes of a file: call with a null buffer for the size first.
  virtual bool GetFileResource(const wchar_t* name, const wchar_t* extension, void* buffer, uint32_t* size) = 0;
  virtual void GetResourceData() = 0;                      // slot 8: not implemented
  virtual bool GetIcon(const wchar_t* id, HICON* result) = 0;  // slot 9
};

// Numeric ids with the text ids they fall back on.
enum : uint32_t {
  kIdsSingleInstanceText = 10001,
  kIdsSingleInstanceTitle = 10002,
  kIdsWrongArchitectureText = 10003,
  kIdsWrongArchitectureTitle = 10004,
};
const uint16_t kInstallerIconId = 20004;
