#include "tests/files/FilesFixture.h"

#include "engine/SelfFree.h"
#include "host/VariableStore.h"

void FilesTest::SetUp() {
  PluginTest::SetUp();
  folder_ = NewTempFolder(L"files");
  // A run that stopped inside a test may have left the list as a value of no
  // data, which Wine's MoveFileExW then appends to wrongly.
  if (PendingRenames().empty()) SetPendingRenames({});
}

void FilesTest::TearDown() {
  holders_.clear();
  ForgetPendingRenames(folder_);
  for (const std::wstring& stray : strays_) {
    ForgetPendingRenames(stray);
    SetFileAttributesW(stray.c_str(), FILE_ATTRIBUTE_NORMAL);
    DeleteFileW(stray.c_str());
  }
  RemoveTree(folder_);
  PluginTest::TearDown();
}

void FilesTest::SetString(const char* name, const std::wstring& value) {
  VariableStore::Instance().Put(name, reinterpret_cast<StoreValue>(MakeString(value.c_str())));
}

void FilesTest::SetInt(const char* name, int64_t value) {
  VariableStore::Instance().Put(name, static_cast<StoreValue>(value));
}

std::wstring FilesTest::LogText() {
  std::wstring text;
  for (const std::wstring& line : log_->Lines()) text += line;
  return text;
}
