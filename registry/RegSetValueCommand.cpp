#include "registry/RegSetValueCommand.h"

#include <cwchar>
#include <new>

#include "engine/Log.h"
#include "engine/Store.h"
#include "engine/VarName.h"
#include "registry/RegistryTexts.h"

namespace {
// The longest variable name, with its terminator, in bytes.
constexpr size_t kNameBufferBytes = 260;
}  // namespace

bool CRegSetValueCommand::ReadVarName(AttributeReader& reader, const wchar_t* attribute, const char* prefix,
                                      ScopedNarrowText& field) {
  wchar_t* text = nullptr;
  if (reader.ReadText(attribute, &text) != S_OK) return true;
  // Every character must take one byte, and the name must fit the buffer it has
  // always been converted in; a name that does not is no variable, and the
  // element is taken as read so far.
  field.Reset();
  if (wcslen(text) + 1 > kNameBufferBytes) return false;
  field = VarName(prefix, text, Narrowing::OneBytePerCharacter);
  return static_cast<bool>(field);
}

int32_t CRegSetValueCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  int32_t status = ReadKeyAttributes(reader, &allUsers);
  if (status != kStatusOk) return status;
  HRESULT hr = reader.ReadCopy(L"value", valueName);
  if (hr != S_OK) return hr;
  reader.ReadCopy(L"stringValue", stringValue);
  if (!ReadVarName(reader, L"dwordVar", "int_", dwordVarName)) return kStatusOk;
  int32_t number = 0;
  if (reader.ReadNumber(L"dwordValue", &number) == S_OK) {
    dwordValue = static_cast<uint32_t>(number);
    hasDwordValue = true;
  }
  if (!ReadVarName(reader, L"binaryVar", "SelfFree_", binaryVarName)) return kStatusOk;
  if (reader.ReadNumber(L"forceMultiSz", &number) == S_OK) forceMultiSz = number != 0;
  if (!ReadVarName(reader, L"multiStringVar", "MultiString_", multiStringVarName)) return kStatusOk;
  reader.ReadNumber(L"win32ProcToX64Regs", &win32ProcToX64Regs);
  return kStatusOk;
}

CRegSetValueCommand::Data CRegSetValueCommand::ChooseData() {
  Data data;
  if (stringValue) {
    // A text that does not expand is logged as it stands, and the type of the
    // last run stays: on a first run nothing is written.
    bool expanded = false;
    ExpandField(stringValue, OnFailure::KeepText, &expanded);
    if (expanded) valueKind = forceMultiSz ? REG_MULTI_SZ : REG_SZ;
    LogMessage(regtext::kSetStringBegin, index, kTag, subkey.Get(), valueName.Get(), stringValue.Get());
  } else if (dwordVarName) {
    data.number = static_cast<uint32_t>(StoreGet(dwordVarName.Get()));
    valueKind = REG_DWORD;
    LogMessage(regtext::kSetNumberVarBegin, index, kTag, subkey.Get(), valueName.Get(), dwordVarName.Get(),
               static_cast<int>(data.number));
  } else if (hasDwordValue) {
    data.number = dwordValue;
    valueKind = REG_DWORD;
    LogMessage(regtext::kSetNumberBegin, index, kTag, subkey.Get(), valueName.Get(), static_cast<int>(data.number));
  } else if (multiStringVarName || forceMultiSz) {
    // forceMultiSz alone names no list: there is nothing to fetch.
    multiString = multiStringVarName ? StoreGetObject<MultiStringList>(multiStringVarName.Get()) : nullptr;
    valueKind = REG_MULTI_SZ;
    LogMessage(regtext::kSetMultiBegin, index, kTag, subkey.Get(), valueName.Get());
  } else if (binaryVarName) {
    data.binary = StoreGetObject<CBuffer>(binaryVarName.Get());
    if (data.binary == nullptr) {
      // The script gets a value all the same, and the buffer stays in the store
      // for whoever reads the variable next.
      uint8_t zero = 0;
      data.binary = new (std::nothrow) CBuffer(&zero, 1);
      StorePutObject(binaryVarName.Get(), data.binary);
    }
    valueKind = REG_BINARY;
    LogMessage(regtext::kSetBinaryBegin, index, kTag, subkey.Get(), valueName.Get());
  }
  return data;
}

void CRegSetValueCommand::SetValue(HKEY key, DWORD type, const void* bytes, DWORD size) {
  if (RegSetValueExW(key, valueName.Get(), 0, type, static_cast<const BYTE*>(bytes), size) != ERROR_SUCCESS) {
    LogMessage(regtext::kSetValueFailed, index, kTag, valueName.Get(), subkey.Get());
  }
}

void CRegSetValueCommand::WriteValue(HKEY key, const Data& data, bool allUsersPath) {
  switch (valueKind) {
    case REG_SZ:
      SetValue(key, REG_SZ, stringValue.Get(), static_cast<DWORD>((wcslen(stringValue.Get()) + 1) * sizeof(wchar_t)));
      return;
    case REG_BINARY:
      if (data.binary != nullptr) SetValue(key, REG_BINARY, data.binary->data, static_cast<DWORD>(data.binary->size));
      return;
    case REG_DWORD:
      SetValue(key, REG_DWORD, &data.number, sizeof(data.number));
      return;
    case REG_MULTI_SZ:
      break;
    default:
      return;
  }
  if (multiString != nullptr) {
    wchar_t* flat = multiString->GetBuffer();
    SetValue(key, REG_MULTI_SZ, flat, static_cast<DWORD>(multiString->GetLength()) * sizeof(wchar_t));
    multiString->ReleaseBuffer();
    return;
  }
  // No list: the string is written as REG_MULTI_SZ, with the size of a REG_SZ
  // (one terminator, not the two of a list), which is what forceMultiSz with
  // stringValue has always produced. The two paths differ on purpose: ALL_USERS
  // writes the string in any case, a named base only under forceMultiSz.
  if (allUsersPath) {
    LogMessage(regtext::kSetNullListAllUsers);
  } else {
    LogMessage(regtext::kSetNullListNamed);
    if (!forceMultiSz) return;
    LogMessage(regtext::kSetForceMultiSz);
  }
  // Without a string (a list variable that is missing, or forceMultiSz alone)
  // there is nothing to write.
  if (!stringValue) return;
  SetValue(key, REG_MULTI_SZ, stringValue.Get(),
           static_cast<DWORD>((wcslen(stringValue.Get()) + 1) * sizeof(wchar_t)));
}

void CRegSetValueCommand::CreateAndWrite(HKEY parent, REGSAM mask, const Data& data, bool allUsersPath) {
  ScopedKey key;
  LONG created = RegCreateKeyExW(parent, subkey.Get(), 0, nullptr, REG_OPTION_NON_VOLATILE, mask, nullptr,
                                 key.Receive(), nullptr);
  if (created != ERROR_SUCCESS) {
    LogMessage(regtext::kSetCreateFailed, index, kTag, subkey.Get(), created);
    return;
  }
  WriteValue(key.Get(), data, allUsersPath);
}

int32_t CRegSetValueCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  ExpandSubkey();
  ExpandField(valueName, OnFailure::KeepText);
  Data data = ChooseData();
  if (!allUsers) {
    // A named base asks for the 64-bit view only when the script says both that
    // the system is 64-bit and that this value belongs in that view.
    CreateAndWrite(root, RegWriteMask(X64Requested() && win32ProcToX64Regs != 0), data, false);
  } else {
    WalkOpenedHives(kTag, regtext::kSetHiveRoot, [&](ScopedKey& hive) {
      CreateAndWrite(hive.Get(), RegWriteMask(X64Requested()), data, true);
      // The hive's handle is never closed: one stays open per hive and run until
      // the process ends, as it always has.
      hive.Release();
    });
  }
  return frame.Done();
}
