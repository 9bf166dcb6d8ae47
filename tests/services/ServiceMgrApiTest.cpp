// The service manager's interface called through raw slot numbers, as a caller
// built by another compiler would, on a real service.
#include "engine/interfaces/WinapiInterface.h"
#include "services/ServiceMgrApi.h"
#include "tests/services/RealService.h"
#include "tests/support/PluginFixture.h"

namespace {

template <class R, class... A>
R CallSlot(void* object, int slot, A... args) {
  using Fn = R (*)(void*, A...);
  return reinterpret_cast<Fn>((*reinterpret_cast<void***>(object))[slot])(object, args...);
}

}  // namespace

class ServiceMgrApiTest : public PluginTest {
 protected:
  void TearDown() override {
    RemoveTestService(name_);
    PluginTest::TearDown();
  }
  std::wstring name_ = UniqueName(L"SvcTestSlots");
};

TEST_F(ServiceMgrApiTest, OperationsSitInTheirSlots) {
  void* api = new CServiceMgrApi(new CWinapiInterface(), true);
  std::wstring path = TestServicePath(L"/startpending=300 /stoppending=300");
  ServiceConfig config = {&name_[0], const_cast<wchar_t*>(L"Slots"), const_cast<wchar_t*>(L"slot test"),
                          SERVICE_ALL_ACCESS, SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START,
                          SERVICE_ERROR_NORMAL, &path[0], nullptr, nullptr, nullptr, nullptr, nullptr};
  EXPECT_EQ((CallSlot<int32_t, const ServiceConfig*, bool>(api, 6, &config, true)), 0);  // CreateWinService
  EXPECT_EQ((CallSlot<int32_t, const ServiceConfig*, bool>(api, 6, &config, false)), 0);  // the update
  config.serviceType = 0;
  EXPECT_EQ((CallSlot<int32_t, const ServiceConfig*, bool>(api, 6, &config, false)), 87) << "the system error";

  ServiceHandles handles = {};
  EXPECT_EQ((CallSlot<int32_t, const wchar_t*, DWORD, ServiceHandles*>(api, 4, name_.c_str(), 0, &handles)), 0);
  ASSERT_NE(handles.scManager, nullptr);
  ASSERT_NE(handles.service, nullptr);
  SERVICE_STATUS_PROCESS status = {};
  EXPECT_TRUE((CallSlot<bool, SC_HANDLE, SERVICE_STATUS_PROCESS*>(api, 5, handles.service, &status)));
  EXPECT_EQ(status.dwCurrentState, static_cast<DWORD>(SERVICE_STOPPED));
  EXPECT_FALSE((CallSlot<bool, SC_HANDLE, SERVICE_STATUS_PROCESS*>(api, 5, nullptr, &status)));
  CloseServiceHandles(&handles);
  EXPECT_EQ(handles.scManager, nullptr);
  EXPECT_EQ(handles.service, nullptr);

  EXPECT_EQ((CallSlot<int32_t, const wchar_t*, bool, int32_t>(api, 2, name_.c_str(), true, 10)), 0);  // Start
  EXPECT_EQ(ServiceState(name_), static_cast<DWORD>(SERVICE_RUNNING));
  EXPECT_EQ((CallSlot<int32_t, const wchar_t*, bool, int32_t>(api, 1, name_.c_str(), true, 10)), 0);  // Stop
  EXPECT_EQ(ServiceState(name_), static_cast<DWORD>(SERVICE_STOPPED));
  EXPECT_EQ((CallSlot<int32_t, const wchar_t*>(api, 3, name_.c_str())), 0);  // UninstallWinService
  EXPECT_FALSE(ServiceExists(name_));
  EXPECT_EQ((CallSlot<int32_t, const wchar_t*>(api, 3, name_.c_str())), 1);

  // Only the service failed to open: the manager's handle is left to the caller.
  EXPECT_EQ((CallSlot<int32_t, const wchar_t*, DWORD, ServiceHandles*>(api, 4, name_.c_str(), 0, &handles)), 1);
  EXPECT_NE(handles.scManager, nullptr);
  EXPECT_EQ(handles.service, nullptr);
  CloseServiceHandles(&handles);

  std::vector<std::wstring> expected = {
      L"[CreateWinService]The service already exists. Service handle: ",
      L"[CreateWinService]The service already exists. Service handle: ",
      L"[CreateWinService]ChangeServiceConfig failed (87)\n",
      L"serviceStatus: 1 \n",
      L"Starting service: \n",
      L"[OpenWindowsService]Cannot open service. Service handle: 0",
      L"[OpenWindowsService]Cannot open service. Service handle: 0",
  };
  std::vector<std::wstring> lines = log_->Lines();
  ASSERT_EQ(lines.size(), expected.size());
  for (size_t i = 0; i < lines.size(); ++i) EXPECT_EQ(lines[i].rfind(expected[i], 0), 0u) << i;

  EXPECT_EQ((CallSlot<void*, unsigned int>(api, 0, 1u)), api);  // deleting destructor, owned table with it
}
