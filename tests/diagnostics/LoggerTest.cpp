// Fault caught: log lines lost or unreadable in the log a failed install is diagnosed from.
#include <shlobj.h>

#include <regex>
#include <thread>

#include "diagnostics/LogTransform.h"
#include "diagnostics/LoggerApi.h"
#include "engine/Log.h"
#include "tests/support/PluginFixture.h"

namespace {

// The bodies of a log file's lines, restored to plain text, without time stamps.
std::vector<std::wstring> Bodies(const std::wstring& path) {
  std::wstring text = Widen(ReadAll(path));
  std::vector<std::wstring> bodies;
  std::wregex line(L"\\[\\d\\d:\\d\\d:\\d\\d:\\d\\d\\d\\] ([^\\r\\n]*)\\r\\n");
  for (std::wsregex_iterator it(text.begin(), text.end(), line), end; it != end; ++it) {
    std::wstring body = (*it)[1];
    std::wstring plain(body.size(), L'\0');
    RestoreLogText(body.data(), body.size() * 2, kLogContentKey, strlen(kLogContentKey), &plain[0]);
    bodies.push_back(plain);
  }
  return bodies;
}

size_t CountLogFiles() {
  wchar_t folder[MAX_PATH] = {};
  SHGetSpecialFolderPathW(nullptr, folder, CSIDL_COMMON_APPDATA, FALSE);
  return ListTree(folder).size();
}

void Say(ILoggerApi* logger, const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  logger->Log(format, args);
  va_end(args);
}

// Waits for the next second, so that a new logger's files get their own names.
void NextSecond() {
  __time64_t now = _time64(nullptr);
  while (_time64(nullptr) == now) Sleep(20);
}

std::wstring Banner(DWORD threadId, const wchar_t* description) {
  SYSTEMTIME now;
  GetLocalTime(&now);
  wchar_t text[200];
  swprintf_s(text, 200, L"=========== Started logging for thread %u (%s) on %02ld.%02ld.%02ld ==========", threadId,
             description, static_cast<long>(now.wDay), static_cast<long>(now.wMonth), static_cast<long>(now.wYear));
  return text;
}

}  // namespace

class LoggerTest : public PluginTest {
 protected:
  // A logger that is not in the store, keyed as the Logger command keys it.
  CLoggerApi* NewLogger() {
    NextSecond();
    CLoggerApi* logger = new CLoggerApi();
    logger->SetLogKey(kLogContentKey);
    return logger;
  }
  std::wstring ThreadFile(CLoggerApi* logger, DWORD threadId) {
    wchar_t path[MAX_PATH];
    logger->ThreadFilePath(path, threadId);
    return path;
  }
  std::wstring MergedFile(CLoggerApi* logger) {
    wchar_t path[MAX_PATH];
    logger->MergedFilePath(path);
    return path;
  }
};

TEST_F(LoggerTest, UnregisteredThreadsFallBackToTheMainThreadOrAreLost) {
  CLoggerApi* logger = NewLogger();
  std::thread([&] { Say(logger, L"lost: no main thread yet\n"); }).join();
  logger->StartThreadLog(L"main", true);
  DWORD early = 0;
  std::thread([&] {
    early = GetCurrentThreadId();
    Say(logger, L"before registering\n");
    // Its null entry survives registration: the banner and later lines still
    // go to the main stream.
    logger->StartThreadLog(L"late", false);
    Say(logger, L"after registering\n");
  }).join();
  std::vector<std::wstring> expected = {Banner(GetCurrentThreadId(), L"main"), L"before registering",
                                        Banner(early, L"late"), L"after registering"};
  EXPECT_EQ(Bodies(ThreadFile(logger, GetCurrentThreadId())), expected);
  std::wstring unused = ThreadFile(logger, early);
  EXPECT_TRUE(ReadAll(unused).empty()) << "the late thread's own file stays empty";
  std::wstring merged = MergedFile(logger);
  logger->Free();
  EXPECT_EQ(Bodies(merged), expected);
  // The unused stream is never closed or merged; its file is left behind.
  DeleteFileW(unused.c_str());
  DeleteFileW(merged.c_str());
}

TEST_F(LoggerTest, NothingIsWrittenBeforeTheLoggerCommand) {
  VariableStore::Instance().Put("SelfFree_LoggerApi", 0);
  size_t before = CountLogFiles();
  LogMessage(L"%s\n", L"into nothing");
  EXPECT_EQ(CountLogFiles(), before);
  VariableStore::Instance().Put("SelfFree_LoggerApi", reinterpret_cast<StoreValue>(log_));
}
