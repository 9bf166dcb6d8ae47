// The base of every command: common attributes, the next-index rule, the
// execution condition, the error variable, and the guard that keeps two threads
// out of one command.
#include <thread>

#include "engine/EventCommands.h"
#include "host/VariableStore.h"
#include "tests/support/PluginFixture.h"

namespace {

std::string Narrow(const std::wstring& text) { return std::string(text.begin(), text.end()); }

}  // namespace

class InstallCommandTest : public PluginTest {
 protected:
  // A command that runs to its end line: SetEvent on an event that exists.
  CInstallCommand* Runnable(const std::wstring& commonAttributes) {
    std::wstring eventVar = UniqueName(L"Run");
    std::string name = "HANDLE_" + Narrow(eventVar);
    VariableStore::Instance().Put(name.c_str(), reinterpret_cast<StoreValue>(CreateEventW(nullptr, TRUE, FALSE, nullptr)));
    return Add(L"<SetEvent " + commonAttributes + L" eventVar='" + eventVar + L"'/>");
  }
};

TEST_F(InstallCommandTest, NextIndexFollowsTheNumberRules) {
  struct Case {
    const wchar_t* attributes;
    int32_t expected;
  } cases[] = {
      {L"index='5'", 6},                 // no next: the following index
      {L"index='5' next='-3'", 6},       // negative: as if not given
      {L"index='5' next='0x10'", 16},    // hexadecimal
      {L"index='5' next='010'", 8},      // leading zero: octal
      {L"index='5' next='jump'", 0},     // no number: 0, the end of the walk
      {L"index='5' next='0'", 0},
      {L"next='3'", 3},
      {L"", 0},                          // index stays -1: the walk ends
  };
  for (const Case& c : cases) {
    CInstallCommand* command = Runnable(c.attributes);
    ASSERT_EQ(command->Execute(INVALID_HANDLE_VALUE, &storeLock_), 0);
    EXPECT_EQ(command->GetNextIndex(), c.expected) << Narrow(c.attributes);
    commands_->erase(command->GetIndex());
    command->Free();
  }
}

TEST_F(InstallCommandTest, SkippedCommandWarnsOnceItIsAskedForItsNextIndex) {
  CInstallCommand* command = Runnable(L"index='2' execCondition='Wanted'");
  EXPECT_FALSE(command->IsRequired());
  EXPECT_EQ(command->GetNextIndex(), 3);
  EXPECT_TRUE(log_->Contains(L"[InstallCommand] Warning: GetNextIndex called before Execute\n"));

  // All 64 bits count: a value only in the high half still makes it required.
  VariableStore::Instance().Put("int_Wanted", 0x100000000ull);
  EXPECT_TRUE(command->IsRequired());
  ASSERT_EQ(command->Execute(INVALID_HANDLE_VALUE, &storeLock_), 0);
  size_t warnings = log_->Lines().size();
  VariableStore::Instance().Put("int_Wanted", 0);
  EXPECT_FALSE(command->IsRequired());
  command->GetNextIndex();
  EXPECT_EQ(log_->Lines().size(), warnings) << "an executed command warns no more";
}

TEST_F(InstallCommandTest, ExecutionWritesTheStandardLines) {
  CInstallCommand* command = Runnable(L"index='7' next='0x20'");
  ASSERT_EQ(command->Execute(INVALID_HANDLE_VALUE, &storeLock_), 0);
  ASSERT_EQ(command->Execute(INVALID_HANDLE_VALUE, &storeLock_), 0) << "a second run goes as the first";
  std::vector<std::wstring> expected = {
      L"7: SetEvent Begin execute.\n", L"7: SetEvent End execute. Next command 32.\n",
      L"7: SetEvent Begin execute.\n", L"7: SetEvent End execute. Next command 32.\n"};
  EXPECT_EQ(log_->Lines(), expected);
}

TEST_F(InstallCommandTest, ErrorVariableIsWrittenOnlyBySetErrorVar) {
  CInstallCommand* command = Runnable(L"index='1' errVar='Failed'");
  ASSERT_EQ(command->Execute(INVALID_HANDLE_VALUE, &storeLock_), 0);
  EXPECT_EQ(VariableStore::Instance().Get("int_Failed"), 0u) << "SetEvent never reports through errVar";
  EXPECT_STREQ(command->errVar.Get(), "Failed");
  EXPECT_EQ(command->SetErrorVar(), 0);
  EXPECT_EQ(VariableStore::Instance().Get("int_Failed"), 1u);

  CInstallCommand bare;
  EXPECT_EQ(bare.SetErrorVar(), 87);
}

TEST_F(InstallCommandTest, RequiredAttributesFailLoadAndCommonOnesNever) {
  int32_t status = -1;
  CInstallCommand* command = CreateCommand(L"<Fork threadId='1'/>", &status);
  EXPECT_EQ(status, 1) << "threadStart is required";
  command->Free();
  command = CreateCommand(L"<WaitForHandle eventVar='E'/>", &status);
  EXPECT_EQ(status, 1) << "waitAmount is required";
  command->Free();
  command = CreateCommand(L"<SetEvent index='x' next='' errVar='' execCondition='' eventVar='E'/>", &status);
  EXPECT_EQ(status, 0);
  EXPECT_STREQ(command->execCondition.Get(), "int_");
  command->Free();
}

TEST_F(InstallCommandTest, NullAttributeMapRaisesPointerError) {
  typedef CInstallCommand* (*Factory)();
  auto factory = reinterpret_cast<Factory>(reinterpret_cast<void*>(GetProcAddress(Plugin(), "GetCForkCommand")));
  CInstallCommand* command = factory();
  try {
    command->Load(nullptr);
    ADD_FAILURE() << "Load of a null map returned";
  } catch (const ComError& error) {
    EXPECT_EQ(error.hr, E_POINTER);
  }
  command->Free();
}

TEST_F(InstallCommandTest, WaitAmountIsUpperCasedAndDecimalOnly) {
  struct Case {
    const wchar_t* text;
    int32_t expected;
  } cases[] = {{L"INFINITE", -1}, {L"infinite", -1}, {L"InFiNiTe", -1}, {L"250", 250}, {L"0x10", 0}, {L"soon", 0}};
  for (const Case& c : cases) {
    int32_t status = -1;
    auto* command = static_cast<CWaitForHandleCommand*>(
        CreateCommand(std::wstring(L"<WaitForHandle eventVar='E' waitAmount='") + c.text + L"'/>", &status));
    EXPECT_EQ(status, 0);
    EXPECT_EQ(command->waitAmount, c.expected) << Narrow(c.text);
    command->Free();
  }
}

TEST_F(InstallCommandTest, SecondThreadIsTurnedAwayWhileTheFirstRuns) {
  std::wstring eventVar = UniqueName(L"Busy");
  HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  VariableStore::Instance().Put(("HANDLE_" + Narrow(eventVar)).c_str(), reinterpret_cast<StoreValue>(event));
  CInstallCommand* wait = Add(L"<WaitForHandle index='4' eventVar='" + eventVar + L"' waitAmount='10000'/>");

  std::thread first([&] { wait->Execute(INVALID_HANDLE_VALUE, &storeLock_); });
  ASSERT_TRUE(log_->WaitFor(L"4: WaitForHandle Begin execute.\n"));
  int32_t second = -1;
  EXPECT_TRUE(ExecuteOnThread(wait, &second));
  EXPECT_EQ(second, 1359);
  EXPECT_TRUE(log_->Contains(L"4: WaitForHandle Error: Multiple threads attempting execution.\n"));
  SetEvent(event);
  first.join();
  EXPECT_TRUE(log_->Contains(L"4: WaitForHandle End execute. Next command 5.\n"));
}

TEST_F(InstallCommandTest, EarlyReturnKeepsTheGuardForItsOwnThreadOnly) {
  // SetEvent on an empty variable returns at once and leaves its lock held.
  CInstallCommand* command = Add(L"<SetEvent index='6' eventVar='" + UniqueName(L"Empty") + L"'/>");
  ASSERT_EQ(command->Execute(INVALID_HANDLE_VALUE, &storeLock_), 0);
  EXPECT_FALSE(command->executed);
  EXPECT_EQ(command->Execute(INVALID_HANDLE_VALUE, &storeLock_), 0) << "the same thread re-enters";
  int32_t other = -1;
  EXPECT_TRUE(ExecuteOnThread(command, &other));
  EXPECT_EQ(other, 1359);
  command->GetNextIndex();
  EXPECT_TRUE(log_->Contains(L"[InstallCommand] Warning: GetNextIndex called before Execute\n"));
  // Free the lock the early returns left, so the command can be deleted.
  LeaveCriticalSection(&command->lock);
  LeaveCriticalSection(&command->lock);
}

TEST_F(InstallCommandTest, DefaultExecuteIsTheSmallestGuard) {
  CInstallCommand command;
  EXPECT_EQ(command.Execute(INVALID_HANDLE_VALUE, &storeLock_), 0);
  EXPECT_TRUE(command.executed);
  EnterCriticalSection(&command.lock);
  int32_t other = -1;
  EXPECT_TRUE(ExecuteOnThread(&command, &other));
  LeaveCriticalSection(&command.lock);
  EXPECT_EQ(other, 1359);
  EXPECT_TRUE(log_->Contains(L"[InstallCommand] Error: Multiple threads attempting execution\n"));
}
