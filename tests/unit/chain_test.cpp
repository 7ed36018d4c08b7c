#include "launcher/chain.h"

#include <gtest/gtest.h>

#include "host/ini.h"
#include "foundation/exit_code.h"
#include "foundation/process_values.h"
#include "platform/dialogs.h"
#include "platform/fake/fake_control.h"
#include "installation.h"

namespace nv {
namespace {

class ChainTest : public test::FreshProcessTest {
 protected:
  void SetUp() override {
    install_root = dir / L"Tenebrix";
    test::write_bytes(install_root + L"\\plugins\\styles\\Nightveil.dll", "plugin");
    host = dir / L"Paltalk\\Paltalk.exe";
    test::write_bytes(host, "MZ");
  }
  std::int32_t run(const Arguments& arguments) { return run_launcher(arguments); }
  test::TempDir dir;
  std::wstring host;
};

TEST(Options, WholeElementsExactlyAndFirstOccurrence) {
  const Arguments arguments = {L"--paltalk", L"--silent", L"--Root", L"x", L"--root", L"a", L"--root", L"b"};
  EXPECT_TRUE(option_present(arguments, L"--silent"));
  EXPECT_EQ(option_value(arguments, L"--paltalk"), L"--silent");
  EXPECT_EQ(option_value(arguments, L"--root"), L"a");
  EXPECT_FALSE(option_present(arguments, L"--roo"));
  EXPECT_FALSE(option_present(arguments, L"--root=a"));
  EXPECT_EQ(option_value(arguments, L"--missing"), L"");
  EXPECT_EQ(option_value({L"--root"}, L"--root"), L"");
}

TEST_F(ChainTest, ValidationComesBeforeEveryOtherOption) {
  struct Case {
    Arguments arguments;
    std::int32_t code;
  };
  const Case cases[] = {
      {{L"--browser-dark", L"ON", L"--remove-shortcuts"}, exit_code::bad_use},
      {{L"--remove-shortcuts", L"--browser-dark"}, exit_code::bad_use},
      {{L"--browser-dark", L"on", L"--remove-shortcuts"}, exit_code::done},
      {{L"--diagnostic-layout", L"relative\\path", L"--remove-shortcuts"}, exit_code::bad_use},
      {{L"--diagnostic-layout", L"C:relative", L"--remove-shortcuts"}, exit_code::bad_use},
      {{L"--diagnostic-layout", L"\\rooted", L"--remove-shortcuts"}, exit_code::bad_use},
      {{L"--remove-shortcuts", L"--diagnostic-layout"}, exit_code::done},
      {{L"--diagnostic-layout", L"\\\\server\\share\\d.txt", L"--remove-shortcuts"}, exit_code::done},
      {{L"--remove-shortcuts", L"--support-report"}, exit_code::done},
      {{L"--support-report"}, exit_code::bad_use},
      {{L"--support-report", L"r.json"}, exit_code::bad_use},
      {{L"--set-browser-dark", L"Off"}, exit_code::bad_use},
      {{L"--set-browser-dark"}, exit_code::bad_use},
  };
  for (const auto& c : cases) {
    reset_process_values();
    install_root = dir / L"Tenebrix";
    EXPECT_EQ(run(c.arguments), c.code) << testing::PrintToString(c.arguments);
  }
  EXPECT_FALSE(test::file_exists(settings_path()));
  EXPECT_TRUE(fake::message_boxes.empty()) << "validation has no message";
}

TEST_F(ChainTest, ProcessValuesComeFromTheirOptions) {
  fake::process_start_result = {true, 0};
  ASSERT_EQ(run({L"--original", L"--paltalk", host, L"--silent", L"--browser-dark", L"off", L"--diagnostic-layout",
                 L"C:\\d.txt", L"--desktop-launch"}),
            exit_code::done);
  EXPECT_TRUE(silent_mode);
  EXPECT_TRUE(desktop_launch);
  EXPECT_EQ(browser_dark_override, L"off");
  EXPECT_EQ(diagnostic_layout_path, L"C:\\d.txt");
}

TEST_F(ChainTest, VerifyManifestWantsASmallAbsoluteFile) {
  const std::wstring small = dir / L"m.jws";
  test::write_bytes(small, std::string(16384, 'a'));
  const std::wstring large = dir / L"large.jws";
  test::write_bytes(large, std::string(16385, 'a'));
  // The read file is judged, and an unacceptable one is 4 (the updater refuses every manifest for now).
  EXPECT_EQ(run({L"--verify-update-manifest", small}), exit_code::not_acceptable);
  EXPECT_EQ(run({L"--verify-update-manifest", large}), exit_code::bad_use);
  EXPECT_EQ(run({L"--verify-update-manifest", dir / L"missing.jws"}), exit_code::bad_use);
  EXPECT_EQ(run({L"--verify-update-manifest", L"m.jws"}), exit_code::bad_use);
  EXPECT_EQ(run({L"--verify-update-manifest", dir.path()}), exit_code::bad_use);
  EXPECT_EQ(run({L"--verify-update-manifest"}), exit_code::bad_use);
}

TEST_F(ChainTest, VerifyInstallerFailsWithFourOnAnyProblem) {
  EXPECT_EQ(run({L"--verify-update-installer", L"x.exe"}), exit_code::not_acceptable);
  EXPECT_EQ(run({L"--verify-update-installer", L"x.exe", L"--size", L"abc"}), exit_code::not_acceptable);
  EXPECT_EQ(run({L"--verify-update-installer", L"x.exe", L"--size", L"99999999999999999999999"}),
            exit_code::not_acceptable);
  EXPECT_EQ(run({L"--verify-update-installer", L"x.exe", L"--size", L"1024", L"--sha256", L"ab"}),
            exit_code::not_acceptable);
}

TEST_F(ChainTest, SetBrowserDarkWritesOneKeyInPlace) {
  ASSERT_EQ(run({L"--set-browser-dark", L"off"}), exit_code::done);
  EXPECT_EQ(read_ini_value(settings_path(), L"Appearance", L"BrowserDark"), L"0");
  ASSERT_EQ(run({L"--set-browser-dark", L"on", L"--silent"}), exit_code::done);
  EXPECT_EQ(read_ini_value(settings_path(), L"Appearance", L"BrowserDark"), L"1");
}

TEST_F(ChainTest, SetBrowserDarkThatCannotWriteThrowsItsWord) {
  install_root = dir / L"Tenebrix\\settings.ini";  // settings_path() is then a directory
  test::write_bytes(install_root + L"\\settings.ini\\x", "");
  EXPECT_EQ(test::failure_of([&] { run({L"--set-browser-dark", L"on", L"--silent"}); }), "Cannot save settings");
}

TEST_F(ChainTest, SupportAndReportAnswerWithTheirCodes) {
  EXPECT_EQ(run({L"--support-report", L"C:\\r.json"}), exit_code::action_failed);
  EXPECT_EQ(run({L"--support"}), exit_code::action_failed);
  EXPECT_EQ(run({L"--support", L"--silent"}), exit_code::bad_use);
}

TEST_F(ChainTest, GivenHostThatDoesNotExistIsRefusedWithAMessage) {
  EXPECT_EQ(run({L"--paltalk", dir / L"missing\\Paltalk.exe"}), exit_code::not_acceptable);
  ASSERT_EQ(fake::message_boxes.size(), 1u);
  EXPECT_EQ(fake::message_boxes[0].text, L"The specified Paltalk.exe was not found.");
  EXPECT_EQ(fake::message_boxes[0].title, L"Tenebrix");
  EXPECT_EQ(fake::message_boxes[0].flags, platform::mb_iconerror);
  EXPECT_TRUE(fake::process_starts.empty());

  fake::reset_all();
  EXPECT_EQ(run({L"--paltalk", dir / L"missing\\Paltalk.exe", L"--silent"}), exit_code::not_acceptable);
  EXPECT_TRUE(fake::message_boxes.empty());
}

TEST_F(ChainTest, OriginalStartsTheConfiguredHostPlainly) {
  test::write_bytes(settings_path(), "[Paltalk]\r\nExe=" + std::string(host.begin(), host.end()) + "\r\n");
  ASSERT_EQ(run({L"--original"}), exit_code::done);
  ASSERT_EQ(fake::process_starts.size(), 1u);
  EXPECT_EQ(fake::process_starts[0].command_line.find(L"-style"), std::wstring::npos);
  EXPECT_TRUE(fake::message_boxes.empty());
}

TEST_F(ChainTest, OriginalThatCannotStartExitsSixWithoutMessage) {
  fake::process_start_result = {false, 2};
  EXPECT_EQ(run({L"--original", L"--paltalk", host}), exit_code::action_failed);
  EXPECT_TRUE(fake::message_boxes.empty());
}

TEST_F(ChainTest, ConfiguredHostThatHasGoneFallsThroughToDiscovery) {
  test::write_bytes(settings_path(), "[Paltalk]\r\nExe=C:\\gone\\Paltalk.exe\r\n");
  EXPECT_EQ(run({}), exit_code::bad_use);  // discovery found nothing and said so itself
  EXPECT_TRUE(fake::process_starts.empty());
}

}  // namespace
}  // namespace nv
