// A resource manager for tests: texts by key, files by "name.type", and a
// record of every file asked for ("name|type", a numeric type as "#23").
#pragma once

#include <map>
#include <string>
#include <vector>

#include "engine/interfaces/ResourceManager.h"

class KeyedTexts : public IResourceManager {
 public:
  int32_t LoadFolder(const wchar_t*) override { return 0; }
  void Clear() override {}
  int32_t GetString(const wchar_t* id, wchar_t* buffer, int32_t size) override {
    wcscpy_s(buffer, size, texts[id].c_str());
    return static_cast<int32_t>(texts[id].size());
  }
  int32_t GetStringById(uint32_t, wchar_t*, int32_t) override { return 0; }
  void EnumerateStrings(StringCallback, void*) override {}
  bool GetFileResource(const wchar_t* name, const wchar_t* type, void* buffer, uint32_t* size) override {
    std::wstring kind = IS_INTRESOURCE(type) ? L"#" + std::to_wstring(reinterpret_cast<uintptr_t>(type)) : type;
    if (buffer == nullptr) asked.push_back(std::wstring(name) + L"|" + kind);
    auto found = files.find(std::wstring(name) + L"." + kind);
    if (found == files.end()) return false;
    if (buffer != nullptr) memcpy(buffer, found->second.data(), found->second.size());
    *size = static_cast<uint32_t>(found->second.size());
    return true;
  }
  void GetResourceData() override {}
  bool GetIcon(const wchar_t*, HICON*) override { return false; }
  SELFFREE_DESTRUCTOR(KeyedTexts)

  std::map<std::wstring, std::wstring> texts;
  std::map<std::wstring, std::string> files;
  std::vector<std::wstring> asked;
};
