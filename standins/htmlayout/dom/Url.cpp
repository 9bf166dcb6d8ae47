#include "standins/htmlayout/dom/Url.h"

#include <windows.h>

#include <cwctype>
#include <vector>

namespace hl {

namespace {

bool IsSeparator(wchar_t c) { return c == L'/' || c == L'\\'; }

bool IsDrivePath(const std::wstring& text, size_t at = 0) {
  return text.size() >= at + 2 && iswalpha(text[at]) && text[at + 1] == L':' &&
         (text.size() == at + 2 || IsSeparator(text[at + 2]));
}

// "scheme:" of two or more letters (one letter is a drive).
size_t SchemeLength(const std::wstring& text) {
  size_t i = 0;
  while (i < text.size() && (iswalnum(text[i]) || text[i] == L'+' || text[i] == L'-' || text[i] == L'.')) ++i;
  return (i >= 2 && i < text.size() && text[i] == L':') ? i + 1 : 0;
}

bool StartsWithCaseless(const std::wstring& text, const wchar_t* prefix) {
  size_t n = wcslen(prefix);
  return text.size() >= n && _wcsnicmp(text.c_str(), prefix, n) == 0;
}

// Where the path of a URL starts: after "scheme://host" or "file:///" and a
// drive, so that ".." never climbs above them.
size_t PathStart(const std::wstring& url) {
  size_t i = SchemeLength(url);
  if (i == 0) return IsDrivePath(url) ? 2 : 0;
  size_t slashes = 0;
  while (i < url.size() && IsSeparator(url[i]) && slashes < 3) {
    ++i;
    ++slashes;
  }
  if (IsDrivePath(url, i)) return i + 2;
  if (StartsWithCaseless(url, L"file:") && slashes == 3) return i - 1;
  while (i < url.size() && !IsSeparator(url[i])) ++i;  // the host
  return i;
}

std::wstring RemoveDotSegments(const std::wstring& url) {
  size_t start = PathStart(url);
  std::wstring head = url.substr(0, start);
  struct Segment {
    wchar_t separator;
    std::wstring name;
  };
  std::vector<Segment> segments;
  size_t i = start;
  wchar_t separator = 0;
  if (i < url.size() && IsSeparator(url[i])) separator = url[i++];
  // A "." or ".." hands the separator before it to the segment after it, so
  // that a base written with backslashes keeps them where it had them.
  wchar_t carried = 0;
  bool carrying = false;
  for (;;) {
    size_t end = i;
    while (end < url.size() && !IsSeparator(url[end])) ++end;
    std::wstring name = url.substr(i, end - i);
    bool last = end >= url.size();
    wchar_t own = carrying ? carried : separator;
    if (name == L"..") {
      carried = own;
      if (!segments.empty()) {
        carried = segments.back().separator;
        segments.pop_back();
      }
      carrying = true;
      if (last) segments.push_back({carried, L""});
    } else if (name == L".") {
      carried = own;
      carrying = true;
      if (last) segments.push_back({own, L""});
    } else {
      segments.push_back({own, name});
      carrying = false;
    }
    if (last) break;
    separator = url[end];
    i = end + 1;
  }
  std::wstring out = head;
  for (auto& segment : segments) {
    if (segment.separator) out += segment.separator;
    out += segment.name;
  }
  return out;
}

int HexValue(wchar_t c) {
  if (c >= L'0' && c <= L'9') return c - L'0';
  if (c >= L'a' && c <= L'f') return c - L'a' + 10;
  if (c >= L'A' && c <= L'F') return c - L'A' + 10;
  return -1;
}

std::wstring PercentDecode(const std::wstring& text) {
  if (text.find(L'%') == std::wstring::npos) return text;
  std::string bytes;
  std::wstring out;
  auto flush = [&] {
    if (bytes.empty()) return;
    int n = MultiByteToWideChar(CP_UTF8, 0, bytes.data(), static_cast<int>(bytes.size()), nullptr, 0);
    std::wstring decoded(static_cast<size_t>(n), L'\0');
    if (n > 0) MultiByteToWideChar(CP_UTF8, 0, bytes.data(), static_cast<int>(bytes.size()), &decoded[0], n);
    out += decoded;
    bytes.clear();
  };
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == L'%' && i + 2 < text.size() + 0 && HexValue(text[i + 1]) >= 0 && HexValue(text[i + 2]) >= 0) {
      bytes += static_cast<char>(HexValue(text[i + 1]) * 16 + HexValue(text[i + 2]));
      i += 2;
      continue;
    }
    flush();
    out += text[i];
  }
  flush();
  return out;
}

}  // namespace

std::wstring JoinUrl(const std::wstring& base, const std::wstring& reference) {
  if (reference.empty()) return base;
  if (SchemeLength(reference) || IsDrivePath(reference)) return RemoveDotSegments(reference);
  if (reference.size() >= 2 && IsSeparator(reference[0]) && IsSeparator(reference[1])) {
    size_t scheme = SchemeLength(base);
    return scheme ? base.substr(0, scheme) + reference : reference;
  }
  if (IsSeparator(reference[0])) return RemoveDotSegments(base.substr(0, PathStart(base)) + reference);
  size_t folderEnd = base.find_last_of(L"/\\");
  std::wstring folder = folderEnd == std::wstring::npos ? std::wstring() : base.substr(0, folderEnd + 1);
  if (folder.size() < PathStart(base)) folder = base.substr(0, PathStart(base)) + L"/";
  // A URL written with backslashes ("file://C:\dir\lang\") takes the
  // reference after a slash: hosts know a page's own files by the slash before
  // the name ("/_logo.png"), and Windows reads either separator.
  if (SchemeLength(base) && !folder.empty() && folder.back() == L'\\') folder.back() = L'/';
  return RemoveDotSegments(folder + reference);
}

std::wstring LocalPath(const std::wstring& url) {
  std::wstring path;
  if (StartsWithCaseless(url, L"file:")) {
    size_t i = 5;
    size_t slashes = 0;
    while (i < url.size() && IsSeparator(url[i])) {
      ++i;
      ++slashes;
    }
    path = url.substr(i);
    if (!IsDrivePath(path) && slashes == 2) path = L"\\\\" + path;  // file://server/share
    path = PercentDecode(path);
  } else if (SchemeLength(url) == 0) {
    path = url;
  } else {
    return std::wstring();
  }
  for (auto& c : path) {
    if (c == L'/') c = L'\\';
  }
  size_t query = path.find_first_of(L"?#");
  if (query != std::wstring::npos) path.resize(query);
  return path;
}

bool SameUrl(const std::wstring& a, const std::wstring& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    wchar_t x = a[i], y = b[i];
    if (IsSeparator(x) && IsSeparator(y)) continue;
    if (towlower(x) != towlower(y)) return false;
  }
  return true;
}

bool ReadLocalFile(const std::wstring& url, std::string& bytes) {
  constexpr ULONGLONG kMaxBytes = 64ull << 20;
  std::wstring path = LocalPath(url);
  if (path.empty()) return false;
  HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                            nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  LARGE_INTEGER size{};
  bool ok = GetFileSizeEx(file, &size) && static_cast<ULONGLONG>(size.QuadPart) <= kMaxBytes;
  if (ok) {
    bytes.resize(static_cast<size_t>(size.QuadPart));
    DWORD read = 0;
    ok = bytes.empty() || (ReadFile(file, &bytes[0], static_cast<DWORD>(bytes.size()), &read, nullptr) &&
                           read == bytes.size());
  }
  CloseHandle(file);
  if (!ok) bytes.clear();
  return ok;
}

}  // namespace hl
