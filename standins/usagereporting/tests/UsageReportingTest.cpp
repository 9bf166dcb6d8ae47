// UsageReporting.dll as the plug-in meets it: loaded by full path, its six
// functions found under their decorated names, and its report file compared
// line by line with the exact text expected, times and durations masked.
#include <windows.h>
#include <shlobj.h>

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/Kit.h"

namespace {

// A JSON string of a path: only its backslashes need escaping.
std::string JsonPath(const std::wstring& path) {
  std::string text = "\"";
  for (char c : Narrow(path)) text += c == '\\' ? std::string("\\\\") : std::string(1, c);
  return text + "\"";
}

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
  void TearDown() override {
    RemoveTree(folder);
    SetEnvironmentVariableW(L"USAGEREPORTING_FAULT", nullptr);
  }
  template <class Fn>
  void Bind(HMODULE library, const char* name, Fn* function) {
    *function = reinterpret_cast<Fn>(reinterpret_cast<void*>(GetProcAddress(library, name)));
    ASSERT_NE(nullptr, *function) << name;
  }

  // The lines of the report file in where (default: folder). Each must open with
  // a time like 2024-05-01T12:34:56.789Z, which becomes T; a duration becomes D
  // and its value goes to durations.
  std::vector<std::string> Lines(std::wstring where = L"") {
    std::string text = ReadAll((where.empty() ? folder : where) + L"UsageReport.jsonl");
    EXPECT_TRUE(text.empty() || text.back() == '\n');
    std::vector<std::string> lines;
    for (size_t start = 0, end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
      std::string line = text.substr(start, end - start), time = line.substr(0, 34);
      for (size_t i = 0; i < time.size(); ++i) time[i] = isdigit(static_cast<unsigned char>(time[i])) ? '0' : time[i];
      EXPECT_EQ("{\"time\":\"0000-00-00T00:00:00.000Z\"", time) << line.substr(0, 300);
      line.replace(8, 26, "T");
      size_t at = line.find("\"durationMs\":");
      if (at != std::string::npos && isdigit(static_cast<unsigned char>(line[at += 13]))) {
        size_t digits = line.find_first_not_of("0123456789", at) - at;
        durations.push_back(std::stol(line.substr(at, digits)));
        line.replace(at, digits, "D");
      }
      lines.push_back(line);
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

TEST_F(UsageReportingTest, SessionReadsBackLineByLine) {
  void* client = nullptr;
  ASSERT_EQ(0, create(&client, 2, L"Demo \"Pro\" C:\\x/\t\n\x01 caf\u00e9 \u6f22\U0001F600", nullptr, folder.c_str()));
  int handle = 0;
  const std::vector<int> statuses = {setProperty(client, L"Edition", L"Home"), report(client, L"Installed"),
                                     beginReport(client, L"Download", &handle), endReport(client, L"Download", 1),
                                     destroy(client, 2)};
  EXPECT_EQ(std::vector<int>(5, 0), statuses);
  // A second session appends to the same file.
  ASSERT_EQ(0, create(&client, 2, L"Second", L"Retail", folder.c_str()));
  EXPECT_EQ(0, destroy(client, 2));

  const std::string p = R"("Demo \"Pro\" C:\\x/\t\n\u0001 café 漢😀")", demo = R"({"time":T,"product":)" + p +
                        R"(,"channel":null,"call":)", second = R"({"time":T,"product":"Second","channel":"Retail","call":)";
  const std::vector<std::string> expected = {
      demo + R"("Create","args":{"version":2,"productName":)" + p + R"(,"salesChannel":null,"dbPath":)" +
          JsonPath(folder) + R"(},"status":0})",
      demo + R"("SetProperty","args":{"name":"Edition","value":"Home"},"status":0})",
      demo + R"("Report","args":{"eventName":"Installed"},"status":0})",
      demo + R"("BeginReport","args":{"name":"Download","handle":1},"status":0})",
      demo + R"("EndReport","args":{"name":"Download","handle":1},"durationMs":D,"status":0})",
      demo + R"("Destroy","args":{"version":2},"status":0})",
      second + R"("Create","args":{"version":2,"productName":"Second","salesChannel":"Retail","dbPath":)" +
          JsonPath(folder) + R"(},"status":0})",
      second + R"("Destroy","args":{"version":2},"status":0})"};
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
  for (const wchar_t* dbPath : {static_cast<const wchar_t*>(nullptr), L""}) {
    ASSERT_EQ(0, create(&client, 2, product.c_str(), nullptr, dbPath));
    EXPECT_EQ(0, destroy(client, 2));
  }
  EXPECT_EQ(4u, Lines().size());
}

TEST_F(UsageReportingTest, CallsAnswerAndLogTheirStatus) {
  void* client = nullptr;
  ASSERT_EQ(0, create(&client, 2, L"P", nullptr, folder.c_str()));
  int first = 7, second = 0;
  EXPECT_EQ(160, beginReport(client, nullptr, &first));
  EXPECT_EQ(0, first);
  ASSERT_EQ(0, beginReport(client, L"Slow", &first));
  Sleep(150);
  // In order: ended, ended again, never begun, each required text or pointer null, another version.
  const std::vector<int> statuses = {endReport(client, L"Slow", first),  endReport(client, L"Slow", first),
                                     endReport(client, L"x", 0),         setProperty(client, nullptr, L"v"),
                                     setProperty(client, L"n", nullptr), report(client, nullptr),
                                     beginReport(client, L"n", nullptr), endReport(client, nullptr, 2),
                                     destroy(client, 1),                 beginReport(client, L"Next", &second),
                                     report(nullptr, L"x"),              destroy(nullptr, 2)};
  EXPECT_EQ((std::vector<int>{0, 1168, 1168, 160, 160, 160, 160, 160, 1306, 0, 160, 160}), statuses);
  EXPECT_EQ(0, destroy(client, 2));  // the Destroy of another version kept it
  std::vector<std::string> lines = Lines();
  ASSERT_FALSE(lines.empty());
  lines.erase(lines.begin());  // Create
  EXPECT_EQ((std::vector<std::string>{
                head + R"("BeginReport","args":{"name":null,"handle":null},"status":160})",
                head + R"("BeginReport","args":{"name":"Slow","handle":1},"status":0})",
                head + R"("EndReport","args":{"name":"Slow","handle":1},"durationMs":D,"status":0})",
                head + R"("EndReport","args":{"name":"Slow","handle":1},"durationMs":null,"status":1168})",
                head + R"("EndReport","args":{"name":"x","handle":0},"durationMs":null,"status":1168})",
                head + R"("SetProperty","args":{"name":null,"value":"v"},"status":160})",
                head + R"("SetProperty","args":{"name":"n","value":null},"status":160})",
                head + R"("Report","args":{"eventName":null},"status":160})",
                head + R"("BeginReport","args":{"name":"n","handle":null},"status":160})",
                head + R"("EndReport","args":{"name":null,"handle":2},"durationMs":null,"status":160})",
                head + R"("Destroy","args":{"version":1},"status":1306})",
                head + R"("BeginReport","args":{"name":"Next","handle":2},"status":0})",
                head + R"("Destroy","args":{"version":2},"status":0})"}),
            lines);
  ASSERT_EQ(1u, durations.size());
  EXPECT_GE(durations[0], 140);
  EXPECT_LT(durations[0], 5000);
}

TEST_F(UsageReportingTest, ThreadsGetUniqueHandlesAndWholeLines) {
  void* client = nullptr;
  ASSERT_EQ(0, create(&client, 2, L"P", nullptr, folder.c_str()));
  // Long names make long writes, where a missing lock shows as torn lines.
  const std::wstring name(2000, L'n');
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
  // Every line is one of the three expected, status 0, with the handle it names.
  const std::string n = '"' + std::string(2000, 'n') + '"';
  int whole = 0;
  for (const std::string& line : Lines()) {
    size_t at = line.find("\"handle\":") + 9;  // a Report line has none and matches without it
    std::string handle = line.substr(at, line.find('}', at) - at);
    whole += line == head + R"("BeginReport","args":{"name":)" + n + R"(,"handle":)" + handle + R"(},"status":0})" ||
             line == head + R"("Report","args":{"eventName":)" + n + R"(},"status":0})" ||
             line == head + R"("EndReport","args":{"name":)" + n + R"(,"handle":)" + handle + R"(},"durationMs":D,"status":0})";
  }
  EXPECT_EQ(3 * 1200, whole);
}

TEST_F(UsageReportingTest, FaultModeFromTheEnvironment) {
  const struct { const wchar_t* setting; int createStatus, handle; size_t lines; } cases[] = {
      {L"BeginReport.handle=-1", 0, -1, 4}, {L"beginreport.handle=0;", 0, 0, 4}, {L"Create=5", 5, 0, 1},
      {L"Create=1627;BeginReport.handle=9", 1627, 0, 1},   {L"Create=x", 13, 0, 0}, {L"Begin=1", 13, 0, 0},
      {L"BeginReport.handle=4294967296", 13, 0, 0}};
  for (size_t i = 0; i < std::size(cases); ++i) {
    SCOPED_TRACE(Narrow(cases[i].setting));
    std::wstring where = folder + std::to_wstring(i) + L"\\";
    SetEnvironmentVariableW(L"USAGEREPORTING_FAULT", cases[i].setting);
    void* client = nullptr;
    EXPECT_EQ(cases[i].createStatus, create(&client, 2, L"P", nullptr, where.c_str()));
    int handle = 12345;
    if (client != nullptr) {
      EXPECT_EQ(0, beginReport(client, L"R", &handle));
      EXPECT_EQ(1168, endReport(client, L"R", handle));  // the fixed handle names no report
      EXPECT_EQ(0, destroy(client, 2));
      EXPECT_EQ(cases[i].handle, handle);
    }
    std::vector<std::string> lines = Lines(where);
    ASSERT_EQ(cases[i].lines, lines.size());
    if (!lines.empty()) {
      EXPECT_EQ(",\"status\":" + std::to_string(cases[i].createStatus) + "}", lines[0].substr(lines[0].rfind(',')));
    }
  }
}

}  // namespace
