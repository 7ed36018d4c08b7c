// The real backend: natively the portable one, under Wine the Windows API.
#include <gtest/gtest.h>

#include <filesystem>

#include "foundation/atomic_write.h"
#include "foundation/failure.h"
#include "foundation/paths.h"
#include "host/configuration.h"
#include "host/ini.h"
#include "launcher/browser_arguments.h"
#include "platform/ini.h"
#include "platform/system.h"
#include "test_support.h"

namespace nv {
namespace {

using Cases = std::initializer_list<std::pair<const wchar_t*, const wchar_t*>>;

TEST(Paths, OnTheRealFileSystem) {
  test::TempDir dir;
  test::write_bytes(dir / L"Sub\\File.txt", "x");
  EXPECT_TRUE(same_path(dir / L"Sub\\File.txt", dir / L"sub/.\\Other\\..\\file.TXT"));
  EXPECT_FALSE(same_path(dir / L"Sub\\File.txt", dir / L"Sub\\File.tx"));
  // The existing part resolved, the rest appended.
  EXPECT_EQ(normal_path(dir / L"sub\\missing\\..\\gone\\x.exe"),
            normal_path(dir / L"sub") + L"\\gone\\x.exe");
#ifdef _WIN32
  EXPECT_EQ(normal_path(dir / L"SUB\\FILE.TXT"),
            dir / L"Sub\\File.txt");  // the disk's letter case, no long prefix
#endif
  EXPECT_TRUE(is_regular_file(dir / L"Sub\\File.txt"));
  EXPECT_FALSE(is_regular_file(dir.path) || is_regular_file(dir / L"missing.txt") ||
               path_exists(dir / L"missing.txt"));
#ifndef _WIN32  // Wine makes no link that Windows code sees as one
  std::filesystem::create_directory_symlink(test::to_fs(dir.path), test::to_fs(dir / L"link"));
  std::filesystem::create_symlink(test::to_fs(dir / L"gone.txt"),
                                  test::to_fs(dir / L"dangling.txt"));
  EXPECT_TRUE(same_path(dir / L"link\\Sub\\File.txt", dir / L"Sub\\File.txt"));
  EXPECT_FALSE(is_regular_file(dir / L"dangling.txt") || path_exists(dir / L"dangling.txt"));
#endif
  EXPECT_FALSE(create_directories(dir / L"a\\b\\c") ||
               create_directories(dir / L"a\\b\\c"));  // again: no error
  EXPECT_TRUE(path_exists(dir / L"a\\b\\c"));
  EXPECT_TRUE(create_directories(dir / L"Sub\\File.txt\\sub"));
  // What does not exist keeps its form; the long prefix goes only before a drive.
  for (const auto& [path, normal] : Cases{{L"Q:/no\\\\.\\such\\..\\drive\\x", L"Q:\\no\\drive\\x"},
                                          {L"\\nv-missing\\x", L"\\nv-missing\\x"},
                                          {L"C:nv-missing\\x", L"C:nv-missing\\x"}})
    EXPECT_EQ(normal_path(path), normal) << path;
  for (const auto& [final_path, dos] : Cases{{L"\\\\?\\C:\\x", L"C:\\x"},
                                             {L"\\\\?\\UNC\\srv\\share", L"\\\\srv\\share"},
                                             {L"\\\\?\\1:\\x", L"\\\\?\\1:\\x"},
                                             {L"\\\\?\\Volume{0}\\x", L"\\\\?\\Volume{0}\\x"}})
    EXPECT_EQ(dos_path_of(final_path), dos) << final_path;
}

TEST(QuoteArgument, ReadBackWholeByTheSystemsSplitter) {
  const std::wstring texts[] = {L"",     L"a b", L"C:\\P F\\", L"a\"b",     L"a\\\"b",
                                L"\\\\", L"\"",  L" \t",       L"x\\\\\"\\"};
  std::wstring line = L"P.exe";
  for (const auto& t : texts) line += L" " + quote_argument(t);
  const auto argv = platform::split_command_line(line);
  ASSERT_TRUE(argv);
  EXPECT_EQ(std::vector<std::wstring>(argv->begin() + 1, argv->end()),
            std::vector<std::wstring>(std::begin(texts), std::end(texts)));
}

TEST(SaveConfiguration, SevenKeysRewrittenOnlyWhenOneDiffers) {
  test::TempDir dir;
  const std::wstring path = dir / L"settings.ini";
  const auto stamp = [&] { return std::filesystem::last_write_time(test::to_fs(path)); };
  HostAnalysis analysis{L"C:\\P\\Paltalk.exe", L"a|b|c|d", L"Stat\x00e9", L"1.2.3.4",
                        L"6.11.1.0",           true,       true,          true};
  test::write_bytes(path + L".tmp", "[Junk]\r\nLeft=over\r\n");
  save_configuration(path, analysis, true, L"");
  std::wstring values;
  for (const auto& [section, key] : Cases{{L"Paltalk", L"Exe"},
                                          {L"Paltalk", L"Hashes"},
                                          {L"Paltalk", L"Experimental"},
                                          {L"Info", L"Version"},
                                          {L"Info", L"Qt"},
                                          {L"Info", L"Status"},
                                          {L"Appearance", L"BrowserDark"},
                                          {L"Junk", L"Left"}})
    values += read_ini_value(path, section, key) + L";";
  EXPECT_EQ(values, L"C:\\P\\Paltalk.exe;a|b|c|d;1;1.2.3.4;6.11.1.0;Stat\x00e9;1;;");
  EXPECT_FALSE(std::filesystem::exists(test::to_fs(path + L".tmp")));
  write_browser_dark(path, false);
  ASSERT_TRUE(platform::write_profile_string(path, L"Notes", L"Mine", L"x"));
  const auto old = stamp() - std::chrono::hours(900);
  std::filesystem::last_write_time(test::to_fs(path), old);
  save_configuration(path, analysis, true, L"");
  EXPECT_EQ(stamp(), old);  // nothing differs: the file and its other sections stay
  analysis.message = L"Other";
  save_configuration(path, analysis, true, L"");
  EXPECT_EQ(
      read_ini_value(path, L"Notes", L"Mine") + read_ini_value(path, L"Appearance", L"BrowserDark"),
      L"0");
  EXPECT_EQ(test::failure_of([&] { save_configuration(dir.path, analysis, true, L""); }),
            failure::replace_configuration);
}

// Each row: a target, whether to replace, what lies there first ("/": a folder), and what the
// directory holds afterwards (name=content), the temporary file never among it.
TEST(WriteFileAtomic, TargetEitherWholeOrUntouched) {
  const std::tuple<const wchar_t*, bool, std::string, bool, std::string> cases[] = {
      {L"new.json", false, "", true, "new.json=content;"},
      {L"old.json", false, "old", false, "old.json=old;"},
      {L"old.json", true, "old", true, "old.json=content;"},
      {L"folder", false, "/", false, "folder=/;"},  // the existence test passes, the rename refuses
      {L"folder", true, "/", false, "folder=/;"},
      {L"missing\\x.json", true, "", false, ""},
      {L"", true, "", false, ""}};  // the directory itself: no file name
  for (const auto& [target, replace, before, result, after] : cases) {
    test::TempDir dir;
    if (before == "/")
      std::filesystem::create_directory(test::to_fs(dir / target));
    else if (!before.empty())
      test::write_bytes(dir / target, before);
    EXPECT_EQ(write_file_atomic(
                  dir / target, [] { return std::string("content"); }, replace),
              result)
        << target;
    std::string held;
    for (const auto& entry : std::filesystem::directory_iterator(dir.native)) {
      std::ifstream file(entry.path(), std::ios::binary);
      held += entry.path().filename().string() + "=" +
              (entry.is_directory() ? "/" : std::string(std::istreambuf_iterator<char>(file), {})) +
              ";";
    }
    EXPECT_EQ(held, after) << target;
  }
  test::TempDir dir;
  EXPECT_FALSE(write_file_atomic(
      L"relative.json", [] { return std::string("x"); }, true));
  EXPECT_TRUE(write_file_atomic(
      dir / L"empty", [] { return std::string(); }, false));
  EXPECT_EQ(std::filesystem::file_size(test::to_fs(dir / L"empty")), 0u);
  EXPECT_EQ(test::failure_of([&] {
              write_file_atomic(
                  dir / L"x", []() -> std::string { throw std::runtime_error("mine"); }, true);
            }),
            "mine");
  EXPECT_EQ(guid_text().size(), 38u);
  EXPECT_NE(guid_text(), guid_text());
}

}  // namespace
}  // namespace nv
