#include "registry/RegKeyExistsCommand.h"

#include <cwchar>

#include "engine/Bounded.h"
#include "engine/Log.h"
#include "engine/Store.h"
#include "engine/VarName.h"
#include "registry/RegistryTexts.h"

namespace {
// The flag's full name, "int_" and the variable, with its terminator.
constexpr size_t kFlagNameCapacity = 100;
constexpr size_t kFlagPrefixLength = 4;
}  // namespace

int32_t CRegKeyExistsCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  int32_t status = ReadKeyAttributes(reader, nullptr);
  if (status != kStatusOk) return status;
  return reader.ReadCopy(L"variable", variable);
}

int32_t CRegKeyExistsCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  ExpandSubkey();
  LogMessage(regtext::kExistsBegin, index, kTag, subkey.Get());
  ScopedKey key;
  if (RegOpenKeyExW(root, subkey.Get(), 0, RegReadMask(X64Requested()), key.Receive()) != ERROR_SUCCESS) {
    LogMessage(regtext::kExistsOpenFailed, index, kTag, subkey.Get());
    return frame.Done();
  }
  LogMessage(regtext::kExistsOpened, index, kTag, subkey.Get());
  // The name has always been made in a fixed buffer: one that does not fit is an
  // overrun, which ends the process.
  if (kFlagPrefixLength + wcslen(variable.Get()) >= kFlagNameCapacity) FailFastOverrun();
  // A name with a character that takes two bytes in the ANSI code page is no
  // variable, and nothing is stored.
  VarName name("int_", variable.Get(), Narrowing::OneBytePerCharacter);
  if (name) StorePut(name.Get(), 1);
  return frame.Done();
}
