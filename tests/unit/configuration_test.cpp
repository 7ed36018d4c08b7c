#include "host/configuration.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "platform/ini.h"
#include "test_support.h"

#ifndef _WIN32
#include <sys/resource.h>

#include <csignal>
#endif

namespace nv {
namespace {

using namespace std::chrono_literals;

// What a settings file says: "unmarked" without its first two bytes FF FE,
// else "marked" and its keys in file order as "[Section]Key=value".
std::vector<std::wstring> contents_of(const std::wstring& path) {
  const std::string bytes = test::read_bytes(path);
  if (bytes.rfind("\xFF\xFE", 0) != 0) return {L"unmarked"};
  std::wstring text;
  for (std::size_t i = 2; i + 1 < bytes.size(); i += 2)
    text += static_cast<wchar_t>(static_cast<unsigned char>(bytes[i]) | static_cast<unsigned char>(bytes[i + 1]) << 8);
  std::vector<std::wstring> contents = {L"marked"};
  std::wistringstream lines(text);
  for (std::wstring line, section; std::getline(lines, line);) {
    if (!line.empty() && line.back() == L'\r') line.pop_back();
    if (line.starts_with(L'[')) section = line;
    else if (line.find(L'=') != std::wstring::npos) contents.push_back(section + line);
  }
  return contents;
}

class SaveConfigurationTest : public testing::Test {
 protected:
  void save(const HostAnalysis& r, bool experimental = false, const std::wstring& source = L"") const {
    save_configuration(path, r, experimental, source);
  }
  // The seven keys in their order, behind the mark.
  static std::vector<std::wstring> expected(const HostAnalysis& r, bool experimental, const std::wstring& dark) {
    return {L"marked", L"[Paltalk]Exe=" + r.exe_path, L"[Paltalk]Hashes=" + r.hashes,
            L"[Paltalk]Experimental=" + std::wstring(experimental ? L"1" : L"0"), L"[Info]Version=" + r.host_version,
            L"[Info]Qt=" + r.qt_version, L"[Info]Status=" + r.message, L"[Appearance]BrowserDark=" + dark};
  }
  static void put(const std::wstring& file, const wchar_t* section, const wchar_t* key, const wchar_t* value) {
    EXPECT_TRUE(platform::write_profile_string(file, section, key, value));
  }
  // The time stamp after dating the file long ago, so that a rewrite shows.
  std::filesystem::file_time_type make_old() const {
    std::filesystem::last_write_time(test::to_fs(path), std::filesystem::file_time_type::clock::now() - 9000h);
    return stamp();
  }
  std::filesystem::file_time_type stamp() const { return std::filesystem::last_write_time(test::to_fs(path)); }

  test::TempDir dir;
  std::wstring path = dir / L"settings.ini";
  HostAnalysis record{L"C:\\Program Files\\Paltalk\\Paltalk.exe", L"aaa|bbb|ccc|ddd",
                      L"Recognized build; camera fix still needs live hardware validation.", L"1.37.0.1234",
                      L"6.11.1.0", true, true, true};
};

TEST_F(SaveConfigurationTest, NewFileHasTheSevenKeysAndASecondSaveLeavesItAlone) {
  test::write_bytes(path + L".tmp", "[Junk]\r\nLeft=over\r\n[Paltalk]\r\nExe=C:\\Wrong\\Paltalk.exe\r\n");
  save(record, true);
  EXPECT_EQ(contents_of(path), expected(record, true, L"1"));
  // Nothing differs among the seven keys: bytes and time stay, other sections too.
  write_browser_dark(path, false);
  put(path, L"Notes", L"Mine", L"keep me");
  const auto old = make_old();
  const std::string old_bytes = test::read_bytes(path);
  save(record, true);
  EXPECT_EQ(stamp(), old);
  EXPECT_EQ(test::read_bytes(path), old_bytes);
  EXPECT_FALSE(test::file_exists(path + L".tmp"));
}

// Every rewrite drops what is not among the seven keys.
TEST_F(SaveConfigurationTest, AnyOneDifferingKeyRewritesTheFile) {
  struct Case {
    const char* name;
    std::wstring HostAnalysis::*field;  // changed to `value`; without one, `value` is put in BrowserDark
    const wchar_t* value;
    bool experimental = false;
  };
  const Case cases[] = {
      {"exe", &HostAnalysis::exe_path, L"D:\\Paltalk.exe"},  {"hashes", &HostAnalysis::hashes, L"aaa|bbb|ccc|dde"},
      {"version", &HostAnalysis::host_version, L"1.37.0.1235"}, {"qt", &HostAnalysis::qt_version, L"6.11.1.1"},
      {"message only", &HostAnalysis::message, L"Compatible signed update."}, {"experimental", nullptr, nullptr, true},
      // Only "0" disables; anything else is normalised to "1".
      {"off", nullptr, L"off"}, {"false", nullptr, L"false"}, {"00", nullptr, L"00"}, {" 0x", nullptr, L" 0x"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    save(record);
    HostAnalysis changed = record;
    if (c.field) changed.*c.field = c.value;
    else if (c.value) put(path, L"Appearance", L"BrowserDark", c.value);
    put(path, L"Notes", L"Mine", L"dropped");
    const auto old = make_old();
    save(changed, c.experimental);
    EXPECT_NE(stamp(), old);
    EXPECT_EQ(contents_of(path), expected(changed, c.experimental, L"1"));
  }
}

TEST_F(SaveConfigurationTest, BrowserDarkIsCarriedOverFromTheTargetOrTheNamedSource) {
  write_browser_dark(path, false);  // in place into a missing file: no mark
  EXPECT_EQ(contents_of(path), std::vector<std::wstring>{L"unmarked"});
  save(record);
  EXPECT_EQ(contents_of(path), expected(record, false, L"0"));
  // A named source decides, and one without the key means enabled.
  save(record, false, dir / L"absent.ini");
  EXPECT_EQ(contents_of(path), expected(record, false, L"1"));
  const std::wstring source = dir / L"approved.ini";
  put(source, L"Appearance", L"BrowserDark", L"0");
  save(record, false, source);
  EXPECT_EQ(contents_of(path), expected(record, false, L"0"));
}

// What survives a failure: the target unchanged, the temporary file left for
// the next save to truncate.
TEST_F(SaveConfigurationTest, EachStepFailsWithItsOwnText) {
  const std::wstring nowhere = dir / L"missing\\settings.ini";
  EXPECT_EQ(test::failure_of([&] { save_configuration(nowhere, record, false, L""); }), "Cannot create configuration");
  EXPECT_FALSE(test::file_exists(dir / L"missing"));
#ifndef _WIN32  // the Windows profile writer cannot be made to fail once its file could be created
  save(record);
  const std::string before = test::read_bytes(path);
  HostAnalysis changed = record;
  changed.message = L"Changed.";
  // A disk that takes the mark and hardly more: the first key cannot be written.
  rlimit saved{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &saved), 0);
  const rlimit small{16, saved.rlim_max};
  const auto old_handler = std::signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  const std::string failure = test::failure_of([&] { save(changed); });
  setrlimit(RLIMIT_FSIZE, &saved);
  std::signal(SIGXFSZ, old_handler);
  EXPECT_EQ(failure, "Cannot save settings");
  EXPECT_EQ(test::read_bytes(path), before);
  EXPECT_TRUE(test::file_exists(path + L".tmp"));
  std::filesystem::remove(test::to_fs(path));
#endif
  std::filesystem::create_directory(test::to_fs(path));  // a target that cannot be replaced
  EXPECT_EQ(test::failure_of([&] { save(record); }), "Cannot replace configuration");
  EXPECT_TRUE(std::filesystem::is_directory(test::to_fs(path)));
  EXPECT_EQ(contents_of(path + L".tmp"), expected(record, false, L"1"));
}

}  // namespace
}  // namespace nv
