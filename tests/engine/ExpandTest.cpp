// [name] expansion: the cases that can really break a scanner that keeps its
// buffer at the exact size.
#include <cstdlib>

#include "engine/Expand.h"
#include "host/VariableStore.h"
#include "tests/support/PluginFixture.h"

class ExpandTest : public PluginTest {
 protected:
  void Set(const char* name, const wchar_t* value) {
    VariableStore::Instance().Put(name, reinterpret_cast<StoreValue>(MakeString(value)));
  }
  // The expansion, or "<failed>".
  std::wstring Expand(const wchar_t* source) {
    wchar_t* result = nullptr;
    bool ok = ExpandVariables(source, &result);
    EXPECT_EQ(ok, result != nullptr);
    std::wstring text = ok ? result : L"<failed>";
    free(result);
    return text;
  }
};

TEST_F(ExpandTest, ReplacesEveryReferenceInOnePass) {
  Set("String_Dir", L"C:\\Program Files\\Product\\");
  Set("String_Name", L"a");
  Set("String_Long", L"a value much longer than the name it replaces");
  EXPECT_EQ(Expand(L"[Dir]bin\\[Name].exe"), L"C:\\Program Files\\Product\\bin\\a.exe");
  EXPECT_EQ(Expand(L"<[Name]|[Long]|[Name]>"), L"<a|a value much longer than the name it replaces|a>");
  EXPECT_EQ(Expand(L"[Name][Name][Name]"), L"aaa");
  EXPECT_EQ(Expand(L"no references ] at all"), L"no references ] at all");
  EXPECT_EQ(Expand(L""), L"");
  EXPECT_TRUE(log_->Lines().empty());
}

TEST_F(ExpandTest, InsertedTextIsNotScannedAgain) {
  Set("String_Outer", L"[Inner]");
  EXPECT_EQ(Expand(L"x[Outer]y"), L"x[Inner]y");
}

TEST_F(ExpandTest, ValueShorterOrEmptyShrinksTheText) {
  Set("String_VeryLongVariableName", L"");
  Set("String_Another", L"z");
  EXPECT_EQ(Expand(L"[VeryLongVariableName][Another][VeryLongVariableName]!"), L"z!");
}

TEST_F(ExpandTest, UnterminatedBracketFails) {
  EXPECT_EQ(Expand(L"path\\[Dir"), L"<failed>");
  EXPECT_EQ(Expand(L"ends in ["), L"<failed>");
  std::vector<std::wstring> expected = {
      L"ExpandVariables: No terminating ']' character found for variable '[Dir'.\n",
      L"ExpandVariables: No terminating ']' character found for variable '['.\n"};
  EXPECT_EQ(log_->Lines(), expected);
}

TEST_F(ExpandTest, NameIsTakenAsItStands) {
  // An empty name looks up String_ itself; a further '[' belongs to the name.
  EXPECT_EQ(Expand(L"[]"), L"<failed>");
  EXPECT_EQ(Expand(L"[a[b]"), L"<failed>");
  std::vector<std::wstring> expected = {L"ExpandVariables: No variable 'String_' could be found.\n",
                                        L"ExpandVariables: No variable 'String_a[b' could be found.\n"};
  EXPECT_EQ(log_->Lines(), expected);
  Set("String_a[b", L"odd");
  EXPECT_EQ(Expand(L"[a[b]"), L"odd");
}

TEST_F(ExpandTest, OnlyStringVariablesExpandAndNamesAreCaseExact) {
  VariableStore::Instance().Put("int_Count", 5);
  Set("String_Case", L"v");
  EXPECT_EQ(Expand(L"[Count]"), L"<failed>");
  EXPECT_EQ(Expand(L"[case]"), L"<failed>");
  EXPECT_EQ(Expand(L"[Case]"), L"v");
}

TEST_F(ExpandTest, NullSourceIsNoFailure) {
  wchar_t* result = reinterpret_cast<wchar_t*>(1);
  EXPECT_TRUE(ExpandVariables(nullptr, &result));
  EXPECT_EQ(result, nullptr);
  wchar_t* field = nullptr;
  EXPECT_EQ(ExpandCommandString(&field), 0);
  EXPECT_EQ(field, nullptr);
}

TEST_F(ExpandTest, CommandStringKeepsItsTextOnFailure) {
  Set("String_Exe", L"C:\\svc.exe");
  wchar_t* field = _wcsdup(L"[Exe] /run");
  EXPECT_EQ(ExpandCommandString(&field), 0);
  EXPECT_STREQ(field, L"C:\\svc.exe /run");
  free(field);

  field = _wcsdup(L"[Missing] /run");
  wchar_t* before = field;
  EXPECT_EQ(ExpandCommandString(&field), 1359);
  EXPECT_EQ(field, before);
  EXPECT_STREQ(field, L"[Missing] /run");
  free(field);
  std::vector<std::wstring> expected = {L"ExpandVariables: No variable 'String_Missing' could be found.\n",
                                        L"Cannot expand command. Error\n"};
  EXPECT_EQ(log_->Lines(), expected);
}
