// Path handling against the real file system: Wine's under the Windows build.
#include "foundation/paths.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "test_support.h"

namespace nv {
namespace {

TEST(SamePath, JoinsSpellingsOfOneExistingFile) {
  test::TempDir dir;
  test::write_bytes(dir / L"Sub\\File.txt", "x");
  const std::wstring real = dir / L"Sub\\File.txt";
  const std::wstring spellings[] = {
      dir / L"sub\\file.TXT",
      dir / L"Sub/File.txt",
      dir / L"Sub\\\\File.txt",
      dir / L"Sub\\.\\File.txt",
      dir / L"Other\\..\\Sub\\File.txt",
      dir / L"Sub\\..\\Sub\\File.txt",
  };
  for (const auto& spelling : spellings) EXPECT_TRUE(same_path(real, spelling)) << spelling;
  EXPECT_FALSE(same_path(real, dir / L"Sub\\File.tx"));
  EXPECT_FALSE(same_path(real, dir / L"File.txt"));
}

TEST(NormalPath, ResolvesTheExistingPartAndAppendsTheRest) {
  test::TempDir dir;
  test::write_bytes(dir / L"Real\\a.txt", "x");
  const std::wstring resolved_dir = normal_path(dir / L"real");
  EXPECT_EQ(fold_ascii(resolved_dir), fold_ascii(normal_path(dir / L"Real")));
  EXPECT_EQ(normal_path(dir / L"real\\missing\\..\\gone\\x.exe"), resolved_dir + L"\\gone\\x.exe");
  EXPECT_EQ(normal_path(dir / L"nothing\\here"), normal_path(dir.path()) + L"\\nothing\\here");
#ifdef _WIN32
  // The file system's own letter case comes back for what exists.
  EXPECT_EQ(name_of(normal_path(dir / L"REAL\\A.TXT")), L"a.txt");
  EXPECT_EQ(name_of(parent_of(normal_path(dir / L"REAL\\A.TXT"))), L"Real");
#endif
}

TEST(NormalPath, FollowsALinkToTheSameFile) {
  test::TempDir dir;
  test::write_bytes(dir / L"target\\Paltalk.exe", "x");
  std::error_code error;
  std::filesystem::create_directory_symlink(test::to_fs(dir / L"target"), test::to_fs(dir / L"link"), error);
  if (error) GTEST_SKIP() << "no directory links here: " << error.message();
  EXPECT_TRUE(same_path(dir / L"link\\Paltalk.exe", dir / L"target\\Paltalk.exe"));
}

TEST(NormalPath, FallsBackToTheLexicalFormWhenNothingResolves) {
  EXPECT_EQ(normal_path(L"Q:\\no\\such\\..\\drive\\x"), L"Q:\\no\\drive\\x");
}

TEST(IsRegularFile, OnlyForExistingRegularFiles) {
  test::TempDir dir;
  test::write_bytes(dir / L"f.txt", "");
  EXPECT_TRUE(is_regular_file(dir / L"f.txt"));
  EXPECT_FALSE(is_regular_file(dir.path()));
  EXPECT_FALSE(is_regular_file(dir / L"missing.txt"));
  EXPECT_FALSE(is_regular_file(L""));
  EXPECT_TRUE(path_exists(dir.path()));
  EXPECT_TRUE(path_exists(dir / L"f.txt"));
  EXPECT_FALSE(path_exists(dir / L"missing.txt"));
}

TEST(CreateDirectories, MakesEveryLevelAndAcceptsExisting) {
  test::TempDir dir;
  EXPECT_FALSE(create_directories(dir / L"a\\b\\c"));
  EXPECT_FALSE(create_directories(dir / L"a\\b\\c"));
  EXPECT_FALSE(is_regular_file(dir / L"a\\b\\c"));
  EXPECT_TRUE(path_exists(dir / L"a\\b\\c"));
  test::write_bytes(dir / L"file", "x");
  EXPECT_TRUE(create_directories(dir / L"file\\sub"));
}

}  // namespace
}  // namespace nv
