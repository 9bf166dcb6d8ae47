// The UnRAR library, unrar64.dll, bound at run time from the plug-in's own folder.
//
// The plug-in loads without it: the library is looked for when an archive is
// first opened, and a missing library or export is a status for the caller to log
// and report, not a failed load of the plug-in.
//
// The structures are the library's published ones, declared here with their
// packed Win64 sizes checked, so that nothing of the library is needed to build
// the plug-in.
//
// The library keeps process-wide state (one global error handler, among others),
// so two threads must never be inside it at once. An UnrarSession holds it for one
// pass over an archive, from the open to the close. Lock order: a session comes
// before storeLock; nothing may wait for a session while holding storeLock.
#pragma once

#include <windows.h>

#include <cstdint>

#include "engine/ScopedHandle.h"

#pragma pack(push, 1)

struct RARHeaderDataEx {
  char ArcName[1024];
  wchar_t ArcNameW[1024];
  char FileName[1024];
  wchar_t FileNameW[1024];
  unsigned int Flags;
  unsigned int PackSize;
  unsigned int PackSizeHigh;
  unsigned int UnpSize;
  unsigned int UnpSizeHigh;
  unsigned int HostOS;
  unsigned int FileCRC;
  unsigned int FileTime;
  unsigned int UnpVer;
  unsigned int Method;
  unsigned int FileAttr;
  char* CmtBuf;
  unsigned int CmtBufSize;
  unsigned int CmtSize;
  unsigned int CmtState;
  unsigned int DictSize;
  unsigned int HashType;
  char Hash[32];
  unsigned int RedirType;
  wchar_t* RedirName;
  unsigned int RedirNameSize;
  unsigned int DirTarget;
  unsigned int MtimeLow;
  unsigned int MtimeHigh;
  unsigned int CtimeLow;
  unsigned int CtimeHigh;
  unsigned int AtimeLow;
  unsigned int AtimeHigh;
  unsigned int Reserved[988];
};

typedef int(CALLBACK* UNRARCALLBACK)(UINT msg, LPARAM UserData, LPARAM P1, LPARAM P2);

struct RAROpenArchiveDataEx {
  char* ArcName;
  wchar_t* ArcNameW;
  unsigned int OpenMode;
  unsigned int OpenResult;
  char* CmtBuf;
  unsigned int CmtBufSize;
  unsigned int CmtSize;
  unsigned int CmtState;
  unsigned int Flags;
  UNRARCALLBACK Callback;
  LPARAM UserData;
  unsigned int OpFlags;
  wchar_t* CmtBufW;
  unsigned int Reserved[25];
};

#pragma pack(pop)

static_assert(sizeof(RARHeaderDataEx) == 10244, "RARHeaderDataEx must keep the library's packed layout");
static_assert(sizeof(RAROpenArchiveDataEx) == 176, "RAROpenArchiveDataEx must keep the library's packed layout");

// Results of the library's calls.
constexpr int ERAR_SUCCESS = 0;
constexpr int ERAR_END_ARCHIVE = 10;
constexpr int ERAR_NO_MEMORY = 11;
constexpr int ERAR_BAD_DATA = 12;
constexpr int ERAR_BAD_ARCHIVE = 13;
constexpr int ERAR_UNKNOWN_FORMAT = 14;
constexpr int ERAR_EOPEN = 15;
constexpr int ERAR_ECREATE = 16;
constexpr int ERAR_ECLOSE = 17;
constexpr int ERAR_EREAD = 18;
constexpr int ERAR_EWRITE = 19;
constexpr int ERAR_SMALL_BUF = 20;
constexpr int ERAR_UNKNOWN = 21;
constexpr int ERAR_MISSING_PASSWORD = 22;

// Open modes and operations.
constexpr unsigned int RAR_OM_LIST = 0;
constexpr unsigned int RAR_OM_EXTRACT = 1;
constexpr int RAR_SKIP = 0;
constexpr int RAR_EXTRACT = 2;

// The size of the comment buffer every open passes.
constexpr unsigned int kUnrarCommentBufferSize = 16384;

// The calls the plug-in makes.
struct UnrarApi {
  HANDLE(WINAPI* RAROpenArchiveEx)(RAROpenArchiveDataEx* archiveData);
  int(WINAPI* RARCloseArchive)(HANDLE archive);
  int(WINAPI* RARReadHeaderEx)(HANDLE archive, RARHeaderDataEx* headerData);
  int(WINAPI* RARProcessFile)(HANDLE archive, int operation, char* destPath, char* destName);
  int(WINAPI* RARProcessFileW)(HANDLE archive, int operation, wchar_t* destPath, wchar_t* destName);
};

// The unpacked size of an entry, on 64 bits.
inline int64_t UnrarEntrySize(const RARHeaderDataEx& header) {
  return static_cast<int64_t>((static_cast<uint64_t>(header.UnpSizeHigh) << 32) | header.UnpSize);
}

// Exclusive use of the library for one pass over an archive. The constructor waits
// for any other session in the process to end and binds the library if it is not
// bound yet; a library that could not be bound is looked for again by the next
// session.
class UnrarSession {
 public:
  UnrarSession();
  ~UnrarSession();
  UnrarSession(const UnrarSession&) = delete;
  UnrarSession& operator=(const UnrarSession&) = delete;

  // 0 when the library is bound, otherwise the Windows error of the binding:
  // 126 (ERROR_MOD_NOT_FOUND) for a missing library, 127 (ERROR_PROC_NOT_FOUND) for
  // a missing export.
  DWORD Status() const { return status_; }
  // The calls; only valid when Status is 0.
  const UnrarApi& Api() const;
  // Where the library is looked for: unrar64.dll beside the plug-in. Set by the
  // first session and never changed after, so it may be read once a session has
  // ended.
  static const wchar_t* LibraryPath();

 private:
  DWORD status_;
};

// An open archive of the bound library, closed by RARCloseArchive. Only inside
// the UnrarSession that opened it: declare the session first, so that the archive
// is closed before the session ends.
struct RarArchiveTraits {
  typedef HANDLE Handle;
  static Handle Null() { return nullptr; }
  static bool IsValid(Handle archive) { return archive != nullptr; }
  static void Close(Handle archive);
};
typedef ScopedHandle<RarArchiveTraits> ScopedRarArchive;
