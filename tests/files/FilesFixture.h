// File tests' set-up: a fresh folder under %TEMP% per test, known as [Work], removed with its pending renames.
#pragma once

#include <memory>

#include "tests/support/PluginFixture.h"

class FilesTest : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    StoreText("String_Work", folder_);
    // A run that stopped inside a test may have left the list as a value of no
    // data, which Wine's MoveFileExW then appends to wrongly.
    if (PendingRenames().empty()) SetPendingRenames({});
  }
  void TearDown() override {
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
  std::wstring At(const std::wstring& relative) const { return folder_ + relative; }
  std::wstring LogText() {
    std::wstring text;
    for (const std::wstring& line : log_->Since()) text += line;
    return text;
  }

  std::wstring folder_ = NewTempFolder(L"files");
  std::vector<std::wstring> strays_;  // files outside folder_ the test made
  std::vector<std::unique_ptr<FileHolder>> holders_;
};
