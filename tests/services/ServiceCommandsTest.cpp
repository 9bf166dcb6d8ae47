// Fault caught: the product's service stopped, misconfigured or left behind (real services; waits checked with margin).
#include "tests/support/PluginFixture.h"

class ServiceCommandsTest : public PluginTest {
 protected:
  void TearDown() override {
    for (const std::wstring& name : services_) RemoveTestService(name);
    PluginTest::TearDown();
  }
  // A service name of this test's own, removed after the test; made and started
  // with switches when given.
  std::wstring NewName(const wchar_t* stem, const wchar_t* switches = nullptr, DWORD state = 0) {
    std::wstring name = UniqueName((std::wstring(L"SvcTest") + stem).c_str());
    services_.push_back(name);
    if (switches != nullptr) {
      EXPECT_TRUE(InstallTestService(name, switches));
    }
    if (state != 0) {
      EXPECT_EQ(StartTestService(name), 0u);
      EXPECT_TRUE(WaitForServiceState(name, state));
    }
    return name;
  }
  // Runs the command; its status, and how long it took in elapsed_.
  int32_t Timed(CInstallCommand* command) {
    ULONGLONG start = GetTickCount64();
    int32_t status = Run(command);
    elapsed_ = static_cast<DWORD>(GetTickCount64() - start);
    return status;
  }
  StoreValue Int(const std::wstring& bareName) { return StoreRead(("int_" + Narrow(bareName)).c_str()); }
  QUERY_SERVICE_CONFIGW* Config(const std::wstring& name, std::wstring* description = nullptr) {
    SC_HANDLE scm = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
    SC_HANDLE service = OpenServiceW(scm, name.c_str(), SERVICE_QUERY_CONFIG);
    DWORD needed = 0;
    bool read = QueryServiceConfigW(service, reinterpret_cast<QUERY_SERVICE_CONFIGW*>(config_), 8192, &needed);
    BYTE text[8192];
    if (description != nullptr && QueryServiceConfig2W(service, SERVICE_CONFIG_DESCRIPTION, text, 8192, &needed)) {
      auto* found = reinterpret_cast<SERVICE_DESCRIPTIONW*>(text)->lpDescription;
      *description = found != nullptr ? found : L"";
    }
    CloseServiceHandle(service);
    CloseServiceHandle(scm);
    return read ? reinterpret_cast<QUERY_SERVICE_CONFIGW*>(config_) : nullptr;
  }

  std::vector<std::wstring> services_;
  DWORD elapsed_ = 0;
  alignas(8) BYTE config_[8192];
};

TEST_F(ServiceCommandsTest, CreateMakesTheServiceFromExpandedTextsAndUpdatesAllButTheDescription) {
  std::wstring name = NewName(L"Create"), var = UniqueName(L"Created");
  StoreText("String_SvcTestBinary", TestServicePath(L""));
  StoreText("String_SvcTestProduct", L"Sample");
  StoreInt(("int_" + Narrow(var)).c_str(), 7);
  std::wstring head = L"<CreateService var='" + var + L"' serviceName='" + name + L"' ";
  EXPECT_EQ(Run(Add(head + L"displayName='[SvcTestProduct] service' description='Made by [SvcTestProduct]'"
                           L" serviceType='0x10' startType='3' pathName='[SvcTestBinary] /stoppending=0'/>")), 0);
  EXPECT_EQ(Int(var), 1u);
  // Wine accepts the failure actions without storing them: the empty log (no
  // "Could not change service config") is all that shows the call went through.
  EXPECT_EQ(log_->Work(), Lines{});
  std::wstring description;
  QUERY_SERVICE_CONFIGW* config = Config(name, &description);
  ASSERT_NE(config, nullptr);
  EXPECT_EQ(config->dwServiceType, static_cast<DWORD>(SERVICE_WIN32_OWN_PROCESS));
  EXPECT_EQ(config->dwStartType, static_cast<DWORD>(SERVICE_DEMAND_START));
  EXPECT_EQ(config->dwErrorControl, static_cast<DWORD>(SERVICE_ERROR_NORMAL)) << "errorControl defaults to 1";
  EXPECT_EQ(std::wstring(config->lpBinaryPathName), TestServicePath(L"/stoppending=0"));
  EXPECT_EQ(std::wstring(config->lpDisplayName), L"Sample service");
  EXPECT_EQ(description, L"Made by Sample");

  size_t mark = log_->Mark();
  EXPECT_EQ(Run(Add(head + L"displayName='Two' description='second' serviceType='16' startType='4' pathName='" +
                    TestServicePath(L"/paused") + L"'/>")), 0);
  EXPECT_EQ(Int(var), 1u);
  Lines lines = log_->Work(mark);
  ASSERT_EQ(lines.size(), 1u);
  // The handle's value is printed as it happens to be, without a line feed.
  EXPECT_EQ(lines[0].rfind(L"[CreateWinService]The service already exists. Service handle: ", 0), 0u);
  EXPECT_EQ(lines[0].find(L'\n'), std::wstring::npos);
  config = Config(name, &description);
  EXPECT_EQ(std::wstring(config->lpDisplayName), L"Two");
  EXPECT_EQ(config->dwStartType, static_cast<DWORD>(SERVICE_DISABLED));
  EXPECT_EQ(std::wstring(config->lpBinaryPathName), TestServicePath(L"/paused"));
  EXPECT_EQ(description, L"Made by Sample") << "an existing service keeps its description";

  mark = log_->Mark();
  EXPECT_EQ(Run(Add(head + L"displayName='Three' description='x' serviceType='0' startType='3'/>")), 0)
      << "a failed service call does not stop the script";
  EXPECT_EQ(Int(var), 0u);
  lines = log_->Work(mark);
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[1], L"[CreateWinService]ChangeServiceConfig failed (87)\n");
  EXPECT_EQ(lines[2], L"[CreateWinService] Create windows service (" + name + L") failed");
  EXPECT_EQ(std::wstring(Config(name)->lpDisplayName), L"Two");
}

TEST_F(ServiceCommandsTest, CreateFailuresLeaveTheFlagAtZeroAndAnUnsetVariableStopsTheWalk) {
  std::wstring refused = NewName(L"Refused"), unset = NewName(L"[SvcTestUnset]"), var = UniqueName(L"Made");
  StoreInt(("int_" + Narrow(var)).c_str(), 1);
  EXPECT_EQ(Run(Add(L"<CreateService var='" + var + L"' serviceName='" + refused +
                    L"' displayName='x' description='x' serviceType='0' startType='3' pathName='x.exe'/>")), 0);
  EXPECT_EQ(Int(var), 0u);
  StoreInt(("int_" + Narrow(var)).c_str(), 1);
  EXPECT_EQ(Run(Add(L"<CreateService var='" + var + L"' serviceName='" + unset +
                    L"' displayName='x' description='x' serviceType='16' startType='3'/>")), 1359);
  EXPECT_EQ(Int(var), 0u);
  EXPECT_EQ(log_->Work(), (Lines{L"[CreateWinService] Error creating service, errCode : 87.\n",
                                 L"[CreateWinService] Create windows service (" + refused + L") failed",
                                 L"ExpandVariables: No variable 'String_SvcTestUnset' could be found.\n",
                                 L"Cannot expand command. Error\n"}));
  EXPECT_FALSE(ServiceExists(refused));
  EXPECT_FALSE(ServiceExists(unset));
}

TEST_F(ServiceCommandsTest, StartWaitsThroughPendingStatesOnlyWhenTold) {
  std::wstring starting = NewName(L"Start", L"/startpending=1500");
  CInstallCommand* start = Add(L"<StartService index='3' serviceName='" + starting + L"' waitChangeState='1'/>");
  EXPECT_EQ(Timed(start), 0);
  EXPECT_EQ(ServiceState(starting), static_cast<DWORD>(SERVICE_RUNNING));
  EXPECT_GE(elapsed_, 1000u) << "it slept between queries while the service was starting";
  EXPECT_EQ(Timed(start), 0);
  EXPECT_LT(elapsed_, 900u) << "a running service is not waited for";
  EXPECT_EQ(log_->Work(), (Lines{L"serviceStatus: 1 \n", L"Starting service: \n"}));

  // A stopping service is waited for first, then started.
  std::wstring stopping = NewName(L"Restart", L"/startpending=0 /stoppending=2000", SERVICE_RUNNING);
  ASSERT_EQ(SendServiceControl(stopping, SERVICE_CONTROL_STOP), 0u);
  size_t mark = log_->Mark();
  EXPECT_EQ(Timed(Add(L"<StartService serviceName='" + stopping + L"' waitChangeState='1'/>")), 0);
  EXPECT_EQ(ServiceState(stopping), static_cast<DWORD>(SERVICE_RUNNING));
  EXPECT_GE(elapsed_, 1000u);
  EXPECT_EQ(log_->Work(mark), (Lines{L"serviceStatus: 3 \n", L"Starting service: \n"}));

  // Still starting for a good two seconds: without wait, with a timeout of 0
  // (one query, no sleep) and with INFINITE.
  std::wstring pending = NewName(L"Pending", L"/startpending=2500"), errVar = UniqueName(L"StartFailed");
  std::wstring head = L"<StartService serviceName='" + pending + L"' ";
  EXPECT_EQ(Run(Add(head + L"waitChangeState='0'/>")), 0);
  EXPECT_EQ(ServiceState(pending), static_cast<DWORD>(SERVICE_START_PENDING));
  mark = log_->Mark();
  EXPECT_EQ(Timed(Add(head + L"waitChangeState='1' timeout='0' errVar='" + errVar + L"'/>")), 0);
  EXPECT_LT(elapsed_, 900u);
  EXPECT_EQ(Int(errVar), 0u) << "StartService does not set errVar";
  EXPECT_EQ(Run(Add(head + L"waitChangeState='1' timeout='INFINITE'/>")), 0);
  EXPECT_EQ(ServiceState(pending), static_cast<DWORD>(SERVICE_RUNNING));
  EXPECT_EQ(log_->Work(mark), (Lines{L"serviceStatus: 2 \n", L"[StartWinService] Start windows service (" + pending +
                                     L") failed", L"serviceStatus: 2 \n"}));
}

TEST_F(ServiceCommandsTest, StopTimesOutAfterItsQueriesSendsNoSecondRequestAndReportsFailures) {
  std::wstring name = NewName(L"Stop", L"/startpending=0 /stoppending=4500", SERVICE_RUNNING);
  std::wstring errVar = UniqueName(L"StopFailed");
  std::wstring head = L"<StopService serviceName='" + name + L"' errVar='" + errVar + L"' ";
  CInstallCommand* shortWait = Add(head + L"waitChangeState='1' timeout='3'/>");
  // Three queries with two sleeps between them, then the failure.
  EXPECT_EQ(Timed(shortWait), 0);
  EXPECT_GE(elapsed_, 1800u);
  EXPECT_LT(elapsed_, 3500u);
  EXPECT_EQ(Int(errVar), 1u);
  EXPECT_EQ(ServiceState(name), static_cast<DWORD>(SERVICE_STOP_PENDING));
  // The manager refuses a second stop request (1061): had one been sent, this would fail.
  StoreInt(("int_" + Narrow(errVar)).c_str(), 0);
  EXPECT_EQ(Timed(Add(head + L"/>")), 0);
  EXPECT_LT(elapsed_, 900u);
  EXPECT_EQ(Run(Add(head + L"waitChangeState='1' timeout='INFINITE'/>")), 0);
  EXPECT_EQ(ServiceState(name), static_cast<DWORD>(SERVICE_STOPPED));
  EXPECT_EQ(Timed(shortWait), 0) << "stopping a stopped service succeeds at once";
  EXPECT_LT(elapsed_, 900u);
  EXPECT_EQ(Int(errVar), 0u);

  std::wstring stubborn = NewName(L"NoStop", L"/startpending=0 /nostop", SERVICE_RUNNING);
  std::wstring missing = NewName(L"Gone");
  EXPECT_EQ(Run(Add(L"<StopService serviceName='" + stubborn + L"' errVar='" + errVar + L"'/>")), 0);
  EXPECT_EQ(Int(errVar), 1u);
  EXPECT_EQ(ServiceState(stubborn), static_cast<DWORD>(SERVICE_RUNNING));
  EXPECT_EQ(Run(Add(L"<StopService serviceName='" + missing + L"'/>")), 0) << "without errVar only the log tells";
  EXPECT_EQ(log_->Work(), (Lines{L"[StopWinService] Stop windows service (" + name + L") failed",
                                 L"[StopWinService] Stop windows service (" + stubborn + L") failed",
                                 L"[OpenWindowsService]Cannot open service. Service handle: 0",
                                 L"[StopWinService] Stop windows service (" + missing + L") failed"}));
}
