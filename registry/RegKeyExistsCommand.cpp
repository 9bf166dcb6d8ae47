#include "registry/RegKeyExistsCommand.h"

#include <cstdlib>
#include <cwchar>

#include "engine/Log.h"
#include "engine/Store.h"
#include "registry/RegistryTexts.h"

namespace {
constexpr size_t kFlagNameCapacity = 100;
}  // namespace

CRegKeyExistsCommand::~CRegKeyExistsCommand() {
  free(variable);
  variable = nullptr;
}

int32_t CRegKeyExistsCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  int32_t status = ReadKeyAttributes(reader, nullptr);
  if (status != kStatusOk) return status;
  return reader.ReadCopy(L"variable", &variable);
}

int32_t CRegKeyExistsCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  if (!EnterGuard(kTag)) return kStatusBusy;
  ExpandSubkey();
  LogMessage(regtext::kExistsBegin, index, kTag, subkey);
  HKEY key = nullptr;
  if (RegOpenKeyExW(root, subkey, 0, RegReadMask(X64Requested()), &key) != ERROR_SUCCESS) {
    LogMessage(regtext::kExistsOpenFailed, index, kTag, subkey);
    return FinishExecute(kTag, kStatusOk);
  }
  LogMessage(regtext::kExistsOpened, index, kTag, subkey);
  wchar_t wideName[kFlagNameCapacity] = {};
  if (_snwprintf_s(wideName, kFlagNameCapacity, _TRUNCATE, L"int_%s", variable) < 0) FatalBufferOverflow();
  int length = static_cast<int>(wcslen(wideName)) + 1;
  char* name = static_cast<char*>(calloc(length, 1));
  // A name with a character that takes two bytes in the ANSI code page does not
  // convert at this length, and nothing is stored.
  if (name != nullptr && WideCharToMultiByte(CP_ACP, 0, wideName, -1, name, length, nullptr, nullptr) == length) {
    StorePut(name, 1);
  }
  free(name);
  RegCloseKey(key);
  return FinishExecute(kTag, kStatusOk);
}
