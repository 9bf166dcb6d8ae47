// The download records and the downloader's interface, shared by the plug-in
// and the engine that publishes the downloader as SelfFree_DownloaderApi. Both
// sides include this one header, so the layout is declared once.
//
// The language manager asks for a file with AddFile: a CFileInfo names the file,
// the folder it goes to and the place it comes from, and links a CFileSizeInfo.
// The downloader fetches "<location>/<fileName>" (an http:// or https:// address,
// or a local or UNC folder) to "<localFolder>\<fileName>" on a thread of its own,
// writes the status under the size info's lock, and then sets the record's
// ready event. Waiters wait on that event without a time limit, so a downloader
// must set it for every file it accepted, also when the transfer fails.
#pragma once

#include <windows.h>

#include <cstdint>

#include "engine/ScopedHandle.h"
#include "engine/SelfFree.h"
#include "engine/interfaces/WinapiInterface.h"

// Statuses of a download. 2 and, for a package, 5 count as success.
enum : uint32_t {
  kDownloadQueued = 0,
  kDownloadRunning = 1,
  kDownloadArrived = 2,      // the file is complete in its local folder
  kDownloadFailed = 3,       // no such file (HTTP 404 and the like), no connection, cannot write
  kDownloadBadChecksum = 4,  // arrived, but its MD5 differs from the "<fileName>.md5" served beside it
  kDownloadKept = 5,         // not fetched: a non-empty local copy exists and replaceExisting was 0
};

// The progress of one download. The language manager only reads status; the
// other fields are the downloader's.
class CFileSizeInfo : public CSelfFree {
 public:
  CFileSizeInfo();
  ~CFileSizeInfo();

  // status under statusLock.
  uint32_t ReadStatus();
  void WriteStatus(uint32_t value);

  uint64_t bytesDone = 0;   // bytes that have arrived
  uint64_t bytesTotal = 0;  // the file's full size, once the source told it
  uint32_t percent = 0;     // bytesDone of bytesTotal, 0 to 100
  ScopedKernelHandle progressEvent;  // auto-reset; set after each step of progress
  uint8_t sizeUnknown = 1;  // 1 until bytesTotal is known
  uint32_t status = kDownloadQueued;
  CRITICAL_SECTION statusLock;  // guards status (and the progress fields)
  CWinapiInterface* platform;
  uint8_t ownsPlatform = 1;

  SELFFREE_DESTRUCTOR(CFileSizeInfo)
};

// The request record of one download.
class CFileInfo : public CSelfFree {
 public:
  CFileInfo();
  ~CFileInfo();

  // A new record with the same request: the ready event's handle is taken over
  // (the clone's own is closed), the flags other than ownsPlatform, the size info
  // link and copies of the texts. Null for a null source.
  static CFileInfo* CloneOf(const CFileInfo* source);

  // Sets fileName and, with it, checksumFileName "<name>.md5".
  void SetFileName(const wchar_t* name);
  void SetLocation(const wchar_t* text);
  void SetLocalFolder(const wchar_t* text);

  CFileSizeInfo* sizeInfo = nullptr;  // not owned
  CWinapiInterface* platform;
  uint8_t replaceExisting = 0;  // 1: fetch even when a non-empty local copy exists
  uint8_t verifyChecksum = 0;   // 1: check the file against "<fileName>.md5" when the source has one
  uint8_t reserved = 0;
  uint8_t ownsPlatform = 1;
  uint8_t reserved2 = 0;
  // Manual reset. Never closed by the record: a clone may hold the same handle.
  HANDLE readyEvent;
  ScopedText fileName;
  ScopedText location;
  ScopedText extra;  // never set by this system
  ScopedText localFolder;
  ScopedText checksumFileName;

  SELFFREE_DESTRUCTOR(CFileInfo)
};

// The object under SelfFree_DownloaderApi.
class IDownloaderApi : public CSelfFree {
 public:
  // Slot 2. Accepts a copy of file and starts fetching it; *result receives the
  // downloader's own record, which stays the downloader's and shares file's ready
  // event and size info. start is always true. False (and *result null) when
  // the request could not be taken.
  virtual bool AddFile(CFileInfo* file, CFileInfo** result, bool start) = 0;
};
