// Fault caught: [name] expanded wrongly, so an install lands in the wrong place.
#include <cstdlib>

#include "engine/Expand.h"
#include "tests/support/PluginFixture.h"

class ExpandTest : public PluginTest {
 protected:
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

TEST_F(ExpandTest, EachReferenceIsReplacedOnceAndFailuresAreLogged) {
  StoreText("String_Dir", L"C:\\Program Files\\Product\\");
  StoreText("String_Name", L"a");
  StoreText("String_Long", L"a value much longer than the name it replaces");
  StoreText("String_Empty", L"");
  StoreText("String_Outer", L"[Inner]");
  StoreText("String_a[b", L"odd");
  StoreInt("int_Count", 5);
  const std::pair<const wchar_t*, const wchar_t*> cases[] = {
      {L"[Dir]bin\\[Name].exe", L"C:\\Program Files\\Product\\bin\\a.exe"},
      {L"<[Name]|[Long]|[Name]>", L"<a|a value much longer than the name it replaces|a>"},
      {L"[Empty][Name][Empty]!", L"a!"},
      {L"no references ] at all", L"no references ] at all"},
      {L"", L""},
      {L"x[Outer]y", L"x[Inner]y"},  // inserted text is not scanned again
      {L"[a[b]", L"odd"},            // a further '[' belongs to the name
      {L"path\\[Dir", L"<failed>"},
      {L"[]", L"<failed>"},
      {L"[Count]", L"<failed>"},  // only String_ variables
      {L"[name]", L"<failed>"},   // names are case-exact
  };
  for (auto& c : cases) EXPECT_EQ(Expand(c.first), c.second) << Narrow(c.first);
  EXPECT_EQ(log_->Since(), (Lines{L"ExpandVariables: No terminating ']' character found for variable '[Dir'.\n",
                                  L"ExpandVariables: No variable 'String_' could be found.\n",
                                  L"ExpandVariables: No variable 'String_Count' could be found.\n",
                                  L"ExpandVariables: No variable 'String_name' could be found.\n"}));
}

