// The engine's list service, published as SelfFree_MultiStringApi. Registry reads
// fill lists with it, registry writes take their flat REG_MULTI_SZ form, and the
// language manager reads them by index.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "engine/interfaces/HostInterfaces.h"

class CMultiStringList : public MultiStringList {
 public:
  CMultiStringList();
  ~CMultiStringList();

  const wchar_t* GetItem(int32_t index) override;
  void AddString(const wchar_t* text) override;
  void SetItem(int32_t index, const wchar_t* text) override;
  void RemoveItem(int32_t index) override;
  void Clear() override;
  int32_t IndexOf(const wchar_t* text) override;
  int32_t GetCount() override;
  int32_t GetLength() override;
  wchar_t* GetBuffer() override;
  void ReleaseBuffer() override;

  SELFFREE_DESTRUCTOR(CMultiStringList)

 private:
  bool InRange(int32_t index) const { return index >= 0 && static_cast<size_t>(index) < items_.size(); }
  CRITICAL_SECTION lock_;
  std::vector<std::wstring> items_;
  std::vector<wchar_t> flat_;
};

class CMultiStringApi : public MultiStringApi {
 public:
  MultiStringList* CreateList() override;

  SELFFREE_DESTRUCTOR(CMultiStringApi)
};
