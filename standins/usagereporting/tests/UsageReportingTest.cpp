// UsageReporting.dll as the plug-in meets it: loaded by full path, its six
// functions found under their decorated names, and its report file compared
// line by line with the exact text expected, times and durations masked.
#include <windows.h>
#include <shlobj.h>

#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/Kit.h"

namespace {

class UsageReportingTest : public testing::Test {
 protected:
  void SetUp() override {
    HMODULE library = LoadLibraryW((ProgramFolder() + L"UsageReporting.dll").c_str());
    ASSERT_NE(nullptr, library);
    Bind(library, "?Create@?$UsageReportingClientT@_W@Norvane@@SAHPEAPEAV12@HPEB_W11@Z", &create);
    Bind(library, "?Destroy@?$UsageReportingClientT@_W@Norvane@@SAHPEAV12@H@Z", &destroy);
    Bind(library, "?SetProperty@?$UsageReportingClientT@_W@Norvane@@QEAAHPEB_W0@Z", &setProperty);
    Bind(library, "?Report@?$UsageReportingClientT@_W@Norvane@@QEAAHPEB_W@Z", &report);
    Bind(library, "?BeginReport@?$UsageReportingClientT@_W@Norvane@@QEAAHPEB_WPEAH@Z", &beginReport);
    Bind(library, "?EndReport@?$UsageReportingClientT@_W@Norvane@@QEAAHPEB_WH@Z", &endReport);
  }
  void TearDown() override { RemoveTree(folder); }
  template <class Fn>
  void Bind(HMODULE library, const char* name, Fn* function) {
    *function = reinterpret_cast<Fn>(reinterpret_cast<void*>(GetProcAddress(library, name)));
    ASSERT_NE(nullptr, *function) << name;
  }

  // The lines of the report file, each time made T and each duration D (its value kept in durations).
  std::vector<std::string> Lines() {
    std::string text = ReadAll(folder + L"UsageReport.jsonl");
    std::vector<std::string> lines;
    const std::regex time(R"(^\{"time":"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z")"), duration(R"("durationMs":(\d+))");
    for (size_t start = 0, end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
      std::string line = std::regex_replace(text.substr(start, end - start), time, "{\"time\":T");
      std::smatch found;
      if (std::regex_search(line, found, duration)) durations.push_back(std::stol(found[1]));
      lines.push_back(std::regex_replace(line, duration, "\"durationMs\":D"));
    }
    return lines;
  }

  // The class's functions, as a caller built by Microsoft's compiler calls them.
  int (*create)(void** client, int version, const wchar_t* product, const wchar_t* channel, const wchar_t* dbPath);
  int (*destroy)(void* client, int version);
  int (*setProperty)(void* self, const wchar_t* name, const wchar_t* value);
  int (*report)(void* self, const wchar_t* eventName);
  int (*beginReport)(void* self, const wchar_t* name, int* handle);
  int (*endReport)(void* self, const wchar_t* name, int handle);
  std::wstring folder = NewTempFolder(L"usagereporting");
  std::vector<long> durations;
  const std::string head = R"({"time":T,"product":"P","channel":null,"call":)";
};

// The whole sequence of a script, read back, is in the plug-in's tests; here, what the texts become.
TEST_F(UsageReportingTest, EveryCallIsOneLineOfEscapedText) {
  void* client = nullptr;
  const wchar_t* exotic = L"Demo \"Pro\" C:\\x/\t\n\x01 caf\u00e9 \u6f22\U0001F600";
  ASSERT_EQ(0, create(&client, 2, exotic, nullptr, folder.c_str()));
  EXPECT_EQ(0, report(client, exotic));
  EXPECT_EQ(0, destroy(client, 2));
  const std::string p = R"("Demo \"Pro\" C:\\x/\t\n\u0001 café 漢😀")", demo = R"({"time":T,"product":)" + p +
                        R"(,"channel":null,"call":)";
  const std::vector<std::string> expected = {
      demo + R"("Create","args":{"version":2,"productName":)" + p + R"(,"salesChannel":null,"dbPath":)" +
          std::regex_replace('"' + Narrow(folder) + '"', std::regex(R"(\\)"), R"(\\)") + R"(},"status":0})",
      demo + R"("Report","args":{"eventName":)" + p + R"(},"status":0})",
      demo + R"("Destroy","args":{"version":2},"status":0})"};
  EXPECT_EQ(expected, Lines());
}

TEST_F(UsageReportingTest, CreateRefusesAndLeavesNoClient) {
  std::wstring file = folder + L"taken.txt", belowFile = file + L"\\below", f = folder;
  WriteAll(file, "x");
  const struct { int version; const wchar_t *product, *dbPath; int status; } cases[] = {
      {2, nullptr, f.c_str(), 160}, {2, L"", f.c_str(), 160},         {1, L"P", f.c_str(), 1306},
      {3, L"P", f.c_str(), 1306},   {2, L"P", file.c_str(), 267},     {2, L"P", belowFile.c_str(), 267},
      {2, L"..", nullptr, 123},     {2, L"a\\..\\..", nullptr, 123}, {2, L"a/b", nullptr, 123},
      {2, L"C:x", nullptr, 123},    {2, L"NUL", nullptr, 123},        {2, L"com1.txt", nullptr, 123},
      {2, L"Dot.", nullptr, 123},   {2, L"Blank ", nullptr, 123},     {2, L"a*b", nullptr, 123},
      {2, L"..", L"", 123}};
  for (const auto& c : cases) {
    void* client = &file;
    EXPECT_EQ(c.status, create(&client, c.version, c.product, nullptr, c.dbPath)) << Narrow(c.product ? c.product : L"-");
    EXPECT_EQ(nullptr, client);
  }
  EXPECT_EQ(160, create(nullptr, 2, L"P", nullptr, f.c_str()));
  EXPECT_FALSE(Exists(folder + L"UsageReport.jsonl"));
}

TEST_F(UsageReportingTest, WithoutDbPathTheFileGoesUnderCommonAppData) {
  wchar_t data[MAX_PATH] = {};
  ASSERT_EQ(S_OK, SHGetFolderPathW(nullptr, CSIDL_COMMON_APPDATA, nullptr, SHGFP_TYPE_CURRENT, data));
  std::wstring product = folder.substr(TempFolder().size(), folder.size() - TempFolder().size() - 1);
  RemoveTree(folder);
  folder = std::wstring(data) + L"\\" + product + L"\\";
  void* client = nullptr;
  ASSERT_EQ(0, create(&client, 2, product.c_str(), nullptr, L""));  // an empty dbPath is none
  EXPECT_EQ(0, destroy(client, 2));
  EXPECT_EQ(2u, Lines().size());
}

TEST_F(UsageReportingTest, AReportEndsOnceAndEveryRefusalIsWrittenDown) {
  void* client = nullptr;
  ASSERT_EQ(0, create(&client, 2, L"P", nullptr, folder.c_str()));
  int handle = 0;
  ASSERT_EQ(0, beginReport(client, L"Slow", &handle));
  Sleep(150);
  const std::vector<int> statuses = {endReport(client, L"Slow", handle), endReport(client, L"Slow", handle),
                                     endReport(client, L"x", 0), setProperty(client, nullptr, L"v"),
                                     destroy(client, 1), destroy(client, 2)};
  EXPECT_EQ((std::vector<int>{0, 1168, 1168, 160, 1306, 0}), statuses) << "another version's Destroy keeps it";
  std::vector<std::string> lines = Lines();
  ASSERT_EQ(8u, lines.size());
  EXPECT_EQ(head + R"("EndReport","args":{"name":"Slow","handle":1},"durationMs":null,"status":1168})", lines[3]);
  ASSERT_EQ(1u, durations.size());
  EXPECT_GE(durations[0], 140);
}

TEST_F(UsageReportingTest, ThreadsGetUniqueHandlesAndWholeLines) {
  void* client = nullptr;
  ASSERT_EQ(0, create(&client, 2, L"P", nullptr, folder.c_str()));
  const std::wstring name(2000, L'n');  // long writes, where a missing lock shows as torn lines
  std::vector<int> handles(1200, -1);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (size_t i = t; i < handles.size(); i += 4) {
        beginReport(client, name.c_str(), &handles[i]);
        report(client, name.c_str());
        endReport(client, name.c_str(), handles[i]);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, destroy(client, 2));
  std::set<int> unique(handles.begin(), handles.end());
  EXPECT_EQ(1200u, unique.size());
  EXPECT_EQ(1, *unique.begin());
  EXPECT_EQ(1200, *unique.rbegin());
  // Every line whole: the head, the long name and the status of a successful call.
  int whole = 0;
  for (const std::string& line : Lines()) {
    whole += line.rfind(head, 0) == 0 && line.find(std::string(2000, 'n')) != std::string::npos &&
             line.size() - line.rfind(",\"status\":0}") == 12;
  }
  EXPECT_EQ(3 * 1200, whole);
}

}  // namespace
