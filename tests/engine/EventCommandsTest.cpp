// Fault caught: chains of a script that wait for each other forever, or not at all (real events).
#include "tests/support/PluginFixture.h"

class EventCommandsTest : public PluginTest {
 protected:
  HANDLE Stored(const std::wstring& eventVar) {
    return reinterpret_cast<HANDLE>(StoreRead(("HANDLE_" + Narrow(eventVar)).c_str()));
  }
  void Store(const std::wstring& eventVar, HANDLE event) {
    VariableStore::Instance().Put(("HANDLE_" + Narrow(eventVar)).c_str(), reinterpret_cast<StoreValue>(event));
  }
};

TEST_F(EventCommandsTest, CreateSetAndWaitMeetThroughTheVariable) {
  std::wstring eventVar = UniqueName(L"Progress");
  ASSERT_EQ(Run(Add(L"<CreateEvent index='1' eventVar='" + eventVar + L"' manualReset='1'/>")), 0);
  HANDLE event = Stored(eventVar);
  ASSERT_NE(event, nullptr);
  EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_TIMEOUT);
  ASSERT_EQ(Run(Add(L"<SetEvent index='2' eventVar='" + eventVar + L"'/>")), 0);
  EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0) << "manualReset='1' keeps it signalled";
  EXPECT_EQ(Run(Add(L"<WaitForHandle index='3' eventVar='" + eventVar + L"' waitAmount='infinite'/>"), 5000), 0);
  EXPECT_EQ(log_->Work(), Lines{});
}

TEST_F(EventCommandsTest, CreatingAgainClosesTheFirstEventAndANamedOneKeepsItsMode) {
  std::wstring eventVar = UniqueName(L"Twice");
  CInstallCommand* create = Add(L"<CreateEvent index='1' eventVar='" + eventVar + L"' initialState='1'/>");
  ASSERT_EQ(Run(create), 0);
  HANDLE first = Stored(eventVar);
  EXPECT_EQ(WaitForSingleObject(first, 0), WAIT_OBJECT_0) << "initialState='1' starts signalled";
  EXPECT_EQ(WaitForSingleObject(first, 0), WAIT_TIMEOUT) << "auto reset by default";
  ASSERT_EQ(Run(create), 0);
  EXPECT_NE(Stored(eventVar), first);
  DWORD flags = 0;
  EXPECT_FALSE(GetHandleInformation(first, &flags)) << "the first handle was not closed";

  std::wstring name = L"Local\\" + UniqueName(L"Named");
  HANDLE existing = CreateEventW(nullptr, TRUE, TRUE, name.c_str());
  ASSERT_EQ(Run(Add(L"<CreateEvent index='2' eventVar='" + eventVar + L"' eventName='" + name + L"' manualReset='0'/>")), 0);
  EXPECT_EQ(WaitForSingleObject(Stored(eventVar), 0), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(Stored(eventVar), 0), WAIT_OBJECT_0) << "still the existing manual-reset event";
  CloseHandle(existing);
}

TEST_F(EventCommandsTest, WaitEndsOnTimeoutOrCancelAlike) {
  std::wstring eventVar = UniqueName(L"Never");
  Store(eventVar, CreateEventW(nullptr, TRUE, FALSE, nullptr));
  DWORD start = GetTickCount();
  EXPECT_EQ(Run(Add(L"<WaitForHandle index='1' eventVar='" + eventVar + L"' waitAmount='50'/>")), 0);
  EXPECT_GE(GetTickCount() - start, 40u);
  // "0x10000" reads as decimal 0: no wait at all.
  EXPECT_EQ(Run(Add(L"<WaitForHandle index='2' eventVar='" + eventVar + L"' waitAmount='0x10000'/>"), 2000), 0);
  // An endless wait with a signalled cancel handle goes on as if the event came.
  SetEvent(cancel_);
  EXPECT_EQ(Run(Add(L"<WaitForHandle index='3' eventVar='" + eventVar + L"' waitAmount='INFINITE'/>"), 5000), 0);
}
