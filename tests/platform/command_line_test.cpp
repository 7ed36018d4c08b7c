// quote_argument against the real tokenizer (CommandLineToArgvW under Wine):
// whatever the text, it must come back as it went in.
#include <gtest/gtest.h>

#include <random>

#include "launcher/browser_arguments.h"
#include "platform/system.h"

namespace nv {
namespace {

TEST(QuoteArgument, RoundTripsGeneratedTextsThroughTheTokenizer) {
  const wchar_t alphabet[] = {L'a', L'Z', L' ', L'\t', L'"', L'\\', L'\\', L'\\', L'"', L'=', L'-', L'\u00e9'};
  std::mt19937 random(20261122);
  for (int round = 0; round < 3000; ++round) {
    std::vector<std::wstring> originals;
    std::wstring line = L"program";
    const int count = 1 + static_cast<int>(random() % 4);
    for (int i = 0; i < count; ++i) {
      std::wstring text;
      const int length = static_cast<int>(random() % 9);
      for (int k = 0; k < length; ++k) text += alphabet[random() % (sizeof alphabet / sizeof alphabet[0])];
      originals.push_back(text);
      line += L" " + quote_argument(text);
    }
    auto split = platform::split_command_line(line);
    ASSERT_TRUE(split.has_value());
    ASSERT_EQ(split->size(), originals.size() + 1) << line;
    for (std::size_t i = 0; i < originals.size(); ++i) ASSERT_EQ((*split)[i + 1], originals[i]) << line;
  }
}

TEST(SplitCommandLine, FollowsTheWindowsRules) {
  struct Case {
    const wchar_t* line;
    std::vector<std::wstring> arguments;
  };
  const Case cases[] = {
      {L"webview ", {L"webview"}},
      {L"webview a  b\tc", {L"webview", L"a", L"b", L"c"}},
      {L"webview \"a b\" c", {L"webview", L"a b", L"c"}},
      {L"webview a\\\\\"b c\"", {L"webview", L"a\\b c"}},
      {L"webview a\\\"b", {L"webview", L"a\"b"}},
      {L"webview a\\b\\\\", {L"webview", L"a\\b\\\\"}},
      {L"webview \"\"", {L"webview", L""}},
      {L"\"C:\\Program Files\\x.exe\" --y", {L"C:\\Program Files\\x.exe", L"--y"}},
      {L"webview \"unterminated arg", {L"webview", L"unterminated arg"}},
  };
  for (const auto& c : cases) {
    auto split = platform::split_command_line(c.line);
    ASSERT_TRUE(split.has_value());
    EXPECT_EQ(*split, c.arguments) << c.line;
  }
}

}  // namespace
}  // namespace nv
