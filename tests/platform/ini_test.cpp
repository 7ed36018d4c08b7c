// The one INI read and the profile writer, against the real profile API under Wine.
#include <gtest/gtest.h>

#include "host/ini.h"
#include "platform/ini.h"
#include "test_support.h"

namespace nv {
namespace {

TEST(ReadIniValue, MissingFileSectionOrKeyIsEmpty) {
  test::TempDir dir;
  EXPECT_EQ(read_ini_value(dir / L"none.ini", L"Paltalk", L"Exe"), L"");
  test::write_bytes(dir / L"s.ini", "[Paltalk]\r\nExe=C:\\P\\Paltalk.exe\r\n");
  EXPECT_EQ(read_ini_value(dir / L"s.ini", L"Other", L"Exe"), L"");
  EXPECT_EQ(read_ini_value(dir / L"s.ini", L"Paltalk", L"Hashes"), L"");
  EXPECT_EQ(read_ini_value(dir / L"s.ini", L"paltalk", L"EXE"), L"C:\\P\\Paltalk.exe");
}

TEST(ReadIniValue, ReadsUtf16TextBehindTheMark) {
  test::TempDir dir;
  const std::wstring text = L"[Info]\r\nStatus=caf\u00e9 \u4e2d\r\n";
  std::string bytes = "\xFF\xFE";
  for (wchar_t c : text) {
    bytes += static_cast<char>(c & 0xFF);
    bytes += static_cast<char>((c >> 8) & 0xFF);
  }
  test::write_bytes(dir / L"u.ini", bytes);
  EXPECT_EQ(read_ini_value(dir / L"u.ini", L"Info", L"Status"), L"caf\u00e9 \u4e2d");
}

TEST(ReadIniValue, ReadsAValueOf32767CharactersWhole) {
  test::TempDir dir;
  const std::string value(32767, 'v');
  test::write_bytes(dir / L"long.ini", "[S]\r\nK=" + value + "\r\n");
  EXPECT_EQ(read_ini_value(dir / L"long.ini", L"S", L"K").size(), 32767u);
}

TEST(WriteProfileString, WritesInPlaceAndKeepsOtherKeys) {
  test::TempDir dir;
  const std::wstring path = dir / L"w.ini";
  ASSERT_TRUE(platform::write_profile_string(path, L"Launch", L"Operation", L"create-process"));
  ASSERT_TRUE(platform::write_profile_string(path, L"Launch", L"Error", L"0"));
  ASSERT_TRUE(platform::write_profile_string(path, L"Launch", L"Operation", L"again"));
  EXPECT_EQ(read_ini_value(path, L"Launch", L"Operation"), L"again");
  EXPECT_EQ(read_ini_value(path, L"Launch", L"Error"), L"0");
  // A new file carries no byte-order mark.
  EXPECT_NE(test::read_bytes(path).substr(0, 2), "\xFF\xFE");
}

TEST(WriteProfileString, FailsWhenTheTargetIsADirectory) {
  test::TempDir dir;
  EXPECT_FALSE(platform::write_profile_string(dir.path(), L"S", L"K", L"v"));
}

}  // namespace
}  // namespace nv
