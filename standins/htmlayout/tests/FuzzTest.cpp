// The parser against truncated and random input for a bounded time: it never
// crashes or hangs, and what it writes back parses to the same tree again.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "standins/htmlayout/tests/Library.h"

namespace {

const char kSeed[] =
    "\xEF\xBB\xBF<!DOCTYPE html><html><head><title>Setup &amp; more</title><style>p{color:red}</style>"
    "<link rel=stylesheet href=a.css></head><body class=main><div id=x data-a='1' hidden><p>One<p>Two &#x41;"
    "<ul><li>a<li>b</ul><table><tr><td>1<td>2</table><select><option>o<option>p</select><br/><img src=i.png>"
    "<!-- note --><textarea>t&lt;</textarea><script>a<b</script><widget type=x/>&copy;&nbsp;</div></body></html>";

// Writes the page back and parses the result again: the second writing must
// match the first, or the parser and the writer disagree about some input.
void CheckRoundTrip(HWND hwnd, const std::string& input) {
  std::string first = HtmlOf(LoadPage(hwnd, input));
  std::string second = HtmlOf(LoadPage(hwnd, first));
  ASSERT_EQ(first, second) << "input bytes: " << ::testing::PrintToString(input);
}

TEST(Fuzz, TruncatedAndRandomInputForTwoSeconds) {
  TestWindow window;
  const std::string seed = kSeed;
  for (size_t length = 0; length <= seed.size(); ++length) {
    CheckRoundTrip(window.hwnd(), seed.substr(0, length));
    if (HasFatalFailure()) return;
  }

  const unsigned randomSeed = GetTickCount();
  SCOPED_TRACE("random seed " + std::to_string(randomSeed));
  std::mt19937 random(randomSeed);
  const char alphabet[] = "<>/=\"'&#;! -abcpdivlrtx0\n";
  DWORD end = GetTickCount() + 2000;
  int runs = 0;
  while (GetTickCount() < end) {
    std::string input;
    size_t length = random() % 200;
    bool bytes = random() % 4 == 0;
    for (size_t i = 0; i < length; ++i) {
      input += bytes ? static_cast<char>(random() % 256) : alphabet[random() % (sizeof(alphabet) - 1)];
    }
    if (random() % 3 == 0) {  // a mutated seed
      input = seed;
      for (int k = 0; k < 4; ++k) input[random() % input.size()] = alphabet[random() % (sizeof(alphabet) - 1)];
      input.resize(random() % input.size());
    }
    CheckRoundTrip(window.hwnd(), input);
    if (HasFatalFailure()) return;
    ++runs;
  }
  EXPECT_GT(runs, 50);
}

}  // namespace
