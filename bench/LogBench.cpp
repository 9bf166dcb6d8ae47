// Log throughput: lines per second through LogMessage into the logger's thread
// file, against a plain formatted write and flush of the same lines, and the time
// the merge of a large log takes. Built as Installer.exe so the library's store
// link binds to it.
#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <share.h>

#include <algorithm>
#include <cstdio>
#include <thread>
#include <vector>

#include "diagnostics/LogTransform.h"
#include "diagnostics/LoggerApi.h"
#include "engine/Log.h"
#include "engine/Store.h"
#include "host/VariableStore.h"

namespace {

double Seconds(LARGE_INTEGER start, LARGE_INTEGER end) {
  LARGE_INTEGER frequency;
  QueryPerformanceFrequency(&frequency);
  return static_cast<double>(end.QuadPart - start.QuadPart) / frequency.QuadPart;
}

LARGE_INTEGER Now() {
  LARGE_INTEGER now;
  QueryPerformanceCounter(&now);
  return now;
}

const int kLines = 20000;
const int kRounds = 5;

// The plain write: the same frame and text, flushed after every line.
double PlainRound(const wchar_t* path) {
  FILE* plain = _wfsopen(path, L"a+", _SH_DENYNO);
  _setmode(_fileno(plain), _O_U8TEXT);
  LARGE_INTEGER start = Now();
  for (int i = 0; i < kLines; ++i) {
    SYSTEMTIME now;
    GetLocalTime(&now);
    fwprintf_s(plain, L"[%02ld:%02ld:%02ld:%03ld] %i: %s Copying '%s' to '%s'.\n", static_cast<long>(now.wHour),
               static_cast<long>(now.wMinute), static_cast<long>(now.wSecond), static_cast<long>(now.wMilliseconds), i,
               L"CopyFile", L"C:\\Source\\file.dat", L"C:\\Target\\file.dat");
    fflush(plain);
  }
  double seconds = Seconds(start, Now());
  fclose(plain);
  return seconds;
}

double LogRound() {
  LARGE_INTEGER start = Now();
  for (int i = 0; i < kLines; ++i) {
    LogMessage(L"%i: %s Copying '%s' to '%s'.\n", i, L"CopyFile", L"C:\\Source\\file.dat", L"C:\\Target\\file.dat");
  }
  return Seconds(start, Now());
}

}  // namespace

int main() {
  BindEngine();
  wchar_t plainPath[MAX_PATH];
  GetTempPathW(MAX_PATH, plainPath);
  wcscat_s(plainPath, L"logbench-plain.txt");
  CLoggerApi* logger = new CLoggerApi();
  logger->SetLogKey(kLogContentKey);
  logger->StartThreadLog(L"bench", true);
  VariableStore::Instance().Put("SelfFree_LoggerApi", reinterpret_cast<StoreValue>(logger));
  // Rounds alternate, and the best of each counts, so that other load on the
  // machine weighs on both alike.
  double plainSeconds = 1e9;
  double logSeconds = 1e9;
  for (int round = 0; round < kRounds; ++round) {
    plainSeconds = std::min(plainSeconds, PlainRound(plainPath));
    logSeconds = std::min(logSeconds, LogRound());
  }
  DeleteFileW(plainPath);
  LARGE_INTEGER start;

  // A large log: four more threads of the same number of lines each.
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([] {
      LogMessage(L"unregistered\n");
      ILoggerApi* current = StoreGetObject<ILoggerApi>("SelfFree_LoggerApi");
      current->StartThreadLog(L"worker", false);
      for (int i = 0; i < kLines; ++i) LogMessage(L"%i: worker line with some text to merge\n", i);
    });
  }
  for (auto& thread : threads) thread.join();
  wchar_t mergedPath[MAX_PATH];
  logger->MergedFilePath(mergedPath);
  VariableStore::Instance().Put("SelfFree_LoggerApi", 0);
  start = Now();
  logger->Free();
  double mergeSeconds = Seconds(start, Now());
  WIN32_FILE_ATTRIBUTE_DATA merged = {};
  GetFileAttributesExW(mergedPath, GetFileExInfoStandard, &merged);
  DeleteFileW(mergedPath);

  double plainRate = kLines / plainSeconds;
  double logRate = kLines / logSeconds;
  printf("plain write+flush:  %8.0f lines/s\n", plainRate);
  printf("LogMessage:         %8.0f lines/s (%.0f %% of plain, target >= 80 %%)\n", logRate, 100.0 * logRate / plainRate);
  printf("merge of %d lines (%.1f MB): %.3f s\n", (kRounds + 4) * kLines, merged.nFileSizeLow / 1048576.0, mergeSeconds);
  return logRate >= 0.8 * plainRate ? 0 : 1;
}
