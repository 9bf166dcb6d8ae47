// Catches a zone mark that is not written, written with the wrong zone, or that
// stops the script when the file's folder or the path's variable is missing.
// Wine keeps the stream as a file named "<file>:Zone.Identifier".
#include "tests/files/FilesFixture.h"

class WriteIEADSTest : public FilesTest {};

TEST_F(WriteIEADSTest, MarksTheInternetZoneAndFailuresLetTheScriptGoOn) {
  WriteAll(At(L"tool.exe"), "program bytes");
  WriteAll(At(L"tool.exe:Zone.Identifier"), "[ZoneTransfer]\r\nZoneId=4\r\nReferrerUrl=http://example/long");
  EXPECT_EQ(Run(Add(L"<WriteIEADS index='1' pathFile='[Work]tool.exe'/>")), 0);
  EXPECT_EQ(ReadAll(At(L"tool.exe:Zone.Identifier")), std::string("[ZoneTransfer]\r\nZoneId=3\0", 25));
  EXPECT_EQ(ReadAll(At(L"tool.exe")), "program bytes");

  size_t mark = log_->Mark();
  EXPECT_EQ(Run(Add(L"<WriteIEADS index='2' pathFile='[Work]no\\tool.exe'/>")), 0);
  EXPECT_EQ(Run(Add(L"<WriteIEADS index='3' pathFile='[Nowhere]tool.exe'/>")), 0);
  Lines expected = {L"2: Write IE ADS for " + At(L"no\\tool.exe") + L"\n",
                    L"2: Could not open " + At(L"no\\tool.exe") + L":Zone.Identifier errCode:3\n",
                    L"ExpandVariables: No variable 'String_Nowhere' could be found.\n",
                    L"3: Write IE ADS for (null)\n",
                    L"3: Could not open :Zone.Identifier errCode:87\n"};
  EXPECT_EQ(log_->Work(mark), expected);
}
