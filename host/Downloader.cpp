#include "host/Downloader.h"

#include <wincrypt.h>

#include <cctype>
#include <cstdio>
#include <cwctype>

#include "engine/FileNames.h"
#include "engine/ScopedHandle.h"
#include "host/HostServices.h"

namespace {

const DWORD kBlock = 64 * 1024;

bool IsWebAddress(const std::wstring& location) {
  return _wcsnicmp(location.c_str(), L"http://", 7) == 0 || _wcsnicmp(location.c_str(), L"https://", 8) == 0;
}

bool IsLoopback(const std::wstring& host) {
  return _wcsicmp(host.c_str(), L"localhost") == 0 || host.compare(0, 4, L"127.") == 0 || host == L"[::1]" ||
         host == L"::1";
}

std::wstring PercentEncode(const std::wstring& name) {
  std::string utf8 = Utf8(name);
  std::wstring encoded;
  for (unsigned char c : utf8) {
    if (isalnum(c) || c == '-' || c == '.' || c == '_' || c == '~') {
      encoded.push_back(static_cast<wchar_t>(c));
    } else {
      wchar_t escape[4];
      swprintf_s(escape, 4, L"%%%02X", c);
      encoded += escape;
    }
  }
  return encoded;
}

bool FileSize(const std::wstring& path, uint64_t* size) {
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) return false;
  if (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) return false;
  *size = (static_cast<uint64_t>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
  return true;
}

// The MD5 of a file as 32 lower-case hex digits; empty when it cannot be read.
std::wstring FileMd5(const std::wstring& path) {
  std::wstring digest;
  ScopedCryptContext provider;
  if (!CryptAcquireContextW(provider.Receive(), nullptr, nullptr, PROV_RSA_FULL, CRYPT_VERIFYCONTEXT)) return digest;
  ScopedKernelHandle file(
      CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
  // Declared after the provider: the hash is destroyed before its context.
  ScopedCryptHash hash;
  if (file && CryptCreateHash(provider.Get(), CALG_MD5, 0, 0, hash.Receive())) {
    std::vector<BYTE> block(kBlock);
    DWORD read = 0;
    bool ok = true;
    while (ok && ReadFile(file.Get(), block.data(), kBlock, &read, nullptr) && read != 0) {
      ok = CryptHashData(hash.Get(), block.data(), read, 0) != FALSE;
    }
    BYTE value[16];
    DWORD length = sizeof(value);
    if (ok && CryptGetHashParam(hash.Get(), HP_HASHVAL, value, &length, 0) && length == 16) {
      wchar_t hex[33];
      for (int i = 0; i < 16; ++i) swprintf_s(hex + 2 * i, 3, L"%02x", value[i]);
      digest = hex;
    }
  }
  return digest;
}

// The digest at the start of a checksum file, in the form md5sum writes
// ("<32 hex digits>  <name>") or alone; empty when there is none.
std::wstring ChecksumOf(const std::wstring& path) {
  ScopedFile file(_wfopen(path.c_str(), L"rb"));
  if (!file) return std::wstring();
  char text[64] = {};
  size_t read = fread(text, 1, sizeof(text) - 1, file.Get());
  size_t start = 0;
  while (start < read && isspace(static_cast<unsigned char>(text[start]))) ++start;
  std::wstring digest;
  for (size_t i = start; i < read && isxdigit(static_cast<unsigned char>(text[i])); ++i) {
    digest.push_back(static_cast<wchar_t>(tolower(static_cast<unsigned char>(text[i]))));
  }
  return digest.size() == 32 ? digest : std::wstring();
}

void Progress(CFileSizeInfo* progress, uint64_t done, uint64_t total, bool totalKnown) {
  if (progress == nullptr) return;
  progress->platform->EnterCriticalSection(&progress->statusLock);
  progress->bytesDone = done;
  if (totalKnown) {
    progress->bytesTotal = total;
    progress->sizeUnknown = 0;
    progress->percent = total != 0 ? static_cast<uint32_t>(done * 100 / total) : 100;
  }
  progress->platform->LeaveCriticalSection(&progress->statusLock);
  if (progress->progressEvent) SetEvent(progress->progressEvent.Get());
}

std::wstring ErrorText(const wchar_t* what, DWORD error) {
  return std::wstring(what) + L" failed with error " + std::to_wstring(error);
}

}  // namespace

std::wstring DownloadSource(const std::wstring& location, const std::wstring& name) {
  if (IsWebAddress(location)) {
    std::wstring url = location;
    if (url.empty() || url.back() != L'/') url.push_back(L'/');
    return url + PercentEncode(name);
  }
  std::wstring path = location;
  if (!path.empty() && path.back() != L'\\' && path.back() != L'/') path.push_back(L'\\');
  return path + name;
}

CDownloaderApi::CDownloaderApi(bool requireChecksum)
    : requireChecksum_(requireChecksum), stop_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
  InitializeCriticalSection(&lock_);
}

CDownloaderApi::~CDownloaderApi() {
  SetEvent(stop_.Get());
  EnterCriticalSection(&lock_);
  std::vector<std::unique_ptr<Transfer>> transfers;
  transfers.swap(transfers_);
  LeaveCriticalSection(&lock_);
  // Every thread has ended before the first transfer goes with its record.
  for (const std::unique_ptr<Transfer>& transfer : transfers) WaitForSingleObject(transfer->thread.Get(), INFINITE);
  DeleteCriticalSection(&lock_);
}

bool CDownloaderApi::AddFile(CFileInfo* file, CFileInfo** result, bool) {
  if (result != nullptr) *result = nullptr;
  if (file == nullptr || result == nullptr) return false;
  CFileInfo* record = CFileInfo::CloneOf(file);
  if (record == nullptr) return false;
  auto* transfer = new Transfer{this, ScopedSelfFree<CFileInfo>(record), ScopedKernelHandle()};
  EnterCriticalSection(&lock_);
  transfers_.emplace_back(transfer);
  LeaveCriticalSection(&lock_);
  // The record is the caller's to read as long as the downloader lives.
  *result = record;
  if (record->sizeInfo != nullptr) record->sizeInfo->WriteStatus(kDownloadQueued);
  transfer->thread.Reset(CreateThread(nullptr, 0, Run, transfer, 0, nullptr));
  if (!transfer->thread) {
    HostLog(L"Downloader: cannot start a transfer for '%s' (error %u).\n", record->fileName.Get(),
            static_cast<unsigned>(GetLastError()));
    if (record->sizeInfo != nullptr) record->sizeInfo->WriteStatus(kDownloadFailed);
    SetEvent(record->readyEvent);
    // The destructor waits on the thread: give it one that has ended.
    transfer->thread.Reset(CreateEventW(nullptr, TRUE, TRUE, nullptr));
  }
  return true;
}

DWORD WINAPI CDownloaderApi::Run(LPVOID parameter) {
  auto* transfer = static_cast<Transfer*>(parameter);
  CFileInfo* record = transfer->record.Get();
  uint32_t status = transfer->owner->Fetch(record);
  if (record->sizeInfo != nullptr) record->sizeInfo->WriteStatus(status);
  SetEvent(record->readyEvent);
  return 0;
}

uint32_t CDownloaderApi::Fetch(CFileInfo* record) {
  if (record->sizeInfo != nullptr) record->sizeInfo->WriteStatus(kDownloadRunning);
  const wchar_t* fileName = record->fileName.Get();
  const wchar_t* location = record->location.Get();
  if (fileName == nullptr || fileName[0] == L'\0' || !record->localFolder || location == nullptr ||
      location[0] == L'\0') {
    HostLog(L"Downloader: '%s' has no %s.\n", fileName != nullptr ? fileName : L"",
            location == nullptr || location[0] == L'\0' ? L"location" : L"name or local folder");
    return kDownloadFailed;
  }
  // The name usually comes from a language file fetched from the network: it may
  // not reach outside the local folder, nor may the checksum file's.
  const wchar_t* names[] = {fileName, record->checksumFileName.Get()};
  for (const wchar_t* name : names) {
    const wchar_t* refused = name != nullptr ? WhyNotBareFileName(name) : nullptr;
    if (refused != nullptr) {
      HostLog(L"Downloader: file name '%s' refused: %s.\n", name, refused);
      return kDownloadFailed;
    }
  }
  std::wstring source = DownloadSource(location, fileName);
  std::wstring target = DownloadSource(record->localFolder.Get(), fileName);
  uint64_t existing = 0;
  if (!record->replaceExisting && FileSize(target, &existing) && existing != 0) {
    HostLog(L"Downloader: '%s' is already there, kept.\n", target.c_str());
    return kDownloadKept;
  }

  std::wstring partial = target + L".download";
  std::wstring failure;
  bool missing = false;
  if (!Get(source, partial, record->sizeInfo, &failure, &missing)) {
    DeleteFileW(partial.c_str());
    HostLog(L"Downloader: '%s' failed: %s.\n", source.c_str(), failure.c_str());
    return kDownloadFailed;
  }
  if (!MoveFileExW(partial.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING)) {
    DWORD error = GetLastError();
    DeleteFileW(partial.c_str());
    HostLog(L"Downloader: cannot write '%s' (error %u).\n", target.c_str(), static_cast<unsigned>(error));
    return kDownloadFailed;
  }
  uint64_t size = 0;
  FileSize(target, &size);
  HostLog(L"Downloader: '%s' arrived as '%s' (%I64u bytes).\n", source.c_str(), target.c_str(), size);

  if (!record->verifyChecksum && !requireChecksum_) return kDownloadArrived;
  uint32_t status = Verify(record, source, target);
  // Nothing unverified stays under the name, where it could be run later.
  if (status != kDownloadArrived) DeleteFileW(target.c_str());
  return status;
}

uint32_t CDownloaderApi::Verify(CFileInfo* record, const std::wstring& source, const std::wstring& target) {
  std::wstring checksumSource = source + L".md5";
  std::wstring checksumTarget = DownloadSource(record->localFolder.Get(), record->checksumFileName
                                                                              ? record->checksumFileName.Get()
                                                                              : std::wstring(record->fileName.Get()) +
                                                                                    L".md5");
  std::wstring checksumPartial = checksumTarget + L".download";
  std::wstring failure;
  bool missing = false;
  if (!Get(checksumSource, checksumPartial, nullptr, &failure, &missing)) {
    DeleteFileW(checksumPartial.c_str());
    // Without a checksum at the source there is nothing to check against: taken
    // as it is, unless every download must be verified.
    if (missing && !requireChecksum_) return kDownloadArrived;
    if (missing) {
      HostLog(L"Downloader: '%s' has no checksum '%s' and downloads must be verified.\n", source.c_str(),
              checksumSource.c_str());
    } else {
      HostLog(L"Downloader: checksum '%s' failed: %s.\n", checksumSource.c_str(), failure.c_str());
    }
    return kDownloadBadChecksum;
  }
  MoveFileExW(checksumPartial.c_str(), checksumTarget.c_str(), MOVEFILE_REPLACE_EXISTING);
  std::wstring expected = ChecksumOf(checksumTarget);
  std::wstring actual = FileMd5(target);
  if (expected.empty() || expected != actual) {
    HostLog(L"Downloader: '%s' does not match its checksum (expected '%s', got '%s').\n", target.c_str(),
            expected.c_str(), actual.c_str());
    return kDownloadBadChecksum;
  }
  return kDownloadArrived;
}

bool CDownloaderApi::Get(const std::wstring& source, const std::wstring& path, CFileSizeInfo* progress,
                         std::wstring* failure, bool* missing) {
  *missing = false;
  if (IsWebAddress(source)) return GetHttp(source, path, progress, failure, missing);
  uint64_t size = 0;
  if (!FileSize(source, &size)) {
    *missing = true;
    *failure = L"no such file";
    return false;
  }
  if (!CopyFileW(source.c_str(), path.c_str(), FALSE)) {
    *failure = ErrorText(L"the copy", GetLastError());
    return false;
  }
  Progress(progress, size, size, true);
  return true;
}

bool CDownloaderApi::GetHttp(const std::wstring& url, const std::wstring& path, CFileSizeInfo* progress,
                             std::wstring* failure, bool* missing) {
  URL_COMPONENTS parts = {};
  parts.dwStructSize = sizeof(parts);
  parts.dwHostNameLength = static_cast<DWORD>(-1);
  parts.dwUrlPathLength = static_cast<DWORD>(-1);
  parts.dwExtraInfoLength = static_cast<DWORD>(-1);
  if (!WinHttpCrackUrl(url.c_str(), 0, 0, &parts) || parts.dwHostNameLength == 0) {
    *failure = L"not a valid address";
    return false;
  }
  std::wstring host(parts.lpszHostName, parts.dwHostNameLength);
  std::wstring object(parts.lpszUrlPath, parts.dwUrlPathLength);
  if (parts.lpszExtraInfo != nullptr) object.append(parts.lpszExtraInfo, parts.dwExtraInfoLength);
  if (object.empty()) object = L"/";

  EnterCriticalSection(&lock_);
  if (!session_) {
    session_.Reset(
        WinHttpOpen(L"Installer", WINHTTP_ACCESS_TYPE_DEFAULT_PROXY, WINHTTP_NO_PROXY_NAME, WINHTTP_NO_PROXY_BYPASS, 0));
    if (session_) WinHttpSetTimeouts(session_.Get(), 10000, 10000, 30000, 30000);
  }
  HINTERNET session = session_.Get();
  LeaveCriticalSection(&lock_);
  if (session == nullptr) {
    *failure = ErrorText(L"WinHttpOpen", GetLastError());
    return false;
  }
  ScopedInternetHandle connection(WinHttpConnect(session, host.c_str(), parts.nPort, 0));
  if (!connection) {
    *failure = ErrorText(L"WinHttpConnect", GetLastError());
    return false;
  }
  DWORD flags = parts.nScheme == INTERNET_SCHEME_HTTPS ? WINHTTP_FLAG_SECURE : 0;
  ScopedInternetHandle request(WinHttpOpenRequest(connection.Get(), L"GET", object.c_str(), nullptr,
                                                 WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES, flags));
  if (!request) {
    *failure = ErrorText(L"WinHttpOpenRequest", GetLastError());
    return false;
  }
  if (IsLoopback(host)) {
    // A system proxy must not see requests for this machine.
    WINHTTP_PROXY_INFO direct = {WINHTTP_ACCESS_TYPE_NO_PROXY, nullptr, nullptr};
    WinHttpSetOption(request.Get(), WINHTTP_OPTION_PROXY, &direct, sizeof(direct));
  }
  if (!WinHttpSendRequest(request.Get(), WINHTTP_NO_ADDITIONAL_HEADERS, 0, WINHTTP_NO_REQUEST_DATA, 0, 0, 0) ||
      !WinHttpReceiveResponse(request.Get(), nullptr)) {
    *failure = ErrorText(L"the request", GetLastError());
    return false;
  }
  DWORD statusCode = 0;
  DWORD length = sizeof(statusCode);
  WinHttpQueryHeaders(request.Get(), WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER,
                      WINHTTP_HEADER_NAME_BY_INDEX, &statusCode, &length, WINHTTP_NO_HEADER_INDEX);
  if (statusCode != 200) {
    *missing = statusCode == 404 || statusCode == 410;
    *failure = L"HTTP status " + std::to_wstring(statusCode);
    return false;
  }
  wchar_t contentLength[32] = {};
  length = sizeof(contentLength);
  bool totalKnown = WinHttpQueryHeaders(request.Get(), WINHTTP_QUERY_CONTENT_LENGTH, WINHTTP_HEADER_NAME_BY_INDEX,
                                        contentLength, &length, WINHTTP_NO_HEADER_INDEX) != FALSE;
  uint64_t total = totalKnown ? _wcstoui64(contentLength, nullptr, 10) : 0;

  ScopedKernelHandle file(
      CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) {
    *failure = ErrorText(L"creating the file", GetLastError());
    return false;
  }
  std::vector<char> block(kBlock);
  uint64_t done = 0;
  bool ok = true;
  Progress(progress, 0, total, totalKnown);
  for (;;) {
    if (WaitForSingleObject(stop_.Get(), 0) == WAIT_OBJECT_0) {
      *failure = L"the engine is shutting down";
      ok = false;
      break;
    }
    DWORD read = 0;
    if (!WinHttpReadData(request.Get(), block.data(), kBlock, &read)) {
      *failure = ErrorText(L"reading", GetLastError());
      ok = false;
      break;
    }
    if (read == 0) break;
    DWORD written = 0;
    if (!WriteFile(file.Get(), block.data(), read, &written, nullptr) || written != read) {
      *failure = ErrorText(L"writing", GetLastError());
      ok = false;
      break;
    }
    done += read;
    Progress(progress, done, total, totalKnown);
  }
  if (ok && totalKnown && done != total) {
    *failure = L"the connection ended after " + std::to_wstring(done) + L" of " + std::to_wstring(total) + L" bytes";
    ok = false;
  }
  return ok;
}
