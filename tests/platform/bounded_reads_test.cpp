// Files from outside are read only up to a bound.
#include <gtest/gtest.h>

#include "host/ini.h"
#include "platform/ini.h"
#include "test_support.h"

namespace nv {
namespace {

// A profile file whose key comes first, padded with a comment to `size` bytes.
std::string profile_of_size(std::size_t size) {
  std::string text = "[Paltalk]\r\nExe=C:\\P\\Paltalk.exe\r\n;";
  text.append(size - text.size(), 'x');
  return text;
}

TEST(BoundedReads, ProfileFileOverTheLimitReadsAsMissing) {
  struct Case {
    const char* name;
    std::size_t size;
    const wchar_t* expected;
  };
  constexpr std::size_t limit = platform::profile_file_limit;
  const Case cases[] = {
      {.name = "at the limit", .size = limit, .expected = L"C:\\P\\Paltalk.exe"},
      {.name = "one byte over", .size = limit + 1, .expected = L""},
  };
  for (const Case& row : cases) {
    test::TempDir dir;
    test::write_bytes(dir / L"settings.ini", profile_of_size(row.size));
    EXPECT_EQ(read_ini_value(dir / L"settings.ini", L"Paltalk", L"Exe"), row.expected) << row.name;
  }
}

}  // namespace
}  // namespace nv
