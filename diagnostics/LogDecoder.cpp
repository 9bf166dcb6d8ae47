// logdecode: turns a merged log (or a thread's file) back into plain text.
//
//   logdecode.exe <log.bin> [<output.txt>]
//
// Each line of the log is "[hh:mm:ss:mmm] <body>" with the body transformed; a
// message that held a line break of its own continues on the next line, which
// does not start with a time stamp. The plain text goes to the output file, or to
// standard output, as UTF-8.
#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <cstring>
#include <cwctype>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "diagnostics/LogTransform.h"

namespace {

bool StartsWithTimeStamp(const std::wstring& line) {
  static const wchar_t kPattern[] = L"[00:00:00:000] ";
  if (line.size() < 15) return false;
  for (size_t i = 0; i < 15; ++i) {
    if (kPattern[i] == L'0' ? !iswdigit(line[i]) : line[i] != kPattern[i]) return false;
  }
  return true;
}

std::wstring FromUtf8(const std::string& bytes) {
  if (bytes.empty()) return std::wstring();
  int count = MultiByteToWideChar(CP_UTF8, 0, bytes.data(), static_cast<int>(bytes.size()), nullptr, 0);
  std::wstring text(count, L'\0');
  MultiByteToWideChar(CP_UTF8, 0, bytes.data(), static_cast<int>(bytes.size()), &text[0], count);
  return text;
}

std::string ToUtf8(const std::wstring& text) {
  if (text.empty()) return std::string();
  int count = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
  std::string bytes(count, '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), &bytes[0], count, nullptr, nullptr);
  return bytes;
}

struct Entry {
  std::wstring stamp;  // "[hh:mm:ss:mmm] ", empty for text before the first entry
  std::wstring body;
};

std::wstring Decode(const std::wstring& log) {
  std::vector<Entry> entries;
  size_t start = 0;
  while (start < log.size()) {
    size_t end = log.find(L'\n', start);
    std::wstring line = log.substr(start, end == std::wstring::npos ? std::wstring::npos : end - start);
    if (!line.empty() && line.back() == L'\r') line.pop_back();  // the file's text mode
    if (StartsWithTimeStamp(line)) {
      entries.push_back({line.substr(0, 15), line.substr(15)});
    } else if (!entries.empty()) {
      entries.back().body += L"\n" + line;
    } else {
      entries.push_back({L"", line});
    }
    if (end == std::wstring::npos) break;
    start = end + 1;
  }
  std::wstring plain;
  for (const Entry& entry : entries) {
    std::wstring body(entry.body.size(), L'\0');
    if (entry.stamp.empty()) {
      body = entry.body;
    } else {
      RestoreLogText(entry.body.data(), entry.body.size() * sizeof(wchar_t), kLogContentKey,
                     strlen(kLogContentKey), &body[0]);
    }
    plain += entry.stamp + body + L"\n";
  }
  return plain;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc < 2 || argc > 3) {
    fputs("Usage: logdecode.exe <log.bin> [<output.txt>]\n", stderr);
    return 87;
  }
  std::ifstream input(argv[1], std::ios::binary);
  if (!input) {
    fprintf(stderr, "logdecode: cannot open %ls\n", argv[1]);
    return 2;
  }
  std::string bytes((std::istreambuf_iterator<char>(input)), std::istreambuf_iterator<char>());
  std::string plain = ToUtf8(Decode(FromUtf8(bytes)));
  if (argc == 3) {
    std::ofstream output(argv[2], std::ios::binary);
    output << plain;
    if (!output) {
      fprintf(stderr, "logdecode: cannot write %ls\n", argv[2]);
      return 29;
    }
  } else {
    _setmode(_fileno(stdout), _O_BINARY);
    fwrite(plain.data(), 1, plain.size(), stdout);
  }
  return 0;
}
