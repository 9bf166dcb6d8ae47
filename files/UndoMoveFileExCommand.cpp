#include "files/UndoMoveFileExCommand.h"

#include <cstdlib>
#include <cwchar>

#include "engine/Expand.h"
#include "engine/Log.h"
#include "files/PathHelpers.h"

namespace {
// The "\??\" before every source of the list.
constexpr size_t kPrefixLength = 4;
// Bytes allocated beyond the value's size; see FilterPendingList.
constexpr size_t kSlack = 8;
}  // namespace

int32_t CUndoMoveFileExCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  reader.ReadCopy(L"path", path);
  return kStatusOk;
}

int64_t FilterPendingList(const wchar_t* list, size_t sizeBytes, const wchar_t* path, wchar_t* output) {
  const wchar_t* end = list + sizeBytes / sizeof(wchar_t);
  size_t kept = 0;  // characters
  const wchar_t* pair = list;
  while (pair < end && *pair != L'\0') {
    // Without a path there is nothing to compare with; the list is not touched.
    if (path == nullptr) return -1;
    size_t first = wcslen(pair) + 1;
    size_t second = wcslen(pair + first) + 1;
    // Only a hit right behind the prefix counts: the source begins with path.
    bool drop = first - 1 >= kPrefixLength && wcsstr(pair + kPrefixLength, path) == pair + kPrefixLength;
    if (!drop) {
      wmemcpy(output + kept, pair, first + second);
      kept += first + second;
    }
    pair += first + second;
  }
  if (kept == 0) return 0;
  output[kept] = L'\0';
  return static_cast<int64_t>((kept + 1) * sizeof(wchar_t));
}

int32_t CUndoMoveFileExCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  using namespace filetext;
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  // A path that cannot be expanded is compared as it stands.
  ExpandField(path, OnFailure::KeepText);
  LogMessage(kUndoBegin, index);

  ScopedKey key;
  LONG status = RegOpenKeyExW(HKEY_LOCAL_MACHINE, kSessionManagerKey, 0, KEY_ALL_ACCESS, key.Receive());
  if (status != ERROR_SUCCESS) {
    LogMessage(kUndoOpenFailed, index, kSessionManagerKey);
    return frame.Done();
  }
  DWORD size = 0;
  status = RegQueryValueExW(key.Get(), kPendingRenameValue, nullptr, nullptr, nullptr, &size);
  if (status != ERROR_SUCCESS || size == 0) {
    LogMessage(kUndoQueryFailed, index, kPendingRenameValue, kSessionManagerKey, status);
    return frame.Done();
  }
  // Zero bytes beyond what the value holds, so that a list that lacks its
  // terminators still ends, and room for the terminator the edit adds.
  ScopedText list(static_cast<wchar_t*>(calloc(size + kSlack, 1)));
  ScopedText output(static_cast<wchar_t*>(calloc(size + kSlack, 1)));
  if (!list || !output) return frame.Done();
  DWORD read = size;
  status = RegQueryValueExW(key.Get(), kPendingRenameValue, nullptr, nullptr, reinterpret_cast<BYTE*>(list.Get()),
                            &read);
  if (status != ERROR_SUCCESS || read == 0) {
    LogMessage(kUndoQueryFailed, index, kPendingRenameValue, kSessionManagerKey, status);
    return frame.Done();
  }
  int64_t kept = FilterPendingList(list.Get(), read, path.Get(), output.Get());
  if (kept < 0) return frame.Done();
  status = RegSetValueExW(key.Get(), kPendingRenameValue, 0, REG_MULTI_SZ, reinterpret_cast<BYTE*>(output.Get()),
                          static_cast<DWORD>(kept));
  if (status != ERROR_SUCCESS) LogMessage(kUndoSetFailed, index, kPendingRenameValue, kSessionManagerKey, status);
  return frame.Done();
}
