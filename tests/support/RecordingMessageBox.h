// A message box provider for tests: records what it is asked, as
// "text|title|buttons|icon", answers 0, and counts its frees.
#pragma once

#include <string>

#include "engine/interfaces/MessageBoxProvider.h"
#include "tests/support/CaptureLogger.h"

class RecordingMessageBox : public IMessageBoxProvider {
 public:
  uint32_t ShowMessage(const wchar_t* text, const wchar_t* title, uint32_t buttons, uint32_t icon, uintptr_t,
                       uintptr_t) override {
    shown.push_back(std::wstring(text) + L"|" + title + L"|" + std::to_wstring(buttons) + L"|" + std::to_wstring(icon));
    return 0;
  }
  void SetDefaultParent(uintptr_t) override {}
  ~RecordingMessageBox() { ++freed; }
  SELFFREE_DESTRUCTOR(RecordingMessageBox)
  static inline int freed = 0;
  Lines shown;
};
