// The logger against real files in the common application data folder: thread
// files, the fallback to the main thread, the merge, the transform and the
// decoder, and the Logger command's own trace.
#include <shlobj.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <thread>

#include "engine/LogLibrary.h"
#include "diagnostics/LogTransform.h"
#include "diagnostics/LoggerApi.h"
#include "diagnostics/LoggerCommand.h"
#include "engine/Log.h"
#include "host/VariableStore.h"
#include "tests/support/PluginFixture.h"

namespace {

std::string ReadBytes(const wchar_t* path) {
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

bool Exists(const wchar_t* path) { return GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES; }

std::wstring FromUtf8(const std::string& bytes) {
  int count = MultiByteToWideChar(CP_UTF8, 0, bytes.data(), static_cast<int>(bytes.size()), nullptr, 0);
  std::wstring text(count, L'\0');
  MultiByteToWideChar(CP_UTF8, 0, bytes.data(), static_cast<int>(bytes.size()), &text[0], count);
  return text;
}

// The bodies of a log file's lines, restored to plain text, without time stamps.
std::vector<std::wstring> Bodies(const wchar_t* path) {
  std::wstring text = FromUtf8(ReadBytes(path));
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

int CountLogFiles() {
  wchar_t pattern[MAX_PATH] = {};
  SHGetSpecialFolderPathW(nullptr, pattern, CSIDL_COMMON_APPDATA, FALSE);
  wcscat_s(pattern, L"\\*.bin");
  WIN32_FIND_DATAW found;
  HANDLE search = FindFirstFileW(pattern, &found);
  int count = 0;
  if (search != INVALID_HANDLE_VALUE) {
    do ++count;
    while (FindNextFileW(search, &found));
    FindClose(search);
  }
  return count;
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

TEST_F(LoggerTest, LinesAreFramedTransformedAndLoseTheirLastCharacter) {
  CLoggerApi* logger = NewLogger();
  logger->StartThreadLog(nullptr, true);
  Say(logger, L"%i: %s '%S'\n", 4, L"wide", "narrow");
  Say(logger, L"abc");
  Say(logger, L"Path C:\\Programme\\\u00dcbersicht \u4e2d\u6587\n");
  std::wstring file = ThreadFile(logger, GetCurrentThreadId());
  std::string raw = ReadBytes(file.c_str());
  EXPECT_EQ(raw.find("wide"), std::string::npos) << "the body is transformed";
  std::vector<std::wstring> expected = {Banner(GetCurrentThreadId(), L"No description"), L"4: wide 'narrow'", L"ab",
                                        L"Path C:\\Programme\\\u00dcbersicht \u4e2d\u6587"};
  EXPECT_EQ(Bodies(file.c_str()), expected);
  std::wstring merged = MergedFile(logger);
  logger->Free();
  EXPECT_FALSE(Exists(file.c_str())) << "thread files are removed by the merge";
  EXPECT_EQ(Bodies(merged.c_str()), expected);
  DeleteFileW(merged.c_str());
}

TEST_F(LoggerTest, MergeOrdersSectionsByThreadIdNotByTime) {
  CLoggerApi* logger = NewLogger();
  DWORD ids[2] = {};
  HANDLE go = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  // Two threads register; the one with the higher id writes first.
  std::thread a([&] {
    ids[0] = GetCurrentThreadId();
    logger->StartThreadLog(L"a", false);
    WaitForSingleObject(go, 5000);
    Say(logger, L"from a\n");
  });
  std::thread b([&] {
    ids[1] = GetCurrentThreadId();
    logger->StartThreadLog(L"b", false);
    WaitForSingleObject(go, 5000);
    Say(logger, L"from b\n");
  });
  Sleep(50);
  SetEvent(go);
  a.join();
  b.join();
  CloseHandle(go);
  std::wstring merged = MergedFile(logger);
  std::wstring files[2] = {ThreadFile(logger, ids[0]), ThreadFile(logger, ids[1])};
  logger->Free();
  int low = ids[0] < ids[1] ? 0 : 1;
  std::vector<std::wstring> expected = {Banner(ids[low], low == 0 ? L"a" : L"b"), low == 0 ? L"from a" : L"from b",
                                        Banner(ids[1 - low], low == 0 ? L"b" : L"a"),
                                        low == 0 ? L"from b" : L"from a"};
  EXPECT_EQ(Bodies(merged.c_str()), expected);
  EXPECT_FALSE(Exists(files[0].c_str()));
  EXPECT_FALSE(Exists(files[1].c_str()));
  DeleteFileW(merged.c_str());
}

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
  EXPECT_EQ(Bodies(ThreadFile(logger, GetCurrentThreadId()).c_str()), expected);
  std::wstring unused = ThreadFile(logger, early);
  EXPECT_TRUE(ReadBytes(unused.c_str()).empty()) << "the late thread's own file stays empty";
  std::wstring merged = MergedFile(logger);
  logger->Free();
  EXPECT_EQ(Bodies(merged.c_str()), expected);
  // The unused stream is never closed or merged; its file is left behind.
  DeleteFileW(unused.c_str());
  DeleteFileW(merged.c_str());
}

TEST_F(LoggerTest, NothingIsWrittenBeforeTheLoggerCommand) {
  VariableStore::Instance().Put("SelfFree_LoggerApi", 0);
  int before = CountLogFiles();
  LogMessage(L"%s\n", L"into nothing");
  EXPECT_EQ(CountLogFiles(), before);
  VariableStore::Instance().Put("SelfFree_LoggerApi", reinterpret_cast<StoreValue>(log_));
}

TEST_F(LoggerTest, CommandPublishesLoggerAndCollectorAndKeepsItsOddTrace) {
  VariableStore& store = VariableStore::Instance();
  store.Put("SelfFree_LoggerApi", 0);
  NextSecond();
  CInstallCommand* command = Add(L"<Logger index='1' isMainThread='1'/>");
  EXPECT_EQ(command->Execute(INVALID_HANDLE_VALUE, &storeLock_), 0);
  auto* logger = reinterpret_cast<CLoggerApi*>(store.Get("SelfFree_LoggerApi"));
  ASSERT_NE(logger, nullptr);
  EXPECT_NE(store.Get("SelfFree_ErrorApi"), 0u);
  EXPECT_FALSE(command->executed);
  EXPECT_EQ(command->GetNextIndex(), 2);
  LogMessage(L"after\n");

  int32_t other = -1;
  EXPECT_TRUE(ExecuteOnThread(command, &other));
  EXPECT_EQ(other, 1359);
  std::vector<std::wstring> expected = {Banner(GetCurrentThreadId(), L"Installer main thread"),
                                        L"[InstallCommand] Warning: GetNextIndex called before Execute", L"after",
                                        L"1: Jump Error: Multiple threads attempting execution."};
  std::wstring file = ThreadFile(logger, GetCurrentThreadId());
  EXPECT_EQ(Bodies(file.c_str()), expected);

  // The same thread passes the lock again and builds a second logger.
  NextSecond();
  EXPECT_EQ(command->Execute(INVALID_HANDLE_VALUE, &storeLock_), 0);
  auto* second = reinterpret_cast<CLoggerApi*>(store.Get("SelfFree_LoggerApi"));
  EXPECT_NE(second, logger);
  EXPECT_NE(second->startTime, logger->startTime);
  EXPECT_EQ(Bodies(file.c_str()).back(), L"1: Logger Begin execute.") << "logged into the first logger";
  std::wstring merged = MergedFile(logger);
  logger->Free();
  EXPECT_EQ(Bodies(merged.c_str()).size(), 5u);
  DeleteFileW(merged.c_str());
  LeaveCriticalSection(&command->lock);
  LeaveCriticalSection(&command->lock);
  // The second logger is released with the store and merges its own file.
}

TEST_F(LoggerTest, DecoderRestoresAMergedLog) {
  CLoggerApi* logger = NewLogger();
  logger->StartThreadLog(L"decoder", true);
  Say(logger, L"%i: %s Begin execute.\n", 3, L"CopyFile");
  Say(logger, L"two\nlines\n");
  Say(logger, L"caf\u00e9 [x] 100%%\n");
  std::wstring merged = MergedFile(logger);
  logger->Free();

  std::wstring output = merged + L".txt";
  std::wstring decoder = std::wstring(L"\"") + L"logdecode.exe\" \"" + merged + L"\" \"" + output + L"\"";
  STARTUPINFOW startup = {sizeof(startup)};
  PROCESS_INFORMATION process = {};
  ASSERT_TRUE(CreateProcessW(nullptr, &decoder[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process))
      << GetLastError();
  ASSERT_EQ(WaitForSingleObject(process.hProcess, 10000), WAIT_OBJECT_0);
  DWORD code = 1;
  GetExitCodeProcess(process.hProcess, &code);
  CloseHandle(process.hProcess);
  CloseHandle(process.hThread);
  EXPECT_EQ(code, 0u);
  std::wstring plain = FromUtf8(ReadBytes(output.c_str()));
  std::wregex stamp(L"\\[\\d\\d:\\d\\d:\\d\\d:\\d\\d\\d\\] ");
  plain = std::regex_replace(plain, stamp, L"");
  EXPECT_EQ(plain, Banner(GetCurrentThreadId(), L"decoder") + L"\n3: CopyFile Begin execute.\ntwo\nlines\ncaf\u00e9 [x] 100%\n");
  DeleteFileW(merged.c_str());
  DeleteFileW(output.c_str());
}

TEST(LogTransformTest, RotatesPrintableTextOnlyAndRoundTrips) {
  std::wstring text = L"Begin execute. ~ \t\u00e9\u4e2d\n!";
  std::wstring transformed(text.size(), L'\0');
  std::wstring restored(text.size(), L'\0');
  TransformLogText(text.data(), text.size() * 2, kLogContentKey, strlen(kLogContentKey), &transformed[0]);
  RestoreLogText(transformed.data(), text.size() * 2, kLogContentKey, strlen(kLogContentKey), &restored[0]);
  EXPECT_EQ(restored, text);
  EXPECT_NE(transformed.substr(0, 14), text.substr(0, 14));
  for (size_t i = 0; i < text.size(); ++i) {
    bool printable = text[i] >= 0x20 && text[i] < 0x7F;
    if (printable) {
      EXPECT_TRUE(transformed[i] >= 0x20 && transformed[i] < 0x7F) << i;
    } else {
      EXPECT_EQ(transformed[i], text[i]) << i;
    }
  }
}

TEST_F(LoggerTest, LogLibraryIsNeverLoaded) {
  // A log.dll lies beside this program; its LogInit would create a marker file.
  ASSERT_TRUE(Exists(L"log.dll"));
  MirrorLog("CCreateDirCommand::Execute", L"CCreateDirCommand::Execute", kLogLevelInfo, L"%i: %s Begin execute.\n", 7,
            L"CreateDir");
  MirrorLog("CDeleteFileCommand::Execute", L"CDeleteFileCommand::Execute", kLogLevelError, L"DeleteFile error: %d\n",
            32);
  EXPECT_EQ(GetModuleHandleW(L"log.dll"), nullptr);
  EXPECT_EQ(LogLibraryStickyCount(), 0);
  EXPECT_EQ(LogLibraryReferenceCount(), 0);
  EXPECT_FALSE(Exists(L"log-dll-was-loaded.txt"));
  std::vector<std::wstring> expected = {L"7: CreateDir Begin execute.\n", L"DeleteFile error: 32\n"};
  EXPECT_EQ(log_->Lines(), expected) << "the first sink still gets every line";
}
