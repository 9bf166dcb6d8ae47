// WriteIEADS on real files. Wine keeps an alternate stream as a file of its own
// named "<file>:Zone.Identifier", which reads back under the same name.
#include "tests/files/FilesFixture.h"

class WriteIEADSTest : public FilesTest {};

TEST_F(WriteIEADSTest, WritesTheInternetZoneAndReplacesAnEarlierStream) {
  SetString("String_Work", folder_);
  WriteAll(At(L"tool.exe"), "program bytes");
  WriteAll(At(L"tool.exe:Zone.Identifier"), "[ZoneTransfer]\r\nZoneId=4\r\nReferrerUrl=http://example/long");
  CInstallCommand* mark = Add(L"<WriteIEADS index='1' pathFile='[Work]tool.exe'/>");
  EXPECT_EQ(Run(mark), 0);
  EXPECT_EQ(ReadAll(At(L"tool.exe:Zone.Identifier")), std::string("[ZoneTransfer]\r\nZoneId=3\0", 25));
  EXPECT_EQ(ReadAll(At(L"tool.exe")), "program bytes");
  std::vector<std::wstring> expected = {L"1: Write IE ADS for " + At(L"tool.exe") + L"\n",
                                        L"1: WriteIEADS End execute. Next command 2.\n"};
  EXPECT_EQ(log_->Lines(), expected);
  EXPECT_TRUE(mark->executed);
}

TEST_F(WriteIEADSTest, FailuresAreLoggedAndTheScriptGoesOn) {
  SetString("String_Work", folder_);
  CInstallCommand* missingFolder = Add(L"<WriteIEADS index='1' pathFile='[Work]no\\tool.exe'/>");
  CInstallCommand* unknown = Add(L"<WriteIEADS index='2' pathFile='[Nowhere]tool.exe'/>");
  EXPECT_EQ(Run(missingFolder), 0);
  EXPECT_EQ(Run(unknown), 0);
  std::vector<std::wstring> expected = {
      L"1: Write IE ADS for " + At(L"no\\tool.exe") + L"\n",
      L"1: Could not open " + At(L"no\\tool.exe") + L":Zone.Identifier errCode:3\n",
      L"1: WriteIEADS End execute. Next command 2.\n",
      L"ExpandVariables: No variable 'String_Nowhere' could be found.\n",
      L"2: Write IE ADS for (null)\n",
      L"2: Could not open :Zone.Identifier errCode:87\n",
      L"2: WriteIEADS End execute. Next command 3.\n"};
  EXPECT_EQ(log_->Lines(), expected);

  int32_t status = -1;
  CInstallCommand* none = CreateCommand(L"<WriteIEADS/>", &status);
  EXPECT_EQ(status, 1) << "pathFile is required";
  if (none != nullptr) none->Free();
}
