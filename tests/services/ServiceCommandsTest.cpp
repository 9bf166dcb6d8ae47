// The service commands against real services of the test binary, which lingers
// in its pending states or refuses to stop when its switches say so, so that the
// wait loops meet real states. The loops sleep a second between queries: the
// timings below are checked with a wide margin.
#include <windows.h>
#include <winsvc.h>

#include <vector>

#include "host/VariableStore.h"
#include "services/ServiceCommands.h"
#include "tests/services/RealService.h"
#include "tests/support/PluginFixture.h"

namespace {

const std::wstring kWarning = L"[InstallCommand] Warning: GetNextIndex called before Execute\n";

std::string Narrow(const std::wstring& text) { return std::string(text.begin(), text.end()); }

struct ServiceConfigInfo {
  DWORD type = 0, startType = 0, errorControl = 0;
  std::wstring path, displayName, description;
};

ServiceConfigInfo QueryConfig(const std::wstring& name) {
  ServiceConfigInfo info;
  SC_HANDLE scm = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
  SC_HANDLE service = OpenServiceW(scm, name.c_str(), SERVICE_QUERY_CONFIG);
  std::vector<BYTE> buffer(8192);
  DWORD needed = 0;
  if (service != nullptr &&
      QueryServiceConfigW(service, reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer.data()), 8192, &needed)) {
    auto* config = reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer.data());
    info.type = config->dwServiceType;
    info.startType = config->dwStartType;
    info.errorControl = config->dwErrorControl;
    info.path = config->lpBinaryPathName;
    info.displayName = config->lpDisplayName;
  }
  if (service != nullptr &&
      QueryServiceConfig2W(service, SERVICE_CONFIG_DESCRIPTION, buffer.data(), 8192, &needed)) {
    auto* description = reinterpret_cast<SERVICE_DESCRIPTIONW*>(buffer.data());
    if (description->lpDescription != nullptr) info.description = description->lpDescription;
  }
  if (service != nullptr) CloseServiceHandle(service);
  CloseServiceHandle(scm);
  return info;
}

}  // namespace

class ServiceCommandsTest : public PluginTest {
 protected:
  void TearDown() override {
    for (const std::wstring& name : services_) RemoveTestService(name);
    PluginTest::TearDown();
  }

  // A service name of this test's own, removed after the test.
  std::wstring NewName(const wchar_t* stem) {
    std::wstring name = UniqueName((std::wstring(L"SvcTest") + stem).c_str());
    services_.push_back(name);
    return name;
  }

  // Runs the command on a thread of its own, bounded, and gives its status and
  // how long it took.
  int32_t Run(CInstallCommand* command, DWORD* elapsedMs = nullptr) {
    ULONGLONG start = GetTickCount64();
    int32_t status = -1;
    EXPECT_TRUE(ExecuteOnThread(command, &status, 20000)) << "the command did not end within 20 s";
    if (elapsedMs != nullptr) *elapsedMs = static_cast<DWORD>(GetTickCount64() - start);
    return status;
  }

  void SetText(const char* name, const std::wstring& value) {
    VariableStore::Instance().Put(name, reinterpret_cast<StoreValue>(MakeString(value.c_str())));
  }
  StoreValue Int(const std::wstring& bareName) {
    return VariableStore::Instance().Get(("int_" + Narrow(bareName)).c_str());
  }
  void SetInt(const std::wstring& bareName, StoreValue value) {
    VariableStore::Instance().Put(("int_" + Narrow(bareName)).c_str(), value);
  }

  // The lines a service command always writes around its work.
  static std::vector<std::wstring> Framed(int index, const wchar_t* tag, std::vector<std::wstring> work) {
    std::wstring prefix = std::to_wstring(index) + L": " + tag;
    std::vector<std::wstring> lines = {prefix + L" Begin execute.\n"};
    lines.insert(lines.end(), work.begin(), work.end());
    lines.push_back(kWarning);
    lines.push_back(prefix + L" End execute. Next command " + std::to_wstring(index + 1) + L".\n");
    return lines;
  }
  // The lines logged since the count given.
  std::vector<std::wstring> LinesSince(size_t count) {
    std::vector<std::wstring> lines = log_->Lines();
    return std::vector<std::wstring>(lines.begin() + std::min(count, lines.size()), lines.end());
  }

  std::vector<std::wstring> services_;
};

TEST_F(ServiceCommandsTest, CreateMakesTheServiceFromExpandedTexts) {
  std::wstring name = NewName(L"Create");
  std::wstring var = UniqueName(L"Created");
  SetText("String_SvcTestBinary", TestServicePath(L""));
  SetText("String_SvcTestProduct", L"Sample");
  SetInt(var, 7);
  CInstallCommand* command =
      Add(L"<CreateService index='5' var='" + var + L"' serviceName='" + name +
          L"' displayName='[SvcTestProduct] service' description='Made by [SvcTestProduct]'"
          L" serviceType='0x10' startType='3' pathName='[SvcTestBinary] /stoppending=0'/>");
  ASSERT_NE(command, nullptr);
  EXPECT_EQ(Run(command), 0);

  EXPECT_EQ(Int(var), 1u);
  EXPECT_EQ(log_->Lines(), Framed(5, L"CreateService", {}));
  ServiceConfigInfo info = QueryConfig(name);
  EXPECT_EQ(info.type, static_cast<DWORD>(SERVICE_WIN32_OWN_PROCESS));
  EXPECT_EQ(info.startType, static_cast<DWORD>(SERVICE_DEMAND_START));
  EXPECT_EQ(info.errorControl, static_cast<DWORD>(SERVICE_ERROR_NORMAL)) << "errorControl defaults to 1";
  EXPECT_EQ(info.path, TestServicePath(L"/stoppending=0"));
  EXPECT_EQ(info.displayName, L"Sample service");
  EXPECT_EQ(info.description, L"Made by Sample");
  // The command keeps the expanded texts.
  auto* create = static_cast<CCreateServiceCommand*>(command);
  EXPECT_STREQ(create->config.displayName.Get(), L"Sample service");
  EXPECT_STREQ(create->config.pathName.Get(), TestServicePath(L"/stoppending=0").c_str());

  // The failure actions: Wine accepts them without storing them (and does not
  // answer the query for them), so all that can be checked here is that the call
  // went through, by the absence of "Could not change service config" above.
}

TEST_F(ServiceCommandsTest, CreateOnAnExistingServiceUpdatesAllButTheDescription) {
  std::wstring name = NewName(L"Update");
  std::wstring path = TestServicePath(L"");
  std::wstring first = UniqueName(L"First"), second = UniqueName(L"Second"), third = UniqueName(L"Third");
  CInstallCommand* create = Add(L"<CreateService index='1' var='" + first + L"' serviceName='" + name +
                                L"' displayName='One' description='first' serviceType='16' startType='3'"
                                L" pathName='" + path + L"'/>");
  CInstallCommand* update = Add(L"<CreateService index='2' var='" + second + L"' serviceName='" + name +
                                L"' displayName='Two' description='second' serviceType='16' startType='4'"
                                L" pathName='" + path + L" /paused'/>");
  CInstallCommand* broken = Add(L"<CreateService index='3' var='" + third + L"' serviceName='" + name +
                                L"' displayName='Three' description='third' serviceType='0' startType='3'/>");
  ASSERT_EQ(Run(create), 0);
  ASSERT_EQ(Int(first), 1u);
  size_t before = log_->Lines().size();
  EXPECT_EQ(Run(update), 0);
  EXPECT_EQ(Int(second), 1u);
  std::vector<std::wstring> lines = LinesSince(before);
  ASSERT_EQ(lines.size(), 4u);
  // The handle's value is printed as it happens to be.
  EXPECT_EQ(lines[1].rfind(L"[CreateWinService]The service already exists. Service handle: ", 0), 0u) << lines[1];
  EXPECT_EQ(lines[1].find(L'\n'), std::wstring::npos);
  ServiceConfigInfo info = QueryConfig(name);
  EXPECT_EQ(info.displayName, L"Two");
  EXPECT_EQ(info.startType, static_cast<DWORD>(SERVICE_DISABLED));
  EXPECT_EQ(info.path, path + L" /paused");
  EXPECT_EQ(info.description, L"first") << "an existing service keeps its description";

  before = log_->Lines().size();
  SetInt(third, 1);
  EXPECT_EQ(Run(broken), 0) << "a failed service call does not stop the script";
  EXPECT_EQ(Int(third), 0u);
  lines = LinesSince(before);
  ASSERT_EQ(lines.size(), 6u);
  EXPECT_EQ(lines[2], L"[CreateWinService]ChangeServiceConfig failed (87)\n");
  EXPECT_EQ(lines[3], L"[CreateWinService] Create windows service (" + name + L") failed");
  EXPECT_EQ(QueryConfig(name).displayName, L"Two");
}

TEST_F(ServiceCommandsTest, CreateFailureLeavesTheFlagAtZero) {
  std::wstring name = NewName(L"Refused");
  std::wstring var = UniqueName(L"Made");
  SetInt(var, 1);
  CInstallCommand* command = Add(L"<CreateService index='7' var='" + var + L"' serviceName='" + name +
                                 L"' displayName='x' description='x' serviceType='0' startType='3' pathName='" +
                                 TestServicePath(L"") + L"'/>");
  EXPECT_EQ(Run(command), 0);
  EXPECT_EQ(Int(var), 0u);
  EXPECT_EQ(log_->Lines(), Framed(7, L"CreateService",
                                  {L"[CreateWinService] Error creating service, errCode : 87.\n",
                                   L"[CreateWinService] Create windows service (" + name + L") failed"}));
  EXPECT_FALSE(ServiceExists(name));
}

TEST_F(ServiceCommandsTest, CreateWithAnUnsetVariableStopsWithStatus1359) {
  std::wstring name = NewName(L"[SvcTestUnset]");
  std::wstring var = UniqueName(L"Unmade");
  SetText("String_SvcTestProduct", L"Sample");
  SetInt(var, 1);
  CInstallCommand* command = Add(L"<CreateService index='2' var='" + var + L"' serviceName='" + name +
                                 L"' displayName='[SvcTestProduct]' description='[SvcTestProduct]' serviceType='16'"
                                 L" startType='3' pathName='" + TestServicePath(L"") + L"'/>");
  EXPECT_EQ(Run(command), 1359);
  EXPECT_EQ(Int(var), 0u);
  EXPECT_EQ(log_->Lines(), Framed(2, L"CreateService",
                                  {L"ExpandVariables: No variable 'String_SvcTestUnset' could be found.\n",
                                   L"Cannot expand command. Error\n"}));
  // displayName comes first and keeps its expansion; the rest stay as they were.
  auto* create = static_cast<CCreateServiceCommand*>(command);
  EXPECT_STREQ(create->config.displayName.Get(), L"Sample");
  EXPECT_STREQ(create->config.serviceName.Get(), name.c_str());
  EXPECT_STREQ(create->config.description.Get(), L"[SvcTestProduct]");
  EXPECT_FALSE(ServiceExists(name));
}

TEST_F(ServiceCommandsTest, LoadReadsRequiredAttributesDefaultsAndTimeouts) {
  // A missing required attribute ends Load with 1, and what follows it is not read.
  int32_t status = -1;
  CInstallCommand* command = CreateCommand(
      L"<CreateService var='v' serviceName='a' displayName='a' description='a' startType='3' pathName='p'/>", &status);
  ASSERT_NE(command, nullptr);
  EXPECT_EQ(status, 1);
  EXPECT_EQ(static_cast<CCreateServiceCommand*>(command)->config.pathName.Get(), nullptr);
  command->Free();
  command = CreateCommand(L"<CreateService serviceName='a' displayName='a' description='a' serviceType='16'"
                          L" startType='3'/>", &status);
  EXPECT_EQ(status, 1) << "var is required";
  command->Free();
  command = CreateCommand(L"<CreateService var='v' serviceName='a' displayName='a' description='a'"
                          L" serviceType='16' startType='3'/>", &status);
  EXPECT_EQ(status, 0);
  auto* create = static_cast<CCreateServiceCommand*>(command);
  EXPECT_EQ(create->config.desiredAccess, 0xF003Fu);
  EXPECT_EQ(create->config.errorControl, 1u);
  EXPECT_STREQ(create->var.Get(), "v");
  command->Free();

  struct Timeout {
    const wchar_t* attributes;
    bool wait;
    int32_t timeout;
  } timeouts[] = {
      {L"", false, 10},
      {L"waitChangeState='2' timeout='INFINITE'", true, -1},
      {L"waitChangeState='0' timeout='infinite'", false, 0},
      {L"timeout='0x10'", false, 16},
      {L"timeout='soon'", false, 0},
      {L"timeout='-1'", false, -1},
  };
  for (const Timeout& t : timeouts) {
    CInstallCommand* start = CreateCommand(std::wstring(L"<StartService serviceName='s' ") + t.attributes + L"/>");
    CInstallCommand* stop = CreateCommand(std::wstring(L"<StopService serviceName='s' ") + t.attributes + L"/>");
    ASSERT_NE(start, nullptr);
    ASSERT_NE(stop, nullptr);
    EXPECT_EQ(static_cast<CStartServiceCommand*>(start)->waitChangeState, t.wait) << Narrow(t.attributes);
    EXPECT_EQ(static_cast<CStartServiceCommand*>(start)->timeout, t.timeout) << Narrow(t.attributes);
    EXPECT_EQ(static_cast<CStopServiceCommand*>(stop)->waitChangeState, t.wait) << Narrow(t.attributes);
    EXPECT_EQ(static_cast<CStopServiceCommand*>(stop)->timeout, t.timeout) << Narrow(t.attributes);
    start->Free();
    stop->Free();
  }
}

TEST_F(ServiceCommandsTest, StartWaitsThroughStartPendingAndLeavesARunningServiceAlone) {
  std::wstring name = NewName(L"Start");
  ASSERT_TRUE(InstallTestService(name, L"/startpending=1500"));
  CInstallCommand* start = Add(L"<StartService index='3' serviceName='" + name + L"' waitChangeState='1'/>");
  DWORD elapsed = 0;
  EXPECT_EQ(Run(start, &elapsed), 0);
  EXPECT_EQ(ServiceState(name), static_cast<DWORD>(SERVICE_RUNNING));
  EXPECT_GE(elapsed, 1000u) << "it slept between queries while the service was starting";
  EXPECT_EQ(log_->Lines(), Framed(3, L"StartService", {L"serviceStatus: 1 \n", L"Starting service: \n"}));

  size_t before = log_->Lines().size();
  EXPECT_EQ(Run(start, &elapsed), 0);
  EXPECT_LT(elapsed, 900u) << "a running service is not waited for";
  EXPECT_EQ(LinesSince(before), Framed(3, L"StartService", {}));
}

TEST_F(ServiceCommandsTest, StartOfAStoppingServiceWaitsUntilItHasStopped) {
  std::wstring name = NewName(L"Restart");
  ASSERT_TRUE(InstallTestService(name, L"/startpending=0 /stoppending=2000"));
  ASSERT_EQ(StartTestService(name), 0u);
  ASSERT_TRUE(WaitForServiceState(name, SERVICE_RUNNING));
  ASSERT_EQ(SendServiceControl(name, SERVICE_CONTROL_STOP), 0u);
  ASSERT_EQ(ServiceState(name), static_cast<DWORD>(SERVICE_STOP_PENDING));

  CInstallCommand* start = Add(L"<StartService index='1' serviceName='" + name + L"' waitChangeState='1'/>");
  DWORD elapsed = 0;
  EXPECT_EQ(Run(start, &elapsed), 0);
  EXPECT_EQ(ServiceState(name), static_cast<DWORD>(SERVICE_RUNNING));
  EXPECT_GE(elapsed, 1000u);
  EXPECT_EQ(log_->Lines(), Framed(1, L"StartService", {L"serviceStatus: 3 \n", L"Starting service: \n"}));
}

TEST_F(ServiceCommandsTest, StartWithoutWaitThenWithTimeoutsOfZeroAndInfinite) {
  std::wstring name = NewName(L"Pending");
  ASSERT_TRUE(InstallTestService(name, L"/startpending=2500"));
  std::wstring errVar = UniqueName(L"StartFailed");
  CInstallCommand* noWait = Add(L"<StartService index='1' serviceName='" + name + L"' waitChangeState='0'/>");
  CInstallCommand* zero = Add(L"<StartService index='2' serviceName='" + name +
                              L"' waitChangeState='1' timeout='0' errVar='" + errVar + L"'/>");
  CInstallCommand* forever =
      Add(L"<StartService index='3' serviceName='" + name + L"' waitChangeState='1' timeout='INFINITE'/>");

  // Still starting for a good two seconds: had the command waited, it would run.
  DWORD elapsed = 0;
  EXPECT_EQ(Run(noWait), 0);
  EXPECT_EQ(ServiceState(name), static_cast<DWORD>(SERVICE_START_PENDING));

  size_t before = log_->Lines().size();
  EXPECT_EQ(Run(zero, &elapsed), 0);
  EXPECT_LT(elapsed, 900u) << "a timeout of 0 fails on the first query, without a sleep";
  EXPECT_EQ(LinesSince(before),
            Framed(2, L"StartService",
                   {L"serviceStatus: 2 \n", L"[StartWinService] Start windows service (" + name + L") failed"}));
  EXPECT_EQ(Int(errVar), 0u) << "StartService does not set errVar";

  before = log_->Lines().size();
  EXPECT_EQ(Run(forever, &elapsed), 0);
  EXPECT_EQ(ServiceState(name), static_cast<DWORD>(SERVICE_RUNNING));
  EXPECT_EQ(LinesSince(before), Framed(3, L"StartService", {L"serviceStatus: 2 \n"}));
}

TEST_F(ServiceCommandsTest, StartFailuresAreLoggedAndTheScriptGoesOn) {
  std::wstring missing = NewName(L"Missing");
  CInstallCommand* absent = Add(L"<StartService index='1' serviceName='" + missing + L"' waitChangeState='1'/>");
  EXPECT_EQ(Run(absent), 0);
  EXPECT_EQ(log_->Lines(),
            Framed(1, L"StartService",
                   {L"[OpenWindowsService]Cannot open service. Service handle: 0",
                    L"Cannot open service with name: " + missing + L". Lasterror: 1060",
                    L"[StartWinService] Start windows service (" + missing + L") failed"}));

  // Paused is neither stopped nor stopping: nothing is waited for or started.
  std::wstring paused = NewName(L"Paused");
  ASSERT_TRUE(InstallTestService(paused, L"/startpending=0 /paused"));
  ASSERT_EQ(StartTestService(paused), 0u);
  ASSERT_TRUE(WaitForServiceState(paused, SERVICE_PAUSED));
  CInstallCommand* resume = Add(L"<StartService index='2' serviceName='" + paused + L"' waitChangeState='1'/>");
  size_t before = log_->Lines().size();
  DWORD elapsed = 0;
  EXPECT_EQ(Run(resume, &elapsed), 0);
  EXPECT_LT(elapsed, 900u);
  EXPECT_EQ(LinesSince(before),
            Framed(2, L"StartService",
                   {L"serviceStatus: 7 \n", L"[StartWinService] Start windows service (" + paused + L") failed"}));

  // A service whose program is not there cannot be started.
  std::wstring broken = NewName(L"NoBinary");
  ASSERT_TRUE(InstallServiceWithPath(broken, TestServiceBinary() + L".absent.exe"));
  CInstallCommand* cannot = Add(L"<StartService index='3' serviceName='" + broken + L"'/>");
  before = log_->Lines().size();
  EXPECT_EQ(Run(cannot), 0);
  std::vector<std::wstring> lines = LinesSince(before);
  ASSERT_EQ(lines.size(), 7u);
  EXPECT_EQ(lines[1], L"serviceStatus: 1 \n");
  EXPECT_EQ(lines[2], L"Starting service: \n");
  EXPECT_EQ(lines[3].rfind(L"Start service failed " + broken + L". Lasterror: ", 0), 0u) << lines[3];
  EXPECT_EQ(lines[4], L"[StartWinService] Start windows service (" + broken + L") failed");
}

TEST_F(ServiceCommandsTest, StopTimesOutAfterItsQueriesAndSendsNoSecondRequest) {
  std::wstring name = NewName(L"Stop");
  ASSERT_TRUE(InstallTestService(name, L"/startpending=0 /stoppending=4500"));
  ASSERT_EQ(StartTestService(name), 0u);
  ASSERT_TRUE(WaitForServiceState(name, SERVICE_RUNNING));
  std::wstring errVar = UniqueName(L"StopFailed");
  std::wstring attributes = L" serviceName='" + name + L"' errVar='" + errVar + L"'";
  CInstallCommand* shortWait = Add(L"<StopService index='1'" + attributes + L" waitChangeState='1' timeout='3'/>");
  CInstallCommand* noWait = Add(L"<StopService index='2'" + attributes + L"/>");
  CInstallCommand* forever = Add(L"<StopService index='3'" + attributes + L" waitChangeState='1' timeout='INFINITE'/>");

  // Three queries with two sleeps between them, then the failure.
  DWORD elapsed = 0;
  EXPECT_EQ(Run(shortWait, &elapsed), 0);
  EXPECT_GE(elapsed, 1800u);
  EXPECT_LT(elapsed, 3500u);
  EXPECT_EQ(Int(errVar), 1u);
  EXPECT_EQ(ServiceState(name), static_cast<DWORD>(SERVICE_STOP_PENDING));
  EXPECT_EQ(log_->Lines(),
            Framed(1, L"StopService", {L"[StopWinService] Stop windows service (" + name + L") failed"}));

  // The manager refuses a second stop request (1061): had one been sent, this
  // would fail.
  SetInt(errVar, 0);
  size_t before = log_->Lines().size();
  EXPECT_EQ(Run(noWait, &elapsed), 0);
  EXPECT_LT(elapsed, 900u);
  EXPECT_EQ(Int(errVar), 0u);
  EXPECT_EQ(LinesSince(before), Framed(2, L"StopService", {}));

  EXPECT_EQ(Run(forever), 0);
  EXPECT_EQ(ServiceState(name), static_cast<DWORD>(SERVICE_STOPPED));
  EXPECT_EQ(Int(errVar), 0u);

  // Stopping a stopped service succeeds at once.
  before = log_->Lines().size();
  EXPECT_EQ(Run(shortWait, &elapsed), 0);
  EXPECT_LT(elapsed, 900u);
  EXPECT_EQ(Int(errVar), 0u);
  EXPECT_EQ(LinesSince(before), Framed(1, L"StopService", {}));
}

TEST_F(ServiceCommandsTest, StopFailuresSetTheErrorVariableWhenThereIsOne) {
  std::wstring stubborn = NewName(L"NoStop");
  ASSERT_TRUE(InstallTestService(stubborn, L"/startpending=0 /nostop"));
  ASSERT_EQ(StartTestService(stubborn), 0u);
  ASSERT_TRUE(WaitForServiceState(stubborn, SERVICE_RUNNING));
  std::wstring errVar = UniqueName(L"Refused");
  CInstallCommand* refused = Add(L"<StopService index='4' serviceName='" + stubborn + L"' errVar='" + errVar + L"'/>");
  EXPECT_EQ(Run(refused), 0);
  EXPECT_EQ(Int(errVar), 1u);
  EXPECT_EQ(ServiceState(stubborn), static_cast<DWORD>(SERVICE_RUNNING));
  EXPECT_EQ(log_->Lines(),
            Framed(4, L"StopService", {L"[StopWinService] Stop windows service (" + stubborn + L") failed"}));

  // Without errVar only the log tells.
  std::wstring missing = NewName(L"Gone");
  CInstallCommand* absent = Add(L"<StopService index='5' serviceName='" + missing + L"'/>");
  size_t before = log_->Lines().size();
  EXPECT_EQ(Run(absent), 0);
  EXPECT_EQ(LinesSince(before), Framed(5, L"StopService",
                                       {L"[OpenWindowsService]Cannot open service. Service handle: 0",
                                        L"[StopWinService] Stop windows service (" + missing + L") failed"}));
}

TEST_F(ServiceCommandsTest, UninstallDeletesWithoutStoppingAndReportsAMissingService) {
  std::wstring name = NewName(L"Remove");
  ASSERT_TRUE(InstallTestService(name, L"/startpending=0"));
  CInstallCommand* uninstall = Add(L"<UninstallService index='6' serviceName='" + name + L"'/>");
  EXPECT_EQ(Run(uninstall), 0);
  EXPECT_FALSE(ServiceExists(name));
  EXPECT_EQ(log_->Lines(), Framed(6, L"UninstallService", {}));

  size_t before = log_->Lines().size();
  EXPECT_EQ(Run(uninstall), 0);
  EXPECT_EQ(LinesSince(before), Framed(6, L"UninstallService",
                                       {L"[OpenWindowsService]Cannot open service. Service handle: 0",
                                        L"[UninstallWinService] Uninstall windows service (" + name + L") failed"}));

  // A running service is only marked for deletion: it goes on running until it
  // is stopped.
  std::wstring running = NewName(L"RemoveRunning");
  ASSERT_TRUE(InstallTestService(running, L"/startpending=0"));
  ASSERT_EQ(StartTestService(running), 0u);
  ASSERT_TRUE(WaitForServiceState(running, SERVICE_RUNNING));
  CInstallCommand* whileRunning = Add(L"<UninstallService index='7' serviceName='" + running + L"'/>");
  before = log_->Lines().size();
  EXPECT_EQ(Run(whileRunning), 0);
  EXPECT_EQ(LinesSince(before), Framed(7, L"UninstallService", {}));
  EXPECT_EQ(ServiceState(running), static_cast<DWORD>(SERVICE_RUNNING));
}

TEST_F(ServiceCommandsTest, NameWithAnUnsetVariableIsUsedAsItStands) {
  // Start and Stop fall back on the raw name, and Uninstall does not expand at
  // all, so a service whose name holds brackets is served by all three.
  std::wstring name = NewName(L"[SvcTestNotSet]");
  ASSERT_TRUE(InstallTestService(name, L"/startpending=0 /stoppending=0"));
  std::wstring errVar = UniqueName(L"Failed");
  CInstallCommand* start = Add(L"<StartService index='1' serviceName='" + name + L"' waitChangeState='1'/>");
  CInstallCommand* stop =
      Add(L"<StopService index='2' serviceName='" + name + L"' waitChangeState='1' errVar='" + errVar + L"'/>");
  CInstallCommand* uninstall = Add(L"<UninstallService index='3' serviceName='" + name + L"'/>");
  const std::wstring unset = L"ExpandVariables: No variable 'String_SvcTestNotSet' could be found.\n";

  EXPECT_EQ(Run(start), 0);
  EXPECT_EQ(ServiceState(name), static_cast<DWORD>(SERVICE_RUNNING));
  EXPECT_EQ(Run(stop), 0);
  EXPECT_EQ(ServiceState(name), static_cast<DWORD>(SERVICE_STOPPED));
  EXPECT_EQ(Int(errVar), 0u);
  EXPECT_EQ(Run(uninstall), 0);
  EXPECT_FALSE(ServiceExists(name));

  std::vector<std::wstring> expected = Framed(1, L"StartService", {unset, L"serviceStatus: 1 \n", L"Starting service: \n"});
  std::vector<std::wstring> stopLines = Framed(2, L"StopService", {unset});
  std::vector<std::wstring> uninstallLines = Framed(3, L"UninstallService", {});
  expected.insert(expected.end(), stopLines.begin(), stopLines.end());
  expected.insert(expected.end(), uninstallLines.begin(), uninstallLines.end());
  EXPECT_EQ(log_->Lines(), expected);
}

TEST_F(ServiceCommandsTest, ACommandRunningOnAnotherThreadIsSkippedWithStatusZero) {
  std::wstring missing = NewName(L"Busy");
  std::wstring errVar = UniqueName(L"BusyFailed");
  CInstallCommand* stop = Add(L"<StopService index='8' serviceName='" + missing + L"' errVar='" + errVar + L"'/>");
  CInstallCommand* create = Add(L"<CreateService index='9' var='" + errVar + L"' serviceName='" + missing +
                                L"' displayName='x' description='x' serviceType='16' startType='3'/>");
  EnterCriticalSection(&stop->lock);
  EnterCriticalSection(&create->lock);
  SetInt(errVar, 5);
  EXPECT_EQ(Run(stop), 0);
  EXPECT_EQ(Run(create), 0);
  LeaveCriticalSection(&create->lock);
  LeaveCriticalSection(&stop->lock);
  // No work, no message, and the variables are untouched.
  EXPECT_EQ(Int(errVar), 5u);
  std::vector<std::wstring> expected = Framed(8, L"StopService", {});
  std::vector<std::wstring> createLines = Framed(9, L"CreateService", {});
  expected.insert(expected.end(), createLines.begin(), createLines.end());
  EXPECT_EQ(log_->Lines(), expected);
  EXPECT_FALSE(ServiceExists(missing));
}
