// Fault caught: a script cannot create, start, stop and remove a real service, or see its failures.
#include "tests/host/HostRun.h"

TEST_F(HostRunTest, ServiceScriptCreatesStartsStopsAndRemovesAService) {
  std::string name = "SvcTestScript_" + std::to_string(GetCurrentProcessId());
  std::string binary;
  for (char c : Narrow(TestServicePath(L""))) binary += c == '"' ? std::string("&quot;") : std::string(1, c);
  std::string head = R"(<install><variables><variable name="String_SvcName" value=")" + name + R"("/></variables><commands>)";
  std::wstring script = Script(head + R"(
    <CreateService var="Created" serviceName="[SvcName]" displayName="Script test" description="x"
                   serviceType="16" startType="3" pathName=")" + binary + R"( /startpending=500"/>
    <StartService execCondition="Created" serviceName="[SvcName]" waitChangeState="1" timeout="10"/>
    <SetEvent execCondition="Created" eventVar="Hold" next="0"/>
  </commands></install>)");
  ProcessResult run = RunInstaller(script);
  EXPECT_EQ(run.exitCode, 0u) << run.err;
  EXPECT_EQ(ServiceState(Widen(name)), static_cast<DWORD>(SERVICE_RUNNING));
  script = Script(head + R"(
    <StopService serviceName="[SvcName]" waitChangeState="1" timeout="INFINITE" errVar="StopFailed"/>
    <UninstallService execCondition="StopFailed" serviceName="x"/>
    <UninstallService serviceName=")" + name + R"("/>
    <StopService serviceName="[SvcName]" errVar="StopFailed"/>
    <CreateService var="Created" serviceName="[NoSuchName]" displayName="x" description="x"
                   serviceType="16" startType="3" pathName="x.exe"/>
  </commands></install>)");
  run = RunInstaller(L"/trace " + script);
  // The missing service's stop fails, then a name that cannot expand stops the walk.
  EXPECT_EQ(run.exitCode, 1359u) << run.err;
  EXPECT_TRUE(Has(run.err, "[Main] Command 2 not required.\n")) << run.err;
  EXPECT_FALSE(ServiceExists(Widen(name)));
  RemoveTestService(Widen(name));
}
