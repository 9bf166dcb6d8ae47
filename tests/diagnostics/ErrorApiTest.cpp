// The error collector: its growth rule, its odd size comparison and its lines.
#include <cstdarg>
#include <string>

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

TEST(ErrorApiTest, EmptyCollectorAlwaysAsksForOneCharacter) {
  CErrorApi errors;
  uint32_t size = 500;
  wchar_t buffer[500] = {L'x'};
  EXPECT_EQ(errors.GetErrors(buffer, &size), 122u);
  EXPECT_EQ(size, 1u);
  EXPECT_EQ(buffer[0], L'x') << "nothing is copied";
}

TEST(ErrorApiTest, LinesCollectWithTheirHeadAndLineFeed) {
  CErrorApi errors;
  Report(&errors, 0x80070005, L"RegSetValue", L"key '%s' %S %d", L"Software\\A", "denied", 5);
  Report(&errors, 2, nullptr, L"plain");
  std::wstring first = L"Error: 0x80070005|RegSetValue|key 'Software\\A' denied 5";
  EXPECT_EQ(Fetch(&errors), first + L"\nError: 0x2|(null)|plain\n");
  EXPECT_EQ(errors.capacity, 2048u) << "the first growth is 4096 bytes";
  EXPECT_EQ(errors.used, first.size() + 1 + 24);
}

TEST(ErrorApiTest, SizeTestHasItsTwoOddEnds) {
  CErrorApi errors;
  Report(&errors, 1, L"s", L"%s", L"message");  // "Error: 0x1|s|message": 20 characters
  const uint32_t n = 20;
  ASSERT_EQ(errors.used, n + 1);
  wchar_t buffer[64];
  uint32_t size = n - 1;
  EXPECT_EQ(errors.GetErrors(buffer, &size), 122u);
  EXPECT_EQ(size, n + 2);
  size = n + 2;
  EXPECT_EQ(errors.GetErrors(buffer, &size), 0u);
  EXPECT_STREQ(buffer, L"Error: 0x1|s|message\n");
  EXPECT_EQ(errors.GetErrors(buffer, &size), 0u) << "fetching leaves the text in place";
}

TEST(ErrorApiTest, SizeThatPassesTheTestButCannotHoldTheTextEndsTheProcess) {
  // With size equal to used the comparison passes, and the copy has no room for
  // the terminator: a fatal overrun, the same on Windows and under Wine.
  EXPECT_EXIT(
      {
        CErrorApi errors;
        Report(&errors, 1, L"s", L"m");
        wchar_t buffer[64];
        uint32_t size = static_cast<uint32_t>(errors.used);
        errors.GetErrors(buffer, &size);
        exit(0);
      },
      ::testing::ExitedWithCode(static_cast<int>(0xC0000409)), "");
}

TEST(ErrorApiTest, GrowthIsInPagesAndOnlyWhenTheTextNoLongerFits) {
  CErrorApi errors;
  // "Error: 0x1|s|" is 13 characters; lines of 1023 and 1022 characters fill the
  // first 2048 exactly: used + n + 2 may equal the capacity.
  Report(&errors, 1, L"s", L"%s", std::wstring(1023 - 13, L'a').c_str());
  Report(&errors, 1, L"s", L"%s", std::wstring(1022 - 13, L'b').c_str());
  EXPECT_EQ(errors.used, 2047u);
  EXPECT_EQ(errors.capacity, 2048u);
  Report(&errors, 1, L"s", L"x");  // needs 2047 + 14 + 2 characters: 4126 bytes, rounded to 8192
  EXPECT_EQ(errors.capacity, 4096u);
  EXPECT_EQ(errors.used, 2047u + 15u);
  std::wstring text = Fetch(&errors);
  EXPECT_EQ(text.substr(text.size() - 15), L"Error: 0x1|s|x\n");
}

TEST(ErrorApiTest, LongMessageIsCutAndStillEndsTheLine) {
  CErrorApi errors;
  std::wstring message(5000, L'm');
  Report(&errors, 0xABC, L"src", L"%s", message.c_str());
  std::wstring text = Fetch(&errors);
  EXPECT_EQ(text.size(), 1023u + 1u);
  EXPECT_EQ(text.compare(0, 16, L"Error: 0xABC|src"), 0);
  EXPECT_EQ(text.back(), L'\n');
}

TEST(ErrorApiTest, OperationsSitInTheirSlots) {
  CErrorApi* errors = new CErrorApi();
  void** table = *reinterpret_cast<void***>(errors);
  typedef void (*ReportFn)(void*, uint32_t, const wchar_t*, const wchar_t*, va_list);
  typedef uint32_t (*GetFn)(void*, wchar_t*, uint32_t*);
  auto call = [&](const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    reinterpret_cast<ReportFn>(table[2])(errors, 7, L"slot", format, args);
    va_end(args);
  };
  call(L"%i", 3);
  wchar_t buffer[64];
  uint32_t size = 64;
  EXPECT_EQ(reinterpret_cast<GetFn>(table[3])(errors, buffer, &size), 0u);
  EXPECT_STREQ(buffer, L"Error: 0x7|slot|3\n");
  reinterpret_cast<void (*)(void*)>(table[0])(errors);  // Free
}
