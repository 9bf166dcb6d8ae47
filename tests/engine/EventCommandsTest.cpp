// CreateEvent, SetEvent and WaitForHandle against real events.
#include "engine/EventCommands.h"
#include "host/VariableStore.h"
#include "tests/support/PluginFixture.h"

class EventCommandsTest : public PluginTest {
 protected:
  std::string HandleVar(const std::wstring& eventVar) {
    return "HANDLE_" + std::string(eventVar.begin(), eventVar.end());
  }
  HANDLE Stored(const std::wstring& eventVar) {
    return reinterpret_cast<HANDLE>(VariableStore::Instance().Get(HandleVar(eventVar).c_str()));
  }
  int32_t Run(CInstallCommand* command, HANDLE cancel = INVALID_HANDLE_VALUE) {
    return command->Execute(cancel, &storeLock_);
  }
};

TEST_F(EventCommandsTest, CreateSetAndWaitMeetThroughTheVariable) {
  std::wstring eventVar = UniqueName(L"Progress");
  CInstallCommand* create = Add(L"<CreateEvent index='1' eventVar='" + eventVar + L"' manualReset='1'/>");
  CInstallCommand* set = Add(L"<SetEvent index='2' eventVar='" + eventVar + L"'/>");
  CInstallCommand* wait = Add(L"<WaitForHandle index='3' eventVar='" + eventVar + L"' waitAmount='infinite'/>");
  ASSERT_EQ(Run(create), 0);
  HANDLE event = Stored(eventVar);
  ASSERT_NE(event, nullptr);
  EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_TIMEOUT);
  ASSERT_EQ(Run(set), 0);
  EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0) << "manualReset='1' keeps it signalled";
  EXPECT_TRUE(ExecuteOnThread(wait));
  std::vector<std::wstring> expected = {
      L"1: CreateEvent Begin execute.\n",   L"1: CreateEvent End execute. Next command 2.\n",
      L"2: SetEvent Begin execute.\n",      L"2: SetEvent End execute. Next command 3.\n",
      L"3: WaitForHandle Begin execute.\n", L"3: WaitForHandle End execute. Next command 4.\n"};
  EXPECT_EQ(log_->Lines(), expected);
}

TEST_F(EventCommandsTest, CreatingAgainClosesTheFirstEvent) {
  std::wstring eventVar = UniqueName(L"Twice");
  CInstallCommand* create = Add(L"<CreateEvent index='1' eventVar='" + eventVar + L"' initialState='1'/>");
  ASSERT_EQ(Run(create), 0);
  HANDLE first = Stored(eventVar);
  EXPECT_EQ(WaitForSingleObject(first, 0), WAIT_OBJECT_0) << "initialState='1' starts signalled";
  EXPECT_EQ(WaitForSingleObject(first, 0), WAIT_TIMEOUT) << "auto reset by default";
  ASSERT_EQ(Run(create), 0);
  HANDLE second = Stored(eventVar);
  EXPECT_NE(second, first);
  DWORD flags = 0;
  EXPECT_FALSE(GetHandleInformation(first, &flags)) << "the first handle was not closed";
}

TEST_F(EventCommandsTest, NamedEventThatExistsKeepsItsOwnMode) {
  std::wstring name = L"Local\\" + UniqueName(L"Named");
  HANDLE existing = CreateEventW(nullptr, TRUE, TRUE, name.c_str());
  std::wstring eventVar = UniqueName(L"Opened");
  CInstallCommand* create =
      Add(L"<CreateEvent index='1' eventVar='" + eventVar + L"' eventName='" + name + L"' manualReset='0'/>");
  ASSERT_EQ(Run(create), 0);
  HANDLE opened = Stored(eventVar);
  EXPECT_EQ(WaitForSingleObject(opened, 0), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(opened, 0), WAIT_OBJECT_0) << "still the existing manual-reset event";
  CloseHandle(existing);
}

TEST_F(EventCommandsTest, FailedCreationKeepsTheOldHandleAndTheGuard) {
  // A mutex of that name makes CreateEventW fail.
  std::wstring name = L"Local\\" + UniqueName(L"Taken");
  HANDLE mutex = CreateMutexW(nullptr, FALSE, name.c_str());
  std::wstring eventVar = UniqueName(L"Kept");
  HANDLE old = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  VariableStore::Instance().Put(HandleVar(eventVar).c_str(), reinterpret_cast<StoreValue>(old));
  CInstallCommand* create = Add(L"<CreateEvent index='4' eventVar='" + eventVar + L"' eventName='" + name + L"'/>");
  EXPECT_EQ(Run(create), 0);
  EXPECT_EQ(Stored(eventVar), old);
  EXPECT_FALSE(create->executed);
  std::vector<std::wstring> expected = {L"4: CreateEvent Begin execute.\n", L"Failed creating event!\n"};
  EXPECT_EQ(log_->Lines(), expected);
  int32_t other = -1;
  EXPECT_TRUE(ExecuteOnThread(create, &other));
  EXPECT_EQ(other, 1359);
  LeaveCriticalSection(&create->lock);
  CloseHandle(mutex);
}

TEST_F(EventCommandsTest, EmptyVariableReturnsEarly) {
  std::wstring eventVar = UniqueName(L"Nothing");
  CInstallCommand* set = Add(L"<SetEvent index='1' eventVar='" + eventVar + L"'/>");
  CInstallCommand* wait = Add(L"<WaitForHandle index='2' eventVar='" + eventVar + L"' waitAmount='INFINITE'/>");
  EXPECT_EQ(Run(set), 0);
  EXPECT_EQ(Run(wait), 0);
  std::vector<std::wstring> expected = {
      L"1: SetEvent Begin execute.\n", L"HANDLE_" + eventVar + L" doesn't contain an event to set!\n",
      L"2: WaitForHandle Begin execute.\n", L"HANDLE_" + eventVar + L" doesn't contain an event to wait for!\n"};
  EXPECT_EQ(log_->Lines(), expected);
  EXPECT_FALSE(set->executed);
  EXPECT_FALSE(wait->executed);
  LeaveCriticalSection(&set->lock);
  LeaveCriticalSection(&wait->lock);
}

TEST_F(EventCommandsTest, WaitEndsOnTimeoutOrCancelAlike) {
  std::wstring eventVar = UniqueName(L"Never");
  VariableStore::Instance().Put(HandleVar(eventVar).c_str(),
                                reinterpret_cast<StoreValue>(CreateEventW(nullptr, TRUE, FALSE, nullptr)));
  CInstallCommand* shortWait = Add(L"<WaitForHandle index='1' eventVar='" + eventVar + L"' waitAmount='50'/>");
  CInstallCommand* hexWait = Add(L"<WaitForHandle index='2' eventVar='" + eventVar + L"' waitAmount='0x10000'/>");
  CInstallCommand* endless = Add(L"<WaitForHandle index='3' eventVar='" + eventVar + L"' waitAmount='INFINITE'/>");

  DWORD start = GetTickCount();
  EXPECT_EQ(Run(shortWait), 0);
  EXPECT_GE(GetTickCount() - start, 40u);
  // "0x10000" is decimal 0: no wait at all, also with a cancel handle of 0.
  EXPECT_EQ(Run(hexWait, nullptr), 0);
  EXPECT_TRUE(log_->Contains(L"2: WaitForHandle End execute. Next command 3.\n"));

  // An endless wait with a signalled cancel handle goes on as if the event came.
  SetEvent(cancel_);
  int32_t status = -1;
  EXPECT_TRUE(ExecuteOnThread(endless, &status));
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(log_->Contains(L"3: WaitForHandle End execute. Next command 4.\n"));
}
