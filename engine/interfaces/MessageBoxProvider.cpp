#include "engine/interfaces/MessageBoxProvider.h"

#include "engine/Store.h"
#include "engine/StoreNames.h"

uint32_t ShowStoredMessage(const wchar_t* text, const wchar_t* title, uint32_t buttons, uint32_t icon) {
  IMessageBoxProvider* provider = StoreGetObject<IMessageBoxProvider>(storename::kMessageBox);
  if (provider == nullptr) return 0;
  return provider->ShowMessage(text, title, buttons, icon, 0, 0);
}
