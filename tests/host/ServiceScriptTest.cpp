// Service commands in scripts run by the engine: a real service is created,
// started, stopped and removed, and the script sees the outcome through
// int_<var> and int_<errVar>, which later commands test with execCondition.
#include <windows.h>

#include "tests/host/HostRun.h"
#include "tests/services/RealService.h"

namespace {

std::string Narrow(const std::wstring& text) { return std::string(text.begin(), text.end()); }

// XML attribute text: the binary path is quoted.
std::string Escaped(const std::wstring& text) {
  std::string escaped;
  for (char c : Narrow(text)) escaped += c == '"' ? std::string("&quot;") : std::string(1, c);
  return escaped;
}

}  // namespace

class ServiceScriptTest : public HostRunTest {
 protected:
  void TearDown() override {
    RemoveTestService(service_);
    HostRunTest::TearDown();
  }
  std::wstring service_ = L"SvcTestScript_" + std::to_wstring(GetCurrentProcessId()) + L"_" +
                          std::to_wstring(GetTickCount());
};

TEST_F(ServiceScriptTest, ScriptCreatesStartsStopsAndRemovesAService) {
  std::string name = Narrow(service_);
  std::wstring script = Script(R"(<install>
  <variables>
    <variable name="String_SvcName" value=")" + name + R"("/>
    <variable name="String_SvcBinary" value=")" + Escaped(TestServicePath(L"")) + R"("/>
  </variables>
  <commands>
    <CreateService index="1" var="Created" serviceName="[SvcName]" displayName="Script test service"
                   description="Made by a script" serviceType="16" startType="3"
                   pathName="[SvcBinary] /startpending=500"/>
    <StartService index="2" execCondition="Created" serviceName="[SvcName]" waitChangeState="1" timeout="10"/>
    <StopService index="3" execCondition="Created" serviceName="[SvcName]" waitChangeState="1"
                 timeout="INFINITE" errVar="StopFailed"/>
    <SetEvent index="4" execCondition="StopFailed" eventVar="StopFailedMark"/>
    <UninstallService index="5" execCondition="Created" serviceName=")" + name + R"(" next="0"/>
  </commands>
</install>)");
  RunResult run = RunInstaller(L"/trace " + script);
  EXPECT_EQ(run.exitCode, 0u) << run.err;
  const std::string warning = "[InstallCommand] Warning: GetNextIndex called before Execute\n";
  // executed is never set: the command's own GetNextIndex warns, and so does the
  // walk's.
  EXPECT_TRUE(Has(run.err, "1: CreateService Begin execute.\n" + warning +
                               "1: CreateService End execute. Next command 2.\n" + warning))
      << run.err;
  EXPECT_TRUE(Has(run.err, "2: StartService Begin execute.\nserviceStatus: 1 \nStarting service: \n" + warning))
      << run.err;
  EXPECT_TRUE(Has(run.err, "3: StopService Begin execute.\n" + warning + "3: StopService End execute.")) << run.err;
  EXPECT_TRUE(Has(run.err, "[Main] Command 4 not required.\n")) << "int_StopFailed stayed 0: " << run.err;
  EXPECT_TRUE(Has(run.err, "5: UninstallService Begin execute.\n" + warning + "5: UninstallService End execute."))
      << run.err;
  EXPECT_FALSE(Has(run.err, "failed")) << run.err;
  EXPECT_FALSE(ServiceExists(service_));
}

TEST_F(ServiceScriptTest, FailuresReachTheScriptThroughItsVariables) {
  // StopService on a missing service sets int_StopFailed, which lets command 2
  // run; then a CreateService whose name cannot be expanded stops the walk with
  // 1359 and leaves int_Created at 0, so command 4 never runs.
  std::string name = Narrow(service_);
  std::wstring script = Script(R"(<install>
  <commands>
    <StopService index="1" serviceName=")" + name + R"(" errVar="StopFailed"/>
    <SetEvent index="2" execCondition="StopFailed" eventVar="StopFailedMark"/>
    <CreateService index="3" var="Created" serviceName="[NoSuchName]" displayName="x" description="x"
                   serviceType="16" startType="3" pathName="x.exe"/>
    <SetEvent index="4" eventVar="NeverReached"/>
  </commands>
</install>)");
  RunResult run = RunInstaller(L"/trace " + script);
  EXPECT_EQ(run.exitCode, 1359u) << run.err;
  EXPECT_TRUE(Has(run.err, "[StopWinService] Stop windows service (" + name + ") failed")) << run.err;
  EXPECT_TRUE(Has(run.err, "HANDLE_StopFailedMark doesn't contain an event to set!\n")) << run.err;
  EXPECT_TRUE(Has(run.err, "ExpandVariables: No variable 'String_NoSuchName' could be found.\n"
                           "Cannot expand command. Error\n"))
      << run.err;
  EXPECT_TRUE(Has(run.err, "command 3 <CreateService> stopped the run with status 1359")) << run.err;
  EXPECT_FALSE(Has(run.err, "NeverReached")) << run.err;
}
