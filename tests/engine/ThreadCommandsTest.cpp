// Fork, Join and Cancel on real threads, in the orders a script can bring them.
#include <algorithm>

#include "engine/JoinCommand.h"
#include "engine/ThreadInfo.h"
#include "host/VariableStore.h"
#include "tests/support/PluginFixture.h"

class ThreadCommandsTest : public PluginTest {
 protected:
  // A command that waits, on the chain's thread, until the test releases it.
  std::wstring Gate(int32_t index, const std::wstring& rest = L"") {
    std::wstring eventVar = UniqueName(L"Gate");
    std::string name = "HANDLE_" + std::string(eventVar.begin(), eventVar.end());
    HANDLE gate = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    VariableStore::Instance().Put(name.c_str(), reinterpret_cast<StoreValue>(gate));
    gates_.push_back(gate);
    Add(L"<WaitForHandle index='" + std::to_wstring(index) + L"' eventVar='" + eventVar + L"' waitAmount='10000' " +
        rest + L"/>");
    return eventVar;
  }
  void OpenGates() {
    for (HANDLE gate : gates_) SetEvent(gate);
  }
  void TearDown() override {
    OpenGates();
    PluginTest::TearDown();
  }
  int32_t Run(CInstallCommand* command) { return command->Execute(INVALID_HANDLE_VALUE, &storeLock_); }
  // Lines the chains logged: everything but the test thread's own and those in
  // others.
  std::vector<std::wstring> ChainLines(std::vector<std::wstring> others = {}) {
    std::vector<std::wstring> all = log_->Lines();
    std::vector<std::wstring> mine = log_->LinesOf(GetCurrentThreadId());
    mine.insert(mine.end(), others.begin(), others.end());
    std::vector<std::wstring> chain;
    for (auto& line : all) {
      auto found = std::find(mine.begin(), mine.end(), line);
      if (found != mine.end()) {
        mine.erase(found);
      } else {
        chain.push_back(line);
      }
    }
    return chain;
  }
  size_t Count(const std::wstring& line) {
    auto lines = log_->Lines();
    return std::count(lines.begin(), lines.end(), line);
  }
  ThreadInfoType* Record(int32_t threadId) {
    char name[256] = {};
    ThreadInfoVarName(name, threadId);
    return reinterpret_cast<ThreadInfoType*>(VariableStore::Instance().Get(name));
  }

  std::vector<HANDLE> gates_;
};

TEST_F(ThreadCommandsTest, ForkWalksItsChainAndJoinWaitsForIt) {
  std::wstring eventVar = UniqueName(L"Signal");
  VariableStore::Instance().Put(("HANDLE_" + std::string(eventVar.begin(), eventVar.end())).c_str(),
                                reinterpret_cast<StoreValue>(CreateEventW(nullptr, TRUE, FALSE, nullptr)));
  CInstallCommand* fork = Add(L"<Fork index='1' threadId='1' threadStart='10'/>");
  CInstallCommand* join = Add(L"<Join index='2' threadId='1'/>");
  Add(L"<SetEvent index='10' eventVar='" + eventVar + L"'/>");
  Add(L"<SetEvent index='11' execCondition='Never' eventVar='" + eventVar + L"' next='0'/>");

  EXPECT_EQ(Run(fork), 0);
  int32_t status = -1;
  ASSERT_TRUE(ExecuteOnThread(join, &status));
  EXPECT_EQ(status, 0);
  std::vector<std::wstring> mine = log_->LinesOf(GetCurrentThreadId());
  std::vector<std::wstring> expectedMine = {
      L"1: Fork Begin execute, threadId=1, threadStart=10.\n",
      L"1: Fork Creating thread info for threadId=1.\n",
      L"1: Fork Starting threadId=1.\n",
      L"1: Fork End execute. Next command 2.\n"};
  EXPECT_EQ(mine, expectedMine);
  std::vector<std::wstring> expectedJoin = {
      L"2: Join Begin execute, threadId=1.\n",
      L"2: Join Found thread info for threadId=1.\n",
      L"2: Join Waiting for threadId=1.\n",
      L"2: Join ThreadId=1 joined.\n",
      L"2: Join End execute. Next command 3.\n"};
  for (const std::wstring& line : expectedJoin) EXPECT_TRUE(log_->Contains(line)) << std::string(line.begin(), line.end());
  std::vector<std::wstring> expectedChain = {
      L"[ThreadId 1] Executing command 10.\n",
      L"10: SetEvent Begin execute.\n",
      L"10: SetEvent End execute. Next command 11.\n",
      L"[ThreadId 1] Command 11 not required.\n",
      L"[InstallCommand] Warning: GetNextIndex called before Execute\n",
      L"[ThreadId 1] Reached end command.\n",
      L"[ThreadId 1] Joining.\n"};
  EXPECT_EQ(ChainLines(expectedJoin), expectedChain);
  EXPECT_EQ(log_->StartedThreads(), 1u) << "the chain registers its thread with the logger";
}

TEST_F(ThreadCommandsTest, JoinBeforeForkWaitsUntilTheForkedChainEnds) {
  CInstallCommand* join = Add(L"<Join index='2' threadId='2'/>");
  CInstallCommand* fork = Add(L"<Fork index='1' threadId='2' threadStart='20'/>");
  Gate(20, L"next='0'");

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
  EXPECT_TRUE(log_->Contains(L"2: Join ThreadId=2 joined.\n"));
}

TEST_F(ThreadCommandsTest, CancelBeforeForkMeansTheChainNeverRuns) {
  CInstallCommand* cancel = Add(L"<Cancel index='1' threadId='3'/>");
  CInstallCommand* fork = Add(L"<Fork index='2' threadId='3' threadStart='30'/>");
  CInstallCommand* join = Add(L"<Join index='3' threadId='3'/>");
  Add(L"<SetEvent index='30' eventVar='Unused' next='0'/>");

  EXPECT_EQ(Run(cancel), 0);
  EXPECT_EQ(Run(fork), 0);
  int32_t status = -1;
  EXPECT_TRUE(ExecuteOnThread(join, &status)) << "Join of a cancelled chain must pass at once";
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(log_->Contains(L"1: Cancel Creating thread info for threadId=3.\n"));
  EXPECT_TRUE(log_->Contains(L"2: Fork Found thread info for threadId=3.\n"));
  EXPECT_EQ(Count(L"2: Fork Starting threadId=3.\n"), 0u);
  EXPECT_EQ(Record(3)->threadHandle, nullptr);
  EXPECT_EQ(Count(L"[ThreadId 3] Executing command 30.\n"), 0u);
}

TEST_F(ThreadCommandsTest, ThreadIdRunsOnceForTheWholeProcess) {
  CInstallCommand* first = Add(L"<Fork index='1' threadId='4' threadStart='40'/>");
  CInstallCommand* second = Add(L"<Fork index='2' threadId='4' threadStart='41'/>");
  CInstallCommand* join = Add(L"<Join index='3' threadId='4'/>");
  Gate(40, L"next='0'");
  Gate(41, L"next='0'");

  EXPECT_EQ(Run(first), 0);
  EXPECT_EQ(Run(second), 0) << "a second Fork while the chain runs";
  OpenGates();
  EXPECT_TRUE(ExecuteOnThread(join));
  EXPECT_EQ(Run(first), 0) << "a Fork after the chain has ended";
  EXPECT_EQ(Count(L"1: Fork Starting threadId=4.\n"), 1u);
  EXPECT_EQ(Count(L"2: Fork Starting threadId=4.\n"), 0u);
  EXPECT_EQ(Count(L"[ThreadId 4] Joining.\n"), 1u);
  EXPECT_EQ(Count(L"[ThreadId 4] Executing command 41.\n"), 0u);
  EXPECT_TRUE(ExecuteOnThread(join)) << "Join of an ended chain passes at once";
}

TEST_F(ThreadCommandsTest, CancelReachesAJoinInsideTheChain) {
  // Chain 5 joins chain 6, which nobody forks; cancelling chain 5 releases its
  // Join through the chain's cancel event, and the chain stops before its next
  // command.
  CInstallCommand* fork = Add(L"<Fork index='1' threadId='5' threadStart='50'/>");
  CInstallCommand* cancel = Add(L"<Cancel index='2' threadId='5'/>");
  Add(L"<Join index='50' threadId='6'/>");
  Add(L"<SetEvent index='51' eventVar='NeverReached' next='0'/>");

  EXPECT_EQ(Run(fork), 0);
  ASSERT_TRUE(log_->WaitFor(L"50: Join Waiting for threadId=6.\n"));
  EXPECT_EQ(Run(cancel), 0);
  ASSERT_TRUE(log_->WaitFor(L"[ThreadId 5] Joining.\n"));
  std::vector<std::wstring> expectedChain = {
      L"[ThreadId 5] Executing command 50.\n",
      L"50: Join Begin execute, threadId=6.\n",
      L"50: Join Creating thread info for threadId=6.\n",
      L"50: Join Waiting for threadId=6.\n",
      L"50: Join ThreadId=6 joined.\n",
      L"50: Join End execute. Next command 51.\n",
      L"[ThreadId 5] cancel handle was signaled. Exiting\n",
      L"[ThreadId 5] Joining.\n"};
  EXPECT_EQ(ChainLines(), expectedChain);
}

TEST_F(ThreadCommandsTest, ChainEndsOnAFailedOrMissingCommand) {
  CInstallCommand* busy = Add(L"<SetEvent index='60' eventVar='Busy'/>");
  Add(L"<SetEvent index='70' eventVar='" + UniqueName(L"Missing") + L"' next='71'/>");
  CInstallCommand* forkBusy = Add(L"<Fork index='1' threadId='7' threadStart='60'/>");
  CInstallCommand* forkMissingNext = Add(L"<Fork index='2' threadId='8' threadStart='70'/>");
  CInstallCommand* forkNoEntry = Add(L"<Fork index='3' threadId='9' threadStart='99'/>");

  // The test thread holds the first command, so the chain is turned away with 1359.
  EnterCriticalSection(&busy->lock);
  EXPECT_EQ(Run(forkBusy), 0);
  ASSERT_TRUE(log_->WaitFor(L"[ThreadId 7] Joining.\n"));
  LeaveCriticalSection(&busy->lock);
  EXPECT_TRUE(log_->Contains(L"60: SetEvent Error: Multiple threads attempting execution.\n"));
  EXPECT_TRUE(log_->Contains(L"[ThreadId 7] Command 60 failed.\n"));

  EXPECT_EQ(Run(forkMissingNext), 0);
  ASSERT_TRUE(log_->WaitFor(L"[ThreadId 8] Joining.\n"));
  EXPECT_TRUE(log_->Contains(L"[ThreadId 8] Next command 71 not found, ending.\n"));
  // The look-up inserted the missing index into the engine's map.
  ASSERT_EQ(commands_->count(71), 1u);
  EXPECT_EQ((*commands_)[71], nullptr);

  EXPECT_EQ(Run(forkNoEntry), 0);
  ASSERT_TRUE(log_->WaitFor(L"[ThreadId 9] Joining.\n"));
  EXPECT_TRUE(log_->Contains(L"[ThreadId 9] Entry command with index 99 not found, ending.\n"));
  EXPECT_EQ(WaitForSingleObject(Record(9)->joinEvent, 0), WAIT_OBJECT_0);
}

TEST_F(ThreadCommandsTest, JoinConditionDecidesWhetherToWait) {
  // Thread 10 is cancelled before anything else, so a Join that decides to wait
  // passes at once; one that wrongly waits on an unforked chain times out.
  Run(Add(L"<Cancel index='1' threadId='10'/>"));
  VariableStore& store = VariableStore::Instance();
  store.Put("int_Two", 2);
  store.Put("String_Answer", reinterpret_cast<StoreValue>(MakeString(L"yes")));
  store.Put("String_Expected", reinterpret_cast<StoreValue>(MakeString(L"yes")));

  struct Case {
    const wchar_t* attributes;
    bool joins;
  } cases[] = {
      {L"condition='Two'", false},              // no value: the test is equality with 1
      {L"condition='Two' value='2'", true},
      {L"condition='Unset'", false},
      {L"condition='Answer' strValue='yes'", true},
      {L"condition='Answer' strValue='Yes'", false},  // exact comparison
      {L"condition='Answer' strValue='[Expected]'", true},
      {L"condition='Answer' strValue='[Nothing]'", false},
      {L"condition='NoSuchText' strValue='yes'", false},
  };
  int32_t index = 100;
  for (const Case& c : cases) {
    ++index;
    CInstallCommand* join =
        Add(L"<Join index='" + std::to_wstring(index) + L"' threadId='10' " + c.attributes + L"/>");
    int32_t status = -1;
    ASSERT_TRUE(ExecuteOnThread(join, &status));
    std::wstring notJoining = std::to_wstring(index) + L": Join ThreadId=10 not joining.\n";
    std::wstring joined = std::to_wstring(index) + L": Join ThreadId=10 joined.\n";
    std::string what(c.attributes, c.attributes + wcslen(c.attributes));
    EXPECT_EQ(log_->Contains(joined), c.joins) << what;
    EXPECT_EQ(log_->Contains(notJoining), !c.joins) << what;
  }
}

TEST_F(ThreadCommandsTest, JoinKeepsTheExpandedTextForLaterVisits) {
  Run(Add(L"<Cancel index='1' threadId='11'/>"));
  VariableStore& store = VariableStore::Instance();
  store.Put("String_Answer", reinterpret_cast<StoreValue>(MakeString(L"[Literal]")));
  store.Put("String_Outer", reinterpret_cast<StoreValue>(MakeString(L"[Literal]")));
  auto* join = static_cast<CJoinCommand*>(Add(L"<Join index='2' threadId='11' condition='Answer' strValue='[Outer]'/>"));
  ASSERT_TRUE(ExecuteOnThread(join));
  EXPECT_STREQ(join->strValue.Get(), L"[Literal]");
  EXPECT_TRUE(log_->Contains(L"2: Join ThreadId=11 joined.\n"));
  // The second visit expands "[Literal]", which names no variable.
  ASSERT_TRUE(ExecuteOnThread(join));
  EXPECT_EQ(join->strValue.Get(), nullptr);
  EXPECT_TRUE(log_->Contains(L"2: Join ThreadId=11 not joining.\n"));
}
