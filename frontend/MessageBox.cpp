#include "frontend/MessageBox.h"

#include <new>

#include "engine/Log.h"
#include "engine/Store.h"
#include "engine/StoreNames.h"

UINT MessageBoxType(uint32_t buttons, uint32_t icon) {
  UINT type = MB_OK;
  switch (buttons) {
    case kButtonsOkCancel: type = MB_OKCANCEL; break;
    case kButtonsRetryCancel: type = MB_RETRYCANCEL; break;
    case kButtonsYesNo: type = MB_YESNO; break;
    case kButtonsYesNoCancel: type = MB_YESNOCANCEL; break;
    case kButtonsAbortRetryIgnore: type = MB_ABORTRETRYIGNORE; break;
    case kButtonsCancelTryContinue: type = MB_CANCELTRYCONTINUE; break;
    default: type = MB_OK; break;
  }
  switch (icon) {
    case kIconInformation: return type | MB_ICONINFORMATION;
    case kIconWarning: return type | MB_ICONWARNING;
    case kIconError: return type | MB_ICONERROR;
    case kIconQuestion: return type | MB_ICONQUESTION;
    default: return type;
  }
}

uint32_t MessageBoxAnswer(int result) {
  // Retry and Try Again share 2, Ignore answers 8, and a failed call reads as OK.
  switch (result) {
    case IDCANCEL: return 1;
    case IDABORT: return 5;
    case IDRETRY: return 2;
    case IDIGNORE: return 8;
    case IDYES: return 3;
    case IDNO: return 4;
    case IDTRYAGAIN: return 2;
    case IDCONTINUE: return 6;
    default: return 0;  // OK, Close, Help, and a failed call
  }
}

uint32_t CVltMessageBox::ShowMessage(const wchar_t* text, const wchar_t* title, uint32_t buttons, uint32_t icon,
                                     uintptr_t, uintptr_t) {
  return MessageBoxAnswer(MessageBoxW(nullptr, text, title, MessageBoxType(buttons, icon)));
}

void CVltMessageBox::SetDefaultParent(uintptr_t) {}

int32_t CVltMessageBoxCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  reader.ReadNumber(L"defaultParentWindowId", &defaultParentWindowId);
  return kStatusOk;
}

int32_t CVltMessageBoxCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  SelfFreeRelease(StoreGetObject<CSelfFree>(storename::kMessageBox));
  StorePutObject(storename::kMessageBox, new (std::nothrow) CVltMessageBox());
  return frame.Done();
}
