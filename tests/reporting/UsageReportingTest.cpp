// Fault caught: a usage report that does not reach the client as the script wrote it, a report handle lost or cut
// between its begin and end, an API slot moved.
#include <algorithm>

#include "reporting/UsageReportingApi.h"
#include "reporting/UsageReportingCommands.h"
#include "tests/support/PluginFixture.h"

namespace {

// The client library's report file: its number of lines, and whether its last line holds part.
size_t LineCount(const std::wstring& folder) {
  std::string text = ReadAll(folder + L"UsageReport.jsonl");
  return std::count(text.begin(), text.end(), '\n');
}
bool LastLineHolds(const std::wstring& folder, const std::wstring& part) {
  std::string text = ReadAll(folder + L"UsageReport.jsonl");
  std::string last = text.substr(text.rfind('\n', text.size() - 2) + 1);
  return Widen(last).find(part) != std::wstring::npos;
}

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
    EXPECT_EQ(GetTickCount64() - start >= 9900, (wcsstr(step.element, L"EndReport") != nullptr)) << "only EndReport waits";
    if (published == nullptr) published = reinterpret_cast<void*>(StoreRead("SelfFree_UsageReportingApi"));
    EXPECT_EQ(reinterpret_cast<void*>(StoreRead("SelfFree_UsageReportingApi")), published);
    if (step.sent != nullptr) EXPECT_TRUE(LastLineHolds(dir_, step.sent));
    if (step.work.empty()) {
      EXPECT_STREQ(static_cast<CUsageReportingInitCommand*>(command)->salesChannel.Get(), L"retail 2");
    }
  }
  EXPECT_EQ(LineCount(dir_), 5u);
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
  EXPECT_TRUE(LastLineHolds(dir_, L"\"channel\":null,\"call\":\"Report\""));
  EXPECT_EQ((CallSlot<int32_t, const wchar_t*, const char*>(api, 5, L"r", "int_Span")), 0);
  EXPECT_EQ(StoreRead("int_Span"), ~0ull);
  // The end takes the handle out before the client answers, so a second end ends report 0.
  CallSlot<int32_t, const wchar_t*, const char*>(api, 6, L"r", "int_Span");
  EXPECT_EQ(StoreRead("int_Span"), 0u);
  EXPECT_TRUE(LastLineHolds(dir_, L"\"handle\":-1"));
  EXPECT_NE((CallSlot<int32_t, const wchar_t*, const char*>(api, 6, L"r", "int_Span")), 0) << "no report 0";
  EXPECT_TRUE(LastLineHolds(dir_, L"\"handle\":0"));
  CallSlot<void>(api, 0);
}
