// Fault caught: a machine without the usage reporting library that fails to install, or waits for reports that
// cannot be sent.
#include "tests/host/HostRun.h"

TEST_F(HostRunTest, WithoutTheUsageLibraryTheInstallRunsOnAtOnce) {
  std::wstring plugin = folder_ + L"InstallCommands.dll";
  ASSERT_TRUE(CopyFileW((BinFolder() + L"InstallCommands.dll").c_str(), plugin.c_str(), FALSE));
  std::wstring script = Script(R"(<install><commands>
    <UsageReportingInit productName="Tool"/>
    <UsageReportingBeginReport name="unpack" variable="Unpack"/>
    <UsageReportingEndReport name="unpack" variable="Unpack" next="0"/>
  </commands></install>)");
  ULONGLONG start = GetTickCount64();
  ProcessResult run = RunInstaller(L"/trace \"/plugin=" + plugin + L"\" " + script);
  EXPECT_LT(GetTickCount64() - start, 9000u) << "the end of a report waits only for a client";
  EXPECT_EQ(run.exitCode, 0u) << run.err;
  EXPECT_TRUE(Has(run.err, "cannot use the usage reporting library '" + Narrow(folder_) + "UsageReporting.dll' (error 126)"))
      << run.err;
  EXPECT_TRUE(Has(run.err, "Failed to init UsageReportingApi. Error 126\n"));
  EXPECT_TRUE(Has(run.err, "No UsageReportingApi, cannot report anything.\n"));
}
