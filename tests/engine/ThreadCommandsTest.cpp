// Fault caught: an install that hangs, or a chain that runs twice or not at all (Fork, Join, Cancel on real threads).
#include <algorithm>

#include "engine/ThreadInfo.h"
#include "tests/support/PluginFixture.h"

class ThreadCommandsTest : public PluginTest {
 protected:
  // A command at index that waits on its chain until the test opens the gates.
  void Gate(int32_t index) {
    std::wstring eventVar = UniqueName(L"Gate");
    HANDLE gate = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    VariableStore::Instance().Put(("HANDLE_" + Narrow(eventVar)).c_str(), reinterpret_cast<StoreValue>(gate));
    gates_.push_back(gate);
    Add(L"<WaitForHandle index='" + std::to_wstring(index) + L"' eventVar='" + eventVar +
        L"' waitAmount='10000' next='0'/>");
  }
  void OpenGates() {
    for (HANDLE gate : gates_) SetEvent(gate);
  }
  void TearDown() override {
    OpenGates();
    PluginTest::TearDown();
  }
  size_t Count(const std::wstring& line) {
    Lines lines = log_->Since();
    return std::count(lines.begin(), lines.end(), line);
  }
  // True when the lines of expected were logged in that order (others between).
  bool InOrder(const Lines& expected) {
    Lines all = log_->Since();
    auto at = all.begin();
    for (const std::wstring& line : expected) {
      at = std::find(at, all.end(), line);
      if (at == all.end()) return false;
    }
    return true;
  }
  std::vector<HANDLE> gates_;
};

TEST_F(ThreadCommandsTest, ForkWalksItsChainAndJoinWaitsForIt) {
  CInstallCommand* fork = Add(L"<Fork index='1' threadId='1' threadStart='10'/>");
  CInstallCommand* join = Add(L"<Join index='2' threadId='1'/>");
  Add(L"<CreateEvent index='10' eventVar='" + UniqueName(L"Chain") + L"'/>");
  Add(L"<SetEvent index='11' execCondition='Never' eventVar='Unused' next='0'/>");
  size_t mark = log_->Mark();
  EXPECT_EQ(Run(fork), 0);
  EXPECT_EQ(log_->Work(mark, worker_),
            (Lines{L"1: Fork Creating thread info for threadId=1.\n", L"1: Fork Starting threadId=1.\n"}));
  EXPECT_EQ(Run(join, 5000), 0);
  EXPECT_TRUE(InOrder({L"[ThreadId 1] Executing command 10.\n", L"10: CreateEvent End execute. Next command 11.\n",
                       L"[ThreadId 1] Command 11 not required.\n", kNotExecutedWarning,
                       L"[ThreadId 1] Reached end command.\n", L"[ThreadId 1] Joining.\n",
                       L"2: Join ThreadId=1 joined.\n"}))
      << Narrow(log_->Since().back());
  EXPECT_TRUE(log_->Contains(L"2: Join Found thread info for threadId=1.\n"));
  EXPECT_EQ(log_->StartedThreads(), 1u) << "the chain registers its thread with the logger";
}

TEST_F(ThreadCommandsTest, JoinBeforeForkWaitsUntilTheForkedChainEnds) {
  CInstallCommand* join = Add(L"<Join index='2' threadId='2'/>");
  CInstallCommand* fork = Add(L"<Fork index='1' threadId='2' threadStart='20'/>");
  Gate(20);
  HANDLE joiner = StartExecute(join);
  ASSERT_TRUE(log_->WaitFor(L"2: Join Waiting for threadId=2.\n"));
  EXPECT_TRUE(log_->Contains(L"2: Join Creating thread info for threadId=2.\n"));
  EXPECT_EQ(WaitForSingleObject(joiner, 100), WAIT_TIMEOUT) << "Join passed before anything was forked";
  EXPECT_EQ(Run(fork), 0);
  EXPECT_TRUE(log_->Contains(L"1: Fork Found thread info for threadId=2.\n"));
  ASSERT_TRUE(log_->WaitFor(L"20: WaitForHandle Begin execute.\n"));
  EXPECT_EQ(WaitForSingleObject(joiner, 50), WAIT_TIMEOUT) << "Join passed while the chain still ran";
  OpenGates();
  EXPECT_EQ(WaitForSingleObject(joiner, 5000), WAIT_OBJECT_0);
  CloseHandle(joiner);
}

TEST_F(ThreadCommandsTest, ThreadIdRunsOnceForTheWholeProcess) {
  CInstallCommand* first = Add(L"<Fork index='1' threadId='4' threadStart='40'/>");
  CInstallCommand* join = Add(L"<Join index='3' threadId='4'/>");
  Gate(40);
  Gate(41);
  EXPECT_EQ(Run(first), 0);
  EXPECT_EQ(Run(Add(L"<Fork index='2' threadId='4' threadStart='41'/>")), 0) << "a second Fork while it runs";
  OpenGates();
  EXPECT_EQ(Run(join, 5000), 0);
  EXPECT_EQ(Run(first), 0) << "a Fork after the chain has ended";
  EXPECT_EQ(Count(L"1: Fork Starting threadId=4.\n"), 1u);
  EXPECT_EQ(Count(L"2: Fork Starting threadId=4.\n"), 0u);
  EXPECT_EQ(Count(L"[ThreadId 4] Executing command 41.\n"), 0u);
  EXPECT_EQ(Run(join, 5000), 0) << "Join of an ended chain passes at once";
}

TEST_F(ThreadCommandsTest, CancelReachesAJoinInsideTheChain) {
  // Chain 5 joins chain 6, which nobody forks; cancelling chain 5 releases its
  // Join, and the chain stops before its next command.
  Add(L"<Join index='50' threadId='6'/>");
  Add(L"<SetEvent index='51' eventVar='NeverReached' next='0'/>");
  EXPECT_EQ(Run(Add(L"<Fork index='1' threadId='5' threadStart='50'/>")), 0);
  ASSERT_TRUE(log_->WaitFor(L"50: Join Waiting for threadId=6.\n"));
  EXPECT_EQ(Run(Add(L"<Cancel index='2' threadId='5'/>")), 0);
  ASSERT_TRUE(log_->WaitFor(L"[ThreadId 5] Joining.\n"));
  EXPECT_TRUE(InOrder({L"50: Join ThreadId=6 joined.\n", L"[ThreadId 5] cancel handle was signaled. Exiting\n",
                       L"[ThreadId 5] Joining.\n"}));
  EXPECT_EQ(Count(L"[ThreadId 5] Executing command 51.\n"), 0u);
}

TEST_F(ThreadCommandsTest, ChainEndsOnAFailedOrMissingCommand) {
  CInstallCommand* busy = Add(L"<SetEvent index='60' eventVar='Busy'/>");
  Add(L"<SetEvent index='70' eventVar='" + UniqueName(L"Missing") + L"' next='71'/>");
  // The test thread holds the first command, so the chain is turned away with 1359.
  EnterCriticalSection(&busy->lock);
  EXPECT_EQ(Run(Add(L"<Fork index='1' threadId='7' threadStart='60'/>")), 0);
  ASSERT_TRUE(log_->WaitFor(L"[ThreadId 7] Joining.\n"));
  LeaveCriticalSection(&busy->lock);
  EXPECT_TRUE(log_->Contains(L"[ThreadId 7] Command 60 failed.\n"));
  EXPECT_EQ(Run(Add(L"<Fork index='2' threadId='8' threadStart='70'/>")), 0);
  ASSERT_TRUE(log_->WaitFor(L"[ThreadId 8] Joining.\n"));
  EXPECT_TRUE(log_->Contains(L"[ThreadId 8] Next command 71 not found, ending.\n"));
  EXPECT_EQ(Run(Add(L"<Fork index='3' threadId='9' threadStart='99'/>")), 0);
  ASSERT_TRUE(log_->WaitFor(L"[ThreadId 9] Joining.\n"));
  EXPECT_TRUE(log_->Contains(L"[ThreadId 9] Entry command with index 99 not found, ending.\n"));
  char name[256] = {};
  ThreadInfoVarName(name, 9);
  EXPECT_EQ(WaitForSingleObject(reinterpret_cast<ThreadInfoType*>(StoreRead(name))->joinEvent, 0), WAIT_OBJECT_0);
}

TEST_F(ThreadCommandsTest, JoinConditionDecidesWhetherToWait) {
  // Thread 10 is cancelled first, so a Join that decides to wait passes at once.
  Run(Add(L"<Cancel index='1' threadId='10'/>"));
  StoreInt("int_Two", 2);
  StoreText("String_Answer", L"yes");
  StoreText("String_Expected", L"yes");
  StoreText("String_Outer", L"[Literal]");
  StoreText("String_Indirect", L"[Literal]");
  struct Case {
    const wchar_t* attributes;
    bool joins;
  } cases[] = {
      {L"condition='Two'", false},  // no value: the test is equality with 1
      {L"condition='Two' value='2'", true},
      {L"condition='Unset'", false},
      {L"condition='Answer' strValue='yes'", true},
      {L"condition='Answer' strValue='Yes'", false},  // exact comparison
      {L"condition='Answer' strValue='[Expected]'", true},
      {L"condition='Answer' strValue='[Nothing]'", false},
      {L"condition='NoSuchText' strValue='yes'", false},
      {L"condition='Indirect' strValue='[Outer]'", true},
  };
  int32_t index = 100;
  for (const Case& c : cases) {
    std::wstring head = std::to_wstring(++index) + L": Join ThreadId=10 ";
    CInstallCommand* join = Add(L"<Join index='" + std::to_wstring(index) + L"' threadId='10' " + c.attributes + L"/>");
    ASSERT_EQ(Run(join, 5000), 0);
    EXPECT_TRUE(log_->Contains(head + (c.joins ? L"joined.\n" : L"not joining.\n"))) << Narrow(c.attributes);
  }
  // The expanded text is kept: the second visit expands "[Literal]", which names no variable.
  ASSERT_EQ(Run((*commands_)[index], 5000), 0);
  EXPECT_TRUE(log_->Contains(std::to_wstring(index) + L": Join ThreadId=10 not joining.\n"));
}
