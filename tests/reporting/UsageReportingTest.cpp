// Fault caught: a usage report that does not reach the client as the script wrote it, a report handle lost or cut
// between its begin and end, an API slot moved, a failed Init that publishes or blocks a later one.
#include "reporting/UsageReportingApi.h"
#include "reporting/UsageReportingCommands.h"
#include "tests/support/PluginFixture.h"

namespace {

// The lines of the client library's report file.
Lines ReportLines(const std::wstring& folder) {
  Lines lines;
  std::string text = ReadAll(folder + L"UsageReport.jsonl");
  for (size_t at = 0, end; (end = text.find('\n', at)) != std::string::npos; at = end + 1) {
    lines.push_back(Widen(text.substr(at, end - at)));
  }
  return lines;
}

bool Holds(const std::wstring& line, const std::wstring& part) { return line.find(part) != std::wstring::npos; }

}  // namespace

class UsageReportingTest : public PluginTest {
 protected:
  void TearDown() override {
    SetEnvironmentVariableW(L"USAGEREPORTING_FAULT", nullptr);
    PluginTest::TearDown();
    RemoveTree(dir_);
  }
  std::wstring dir_ = NewTempFolder(L"usage");
};

TEST_F(UsageReportingTest, AScriptsReportsReachTheClientAsWritten) {
  StoreText("String_Channel", L"retail");
  StoreText("String_Data", dir_);
  const struct {
    const wchar_t* element;
    Lines work;           // what the command logs between its frame lines
    const wchar_t* sent;  // what the client wrote down, in the line of its own
  } steps[] = {
      // The product name is the client's key and is never expanded.
      {L"<UsageReportingInit productName='Tool [Channel]' salesChannel='[Channel]' dbPath='[Data]'/>",
       {L"Creating UsageReportingApi\n", L"CUsageReportingApi::Init(Tool [Channel], retail, " + dir_ + L")\n",
        L"UsageReportingClient::Create Sucessful\n", L"UsageReportingApi initialized succesfully.\n"},
       L"\"call\":\"Create\""},
      {L"<UsageReportingSetProperty name='edition' value='[Channel] box'/>",
       {L"CUsageReportingApi::SetProperty(edition, retail box)\n", L"SetProperty name='edition', value='retail box'; result=0\n"},
       L"\"args\":{\"name\":\"edition\",\"value\":\"retail box\"}"},
      {L"<UsageReportingReport eventName='started'/>",
       {L"CUsageReportingApi::Report(started)\n", L"Reported eventName='started'; result=0\n"},
       L"\"args\":{\"eventName\":\"started\"}"},
      {L"<UsageReportingBeginReport name='unpack' variable='Unpack'/>",
       {L"CUsageReportingApi::BeginReport(unpack, int_Unpack)\n",
        L"BeginReport name='unpack', variable='int_Unpack'; result=0\n"},
       L"\"args\":{\"name\":\"unpack\",\"handle\":1}"},
      // Another name at the end is passed on as it stands; the client is given ten seconds first.
      {L"<UsageReportingEndReport name='unpacked' variable='Unpack'/>",
       {L"CUsageReportingApi::EndReport(unpacked, int_Unpack)\n",
        L"EndReport name='unpacked', variable='int_Unpack'; result=0\n"},
       L"\"args\":{\"name\":\"unpacked\",\"handle\":1}"},
      // A second Init only expands its texts.
      {L"<UsageReportingInit productName='Other' salesChannel='[Channel] 2' dbPath='[Data]x'/>", {}, nullptr},
  };
  void* published = nullptr;
  for (const auto& step : steps) {
    SCOPED_TRACE(Narrow(step.element));
    CInstallCommand* command = Add(step.element);
    size_t mark = log_->Mark();
    ULONGLONG start = GetTickCount64();
    EXPECT_EQ(Run(command), 0);
    EXPECT_EQ(log_->Work(mark), step.work);
    EXPECT_EQ(GetTickCount64() - start >= 9900, Holds(step.element, L"EndReport")) << "only EndReport waits";
    if (published == nullptr) published = reinterpret_cast<void*>(StoreRead("SelfFree_UsageReportingApi"));
    EXPECT_EQ(reinterpret_cast<void*>(StoreRead("SelfFree_UsageReportingApi")), published);
    if (step.sent != nullptr) EXPECT_TRUE(Holds(ReportLines(dir_).back(), step.sent)) << Narrow(ReportLines(dir_).back());
    if (step.work.empty()) {
      EXPECT_STREQ(static_cast<CUsageReportingInitCommand*>(command)->salesChannel.Get(), L"retail 2");
    }
  }
  EXPECT_EQ(ReportLines(dir_).size(), 5u);
  EXPECT_EQ(StoreRead("int_Unpack"), 0u) << "the handle is taken out at the end";
}

TEST_F(UsageReportingTest, TheApisSlotsCarryAHandleWholeThroughTheStore) {
  // A client that gives handle -1: the variable holds -1 on all 64 bits, and -1 comes back.
  SetEnvironmentVariableW(L"USAGEREPORTING_FAULT", L"BeginReport.handle=-1");
  size_t mark = log_->Mark();
  void* api = new CUsageReportingApi();  // its slots called by number: 2 Init, 3 SetProperty, 4 Report, 5 Begin, 6 End
  EXPECT_EQ((CallSlot<int32_t, const wchar_t*, const wchar_t*, const wchar_t*>(api, 2, L"Slots", nullptr, dir_.c_str())), 0);
  EXPECT_EQ(log_->Since(mark).front(), L"CUsageReportingApi::Init(Slots, (NULL), " + dir_ + L")\n");
  EXPECT_EQ((CallSlot<int32_t, const wchar_t*, const wchar_t*>(api, 3, L"k", L"v")), 0);
  EXPECT_EQ((CallSlot<int32_t, const wchar_t*>(api, 4, L"e")), 0);
  EXPECT_TRUE(Holds(ReportLines(dir_).back(), L"\"channel\":null,\"call\":\"Report\""));
  EXPECT_EQ((CallSlot<int32_t, const wchar_t*, const char*>(api, 5, L"r", "int_Span")), 0);
  EXPECT_EQ(StoreRead("int_Span"), ~0ull);
  // The end takes the handle out before the client answers, so a second end ends report 0.
  CallSlot<int32_t, const wchar_t*, const char*>(api, 6, L"r", "int_Span");
  EXPECT_EQ(StoreRead("int_Span"), 0u);
  EXPECT_TRUE(Holds(ReportLines(dir_).back(), L"\"handle\":-1")) << Narrow(ReportLines(dir_).back());
  EXPECT_NE((CallSlot<int32_t, const wchar_t*, const char*>(api, 6, L"r", "int_Span")), 0) << "no report 0";
  EXPECT_TRUE(Holds(ReportLines(dir_).back(), L"\"handle\":0"));
  CallSlot<void>(api, 0);
}

TEST_F(UsageReportingTest, AFailedInitPublishesNothingAndALaterOneTriesAgain) {
  StoreText("String_Data", dir_);
  SetEnvironmentVariableW(L"USAGEREPORTING_FAULT", L"Create=5");
  CInstallCommand* init = Add(L"<UsageReportingInit productName='Tool' dbPath='[Data]'/>");
  size_t mark = log_->Mark();
  EXPECT_EQ(Run(init), 0);
  EXPECT_EQ(Run(Add(L"<UsageReportingEndReport name='n' variable='Never'/>"), 5000), 0) << "no client: no wait";
  EXPECT_EQ(log_->Work(mark), (Lines{L"Creating UsageReportingApi\n", L"CUsageReportingApi::Init(Tool, (NULL), " + dir_ + L")\n",
                                     L"Failed to init UsageReportingApi. Error 5\n",
                                     L"No UsageReportingApi, cannot report anything.\n"}));
  EXPECT_EQ(StoreRead("SelfFree_UsageReportingApi"), 0u);
  SetEnvironmentVariableW(L"USAGEREPORTING_FAULT", nullptr);
  EXPECT_EQ(Run(init), 0);
  EXPECT_NE(StoreRead("SelfFree_UsageReportingApi"), 0u);
}
