#include "launcher/browser_arguments.h"

#include <gtest/gtest.h>

namespace nv {
namespace {

struct MergeCase {
  const wchar_t* existing;
  const wchar_t* merged;
};

class MergeBrowserArguments : public testing::TestWithParam<MergeCase> {};

TEST_P(MergeBrowserArguments, GivesExactText) {
  EXPECT_EQ(merge_browser_arguments(GetParam().existing), GetParam().merged);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, MergeBrowserArguments,
    testing::Values(
        MergeCase{L"", L"\"--enable-features=WebContentsForceDark\""},
        MergeCase{L"   ", L"\"--enable-features=WebContentsForceDark\""},
        MergeCase{L"--enable-features=A,B --mute-audio",
                  L"\"--mute-audio\" \"--enable-features=A,B,WebContentsForceDark\""},
        MergeCase{L"--enable-features=WebContentsForceDark", L"\"--enable-features=WebContentsForceDark\""},
        MergeCase{L"--disable-features=WebContentsForceDark,Foo",
                  L"\"--enable-features=WebContentsForceDark\" \"--disable-features=Foo\""},
        MergeCase{L"--disable-features=WebContentsForceDark", L"\"--enable-features=WebContentsForceDark\""},
        MergeCase{L"--enable-features=A --enable-features=B", L"\"--enable-features=A,B,WebContentsForceDark\""},
        MergeCase{L"--enable-features=,,A,", L"\"--enable-features=A,WebContentsForceDark\""},
        MergeCase{L"--enable-features=WebContentsForceDarkX",
                  L"\"--enable-features=WebContentsForceDarkX,WebContentsForceDark\""},
        MergeCase{L"--enable-features=A<Group:p/1", L"\"--enable-features=A<Group:p/1,WebContentsForceDark\""},
        MergeCase{L"--enable-features=WebContentsForceDark:x=1,B", L"\"--enable-features=B,WebContentsForceDark\""},
        MergeCase{L"--ENABLE-FEATURES=A", L"\"--ENABLE-FEATURES=A\" \"--enable-features=WebContentsForceDark\""},
        MergeCase{L"--disable-features=X --enable-features=Y --disable-features=Z --lang=de",
                  L"\"--lang=de\" \"--enable-features=Y,WebContentsForceDark\" \"--disable-features=X,Z\""},
        // Quoted user arguments come back whole, re-quoted.
        MergeCase{L"\"--user-data-dir=C:\\My Data\\\\\" --x", L"\"--user-data-dir=C:\\My Data\\\\\" \"--x\" "
                                                              L"\"--enable-features=WebContentsForceDark\""}));

struct FilterCase {
  const wchar_t* list;
  const wchar_t* before;
  const wchar_t* after;
};

TEST(FilterFeatureList, AppendsKeptTokensOnly) {
  const FilterCase cases[] = {
      {L"A,B", L"", L"A,B"},
      {L"A,B", L"X", L"X,A,B"},
      {L"", L"X", L"X"},
      {L",", L"", L""},
      {L"WebContentsForceDark", L"X", L"X"},
      {L"WebContentsForceDark<G", L"", L""},
      {L"webcontentsforcedark", L"", L"webcontentsforcedark"},
      {L"A:p,WebContentsForceDark", L"", L"A:p"},
      {L"A,,B,", L"", L"A,B"},
  };
  for (const auto& c : cases) {
    std::wstring destination = c.before;
    filter_feature_list(c.list, destination);
    EXPECT_EQ(destination, c.after) << c.list;
  }
}

TEST(QuoteArgument, AlwaysQuotesAndDoublesBackslashesBeforeQuotes) {
  const std::pair<const wchar_t*, const wchar_t*> cases[] = {
      {L"", L"\"\""},
      {L"plain", L"\"plain\""},
      {L"C:\\Program Files\\Paltalk\\", L"\"C:\\Program Files\\Paltalk\\\\\""},
      {L"a\"b", L"\"a\\\"b\""},
      {L"a\\\"b", L"\"a\\\\\\\"b\""},
      {L"a\\b", L"\"a\\b\""},
      {L"\\\\", L"\"\\\\\\\\\""},
      {L"\"", L"\"\\\"\""},
  };
  for (const auto& [text, quoted] : cases) EXPECT_EQ(quote_argument(text), quoted) << text;
}

}  // namespace
}  // namespace nv
