#include "files/UnrarCommand.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>
#include <vector>

#include "engine/Expand.h"
#include "engine/Log.h"
#include "engine/SelfFree.h"
#include "engine/Store.h"
#include "files/UnrarLibrary.h"

namespace {

// The command's log texts.
const wchar_t kExtracting[] = L"%i: %s Extracting: %s to %s.\n";
const wchar_t kSizeFailed[] = L"%i: %s FAILED getting unpacked size. errCode %i.\n";
const wchar_t kFileFailed[] = L"Error on current file: '%s' extracting from %s to %s\n";
const wchar_t kHeaderBroken[] = L"\n\tFile header broken\n";
const wchar_t kNoDestination[] = L"%i: %s No destination folder given; nothing extracted.\n";
const wchar_t kNoLibrary[] = L"%i: %s Could not load the UnRAR library %s. errCode %u.\n";
// The first pass reports a broken header on standard output, not in the log.
const char kHeaderBrokenOut[] = "\n\tFile header broken";

struct CodeText {
  int code;
  const wchar_t* text;
};

// Texts of a failed open; %s is the archive. Other codes log nothing.
const CodeText kOpenErrors[] = {
    {ERAR_NO_MEMORY, L"\n\tNot enough memory\n"},
    {ERAR_BAD_DATA, L"\n\t%s: archive header broken\n"},
    {ERAR_BAD_ARCHIVE, L"\n\t%s is not RAR archive\n"},
    {ERAR_EOPEN, L"\n\tCannot open %s\n"},
    {ERAR_UNKNOWN, L"\n\tUnknown error\n"},
};

// Texts of a file that failed to skip or extract. Other codes, ERAR_SMALL_BUF
// among them, log nothing.
const CodeText kProcessErrors[] = {
    {ERAR_BAD_DATA, L"\tCRC error\n"},
    {ERAR_BAD_ARCHIVE, L"\tBad volume\n"},
    {ERAR_UNKNOWN_FORMAT, L"\tUnknown archive format\n"},
    {ERAR_EOPEN, L"\tVolume open error\n"},
    {ERAR_ECREATE, L"\tFile create error\n"},
    {ERAR_ECLOSE, L"\tFile close error\n"},
    {ERAR_EREAD, L"\tRead error\n"},
    {ERAR_EWRITE, L"\tWrite error\n"},
    {ERAR_UNKNOWN, L"\tUnknown error\n"},
    {ERAR_MISSING_PASSWORD, L"\tPassword for encrypted file is not specified\n"},
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

// The expansion of text, or a copy of it as it stands when expansion fails (the
// reason is logged by the expansion).
wchar_t* ExpandedCopy(const wchar_t* text) {
  if (text == nullptr) return nullptr;
  wchar_t* expanded = nullptr;
  ExpandVariables(text, &expanded);
  return expanded != nullptr ? expanded : _wcsdup(text);
}

// An archive open for one pass, closed when the pass ends, the early end of a
// cancelled extraction included.
class OpenArchive {
 public:
  OpenArchive(const UnrarApi& api, wchar_t* archivePath, unsigned int mode, void* owner)
      : api_(api), comments_(kUnrarCommentBufferSize) {
    RAROpenArchiveDataEx data = {};
    data.ArcNameW = archivePath;
    data.OpenMode = mode;
    data.CmtBuf = comments_.data();
    data.CmtBufSize = kUnrarCommentBufferSize;
    data.Callback = nullptr;
    data.UserData = reinterpret_cast<LPARAM>(owner);
    handle_ = api_.RAROpenArchiveEx(&data);
    result_ = static_cast<int>(data.OpenResult);
  }
  ~OpenArchive() {
    if (handle_ != nullptr) api_.RARCloseArchive(handle_);
  }
  OpenArchive(const OpenArchive&) = delete;
  OpenArchive& operator=(const OpenArchive&) = delete;

  int Result() const { return result_; }
  HANDLE Handle() const { return handle_; }

 private:
  const UnrarApi& api_;
  std::vector<char> comments_;
  HANDLE handle_ = nullptr;
  int result_ = ERAR_SUCCESS;
};

}  // namespace

CUnrarCommand::~CUnrarCommand() {
  free(archive);
  archive = nullptr;
  free(destination);
  destination = nullptr;
  FreeProgressNames();
}

void CUnrarCommand::FreeProgressNames() {
  free(progressIntName);
  progressIntName = nullptr;
  free(progressTextName);
  progressTextName = nullptr;
}

int32_t CUnrarCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  HRESULT hr = reader.ReadCopy(L"archive", &archive);
  if (hr != S_OK) return hr;
  reader.ReadCopy(L"destination", &destination);
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
  FreeProgressNames();
  size_t length = wcslen(name);
  // Room for the longest prefix and more, as the names have always had.
  progressIntName = static_cast<char*>(calloc(length + 1 + 50, 1));
  progressTextName = static_cast<char*>(calloc(length + 1 + 50, 1));
  char narrow[260] = {};
  int converted = WideCharToMultiByte(CP_ACP, 0, name, -1, narrow, sizeof(narrow), nullptr, nullptr);
  // A name that does not convert one character to one byte, or does not fit, gives
  // no progress variables at all rather than wrong ones.
  if (progressIntName == nullptr || progressTextName == nullptr || converted != static_cast<int>(length + 1)) {
    FreeProgressNames();
    return;
  }
  strcpy(progressIntName, "int_");
  strcat(progressIntName, narrow);
  strcpy(progressTextName, "String_");
  strcat(progressTextName, narrow);
}

int32_t CUnrarCommand::Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) {
  if (!EnterGuard(kTag)) return kStatusBusy;
  LogBegin(kTag);
  wchar_t* archivePath = ExpandedCopy(archive);
  wchar_t* target = ExpandedCopy(destination);
  LogMessage(kExtracting, index, kTag, archivePath, target);

  if (refreshEnabled) {
    int32_t code = ERAR_SUCCESS;
    if (target == nullptr || *target == L'\0') {
      // Without a folder the library would extract into the process's current
      // folder, wherever that is; an unset variable in destination must not spill
      // a product there.
      LogMessage(kNoDestination, index, kTag);
      code = ERROR_INVALID_PARAMETER;
    } else {
      int64_t size = 0;
      code = GetUnpackedSize(archivePath, &size);
      if (code != ERAR_SUCCESS) {
        LogMessage(kSizeFailed, index, kTag, code);
      } else {
        code = ExtractArchive(archivePath, target, size, cancelHandle, storeLock);
      }
    }
    // A file that could not be created is not a failure of the command: the
    // extraction stops there and the script goes on as after a success.
    if (code != ERAR_SUCCESS && code != ERAR_ECREATE) {
      SetErrorVar();
      StorePut("int_ReturnCode", static_cast<StoreValue>(code));
    }
  }

  int32_t status = FinishExecute(kTag, kStatusOk);
  free(archivePath);
  free(target);
  return status;
}

int32_t CUnrarCommand::GetUnpackedSize(wchar_t* archivePath, int64_t* size) {
  *size = 0;
  UnrarSession session;
  if (session.Status() != ERROR_SUCCESS) {
    LogMessage(kNoLibrary, index, kTag, session.LibraryPath(), session.Status());
    return static_cast<int32_t>(session.Status());
  }
  const UnrarApi& api = session.Api();
  OpenArchive opened(api, archivePath, RAR_OM_LIST, this);
  if (opened.Result() != ERAR_SUCCESS) {
    LogOpenError(opened.Result(), archivePath);
    return opened.Result();
  }
  std::unique_ptr<RARHeaderDataEx> header(new RARHeaderDataEx());
  int headerCode;
  while ((headerCode = api.RARReadHeaderEx(opened.Handle(), header.get())) == ERAR_SUCCESS) {
    *size += UnrarEntrySize(*header);
    int code = api.RARProcessFile(opened.Handle(), RAR_SKIP, nullptr, nullptr);
    if (code != ERAR_SUCCESS) {
      LogProcessError(code);
      break;
    }
  }
  if (headerCode == ERAR_BAD_DATA) {
    fputs(kHeaderBrokenOut, stdout);
    fflush(stdout);
  }
  return ERAR_SUCCESS;
}

int32_t CUnrarCommand::ExtractArchive(wchar_t* archivePath, wchar_t* target, int64_t size, HANDLE cancelHandle,
                                      CRITICAL_SECTION* storeLock) {
  UnrarSession session;
  if (session.Status() != ERROR_SUCCESS) {
    LogMessage(kNoLibrary, index, kTag, session.LibraryPath(), session.Status());
    return static_cast<int32_t>(session.Status());
  }
  const UnrarApi& api = session.Api();
  OpenArchive opened(api, archivePath, RAR_OM_EXTRACT, this);
  if (opened.Result() != ERAR_SUCCESS) {
    LogOpenError(opened.Result(), archivePath);
    return opened.Result();
  }

  std::unique_ptr<RARHeaderDataEx> header(new RARHeaderDataEx());
  int64_t done = 0;
  SYSTEMTIME last = {};
  int32_t result = ERAR_SUCCESS;
  int headerCode;
  while ((headerCode = api.RARReadHeaderEx(opened.Handle(), header.get())) == ERAR_SUCCESS) {
    // Counted before the file is extracted: the percentage published after it
    // includes it.
    done += UnrarEntrySize(*header);
    int code = api.RARProcessFileW(opened.Handle(), RAR_EXTRACT, target, nullptr);
    if (code != ERAR_SUCCESS) {
      LogProcessError(code);
      LogMessage(kFileFailed, header->FileNameW, archivePath, target);
      result = code;
      break;
    }

    if (refreshEnabled) {
      // Only the second and millisecond of the clock count. When the minute turns
      // the difference goes negative and updates pause until the second passes
      // the old one: front ends are used to that pace, so it stays.
      SYSTEMTIME now;
      GetSystemTime(&now);
      int elapsed = (static_cast<int>(now.wSecond) - static_cast<int>(last.wSecond)) * 1000 +
                    static_cast<int>(now.wMilliseconds) - static_cast<int>(last.wMilliseconds);
      if (elapsed > refreshInterval) {
        PublishProgress(done, size, header->FileNameW, storeLock);
        last = now;
      }
    }

    // Files already extracted stay where they are. The archive is closed on the
    // way out, so a cancelled run does not keep it locked.
    if (cancelHandle != INVALID_HANDLE_VALUE && cancelHandle != nullptr &&
        WaitForSingleObject(cancelHandle, 0) == WAIT_OBJECT_0) {
      return ERROR_CANCELLED;
    }
  }
  if (headerCode == ERAR_BAD_DATA) {
    LogMessage(kHeaderBroken);
    result = ERAR_BAD_DATA;
  }
  // Any other end of the headers, ERAR_END_ARCHIVE above all, ends the pass as it
  // stands.
  return result;
}

void CUnrarCommand::PublishProgress(int64_t done, int64_t size, const wchar_t* fileName,
                                    CRITICAL_SECTION* storeLock) {
  // Without progressVar there is nothing to publish to, and an archive of empty
  // files has no percentage to give.
  if (progressIntName == nullptr || progressTextName == nullptr || size <= 0) return;
  int64_t percent = done * 100 / size;
  // The archive is read twice; one replaced between the passes must not show
  // more than all of it.
  if (percent > 100) percent = 100;
  if (percent < 0) percent = 0;

  if (storeLock != nullptr) EnterCriticalSection(storeLock);
  SelfFreeRelease(StoreGetObject<CSelfFree>(progressTextName));
  StorePut(progressIntName, static_cast<StoreValue>(percent));
  StorePutObject(progressTextName, MakeString(fileName));
  if (storeLock != nullptr) LeaveCriticalSection(storeLock);
}
