#include "launcher/host_start.h"

#include <gtest/gtest.h>

#include "host/ini.h"
#include "foundation/process_values.h"
#include "platform/fake/fake_control.h"
#include "installation.h"

namespace nv {
namespace {

class HostStartTest : public test::StartingHostTest {
 protected:
  std::wstring status(const wchar_t* key) { return read_ini_value(install_root + L"\\last-status.ini", L"Launch", key); }
};

TEST_F(HostStartTest, DarkStartPassesStyleAndRecordsFullDark) {
  ASSERT_TRUE(start_host(analysis, true));
  ASSERT_EQ(fake::process_starts.size(), 1u);
  const auto& start = fake::process_starts[0];
  EXPECT_EQ(start.application, L"C:\\P\\Paltalk.exe");
  EXPECT_EQ(start.command_line, L"\"C:\\P\\Paltalk.exe\" -style Nightveil");
  EXPECT_EQ(start.directory, L"C:\\P");
  EXPECT_TRUE(fake::shell_executes.empty());
  EXPECT_EQ(status(L"Operation"), L"create-process");
  EXPECT_EQ(status(L"Error"), L"0");
  EXPECT_EQ(status(L"Mode"), L"full-dark");
}

TEST_F(HostStartTest, NormalStartPassesOnlyTheQuotedPath) {
  analysis.exe_path = L"C:\\NoBlanks\\Paltalk.exe";
  ASSERT_TRUE(start_host(analysis, false));
  EXPECT_EQ(fake::process_starts.at(0).command_line, L"\"C:\\NoBlanks\\Paltalk.exe\"");
  EXPECT_EQ(status(L"Mode"), L"normal");
}

TEST_F(HostStartTest, BrowserPreferenceOffGivesQtOnlyWithTheSameArguments) {
  test::write_bytes(settings_path(), "[Appearance]\r\nBrowserDark=0\r\n");
  ASSERT_TRUE(start_host(analysis, true));
  EXPECT_EQ(fake::process_starts.at(0).command_line, L"\"C:\\P\\Paltalk.exe\" -style Nightveil");
  EXPECT_EQ(status(L"Mode"), L"qt-only");
}

TEST_F(HostStartTest, FailedStartRecordsTheError) {
  fake::process_start_result = {false, 193};
  EXPECT_FALSE(start_host(analysis, true));
  EXPECT_EQ(status(L"Error"), L"193");
  EXPECT_EQ(status(L"Mode"), L"full-dark");
}

TEST_F(HostStartTest, ElevatedHandsOffWithForwardedOptionsAndWritesNothing) {
  fake::elevation = platform::Elevation::elevated;
  browser_dark_override = L"off";
  silent_mode = true;
  diagnostic_layout_path = L"C:\\d.txt";
  ASSERT_TRUE(start_host(analysis, true));
  EXPECT_TRUE(fake::process_starts.empty());
  ASSERT_EQ(fake::shell_executes.size(), 1u);
  EXPECT_EQ(fake::shell_executes[0].file, install_root + L"\\NightveilMode.exe");
  EXPECT_EQ(fake::shell_executes[0].directory, install_root);
  EXPECT_EQ(fake::shell_executes[0].arguments,
            L"--desktop-launch --paltalk \"C:\\P\\Paltalk.exe\" --silent --diagnostic-layout \"C:\\d.txt\" "
            L"--browser-dark off");
  EXPECT_FALSE(test::file_exists(install_root + L"\\last-status.ini"));
}

TEST_F(HostStartTest, ElevatedNormalHandOffPutsOriginalBehindThePath) {
  fake::elevation = platform::Elevation::elevated;
  ASSERT_TRUE(start_host(analysis, false));
  EXPECT_EQ(fake::shell_executes.at(0).arguments, L"--desktop-launch --paltalk \"C:\\P\\Paltalk.exe\" --original");
}

TEST_F(HostStartTest, FailedHandOffStartsTheHostDirectly) {
  fake::elevation = platform::Elevation::elevated;
  fake::shell_available = false;
  ASSERT_TRUE(start_host(analysis, true));
  EXPECT_EQ(fake::process_starts.size(), 1u);
  EXPECT_EQ(status(L"Mode"), L"full-dark");
}

TEST_F(HostStartTest, SecondStartNeverHandsOffAgain) {
  fake::elevation = platform::Elevation::elevated;
  desktop_launch = true;
  EXPECT_FALSE(start_through_shell(analysis, true));
  ASSERT_TRUE(start_host(analysis, true));
  EXPECT_TRUE(fake::shell_executes.empty());
  EXPECT_EQ(fake::process_starts.size(), 1u);
}

TEST_F(HostStartTest, UnreadableTokenEndsWithItsWordAndStartsNothing) {
  const std::pair<platform::Elevation, const char*> cases[] = {
      {platform::Elevation::token_unavailable, "Cannot inspect launch token"},
      {platform::Elevation::elevation_unavailable, "Cannot inspect launch elevation"}};
  for (const auto& [elevation, word] : cases) {
    fake::elevation = elevation;
    EXPECT_EQ(test::failure_of([&] { start_host(analysis, true); }), word);
  }
  EXPECT_TRUE(fake::process_starts.empty());
}

TEST_F(HostStartTest, UnwritableStatusDoesNotChangeTheOutcome) {
  install_root = dir / L"no\\such\\dir";
  EXPECT_TRUE(start_host(analysis, false));
}

}  // namespace
}  // namespace nv
