// The engine's variable store: one flat map from a narrow name to a 64-bit value,
// exported from Installer.exe as Get and Put for the plug-in.
//
// Any thread may call Get and Put. Names are copied, so callers may free their
// buffer right after Put. A null name reads as absent and is never stored. A value
// of 0 and an absent name are the same thing, so Put of 0 removes the entry. The
// store never releases what Put overwrites: each writer decides that.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

typedef uint64_t StoreValue;

class VariableStore {
 public:
  static VariableStore& Instance();

  StoreValue Get(const char* name);
  void Put(const char* name, StoreValue value);
  // The entries whose names start with prefix, in name order.
  std::vector<std::pair<std::string, StoreValue>> Entries(const char* prefix);
  // Forgets every entry without releasing anything.
  void Clear();
  // Passes every value Put under name through filter first, 0 included. An empty
  // filter removes it.
  void SetPutFilter(const std::string& name, std::function<StoreValue(StoreValue)> filter);

 private:
  VariableStore();
  SRWLOCK lock_;
  std::map<std::string, StoreValue> values_;
  std::map<std::string, std::function<StoreValue(StoreValue)>> filters_;
};

extern "C" {
__declspec(dllexport) StoreValue Get(const char* name);
__declspec(dllexport) void Put(const char* name, StoreValue value);
}
