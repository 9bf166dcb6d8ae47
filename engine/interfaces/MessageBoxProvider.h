// Asking and telling the user. Commands never call MessageBoxW themselves: they
// take the provider stored under the variable MessageBox, so a run without a
// desktop can store one that answers by itself. Shared with the engine.
#pragma once

#include <cstdint>

#include "engine/SelfFree.h"

// The installer's button, icon and answer codes.
enum : uint32_t {
  kButtonsOk = 0,
  kButtonsOkCancel = 1,
  kButtonsRetryCancel = 2,
  kButtonsYesNo = 3,
  kButtonsYesNoCancel = 4,
  kButtonsAbortRetryIgnore = 5,
  kButtonsCancelTryContinue = 6,
};
enum : uint32_t { kIconInformation = 0, kIconWarning = 1, kIconError = 2, kIconNone = 3, kIconQuestion = 4 };

class IMessageBoxProvider : public CSelfFree {
 public:
  // Slot 2. Shows text and title; owner and reserved are 0 or a window handle
  // and 0. Returns the installer's answer code.
  virtual uint32_t ShowMessage(const wchar_t* text, const wchar_t* title, uint32_t buttons, uint32_t icon,
                               uintptr_t owner, uintptr_t reserved) = 0;
  virtual void SetDefaultParent(uintptr_t window) = 0;  // slot 3
};

// Shows a message through the stored provider, if there is one; 0 otherwise.
uint32_t ShowStoredMessage(const wchar_t* text, const wchar_t* title, uint32_t buttons, uint32_t icon);
