#include "registry/RegGetValueCommand.h"

#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <new>
#include <string>

#include "engine/interfaces/HostInterfaces.h"
#include "engine/Log.h"
#include "engine/SelfFree.h"
#include "engine/Store.h"
#include "engine/StoreNames.h"
#include "engine/VarName.h"
#include "registry/RegistryTexts.h"

namespace {

// The value's data, read into a zeroed heap buffer.
typedef ScopedHandle<HeapTextTraits<BYTE>> ScopedBytes;

// The flag's narrow name as the wide %s of the two VarExists lines reads it: its
// bytes taken two by two as one character, up to the first zero character (an
// odd last byte pairs with the terminator).
std::wstring AsWideRead(const char* narrow) {
  size_t bytes = strlen(narrow);
  std::wstring wide((bytes + 1) / 2, L'\0');
  memcpy(&wide[0], narrow, bytes);
  return wide;
}

}  // namespace

int32_t CRegGetValueCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  int32_t status = ReadKeyAttributes(reader, nullptr);
  if (status != kStatusOk) return status;
  HRESULT hr = reader.ReadCopy(L"value", valueName);
  if (hr != S_OK) return hr;
  wchar_t* text = nullptr;
  hr = reader.ReadText(L"var", &text);
  if (hr != S_OK) return hr;
  // A name with a character that needs more than one byte in the ANSI code page
  // cannot be a variable.
  varName = VarName(text, Narrowing::OneBytePerCharacter);
  if (!varName) return kStatusMissingAttribute;

  if (reader.ReadText(L"VarExists", &text) != S_OK) return kStatusOk;
  varExistsName = VarName("int_", text, Narrowing::OneBytePerCharacter);
  if (!varExistsName) return kStatusMissingAttribute;
  return kStatusOk;
}

void CRegGetValueCommand::MarkExists() {
  if (!varExistsName) return;
  StorePut(varExistsName.Get(), 1);
  // The narrow name goes to the wide %s on purpose: these two lines have always
  // read that way, and log readers match them as they are.
  LogMessage(regtext::kVarExistsSet, index, kTag, AsWideRead(varExistsName.Get()).c_str());
}

int32_t CRegGetValueCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  // Cleared before anything can fail, so that every failure below leaves it 0.
  if (varExistsName) {
    StorePut(varExistsName.Get(), 0);
    LogMessage(regtext::kVarExistsCleared, index, kTag, AsWideRead(varExistsName.Get()).c_str());
  }
  ExpandSubkey();
  LogMessage(regtext::kGetBegin, index, kTag, subkey.Get(), valueName.Get(), varName.Get());
  ScopedKey key;
  LONG opened = RegOpenKeyExW(root, subkey.Get(), 0, RegReadMask(X64Requested()), key.Receive());
  if (opened != ERROR_SUCCESS) {
    LogMessage(regtext::kGetOpenFailed, index, kTag, subkey.Get(), opened);
  } else {
    ReadValue(key.Get());
  }
  return frame.Done();
}

void CRegGetValueCommand::ReadValue(HKEY key) {
  DWORD type = 0;
  DWORD size = 0;
  if (RegQueryValueExW(key, valueName.Get(), nullptr, &type, nullptr, &size) != ERROR_SUCCESS) {
    LogMessage(regtext::kGetValueFailed, index, kTag, valueName.Get(), subkey.Get());
    return;
  }
  switch (type) {
    case REG_DWORD: {
      DWORD number = 0;
      DWORD numberSize = sizeof(number);
      if (RegQueryValueExW(key, valueName.Get(), nullptr, &type, reinterpret_cast<BYTE*>(&number), &numberSize) !=
          ERROR_SUCCESS) {
        LogMessage(regtext::kGetValueFailed, index, kTag, valueName.Get(), subkey.Get());
        return;
      }
      VarName name("int_", varName.Get());
      StorePut(name.Get(), number);
      LogMessage(regtext::kLoadedNumber, index, kTag, name.Get(), static_cast<int>(number));
      MarkExists();
      return;
    }
    case REG_SZ: {
      // Two zero bytes more than the data: a text stored without its terminator
      // (or with an odd size) still ends inside the buffer.
      ScopedBytes data(static_cast<BYTE*>(calloc(size + 3, 1)));
      if (!data) return;
      if (RegQueryValueExW(key, valueName.Get(), nullptr, &type, data.Get(), &size) != ERROR_SUCCESS) {
        LogMessage(regtext::kGetValueFailed, index, kTag, valueName.Get(), subkey.Get());
        return;
      }
      const wchar_t* text = reinterpret_cast<const wchar_t*>(data.Get());
      VarName name("String_", varName.Get());
      StorePutObject(name.Get(), MakeString(text));
      LogMessage(regtext::kLoadedText, index, kTag, name.Get(), text);
      MarkExists();
      return;
    }
    case REG_MULTI_SZ:
      if (size == 0) break;
      {
        // Four zero bytes more than the data, so that the walk over the strings
        // ends inside the buffer even when the data lacks its closing terminators.
        ScopedBytes data(static_cast<BYTE*>(calloc(size + 5, 1)));
        if (!data) return;
        if (RegQueryValueExW(key, valueName.Get(), nullptr, &type, data.Get(), &size) != ERROR_SUCCESS || size == 0) {
          // Changed or emptied since the first read: nothing is stored.
          return;
        }
        auto* lists = StoreGetObject<MultiStringApi>(storename::kMultiStringApi);
        MultiStringList* list = lists != nullptr ? lists->CreateList() : nullptr;
        VarName name("MultiString_", varName.Get());
        if (list == nullptr) {
          LogMessage(regtext::kNoListService, index, kTag, name.Get());
          return;
        }
        // An empty first string ends the list, as it ends REG_MULTI_SZ data.
        for (const wchar_t* item = reinterpret_cast<const wchar_t*>(data.Get()); *item != L'\0';
             item += wcslen(item) + 1) {
          list->AddString(item);
        }
        StorePutObject(name.Get(), list);
        // The data stays allocated: an engine's list may keep pointers into it
        // rather than copies.
        data.Release();
        return;
      }
    case REG_BINARY:
      if (size == 0) break;
      {
        ScopedBytes data(static_cast<BYTE*>(calloc(size, 1)));
        if (!data) return;
        if (RegQueryValueExW(key, valueName.Get(), nullptr, nullptr, data.Get(), &size) == ERROR_SUCCESS && size != 0) {
          VarName name("SelfFree_", varName.Get());
          StorePutObject(name.Get(), new (std::nothrow) CBuffer(data.Get(), size));
        }
        return;
      }
    default:
      break;
  }
  LogMessage(regtext::kUnsupportedType, index, kTag);
}
