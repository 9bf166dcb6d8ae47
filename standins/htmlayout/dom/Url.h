// URLs of a page's resources.
//
// Hosts pass base URLs in every shape Windows programs write them:
// "file://C:\dir\lang\", "file:///C:/dir/", "C:\dir\page.htm", or none. A
// relative reference is joined to the folder of the base (everything up to its
// last '/' or '\'), keeping the base's own separators but for a slash before
// the reference in a URL, with "." and ".." resolved, so that the host sees a
// URL it recognises in HLN_LOAD_DATA.
#pragma once

#include <string>

namespace hl {

std::wstring JoinUrl(const std::wstring& base, const std::wstring& reference);

// The local path of a file: URL or of a plain path; empty for other schemes.
std::wstring LocalPath(const std::wstring& url);

// Reads the file of a file: URL or plain path, at most 64 MiB (no page's
// resource is bigger); false when it cannot be read.
bool ReadLocalFile(const std::wstring& url, std::string& bytes);

// Whether two URLs name the same resource: case and separators aside.
bool SameUrl(const std::wstring& a, const std::wstring& b);

}  // namespace hl
