// Path handling against the real file system: Wine's under the Windows build.
#include "foundation/paths.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <utility>

#include "test_support.h"

namespace nv {
namespace {

using Cases = std::initializer_list<std::pair<const wchar_t*, const wchar_t*>>;

TEST(SamePath, JoinsSpellingsOfOneExistingFile) {
  test::TempDir dir;
  test::write_bytes(dir / L"Sub\\File.txt", "x");
  EXPECT_TRUE(same_path(dir / L"Sub\\File.txt", dir / L"sub/.\\Other\\..\\file.TXT"));
  EXPECT_FALSE(same_path(dir / L"Sub\\File.txt", dir / L"Sub\\File.tx"));
}

TEST(NormalPath, ResolvesTheExistingPartAndAppendsTheRest) {
  test::TempDir dir;
  test::write_bytes(dir / L"Real\\a.txt", "x");
  EXPECT_EQ(normal_path(dir / L"real\\missing\\..\\gone\\x.exe"), normal_path(dir / L"real") + L"\\gone\\x.exe");
#ifdef _WIN32
  EXPECT_EQ(normal_path(dir / L"REAL\\A.TXT"), dir / L"Real\\a.txt");  // the disk's letter case, no long prefix
#endif
}

TEST(NormalPath, KeepsTheFormOfWhatDoesNotExist) {
  for (const auto& [path, normal] : Cases{{L"Q:/no\\\\.\\such\\..\\drive\\x", L"Q:\\no\\drive\\x"},
                                          {L"\\nv-missing\\x", L"\\nv-missing\\x"},
                                          {L"C:nv-missing\\x", L"C:nv-missing\\x"}})
    EXPECT_EQ(normal_path(path), normal) << path;
}

TEST(DosPathOf, DropsTheLongPrefixOnlyBeforeADrive) {
  for (const auto& [final_path, dos] : Cases{{L"\\\\?\\C:\\x", L"C:\\x"},
                                             {L"\\\\?\\UNC\\srv\\share", L"\\\\srv\\share"},
                                             {L"\\\\?\\1:\\x", L"\\\\?\\1:\\x"},
                                             {L"\\\\?\\Volume{0}\\x", L"\\\\?\\Volume{0}\\x"}})
    EXPECT_EQ(dos_path_of(final_path), dos) << final_path;
}

TEST(IsRegularFile, OnlyForExistingRegularFilesThroughLinks) {
  test::TempDir dir;
  test::write_bytes(dir / L"f.txt", "");
  EXPECT_TRUE(is_regular_file(dir / L"f.txt"));
  EXPECT_FALSE(is_regular_file(dir.path));
  EXPECT_FALSE(is_regular_file(dir / L"missing.txt"));
  EXPECT_FALSE(path_exists(dir / L"missing.txt"));
#ifndef _WIN32  // Wine makes no link that Windows code sees as one
  std::filesystem::create_directory_symlink(test::to_fs(dir.path), test::to_fs(dir / L"link"));
  std::filesystem::create_symlink(test::to_fs(dir / L"gone.txt"), test::to_fs(dir / L"dangling.txt"));
  EXPECT_TRUE(same_path(dir / L"link\\f.txt", dir / L"f.txt"));
  EXPECT_FALSE(is_regular_file(dir / L"dangling.txt"));
  EXPECT_FALSE(path_exists(dir / L"dangling.txt"));
#endif
}

TEST(CreateDirectories, MakesEveryLevelAndAcceptsExisting) {
  test::TempDir dir;
  EXPECT_FALSE(create_directories(dir / L"a\\b\\c"));
  EXPECT_FALSE(create_directories(dir / L"a\\b\\c"));
  EXPECT_TRUE(path_exists(dir / L"a\\b\\c"));
  test::write_bytes(dir / L"file", "x");
  EXPECT_TRUE(create_directories(dir / L"file\\sub"));
}

}  // namespace
}  // namespace nv
