// The engine's downloader, published as SelfFree_DownloaderApi.
//
// Each accepted file is fetched on a thread of its own: from an http:// or
// https:// location through WinHTTP, or from a local or UNC folder by copy. The
// address is the location joined with the file name ("<location>/<name>"); the
// file lands in its local folder through a ".download" file that replaces it only
// when complete, so a failed transfer never leaves half a file under the name.
// Only a bare file name is fetched: a name with a path, a drive, a stream, dots
// or a device name would land outside the local folder, and is refused (3)
// before any byte moves. With verifyChecksum set, "<name>.md5" is looked for
// beside the file; when the source has one, it is kept as the record's checksum
// file and the file must match it. A downloader made to require checksums checks
// every file, and one whose source has no checksum fails (4). A file that fails
// its check is removed, so that nothing unverified stays under its name. Then the status goes into the size info under its lock (2 arrived,
// 3 failed - an HTTP status other than 200 included -, 4 wrong checksum, 5 kept
// a non-empty local copy because replaceExisting was 0), and the ready event is
// set, for every accepted file, also on failure and when the engine shuts down
// during a transfer.
//
// Freeing the downloader stops the transfers between two blocks and waits for
// their threads; WinHTTP's time-outs bound a stalled connection.
#pragma once

#include <windows.h>
#include <winhttp.h>

#include <memory>
#include <string>
#include <vector>

#include "engine/ScopedHandle.h"
#include "engine/interfaces/Downloads.h"

// WinHTTP's handles: the session, and a transfer's connection and request.
typedef ScopedHandle<InternetHandleTraits<WinHttpCloseHandle>> ScopedInternetHandle;

class CDownloaderApi : public IDownloaderApi {
 public:
  // requireChecksum: every file needs a matching "<name>.md5" at its source.
  explicit CDownloaderApi(bool requireChecksum = false);
  ~CDownloaderApi();

  bool AddFile(CFileInfo* file, CFileInfo** result, bool start) override;

  SELFFREE_DESTRUCTOR(CDownloaderApi)

 private:
  // The thread goes before the record it works on.
  struct Transfer {
    CDownloaderApi* owner;
    ScopedSelfFree<CFileInfo> record;
    ScopedKernelHandle thread;
  };
  static DWORD WINAPI Run(LPVOID parameter);
  uint32_t Fetch(CFileInfo* record);
  // Fetches the checksum of the file that arrived at target and compares.
  uint32_t Verify(CFileInfo* record, const std::wstring& source, const std::wstring& target);
  // Fetches source (an address or a path) into path; false with the reason.
  bool Get(const std::wstring& source, const std::wstring& path, CFileSizeInfo* progress, std::wstring* failure,
           bool* missing);
  bool GetHttp(const std::wstring& url, const std::wstring& path, CFileSizeInfo* progress, std::wstring* failure,
               bool* missing);

  const bool requireChecksum_;
  CRITICAL_SECTION lock_;
  ScopedKernelHandle stop_;
  ScopedInternetHandle session_;
  std::vector<std::unique_ptr<Transfer>> transfers_;
};

// The address or path of name at location: "<location>/<name>" for web
// addresses, with name percent-encoded, and "<location>\<name>" for folders.
std::wstring DownloadSource(const std::wstring& location, const std::wstring& name);
