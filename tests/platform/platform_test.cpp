// The real backend: natively the portable one, under Wine the Windows API.
#include <gtest/gtest.h>

#include <cwchar>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>

#include "foundation/atomic_write.h"
#include "foundation/failure.h"
#include "foundation/paths.h"
#include "host/configuration.h"
#include "host/ini.h"
#include "launcher/browser_arguments.h"
#include "platform/file_ops.h"
#include "platform/files.h"
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

TEST(CreateDirectories, MakesTheMissingParentsOrRaises) {
  test::TempDir dir;
  test::write_bytes(dir / L"File.txt", "x");
  create_directories(dir / L"a\\b\\c");
  EXPECT_TRUE(path_exists(dir / L"a\\b\\c"));
  EXPECT_EQ(test::failure_of([&] { create_directories(dir / L"a\\b\\c"); }), "no failure")
      << "a folder that is there already";
  EXPECT_EQ(test::failure_of([&] { create_directories(dir / L"File.txt\\sub"); }),
            failure::create_directories)
      << "a file in the way of a parent";
  EXPECT_EQ(test::failure_of([&] { create_directories(dir / L"File.txt"); }),
            failure::create_directories)
      << "a file at the path itself";
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
  // A folder at the target refuses the rename; the temporary stays for the next save to truncate.
  const std::wstring folder = dir / L"folder.ini";
  std::filesystem::create_directory(test::to_fs(folder));
  EXPECT_EQ(test::failure_of([&] { save_configuration(folder, analysis, true, L""); }),
            failure::replace_configuration);
  EXPECT_EQ(read_ini_value(folder + L".tmp", L"Paltalk", L"Exe"), analysis.exe_path);
}

enum class AtTarget { nothing, file, folder };

struct AtomicWriteCase {
  const char* name;
  const wchar_t* target = L"x.json";  // within a fresh directory
  bool replace = true;
  AtTarget before = AtTarget::nothing;  // a file there holds "old"
  bool written = true;                  // else the directory stays as it was
  bool late = false;  // a Replacement writes, as if what is there appeared after its test
};

// What a directory holds, one level deep, by name, as "name=content;", a folder's content "/".
std::string listing(const test::TempDir& dir) {
  std::set<std::string> entries;
  for (const auto& entry : std::filesystem::directory_iterator(dir.native)) {
    entries.insert(entry.path().filename().string() + "=" +
                   (entry.is_directory() ? "/" : test::read_bytes(entry.path())) + ";");
  }
  std::string held;
  for (const std::string& entry : entries) held += entry;
  return held;
}

TEST(WriteFileAtomic, TargetEitherWholeOrUntouchedAndNoTemporaryLeft) {
  using enum AtTarget;
  const AtomicWriteCase cases[] = {
      {.name = "new file without replace", .replace = false},
      {.name = "new file with replace"},
      {.name = "a file there is kept", .replace = false, .before = file, .written = false},
      {.name = "a file there is replaced", .before = file},
      {.name = "a folder, without replace", .replace = false, .before = folder, .written = false},
      {.name = "a folder is never replaced", .before = folder, .written = false},
      {.name = "missing directory", .target = L"missing\\x.json", .written = false},
      {.name = "no file name", .target = L"", .written = false},
      {.name = "late, kept", .replace = false, .before = file, .written = false, .late = true},
      {.name = "late, replaced", .before = file, .late = true},
  };
  for (const AtomicWriteCase& c : cases) {
    SCOPED_TRACE(c.name);
    test::TempDir dir;
    if (c.before == folder) std::filesystem::create_directory(test::to_fs(dir / c.target));
    if (c.before == file) test::write_bytes(dir / c.target, "old");
    const std::string before = listing(dir);
    if (c.late) {
      Replacement replacement(dir / c.target, {});
      EXPECT_EQ(replacement.write("content", c.replace), c.written);
    } else {
      EXPECT_EQ(write_file_atomic(
                    dir / c.target, [] { return std::string("content"); }, c.replace),
                c.written);
    }
    EXPECT_EQ(listing(dir), c.written ? "x.json=content;" : before);
  }
}

TEST(WriteFileAtomic, ContentProducedOnlyForAUsableTarget) {
  test::TempDir dir;
  int produced = 0;
  const auto content = [&] {
    ++produced;
    return std::string();
  };
  EXPECT_FALSE(write_file_atomic(L"relative.json", content, true));
  test::write_bytes(dir / L"kept.json", "old");
  EXPECT_FALSE(write_file_atomic(dir / L"kept.json", content, false));
  EXPECT_EQ(produced, 0);
  EXPECT_TRUE(write_file_atomic(dir / L"empty", content, false));
  EXPECT_EQ(produced, 1);
  EXPECT_EQ(std::filesystem::file_size(test::to_fs(dir / L"empty")), 0u);
  EXPECT_EQ(test::failure_of([&] {
              write_file_atomic(
                  dir / L"x", []() -> std::string { throw std::runtime_error("mine"); }, true);
            }),
            "mine");
}

struct TemporaryNameCase {
  const char* name;
  TemporaryName rule_name;
  const wchar_t* before_guid = L"";  // between the target and the GUID
  bool guid = true;
  const wchar_t* suffix = L".tmp";
};

TEST(Replacement, TemporaryLiesBesideTheTargetNamedByTheRule) {
  const TemporaryNameCase cases[] = {
      {.name = "report", .rule_name = TemporaryName::dot_guid_tmp, .before_guid = L"."},
      {.name = "check state", .rule_name = TemporaryName::guid_tmp},
      {.name = "download", .rule_name = TemporaryName::guid_part, .suffix = L".part"},
      {.name = "configuration", .rule_name = TemporaryName::fixed_tmp, .guid = false},
  };
  const std::wstring target = L"C:\\Some Folder\\state.json";
  for (const TemporaryNameCase& c : cases) {
    SCOPED_TRACE(c.name);
    const std::wstring temporary = temporary_path_for(target, c.rule_name);
    const std::wstring head = target + c.before_guid;
    ASSERT_EQ(temporary.substr(0, head.size()), head);
    ASSERT_GE(temporary.size(), head.size() + std::wstring(c.suffix).size());
    const std::wstring middle =
        temporary.substr(head.size(), temporary.size() - head.size() - std::wcslen(c.suffix));
    EXPECT_EQ(temporary.substr(temporary.size() - std::wcslen(c.suffix)), c.suffix);
    if (!c.guid) {
      EXPECT_EQ(middle, L"");
      continue;
    }
    const std::wregex guid(L"\\{[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}\\}");  // upper case
    EXPECT_TRUE(std::regex_match(middle, guid)) << std::string(middle.begin(), middle.end());
  }
}

struct CreationCase {
  const char* name;
  platform::Creation creation = platform::Creation::exclusive;
  bool leftover = false;  // "old bytes" at the temporary's fixed name
  bool refused = false;   // no file created: the temporary still holds "old bytes"
};

TEST(Replacement, CreationFlagsOfTheRule) {
  using enum platform::Creation;
  const CreationCase cases[] = {
      {.name = "exclusive, nothing there"},
      {.name = "exclusive refuses a leftover", .leftover = true, .refused = true},
      {.name = "sequential, nothing there", .creation = exclusive_sequential},
      {.name = "sequential refuses a leftover",
       .creation = exclusive_sequential,
       .leftover = true,
       .refused = true},
      {.name = "truncating, nothing there", .creation = truncating},
      {.name = "truncating empties a leftover", .creation = truncating, .leftover = true},
  };
  for (const CreationCase& c : cases) {
    SCOPED_TRACE(c.name);
    test::TempDir dir;
    const std::wstring target = dir / L"settings.ini";
    if (c.leftover) test::write_bytes(target + L".tmp", "old bytes");
    const Replacement replacement(target, {.name = TemporaryName::fixed_tmp,
                                           .creation = c.creation,
                                           .removed_unless_renamed = false});
    {
      const platform::WritableFile file = replacement.create();
      ASSERT_EQ(file == nullptr, c.refused);
      if (file) {
        EXPECT_TRUE(platform::write_all(*file, "new", 3));
        EXPECT_TRUE(platform::flush_file(*file));
#ifdef _WIN32  // natively nothing enforces sharing
        EXPECT_EQ(std::ifstream(test::to_fs(replacement.temporary())).is_open(),
                  c.creation == truncating);
#endif
      }
    }
    std::string held;
    EXPECT_TRUE(platform::read_file(replacement.temporary(), held));
    EXPECT_EQ(held, c.refused ? "old bytes" : "new");
  }
}

enum class Ending { renamed, rename_refused, abandoned };

struct RemovalCase {
  const char* name;
  bool removed_unless_renamed = true;
  Ending ending = Ending::renamed;
  std::string directory_after = "state.json=new;";
};

TEST(Replacement, TemporaryGoesWhenTheAttemptEndsWithoutItsRenameIfTheRuleSaysSo) {
  using enum Ending;
  const RemovalCase cases[] = {
      {.name = "renamed"},
      {.name = "renamed, kept rule", .removed_unless_renamed = false},
      {.name = "rename refused", .ending = rename_refused, .directory_after = "state.json=/;"},
      {.name = "rename refused, kept rule",
       .removed_unless_renamed = false,
       .ending = rename_refused,
       .directory_after = "state.json.tmp=new;state.json=/;"},
      {.name = "abandoned before the rename", .ending = abandoned, .directory_after = ""},
      {.name = "abandoned, kept rule",
       .removed_unless_renamed = false,
       .ending = abandoned,
       .directory_after = "state.json.tmp=new;"},
  };
  for (const RemovalCase& c : cases) {
    SCOPED_TRACE(c.name);
    test::TempDir dir;
    const std::wstring target = dir / L"state.json";
    if (c.ending == rename_refused) std::filesystem::create_directory(test::to_fs(target));
    {
      Replacement replacement(target, {.name = TemporaryName::fixed_tmp,
                                       .removed_unless_renamed = c.removed_unless_renamed});
      {
        const platform::WritableFile file = replacement.create();
        ASSERT_TRUE(file);
        ASSERT_TRUE(platform::write_all(*file, "new", 3));
      }
      if (c.ending != abandoned) {
        EXPECT_EQ(replacement.rename(true), c.ending == renamed);
      }
    }
    EXPECT_EQ(listing(dir), c.directory_after);
  }
}

}  // namespace
}  // namespace nv
