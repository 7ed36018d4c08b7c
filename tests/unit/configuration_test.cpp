#include "host/configuration.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cwchar>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/ini.h"
#include "platform/ini.h"
#include "test_support.h"

#ifndef _WIN32
#include <sys/resource.h>

#include <csignal>
#endif

namespace nv {
namespace {

struct Line {
  std::wstring section, key, value;
  bool operator==(const Line&) const = default;
};

// What a settings file says: its keys in file order, and whether it carries the mark.
struct Contents {
  bool marked = false;
  std::vector<Line> lines;
};

Contents contents_of(const std::wstring& path) {
  const std::string bytes = test::read_bytes(path);
  Contents contents;
  contents.marked = bytes.size() >= 2 && bytes.compare(0, 2, "\xFF\xFE") == 0;
  std::wstring text;
  if (contents.marked) {
    for (std::size_t i = 2; i + 1 < bytes.size(); i += 2)
      text += static_cast<wchar_t>(static_cast<unsigned char>(bytes[i]) | static_cast<unsigned char>(bytes[i + 1]) << 8);
  } else {
    text.assign(bytes.begin(), bytes.end());
  }
  std::wstring section;
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t end = text.find(L'\n', start);
    if (end == std::wstring::npos) end = text.size();
    std::wstring line = text.substr(start, end - start);
    start = end + 1;
    if (!line.empty() && line.back() == L'\r') line.pop_back();
    if (line.size() >= 2 && line.front() == L'[' && line.back() == L']') {
      section = line.substr(1, line.size() - 2);
    } else if (const auto eq = line.find(L'='); eq != std::wstring::npos) {
      contents.lines.push_back({section, line.substr(0, eq), line.substr(eq + 1)});
    }
  }
  return contents;
}

class SaveConfigurationTest : public testing::Test {
 protected:
  void SetUp() override {
    record.exe_path = L"C:\\Program Files\\Paltalk\\Paltalk.exe";
    record.hashes = L"aaa|bbb|ccc|ddd";
    record.message = L"Recognized build; camera fix still needs live hardware validation.";
    record.host_version = L"1.37.0.1234";
    record.qt_version = L"6.11.1.0";
    record.analyzed = record.recognized = record.compatible = true;
  }

  std::vector<Line> expected(const HostAnalysis& r, bool experimental, const wchar_t* browser_dark) const {
    return {{L"Paltalk", L"Exe", r.exe_path},       {L"Paltalk", L"Hashes", r.hashes},
            {L"Paltalk", L"Experimental", experimental ? L"1" : L"0"},
            {L"Info", L"Version", r.host_version},  {L"Info", L"Qt", r.qt_version},
            {L"Info", L"Status", r.message},        {L"Appearance", L"BrowserDark", browser_dark}};
  }
  std::wstring browser_dark() const { return read_ini_value(path, L"Appearance", L"BrowserDark"); }
  // A rewrite would give the file the time of now.
  void make_old() const {
    std::filesystem::last_write_time(test::to_fs(path), std::filesystem::file_time_type::clock::now() - std::chrono::hours(24 * 400));
  }
  std::filesystem::file_time_type stamp() const { return std::filesystem::last_write_time(test::to_fs(path)); }

  test::TempDir dir;
  std::wstring path = dir / L"settings.ini";
  HostAnalysis record;
};

using test::failure_of;

TEST_F(SaveConfigurationTest, NewFileHasTheMarkAndTheSevenKeysInOrder) {
  save_configuration(path, record, false, L"");
  const Contents contents = contents_of(path);
  EXPECT_TRUE(contents.marked);
  EXPECT_EQ(contents.lines, expected(record, false, L"1"));
  EXPECT_FALSE(test::file_exists(path + L".tmp"));
}

TEST_F(SaveConfigurationTest, UnchangedRecordLeavesBytesAndTimeAlone) {
  save_configuration(path, record, true, L"");
  make_old();
  const auto old_stamp = stamp();
  const std::string old_bytes = test::read_bytes(path);
  save_configuration(path, record, true, L"");
  EXPECT_EQ(stamp(), old_stamp);
  EXPECT_EQ(test::read_bytes(path), old_bytes);
  EXPECT_FALSE(test::file_exists(path + L".tmp"));
}

TEST_F(SaveConfigurationTest, AnyOneDifferingKeyRewritesTheFile) {
  struct Case {
    const char* name;
    std::function<void(HostAnalysis&, bool&)> change;
  };
  const Case cases[] = {
      {"exe", [](HostAnalysis& r, bool&) { r.exe_path += L"x"; }},
      {"hashes", [](HostAnalysis& r, bool&) { r.hashes = L"aaa|bbb|ccc|dde"; }},
      {"experimental", [](HostAnalysis&, bool& e) { e = true; }},
      {"version", [](HostAnalysis& r, bool&) { r.host_version = L"1.37.0.1235"; }},
      {"qt", [](HostAnalysis& r, bool&) { r.qt_version = L"6.11.1.1"; }},
      {"message only", [](HostAnalysis& r, bool&) { r.message = L"Compatible signed update."; }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    save_configuration(path, record, false, L"");
    make_old();
    const auto old_stamp = stamp();
    HostAnalysis changed = record;
    bool experimental = false;
    c.change(changed, experimental);
    save_configuration(path, changed, experimental, L"");
    EXPECT_NE(stamp(), old_stamp);
    EXPECT_EQ(contents_of(path).lines, expected(changed, experimental, L"1"));
  }
}

TEST_F(SaveConfigurationTest, KeepsAnInPlaceChoiceOfZero) {
  save_configuration(path, record, false, L"");
  write_browser_dark(path, false);
  save_configuration(path, record, false, L"");
  EXPECT_EQ(browser_dark(), L"0");
  record.message = L"Something else to say.";
  save_configuration(path, record, false, L"");
  const Contents contents = contents_of(path);
  EXPECT_TRUE(contents.marked);
  EXPECT_EQ(contents.lines, expected(record, false, L"0"));
}

TEST_F(SaveConfigurationTest, AnythingButZeroIsWrittenAsOne) {
  for (const wchar_t* value : {L"off", L"false", L"00", L" 0x"}) {
    save_configuration(path, record, false, L"");
    ASSERT_TRUE(platform::write_profile_string(path, L"Appearance", L"BrowserDark", value));
    save_configuration(path, record, false, L"");
    EXPECT_EQ(browser_dark(), L"1") << std::string(value, value + std::wcslen(value));
  }
}

TEST_F(SaveConfigurationTest, OtherSectionsSurviveOnlyAnUnchangedSave) {
  save_configuration(path, record, false, L"");
  ASSERT_TRUE(platform::write_profile_string(path, L"Notes", L"Mine", L"keep me"));
  save_configuration(path, record, false, L"");
  EXPECT_EQ(read_ini_value(path, L"Notes", L"Mine"), L"keep me");
  record.hashes = L"new|new|new|new";
  save_configuration(path, record, false, L"");
  EXPECT_EQ(read_ini_value(path, L"Notes", L"Mine"), L"");
  EXPECT_EQ(contents_of(path).lines, expected(record, false, L"1"));
}

TEST_F(SaveConfigurationTest, AppearanceSourceDecidesWhenNamed) {
  const std::wstring source = dir / L"approved.ini";
  ASSERT_TRUE(platform::write_profile_string(source, L"Appearance", L"BrowserDark", L"0"));
  save_configuration(path, record, false, L"");
  save_configuration(path, record, false, source);
  EXPECT_EQ(browser_dark(), L"0");
  // A source without the key means enabled, whatever the target held.
  save_configuration(path, record, false, dir / L"absent.ini");
  EXPECT_EQ(browser_dark(), L"1");
}

TEST_F(SaveConfigurationTest, LeftoverTemporaryFileHasNoEffect) {
  test::write_bytes(path + L".tmp", "[Junk]\r\nLeft=over\r\n[Paltalk]\r\nExe=C:\\Wrong\\Paltalk.exe\r\n");
  save_configuration(path, record, false, L"");
  const Contents contents = contents_of(path);
  EXPECT_TRUE(contents.marked);
  EXPECT_EQ(contents.lines, expected(record, false, L"1"));
  EXPECT_FALSE(test::file_exists(path + L".tmp"));
}

TEST_F(SaveConfigurationTest, InPlaceWriteIntoMissingFileIsUnmarkedUntilASave) {
  write_browser_dark(path, false);
  EXPECT_FALSE(contents_of(path).marked);
  EXPECT_EQ(browser_dark(), L"0");
  save_configuration(path, record, false, L"");
  const Contents contents = contents_of(path);
  EXPECT_TRUE(contents.marked);
  EXPECT_EQ(contents.lines, expected(record, false, L"0"));
}

TEST_F(SaveConfigurationTest, MissingDirectoryCannotCreateConfiguration) {
  const std::wstring nowhere = dir / L"missing\\settings.ini";
  EXPECT_EQ(failure_of([&] { save_configuration(nowhere, record, false, L""); }), "Cannot create configuration");
  EXPECT_FALSE(test::file_exists(dir / L"missing"));
}

TEST_F(SaveConfigurationTest, DirectoryAtTargetCannotBeReplaced) {
  std::filesystem::create_directory(test::to_fs(path));
  EXPECT_EQ(failure_of([&] { save_configuration(path, record, false, L""); }), "Cannot replace configuration");
  EXPECT_TRUE(std::filesystem::is_directory(test::to_fs(path)));
  // The finished temporary file stays for the next save to truncate.
  const Contents left = contents_of(path + L".tmp");
  EXPECT_TRUE(left.marked);
  EXPECT_EQ(left.lines, expected(record, false, L"1"));
}

TEST_F(SaveConfigurationTest, KeyThatCannotBeWrittenCannotSaveSettings) {
#ifdef _WIN32
  GTEST_SKIP() << "the profile writer cannot be made to fail once its file could be created";
#else
  save_configuration(path, record, false, L"");
  const std::string before = test::read_bytes(path);
  record.message = L"Changed.";
  // A disk that takes the mark and hardly more: the first key cannot be written.
  rlimit saved{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &saved), 0);
  rlimit small = saved;
  small.rlim_cur = 16;
  const auto old_handler = std::signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  const std::string failure = failure_of([&] { save_configuration(path, record, false, L""); });
  setrlimit(RLIMIT_FSIZE, &saved);
  std::signal(SIGXFSZ, old_handler);
  EXPECT_EQ(failure, "Cannot save settings");
  EXPECT_EQ(test::read_bytes(path), before);
  EXPECT_TRUE(test::file_exists(path + L".tmp"));
#endif
}

}  // namespace
}  // namespace nv
