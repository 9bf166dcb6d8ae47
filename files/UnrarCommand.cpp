#include "files/UnrarCommand.h"

#include <cstdio>
#include <cwchar>

#include "engine/Expand.h"
#include "engine/Log.h"
#include "engine/SelfFree.h"
#include "engine/Store.h"
#include "engine/StoreNames.h"
#include "engine/VarName.h"
#include "files/RarExtraction.h"
#include "files/UnrarLibrary.h"

namespace {

// The progress names have always been narrowed into a buffer of this many bytes:
// a longer progressVar gives no progress variables.
constexpr size_t kProgressNameCapacity = 260;

struct CodeText {
  int code;
  const wchar_t* text;
};

// Texts of a failed open; %s is the archive. Other codes log nothing.
const CodeText kOpenErrors[] = {
    {ERAR_NO_MEMORY, filetext::kUnrarOpenNoMemory},     {ERAR_BAD_DATA, filetext::kUnrarOpenBadData},
    {ERAR_BAD_ARCHIVE, filetext::kUnrarOpenBadArchive}, {ERAR_EOPEN, filetext::kUnrarOpenFailed},
    {ERAR_UNKNOWN, filetext::kUnrarOpenUnknown},
};

// Texts of a file that failed to skip or extract. Other codes, ERAR_SMALL_BUF
// among them, log nothing.
const CodeText kProcessErrors[] = {
    {ERAR_BAD_DATA, filetext::kUnrarCrcError},        {ERAR_BAD_ARCHIVE, filetext::kUnrarBadVolume},
    {ERAR_UNKNOWN_FORMAT, filetext::kUnrarUnknownFormat}, {ERAR_EOPEN, filetext::kUnrarVolumeOpenError},
    {ERAR_ECREATE, filetext::kUnrarCreateError},      {ERAR_ECLOSE, filetext::kUnrarCloseError},
    {ERAR_EREAD, filetext::kUnrarReadError},          {ERAR_EWRITE, filetext::kUnrarWriteError},
    {ERAR_UNKNOWN, filetext::kUnrarUnknownError},     {ERAR_MISSING_PASSWORD, filetext::kUnrarNoPassword},
};

void LogOpenError(int code, const wchar_t* archivePath) {
  for (const CodeText& entry : kOpenErrors) {
    if (entry.code == code) LogMessage(entry.text, archivePath);
  }
}

void LogProcessError(int code) {
  for (const CodeText& entry : kProcessErrors) {
    if (entry.code == code) LogMessage(entry.text);
  }
}

}  // namespace

int32_t CUnrarCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  HRESULT hr = reader.ReadCopy(L"archive", archive);
  if (hr != S_OK) return hr;
  reader.ReadCopy(L"destination", destination);
  int32_t refresh = 0;
  if (reader.ReadNumber(L"refresh", &refresh) == S_OK) {
    if (refresh != 0) {
      refreshEnabled = true;
      refreshInterval = refresh;
      wchar_t* name = nullptr;
      if (reader.ReadText(L"progressVar", &name) == S_OK) SetProgressNames(name);
    } else {
      refreshEnabled = false;
    }
  }
  return kStatusOk;
}

void CUnrarCommand::SetProgressNames(const wchar_t* name) {
  progressIntName.Reset();
  progressTextName.Reset();
  // A name that does not narrow one character to one byte, or does not fit, gives
  // no progress variables at all rather than wrong ones.
  if (wcslen(name) + 1 > kProgressNameCapacity) return;
  VarName intName("int_", name, Narrowing::OneBytePerCharacter);
  VarName textName("String_", name, Narrowing::OneBytePerCharacter);
  if (!intName || !textName) return;
  progressIntName = std::move(intName);
  progressTextName = std::move(textName);
}

int32_t CUnrarCommand::Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  // A path that cannot be expanded is used as it stands; the library then
  // reports it.
  ScopedText archivePath = Expand(archive.Get(), OnFailure::KeepText);
  ScopedText target = Expand(destination.Get(), OnFailure::KeepText);
  LogMessage(filetext::kUnrarExtracting, index, kTag, archivePath.Get(), target.Get());

  if (refreshEnabled) {
    int32_t code = Unpack(archivePath.Get(), target.Get(), cancelHandle, storeLock);
    // A file that could not be created is not a failure of the command: the
    // extraction stops there and the script goes on as after a success.
    if (code != ERAR_SUCCESS && code != ERAR_ECREATE) {
      SetErrorVar();
      StorePut(storename::kReturnCode, static_cast<StoreValue>(code));
    }
  }
  return frame.Done();
}

int32_t CUnrarCommand::Unpack(const wchar_t* archivePath, const wchar_t* target, HANDLE cancelHandle,
                              CRITICAL_SECTION* storeLock) {
  using namespace filetext;
  if (target == nullptr || *target == L'\0') {
    // Without a folder the library would extract into the process's current
    // folder, wherever that is; an unset variable in destination must not spill
    // a product there.
    LogMessage(kUnrarNoDestination, index, kTag);
    return ERROR_INVALID_PARAMETER;
  }

  RarPass sum = SumRarArchive(archivePath);
  switch (sum.stop) {
    case RarStop::kLibrary:
      LogMessage(kUnrarNoLibrary, index, kTag, UnrarSession::LibraryPath(), static_cast<unsigned>(sum.code));
      LogMessage(kUnrarSizeFailed, index, kTag, sum.code);
      return sum.code;
    case RarStop::kOpen:
      LogOpenError(sum.code, archivePath);
      LogMessage(kUnrarSizeFailed, index, kTag, sum.code);
      return sum.code;
    // The first pass only counts: an entry it cannot skip or a broken header ends
    // the count, and the second pass meets them again.
    case RarStop::kEntry:
      LogProcessError(sum.code);
      break;
    case RarStop::kBrokenHeader:
      fputs(kUnrarHeaderBrokenOut, stdout);
      fflush(stdout);
      break;
    default:
      break;
  }

  const int64_t size = sum.bytes;
  SYSTEMTIME last = {};
  RarPass extraction = ExtractRarArchive(archivePath, target, cancelHandle, [&](const wchar_t* entry, int64_t done) {
    // Only the second and millisecond of the clock count. When the minute turns
    // the difference goes negative and updates pause until the second passes
    // the old one: front ends are used to that pace, so it stays.
    SYSTEMTIME now;
    GetSystemTime(&now);
    int elapsed = (static_cast<int>(now.wSecond) - static_cast<int>(last.wSecond)) * 1000 +
                  static_cast<int>(now.wMilliseconds) - static_cast<int>(last.wMilliseconds);
    if (elapsed > refreshInterval) {
      PublishProgress(done, size, entry, storeLock);
      last = now;
    }
  });
  switch (extraction.stop) {
    case RarStop::kLibrary:
      LogMessage(kUnrarNoLibrary, index, kTag, UnrarSession::LibraryPath(), static_cast<unsigned>(extraction.code));
      break;
    case RarStop::kOpen:
      LogOpenError(extraction.code, archivePath);
      break;
    case RarStop::kEntry:
      LogProcessError(extraction.code);
      LogMessage(kUnrarFileFailed, extraction.entry.c_str(), archivePath, target);
      break;
    case RarStop::kBrokenHeader:
      LogMessage(kUnrarHeaderBroken);
      break;
    default:
      // Files already extracted before a cancel stay where they are.
      break;
  }
  return extraction.code;
}

void CUnrarCommand::PublishProgress(int64_t done, int64_t size, const wchar_t* fileName,
                                    CRITICAL_SECTION* storeLock) {
  // Without progressVar there is nothing to publish to, and an archive of empty
  // files has no percentage to give.
  if (!progressIntName || !progressTextName || size <= 0) return;
  int64_t percent = done * 100 / size;
  // The archive is read twice; one replaced between the passes must not show
  // more than all of it.
  if (percent > 100) percent = 100;
  if (percent < 0) percent = 0;

  if (storeLock != nullptr) EnterCriticalSection(storeLock);
  SelfFreeRelease(StoreGetObject<CSelfFree>(progressTextName.Get()));
  StorePut(progressIntName.Get(), static_cast<StoreValue>(percent));
  StorePutObject(progressTextName.Get(), MakeString(fileName));
  if (storeLock != nullptr) LeaveCriticalSection(storeLock);
}
