#include "diagnostics/LoggerApi.h"

#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <shlobj.h>
#include <shlwapi.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <cwchar>
#include <utility>

#include "diagnostics/DiagnosticsTexts.h"
#include "diagnostics/LogTransform.h"
#include "engine/Bounded.h"

namespace {

const size_t kNameCapacity = 50;
const size_t kCopyBufferSize = 1000;

void AppendToLogFolder(wchar_t (&path)[MAX_PATH], const wchar_t* name) {
  path[0] = L'\0';
  SHGetSpecialFolderPathW(nullptr, path, CSIDL_COMMON_APPDATA, FALSE);
  PathAppendW(path, name);
}

FILE* OpenThreadStream(const wchar_t* path) {
  FILE* stream = _wfsopen(path, L"a+", _SH_DENYNO);
  // Text mode with UTF-8 translation: the C locale's text mode would stop at the
  // first character it cannot narrow and lose the rest of the line.
  if (stream != nullptr) _setmode(_fileno(stream), _O_U8TEXT);
  return stream;
}

}  // namespace

CLoggerApi::CLoggerApi() : startTime(static_cast<uint64_t>(_time64(nullptr))) { InitializeCriticalSection(&mapLock); }

CLoggerApi::~CLoggerApi() {
  wchar_t mergedPath[MAX_PATH];
  MergedFilePath(mergedPath);
  ScopedFile merged(_wfsopen(mergedPath, L"wb", _SH_DENYNO));
  ScopedNarrowText copy(static_cast<char*>(malloc(kCopyBufferSize)));
  for (auto& entry : streams) {
    if (!entry.second) continue;
    entry.second.Reset();
    wchar_t threadPath[MAX_PATH];
    ThreadFilePath(threadPath, entry.first);
    {
      // Closed before the delete below, which an open stream would make fail.
      ScopedFile part(_wfsopen(threadPath, L"rb", _SH_DENYNO));
      while (part && !feof(part.Get())) {
        size_t read = fread(copy.Get(), 1, kCopyBufferSize, part.Get());
        if (read == 0 && ferror(part.Get())) break;
        if (merged) fwrite(copy.Get(), 1, read, merged.Get());
      }
    }
    DeleteFileW(threadPath);
  }
  DeleteCriticalSection(&mapLock);
}

void CLoggerApi::ThreadFilePath(wchar_t (&path)[MAX_PATH], DWORD threadId) const {
  wchar_t name[kNameCapacity];
  BoundedFormat(name, kNameCapacity, diagtext::kThreadFileName, startTime, threadId);
  AppendToLogFolder(path, name);
}

void CLoggerApi::MergedFilePath(wchar_t (&path)[MAX_PATH]) const {
  wchar_t name[kNameCapacity];
  BoundedFormat(name, kNameCapacity, diagtext::kMergedFileName, startTime);
  AppendToLogFolder(path, name);
}

void CLoggerApi::StartThreadLog(const wchar_t* description, bool isMain) {
  DWORD threadId = GetCurrentThreadId();
  if (isMain) mainThreadId = threadId;
  wchar_t path[MAX_PATH];
  ThreadFilePath(path, threadId);
  ScopedFile stream(OpenThreadStream(path));
  EnterCriticalSection(&mapLock);
  // A thread already in the map keeps its entry, even a null one made by a Log
  // before it registered; the stream opened here then stays open and unused.
  auto placed = streams.emplace(threadId, ScopedFile());
  if (placed.second) {
    placed.first->second = std::move(stream);
  } else {
    stream.Release();
  }
  LeaveCriticalSection(&mapLock);

  SYSTEMTIME now;
  GetLocalTime(&now);
  LogLine(diagtext::kThreadStarted, threadId, description != nullptr ? description : diagtext::kNoDescription,
          static_cast<long>(now.wDay), static_cast<long>(now.wMonth), static_cast<long>(now.wYear));
}

void CLoggerApi::LogLine(const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  Log(format, args);
  va_end(args);
}

void CLoggerApi::SetLogKey(const char* key) {
  logKey.Reset();
  if (key == nullptr) return;
  logKey.Reset(_strdup(key));
  logKeyLength = strlen(key);
}

void CLoggerApi::Log(const wchar_t* format, va_list args) {
  va_list measure;
  va_copy(measure, args);
  int length = _vscwprintf(format, measure);
  va_end(measure);
  if (length < 0) return;
  ScopedText text(static_cast<wchar_t*>(calloc(length + 1, sizeof(wchar_t))));
  if (!text) return;
  if (vswprintf_s(text.Get(), length + 1, format, args) != length) return;
  ScopedText body(static_cast<wchar_t*>(calloc(length + 1, sizeof(wchar_t))));

  DWORD threadId = GetCurrentThreadId();
  EnterCriticalSection(&mapLock);
  FILE* stream = streams[threadId].Get();
  if (stream == nullptr) stream = streams[static_cast<DWORD>(mainThreadId)].Get();
  LeaveCriticalSection(&mapLock);

  // A message that formats to nothing would give the transform a negative count.
  if (!body || stream == nullptr || length == 0) return;
  // 2 * length - 2 bytes: the message's last character, by convention its "\n",
  // never reaches the file; the frame below supplies the line end.
  TransformLogText(text.Get(), 2 * static_cast<size_t>(length) - 2, logKey.Get(), logKeyLength, body.Get());
  SYSTEMTIME now;
  GetLocalTime(&now);
  fwprintf_s(stream, diagtext::kFileLine, static_cast<long>(now.wHour), static_cast<long>(now.wMinute),
             static_cast<long>(now.wSecond), static_cast<long>(now.wMilliseconds), body.Get());
  fflush(stream);
}
