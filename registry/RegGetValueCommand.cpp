#include "registry/RegGetValueCommand.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <new>

#include "engine/interfaces/HostInterfaces.h"
#include "engine/Log.h"
#include "engine/SelfFree.h"
#include "engine/Store.h"
#include "registry/RegistryTexts.h"

namespace {

// Narrows text into *field, a new zeroed buffer of exactly as many bytes as the
// text has wide characters with its terminator. False when some character needs
// more than one byte in the ANSI code page: such a name cannot be a variable.
bool NarrowByteForChar(const wchar_t* text, char** field) {
  int length = static_cast<int>(wcslen(text)) + 1;
  *field = static_cast<char*>(calloc(length, 1));
  if (*field == nullptr) return false;
  return WideCharToMultiByte(CP_ACP, 0, text, -1, *field, length, nullptr, nullptr) == length;
}

// Room for the longest prefix, "MultiString_", with the terminator.
constexpr size_t kPrefixRoom = 14;

}  // namespace

CRegGetValueCommand::~CRegGetValueCommand() {
  free(valueName);
  valueName = nullptr;
  free(varName);
  varName = nullptr;
  free(varExistsName);
  varExistsName = nullptr;
}

int32_t CRegGetValueCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  int32_t status = ReadKeyAttributes(reader, nullptr);
  if (status != kStatusOk) return status;
  HRESULT hr = reader.ReadCopy(L"value", &valueName);
  if (hr != S_OK) return hr;
  wchar_t* text = nullptr;
  hr = reader.ReadText(L"var", &text);
  if (hr != S_OK) return hr;
  free(varName);
  if (!NarrowByteForChar(text, &varName)) return kStatusMissingAttribute;

  if (reader.ReadText(L"VarExists", &text) != S_OK) return kStatusOk;
  char* bare = nullptr;
  if (!NarrowByteForChar(text, &bare)) {
    free(bare);
    return kStatusMissingAttribute;
  }
  // The flag's name is printed through a wide %s (see Execute). The zeros behind
  // the name end that wide reading inside this buffer, whatever its length.
  size_t size = strlen(bare) + 1 + 4;
  free(varExistsName);
  varExistsName = static_cast<char*>(calloc(size + 3, 1));
  if (varExistsName != nullptr) snprintf(varExistsName, size, "int_%s", bare);
  free(bare);
  return kStatusOk;
}

char* CRegGetValueCommand::VariableName(const char* prefix) {
  size_t size = strlen(varName) + kPrefixRoom;
  char* name = static_cast<char*>(calloc(size, 1));
  if (name != nullptr) snprintf(name, size, "%s%s", prefix, varName);
  return name;
}

void CRegGetValueCommand::MarkExists() {
  if (varExistsName == nullptr) return;
  StorePut(varExistsName, 1);
  // The narrow name goes to the wide %s on purpose: these two lines have always
  // read that way, and log readers match them as they are.
  LogMessage(regtext::kVarExistsSet, index, kTag, reinterpret_cast<const wchar_t*>(varExistsName));
}

int32_t CRegGetValueCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  if (!EnterGuard(kTag)) return kStatusBusy;
  // Cleared before anything can fail, so that every failure below leaves it 0.
  if (varExistsName != nullptr) {
    StorePut(varExistsName, 0);
    LogMessage(regtext::kVarExistsCleared, index, kTag, reinterpret_cast<const wchar_t*>(varExistsName));
  }
  ExpandSubkey();
  LogMessage(regtext::kGetBegin, index, kTag, subkey, valueName, varName);
  HKEY key = nullptr;
  LONG opened = RegOpenKeyExW(root, subkey, 0, RegReadMask(X64Requested()), &key);
  if (opened != ERROR_SUCCESS) {
    LogMessage(regtext::kGetOpenFailed, index, kTag, subkey, opened);
  } else {
    ReadValue(key);
    RegCloseKey(key);
  }
  return FinishExecute(kTag, kStatusOk);
}

void CRegGetValueCommand::ReadValue(HKEY key) {
  DWORD type = 0;
  DWORD size = 0;
  if (RegQueryValueExW(key, valueName, nullptr, &type, nullptr, &size) != ERROR_SUCCESS) {
    LogMessage(regtext::kGetValueFailed, index, kTag, valueName, subkey);
    return;
  }
  switch (type) {
    case REG_DWORD: {
      DWORD number = 0;
      DWORD numberSize = sizeof(number);
      if (RegQueryValueExW(key, valueName, nullptr, &type, reinterpret_cast<BYTE*>(&number), &numberSize) !=
          ERROR_SUCCESS) {
        LogMessage(regtext::kGetValueFailed, index, kTag, valueName, subkey);
        return;
      }
      char* name = VariableName("int_");
      StorePut(name, number);
      LogMessage(regtext::kLoadedNumber, index, kTag, name, static_cast<int>(number));
      free(name);
      MarkExists();
      return;
    }
    case REG_SZ: {
      // Two zero bytes more than the data: a text stored without its terminator
      // (or with an odd size) still ends inside the buffer.
      BYTE* data = static_cast<BYTE*>(calloc(size + 3, 1));
      if (data == nullptr) return;
      if (RegQueryValueExW(key, valueName, nullptr, &type, data, &size) != ERROR_SUCCESS) {
        LogMessage(regtext::kGetValueFailed, index, kTag, valueName, subkey);
        free(data);
        return;
      }
      const wchar_t* text = reinterpret_cast<const wchar_t*>(data);
      char* name = VariableName("String_");
      StorePutObject(name, MakeString(text));
      LogMessage(regtext::kLoadedText, index, kTag, name, text);
      free(name);
      free(data);
      MarkExists();
      return;
    }
    case REG_MULTI_SZ:
      if (size == 0) break;
      {
        // Four zero bytes more than the data, so that the walk over the strings
        // ends inside the buffer even when the data lacks its closing terminators.
        BYTE* data = static_cast<BYTE*>(calloc(size + 5, 1));
        if (data == nullptr) return;
        if (RegQueryValueExW(key, valueName, nullptr, &type, data, &size) != ERROR_SUCCESS || size == 0) {
          // Changed or emptied since the first read: nothing is stored.
          free(data);
          return;
        }
        auto* lists = StoreGetObject<MultiStringApi>("SelfFree_MultiStringApi");
        MultiStringList* list = lists != nullptr ? lists->CreateList() : nullptr;
        if (list == nullptr) {
          char* name = VariableName("MultiString_");
          LogMessage(regtext::kNoListService, index, kTag, name);
          free(name);
          free(data);
          return;
        }
        char* name = VariableName("MultiString_");
        // An empty first string ends the list, as it ends REG_MULTI_SZ data.
        for (const wchar_t* item = reinterpret_cast<const wchar_t*>(data); *item != L'\0';
             item += wcslen(item) + 1) {
          list->AddString(item);
        }
        StorePutObject(name, list);
        free(name);
        // The data stays allocated: an engine's list may keep pointers into it
        // rather than copies.
        return;
      }
    case REG_BINARY:
      if (size == 0) break;
      {
        BYTE* data = static_cast<BYTE*>(calloc(size, 1));
        if (data == nullptr) return;
        if (RegQueryValueExW(key, valueName, nullptr, nullptr, data, &size) == ERROR_SUCCESS && size != 0) {
          char* name = VariableName("SelfFree_");
          StorePutObject(name, new (std::nothrow) CBuffer(data, size));
          free(name);
        }
        free(data);
        return;
      }
    default:
      break;
  }
  LogMessage(regtext::kUnsupportedType, index, kTag);
}
