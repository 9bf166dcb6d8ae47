// Fault caught: every script sent down the wrong commands (next index, condition, error variable).
#include "tests/support/PluginFixture.h"

class InstallCommandTest : public PluginTest {};

TEST_F(InstallCommandTest, NextIndexFollowsTheNumberRules) {
  struct Case {
    const wchar_t* attributes;
    int32_t expected;
  } cases[] = {
      {L"index='5'", 6},               // no next: the following index
      {L"index='5' next='-3'", 6},     // negative: as if not given
      {L"index='5' next='0x10'", 16},  // hexadecimal
      {L"index='5' next='010'", 8},    // leading zero: octal
      {L"index='5' next='jump'", 0},   // no number: 0, the end of the walk
      {L"next='3'", 3},
  };
  for (const Case& c : cases) {
    CInstallCommand* command = CreateCommand(L"<CreateEvent eventVar='NextRule' " + std::wstring(c.attributes) + L"/>");
    EXPECT_EQ(command->GetNextIndex(), c.expected) << Narrow(c.attributes);
    command->Free();
  }
}

TEST_F(InstallCommandTest, ConditionCountsAllSixtyFourBits) {
  CInstallCommand* command = Add(L"<CreateEvent index='2' execCondition='Wanted' eventVar='Cond'/>");
  EXPECT_FALSE(command->IsRequired());
  StoreInt("int_Wanted", 0x100000000ll);
  EXPECT_TRUE(command->IsRequired());
  EXPECT_TRUE(Add(L"<CreateEvent index='3' eventVar='Cond'/>")->IsRequired()) << "no condition";
}

TEST_F(InstallCommandTest, ErrorVariableIsWrittenOnlyBySetErrorVar) {
  CInstallCommand* command = Add(L"<CreateEvent index='1' errVar='Failed' eventVar='" + UniqueName(L"E") + L"'/>");
  EXPECT_EQ(Run(command), 0);
  EXPECT_EQ(StoreRead("int_Failed"), 0u);
  EXPECT_EQ(command->SetErrorVar(), 0);
  EXPECT_EQ(StoreRead("int_Failed"), 1u);
  EXPECT_EQ(Add(L"<CreateEvent index='2' eventVar='E'/>")->SetErrorVar(), 87);
}

