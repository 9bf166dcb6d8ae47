// Fault caught: the errors printed at the end of a run lost, cut or overrun (the error collector).
#include <cstdarg>

#include "diagnostics/ErrorApi.h"
#include "tests/support/PluginFixture.h"

namespace {

void Report(IErrorApi* errors, uint32_t code, const wchar_t* source, const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  errors->ReportError(code, source, format, args);
  va_end(args);
}

std::wstring Fetch(IErrorApi* errors) {
  uint32_t size = 0;
  EXPECT_EQ(errors->GetErrors(nullptr, &size), 122u);
  std::wstring text(size, L'\0');
  EXPECT_EQ(errors->GetErrors(&text[0], &size), 0u);
  text.resize(wcslen(text.c_str()));
  return text;
}

}  // namespace

TEST(ErrorApiTest, LinesCollectWithTheirHeadAndLineFeedAndLongOnesAreCut) {
  CErrorApi errors;
  uint32_t size = 500;
  wchar_t buffer[500] = {L'x'};
  EXPECT_EQ(errors.GetErrors(buffer, &size), 122u);
  EXPECT_EQ(size, 1u) << "an empty collector asks for one character";
  EXPECT_EQ(buffer[0], L'x');
  Report(&errors, 0x80070005, L"RegSetValue", L"key '%s' %S %d", L"Software\\A", "denied", 5);
  Report(&errors, 2, nullptr, L"plain");
  EXPECT_EQ(Fetch(&errors), L"Error: 0x80070005|RegSetValue|key 'Software\\A' denied 5\nError: 0x2|(null)|plain\n");
  CErrorApi cut;
  Report(&cut, 0xABC, L"src", L"%s", std::wstring(5000, L'm').c_str());
  std::wstring text = Fetch(&cut);
  EXPECT_EQ(text.size(), 1024u);
  EXPECT_EQ(text.back(), L'\n');
}

TEST(ErrorApiTest, SizeTestHasItsTwoOddEndsAndAFatalOne) {
  CErrorApi errors;
  Report(&errors, 1, L"s", L"%s", L"message");  // "Error: 0x1|s|message": 20 characters
  const uint32_t n = 20;
  wchar_t buffer[64];
  uint32_t size = n - 1;
  EXPECT_EQ(errors.GetErrors(buffer, &size), 122u);
  EXPECT_EQ(size, n + 2);
  EXPECT_EQ(errors.GetErrors(buffer, &size), 0u);
  EXPECT_STREQ(buffer, L"Error: 0x1|s|message\n");
  EXPECT_EQ(errors.GetErrors(buffer, &size), 0u) << "fetching leaves the text in place";
  // With size n + 1 the comparison passes and the copy has no room for the
  // terminator: a fatal overrun, the same on Windows and under Wine.
  size = n + 1;
  EXPECT_EXIT(errors.GetErrors(buffer, &size), ::testing::ExitedWithCode(static_cast<int>(0xC0000409)), "");
}
