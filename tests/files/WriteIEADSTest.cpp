// Fault caught: a downloaded program without its zone mark (Wine keeps the stream as a file "<file>:Zone.Identifier").
#include "tests/files/FilesFixture.h"

class WriteIEADSTest : public FilesTest {};

TEST_F(WriteIEADSTest, WritesTheInternetZoneReplacesAnEarlierStreamAndLogsFailures) {
  WriteAll(At(L"tool.exe"), "program bytes");
  WriteAll(At(L"tool.exe:Zone.Identifier"), "[ZoneTransfer]\r\nZoneId=4\r\nReferrerUrl=http://example/long");
  for (const wchar_t* path : {L"[Work]tool.exe", L"[Work]no\\tool.exe", L"[Nowhere]tool.exe"}) {
    EXPECT_EQ(Run(Add(L"<WriteIEADS index='1' pathFile='" + std::wstring(path) + L"'/>")), 0);
  }
  EXPECT_EQ(ReadAll(At(L"tool.exe:Zone.Identifier")), std::string("[ZoneTransfer]\r\nZoneId=3\0", 25));
  EXPECT_EQ(ReadAll(At(L"tool.exe")), "program bytes");
  EXPECT_EQ(log_->Work(), (Lines{L"1: Write IE ADS for " + At(L"tool.exe") + L"\n",
                                 L"1: Write IE ADS for " + At(L"no\\tool.exe") + L"\n",
                                 L"1: Could not open " + At(L"no\\tool.exe") + L":Zone.Identifier errCode:3\n",
                                 L"ExpandVariables: No variable 'String_Nowhere' could be found.\n",
                                 L"1: Write IE ADS for (null)\n", L"1: Could not open :Zone.Identifier errCode:87\n"}));
  int32_t status = -1;
  CreateCommand(L"<WriteIEADS/>", &status)->Free();
  EXPECT_EQ(status, 1) << "pathFile is required";
}
