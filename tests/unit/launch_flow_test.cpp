#include "launcher/launch_flow.h"

#include <gtest/gtest.h>

#include <cwctype>
#include <filesystem>
#include <memory>

#include "host/ini.h"
#include "installation.h"
#include "foundation/exit_code.h"
#include "platform/dialogs.h"
#include "platform/fake/processes_control.h"
#include "platform/ini.h"

namespace nv {
namespace {

const std::wstring launch_prompt =
    L"Automatic compatibility could not be verified. Enable experimental dark mode for this exact build?\n\nYes: "
    L"enable it. No: use normal appearance. Cancel: do not launch.";
constexpr unsigned launch_prompt_flags = platform::mb_yesnocancel | platform::mb_iconwarning | platform::mb_defbutton2;

class LaunchFlowTest : public test::FreshProcessTest {
 protected:
  void SetUp() override { install = std::make_unique<test::Installation>(); }

  std::int32_t launch(Arguments arguments = {}) { return run_launcher(with_host(std::move(arguments))); }
  Arguments with_host(Arguments arguments) const {
    arguments.insert(arguments.begin(), {L"--paltalk", install->exe});
    return arguments;
  }
  std::wstring setting(const wchar_t* section, const wchar_t* key) const {
    return read_ini_value(settings_path(), section, key);
  }
  bool started_dark() const {
    return fake::process_starts.size() == 1 &&
           fake::process_starts[0].command_line.find(L" -style Nightveil") != std::wstring::npos;
  }
  bool started_plain() const {
    return fake::process_starts.size() == 1 &&
           fake::process_starts[0].command_line.find(L"-style") == std::wstring::npos;
  }
  std::unique_ptr<test::Installation> install;
};

TEST_F(LaunchFlowTest, RecognizedBuildStartsDarkAndRemembersTheBuild) {
  install->recognize();
  ASSERT_EQ(launch(), exit_code::done);
  EXPECT_TRUE(started_dark());
  EXPECT_TRUE(fake::message_boxes.empty());
  EXPECT_TRUE(same_path(setting(L"Paltalk", L"Exe"), install->exe));
  EXPECT_EQ(setting(L"Paltalk", L"Hashes"), install->hashes());
  EXPECT_EQ(setting(L"Paltalk", L"Experimental"), L"0");
}

TEST_F(LaunchFlowTest, CompatibleBuildWithStoredApprovalIsWrittenBackWithTheFlagOff) {
  install->sign();
  test::write_bytes(settings_path(), "[Paltalk]\r\nExperimental=1\r\n");
  ASSERT_EQ(launch(), exit_code::done);
  EXPECT_TRUE(started_dark());
  EXPECT_EQ(setting(L"Paltalk", L"Experimental"), L"0");
}

TEST_F(LaunchFlowTest, UnknownBuildAsksAndActsOnTheAnswer) {
  struct Case {
    int answer;
    std::int32_t code;
    bool dark;
    bool plain;
    const wchar_t* stored_experimental;
  };
  const Case cases[] = {
      {platform::id_yes, exit_code::done, true, false, L"1"},
      {platform::id_no, exit_code::done, false, true, L""},
      {platform::id_cancel, exit_code::bad_use, false, false, L""},
  };
  for (const auto& c : cases) {
    fake::reset_all();
    install = std::make_unique<test::Installation>();
    fake::message_box_answers.push_back(c.answer);
    EXPECT_EQ(launch(), c.code) << c.answer;
    ASSERT_EQ(fake::message_boxes.size(), 1u);
    EXPECT_EQ(fake::message_boxes[0].text, launch_prompt);
    EXPECT_EQ(fake::message_boxes[0].flags, launch_prompt_flags);
    EXPECT_EQ(started_dark(), c.dark) << c.answer;
    EXPECT_EQ(started_plain(), c.plain) << c.answer;
    if (!c.dark && !c.plain) {
      EXPECT_TRUE(fake::process_starts.empty());
    }
    EXPECT_EQ(setting(L"Paltalk", L"Experimental"), c.stored_experimental);
    if (c.answer == platform::id_yes) {
      EXPECT_EQ(setting(L"Paltalk", L"Hashes"), install->hashes());
    }
  }
}

TEST_F(LaunchFlowTest, StoredApprovalOfTheExactBuildIsNotAskedAgain) {
  fake::message_box_answers.push_back(platform::id_yes);
  ASSERT_EQ(launch(), exit_code::done);
  // The stored path in other letter case still names the same build.
  std::wstring other_case = setting(L"Paltalk", L"Exe");
  for (auto& c : other_case) c = static_cast<wchar_t>(std::towupper(c));
  ASSERT_TRUE(platform::write_profile_string(settings_path(), L"Paltalk", L"Exe", other_case));
  const std::string approved = test::read_bytes(settings_path());
  fake::reset_all();
  install->script_versions();
  EXPECT_EQ(launch(), exit_code::done);
  EXPECT_TRUE(fake::message_boxes.empty());
  EXPECT_TRUE(started_dark());
  EXPECT_EQ(test::read_bytes(settings_path()), approved) << "a launch on a stored approval writes nothing";
}

TEST_F(LaunchFlowTest, ApprovalForTheSameHashesAtAnotherPathAsksAgain) {
  test::write_bytes(settings_path(), "[Paltalk]\r\nExe=C:\\Elsewhere\\Paltalk.exe\r\nHashes=" +
                                         test::narrowed(install->hashes()) + "\r\nExperimental=1\r\n");
  fake::message_box_answers.push_back(platform::id_no);
  EXPECT_EQ(launch(), exit_code::done);
  EXPECT_EQ(fake::message_boxes.size(), 1u);
  EXPECT_TRUE(started_plain());
}

TEST_F(LaunchFlowTest, SilenceCountsAsNoAtThePrompt) {
  EXPECT_EQ(launch({L"--silent"}), exit_code::done);
  EXPECT_TRUE(fake::message_boxes.empty());
  EXPECT_TRUE(started_plain());
  EXPECT_FALSE(test::file_exists(settings_path()));
}

TEST_F(LaunchFlowTest, BuildThatCannotBeThemedStartsNormallyWithItsSentence) {
  std::filesystem::remove(test::to_fs(install->widgets));
  EXPECT_EQ(launch(), exit_code::done);
  ASSERT_EQ(fake::message_boxes.size(), 1u);
  EXPECT_EQ(fake::message_boxes[0].text,
            L"Required x64 Qt DLLs are missing from the Paltalk installation.\n\nStarting Paltalk normally.");
  EXPECT_EQ(fake::message_boxes[0].flags, platform::mb_iconinformation);
  EXPECT_TRUE(started_plain());
}

TEST_F(LaunchFlowTest, MissingPluginFallsBackButKeepsAGivenApproval) {
  std::filesystem::remove(test::to_fs(install_root + L"\\plugins\\styles\\Nightveil.dll"));
  fake::message_box_answers.push_back(platform::id_yes);
  EXPECT_EQ(launch(), exit_code::done);
  ASSERT_EQ(fake::message_boxes.size(), 2u);
  EXPECT_EQ(fake::message_boxes[1].text, L"The theme plugin is missing. Reinstall Tenebrix. Starting Paltalk normally.");
  EXPECT_TRUE(started_plain());
  EXPECT_EQ(setting(L"Paltalk", L"Experimental"), L"1");
}

TEST_F(LaunchFlowTest, HostThatCannotStartEndsWithSix) {
  install->recognize();
  fake::process_start_result = {false, 5};
  EXPECT_EQ(launch(), exit_code::action_failed);
  ASSERT_EQ(fake::message_boxes.size(), 1u);
  EXPECT_EQ(fake::message_boxes[0].text, L"Windows could not start Paltalk.");
  EXPECT_EQ(fake::message_boxes[0].flags, platform::mb_iconerror);
}

TEST_F(LaunchFlowTest, ExperimentalAndApprovedSettingsDoNotChangeALaunch) {
  EXPECT_EQ(launch({L"--experimental", L"--silent"}), exit_code::done);
  EXPECT_TRUE(started_plain());
}

TEST_F(LaunchFlowTest, ConfigureWritesForACompatibleBuildWithoutAsking) {
  install->recognize();
  const std::wstring output = install->dir / L"out.ini";
  EXPECT_EQ(launch({L"--configure", L"--output", output}), exit_code::done);
  EXPECT_TRUE(fake::message_boxes.empty());
  EXPECT_TRUE(fake::process_starts.empty());
  EXPECT_EQ(read_ini_value(output, L"Paltalk", L"Experimental"), L"0");
}

TEST_F(LaunchFlowTest, ConfigureOnAnUnknownBuild) {
  const std::wstring output = install->dir / L"out.ini";
  const std::wstring approval = install->dir / L"approval.ini";
  struct Case {
    const char* name;
    Arguments arguments;
    std::vector<int> answers;
    std::int32_t code;
    std::size_t prompts;
    bool written;
  };
  test::write_bytes(approval, "[Paltalk]\r\nExperimental=1\r\nHashes=other\r\nExe=" + test::narrowed(install->exe) +
                                  "\r\n[Appearance]\r\nBrowserDark=0\r\n");
  const Case cases[] = {
      {"silent refuses", {L"--configure", L"--output", output, L"--silent"}, {}, exit_code::approval_needed, 0, false},
      {"No refuses", {L"--configure", L"--output", output}, {platform::id_no}, exit_code::approval_needed, 1, false},
      {"--experimental skips the prompt", {L"--configure", L"--output", output, L"--experimental"}, {}, exit_code::done,
       0, true},
      {"Yes writes", {L"--configure", L"--output", output}, {platform::id_yes}, exit_code::done, 1, true},
      {"approval of another hash prompts, then no output is 2",
       {L"--configure", L"--approved-settings", approval},
       {platform::id_yes},
       exit_code::bad_use,
       1,
       false},
  };
  for (const auto& c : cases) {
    fake::reset_all();
    install->script_versions();
    std::filesystem::remove(test::to_fs(output));
    reset_process_values();
    install_root = install->dir / L"Tenebrix";
    for (int answer : c.answers) fake::message_box_answers.push_back(answer);
    EXPECT_EQ(launch(c.arguments), c.code) << c.name;
    EXPECT_EQ(fake::message_boxes.size(), c.prompts) << c.name;
    EXPECT_EQ(test::file_exists(output), c.written) << c.name;
    if (c.written) {
      EXPECT_EQ(read_ini_value(output, L"Paltalk", L"Experimental"), L"1") << c.name;
    }
    if (c.prompts) {
      EXPECT_EQ(fake::message_boxes[0].flags, platform::mb_yesno | platform::mb_iconwarning);
      EXPECT_EQ(fake::message_boxes[0].text,
                L"This Paltalk build could not be verified for automatic compatibility. Enable experimental dark mode "
                L"for this exact build?\n\n" +
                    normal_path(install->exe) + L"\nPaltalk 21.4.7.3 / Qt 6.11.1.0");
    }
    EXPECT_TRUE(fake::process_starts.empty());
  }
}

TEST_F(LaunchFlowTest, ConfigureKeepsTheAppearanceOfTheApprovedSettings) {
  const std::wstring output = install->dir / L"out.ini";
  const std::wstring approval = install->dir / L"approval.ini";
  test::write_bytes(approval, "[Paltalk]\r\nExperimental=1\r\nHashes=" + test::narrowed(install->hashes()) +
                                  "\r\nExe=" + test::narrowed(install->exe) + "\r\n[Appearance]\r\nBrowserDark=0\r\n");
  EXPECT_EQ(launch({L"--configure", L"--output", output, L"--approved-settings", approval}), exit_code::done);
  EXPECT_TRUE(fake::message_boxes.empty());
  EXPECT_EQ(read_ini_value(output, L"Appearance", L"BrowserDark"), L"0");
  EXPECT_EQ(read_ini_value(output, L"Paltalk", L"Experimental"), L"1");
}

TEST_F(LaunchFlowTest, ConfigureOnABuildThatCannotBeThemedShowsItsSentence) {
  test::set_version(install->gui, {6, 11, 0, 9});
  EXPECT_EQ(launch({L"--configure", L"--output", install->dir / L"o.ini"}), exit_code::not_acceptable);
  ASSERT_EQ(fake::message_boxes.size(), 1u);
  EXPECT_EQ(fake::message_boxes[0].text, L"This plugin requires release Qt 6.11.1 or newer within Qt 6.");
  EXPECT_EQ(fake::message_boxes[0].flags, platform::mb_iconerror);
}

TEST_F(LaunchFlowTest, ProbeAnswersWithTheVerdict) {
  EXPECT_EQ(launch({L"--probe"}), exit_code::approval_needed);
  install->sign();
  EXPECT_EQ(launch({L"--probe"}), exit_code::done);
  const std::wstring output = install->dir / L"probe.ini";
  EXPECT_EQ(launch({L"--probe", L"--output", output}), exit_code::done);
  EXPECT_EQ(read_ini_value(output, L"Info", L"Status"),
            L"Compatible signed update; continuing dark mode with best-effort compatibility.");
  EXPECT_EQ(run_launcher({L"--probe", L"--paltalk", install->dir / L"missing\\Paltalk.exe"}), exit_code::not_acceptable);
  EXPECT_TRUE(fake::message_boxes.empty()) << "the probe asks nothing";
  EXPECT_TRUE(fake::process_starts.empty()) << "the probe starts nothing";
}

}  // namespace
}  // namespace nv

namespace nv {
namespace {

const std::wstring running_message =
    L"Paltalk is already running. Fully exit it using its Exit command, then reopen this shortcut. Closing a window "
    L"to the tray is not enough.";

class RunningHostTest : public LaunchFlowTest {
 protected:
  void SetUp() override {
    LaunchFlowTest::SetUp();
    install->recognize();
    fake::processes.push_back({4242, 1, L"PALTALK.EXE", install->exe, 1, platform::ModuleListing::listed, {}, false});
  }
};

TEST_F(RunningHostTest, LaunchBesideARunningHostIsRefused) {
  EXPECT_EQ(launch(), exit_code::host_running);
  ASSERT_EQ(fake::message_boxes.size(), 1u);
  EXPECT_EQ(fake::message_boxes[0].text, running_message);
  EXPECT_EQ(fake::message_boxes[0].flags, platform::mb_iconinformation);
  EXPECT_TRUE(fake::process_starts.empty());
}

TEST_F(RunningHostTest, OriginalBesideARunningHostIsRefusedSilentlyToo) {
  EXPECT_EQ(launch({L"--original"}), exit_code::host_running);
  ASSERT_EQ(fake::message_boxes.size(), 1u);
  EXPECT_EQ(fake::message_boxes[0].text, L"Fully exit Paltalk before switching to normal mode.");
  fake::message_boxes.clear();
  EXPECT_EQ(launch({L"--original", L"--silent"}), exit_code::host_running);
  EXPECT_TRUE(fake::message_boxes.empty());
  EXPECT_TRUE(fake::process_starts.empty());
}

TEST_F(RunningHostTest, ConfigureStillWorks) {
  const std::wstring output = install->dir / L"out.ini";
  EXPECT_EQ(launch({L"--configure", L"--output", output}), exit_code::done);
  EXPECT_TRUE(test::file_exists(output));
}

TEST_F(RunningHostTest, AHostAtAnotherPathDoesNotCount) {
  fake::processes[0].image_path = install->dir / L"Other\\Paltalk.exe";
  EXPECT_EQ(launch(), exit_code::done);
  EXPECT_TRUE(started_dark());
}

TEST_F(RunningHostTest, QueriesAnswerInTheirFixedOrder) {
  struct Case {
    Arguments arguments;
    std::int32_t code;
  };
  fake::processes[0].modules = {{L"Nightveil.dll", install_root + L"\\plugins\\styles\\Nightveil.dll"}};
  const Case cases[] = {
      {{L"--running"}, exit_code::host_running},
      {{L"--running", L"--paltalk", install->exe}, exit_code::host_running},
      {{L"--running", L"--paltalk", install->dir / L"Other\\Paltalk.exe"}, exit_code::done},
      {{L"--busy"}, exit_code::host_running},
      {{L"--busy", L"--root", install->dir / L"Other"}, exit_code::done},
      {{L"--remove-shortcuts", L"--running"}, exit_code::done},
      {{L"--busy", L"--root", install->dir / L"Other", L"--running"}, exit_code::host_running},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(run_launcher(c.arguments), c.code) << testing::PrintToString(c.arguments);
  }
  EXPECT_TRUE(fake::message_boxes.empty());
}

}  // namespace
}  // namespace nv
