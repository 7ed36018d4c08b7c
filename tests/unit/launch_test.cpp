// The launch from command line to started host, on a real scratch installation whose version
// resources, signatures and processes are scripted.
#include <gtest/gtest.h>

#include <tuple>

#include "fake_platform.h"
#include "foundation/encoding.h"
#include "foundation/exit_code.h"
#include "foundation/paths.h"
#include "foundation/process_values.h"
#include "foundation/sentences.h"
#include "host/discovery.h"
#include "host/ini.h"
#include "host/verdict.h"
#include "launcher/browser_arguments.h"
#include "launcher/chain.h"
#include "launcher/environment.h"
#include "platform/ini.h"
#include "support/inspection.h"
#include "test_support.h"

namespace nv {
namespace {

using Entries = std::vector<std::wstring>;

Entries entries_of(const std::vector<std::uint16_t>& block) {
  Entries entries(1);
  for (std::size_t i = 0; i + 1 < block.size(); ++i)
    block[i] ? entries.back() += static_cast<wchar_t>(block[i]) : entries.emplace_back();
  entries.pop_back();
  return entries;
}

Entries env(const Entries& parent, bool browser_dark, bool dark = true) {
  std::wstring raw;
  for (const auto& e : parent) raw += e + L'\0';
  return entries_of(
      compute_launch_environment(raw + L'\0', {dark, L"C:\\T", L"h", L"", browser_dark}));
}

TEST(LaunchEnvironment, ModesAndTheUsersValuesThroughAChain) {
  EXPECT_EQ(env({L"b=2", L"=C:=C:\\d", L"A=1", L"a=3", L"=X", L"odd", L"qt_style_override=x"}, true,
                false),
            (Entries{L"=C:=C:\\d", L"A=3", L"b=2"}));
  const Entries user = {L"WEBVIEW2_ADDITIONAL_BROWSER_ARGUMENTS=--mute-audio",
                        L"WEBVIEW2_DEFAULT_BACKGROUND_COLOR=00000000"};
  const Entries dark = env(user, true);
  EXPECT_EQ(dark, (Entries{L"NIGHTVEIL_HASHES=h", L"NIGHTVEIL_HOME=C:\\T",
                           L"QT_PLUGIN_PATH=C:\\T\\plugins", L"QT_STYLE_OVERRIDE=Nightveil",
                           L"TENEBRIX_WEBVIEW_ARGS_ACTIVE=present",
                           L"TENEBRIX_WEBVIEW_ARGS_ORIGINAL=--mute-audio",
                           L"TENEBRIX_WEBVIEW_BACKGROUND_ACTIVE=present",
                           L"TENEBRIX_WEBVIEW_BACKGROUND_ORIGINAL=00000000",
                           L"WEBVIEW2_ADDITIONAL_BROWSER_ARGUMENTS=\"--mute-audio\" "
                           L"\"--enable-features=WebContentsForceDark\"",
                           L"WEBVIEW2_DEFAULT_BACKGROUND_COLOR=FF202328"}));
  EXPECT_EQ(env(dark, true), dark);  // a chained launch saves the user's values, not its own
  EXPECT_EQ(env(dark, true, false), user);
  EXPECT_EQ(env(dark, false), (Entries{dark[0], dark[1], dark[2], dark[3], user[0], user[1]}));
  EXPECT_EQ(env(env({}, true), true, false), Entries{});
}

TEST(BrowserArguments, MergedAndQuoted) {
  const std::pair<const wchar_t*, const wchar_t*> merges[] = {
      {L"  ", L"\"--enable-features=WebContentsForceDark\""},
      {L"--disable-features=X,WebContentsForceDark --enable-features=,A "
       L"--enable-features=WebContentsForceDark:x=1,B "
       L"--lang=de --ENABLE-FEATURES=C \"--d=C:\\My Data\\\\\"",
       L"\"--lang=de\" \"--ENABLE-FEATURES=C\" \"--d=C:\\My Data\\\\\" "
       L"\"--enable-features=A,B,WebContentsForceDark\" \"--disable-features=X\""}};
  for (const auto& [existing, merged] : merges)
    EXPECT_EQ(merge_browser_arguments(existing), merged);
}

// install_root is <dir>\T with its plugin; the host is <dir>\P with three Qt libraries, all x64
// images at Qt 6.11.1.0. A row of the tables below says what differs from that.
struct Install {
  enum Host { none, here, unreadable };  // a Paltalk.exe in the process list
  test::TempDir dir;
  std::wstring exe = dir / L"P\\Paltalk.exe";
  std::vector<std::wstring> files = {exe, dir / L"P\\Qt6Core.dll", dir / L"P\\Qt6Gui.dll",
                                     dir / L"P\\Qt6Widgets.dll"};
  explicit Install(bool recognized = false, Host host = none) {
    fake = {};
    reset_process_values();
    install_root = dir / L"T";
    test::write_bytes(plugin_path(), "plugin");
    for (const auto& f : files) {
      test::write_bytes(f, image(test::to_fs(f).string()));
      version(f, 6, 11, 1);
    }
    fake.processes = {{{4, 0, L"System"}, std::nullopt}};
    if (host != none)
      fake.processes.push_back(
          {{9, 4, L"PALTALK.EXE"}, host == here ? std::optional(exe) : std::nullopt});
    if (recognized)
      test::write_bytes(compatibility_path(),
                        "[Tested]\r\nHashes=" + to_utf8(analyze_host(exe).hashes) + "\r\n");
  }
  ~Install() { reset_process_values(); }
  static std::string image(const std::string& text) {  // an x64 PE image
    return std::string("MZ") + std::string(58, '\0') + std::string("@\0\0\0PE\0\0\x64\x86", 10) +
           text;
  }
  void version(const std::wstring& file, std::uint32_t major, std::uint32_t minor,
               std::uint32_t build, bool debug = false) {
    fake.versions[folded_path(file)] = {true, 52, major << 16 | minor, build << 16, debug};
  }
  std::wstring started() const {  // "dark", "plain", or "" when nothing started
    if (fake.process_starts.size() != 1) return L"";
    return fake.process_starts[0].first == quote_argument(normal_path(exe)) + L" -style Nightveil"
               ? L"dark"
               : L"plain";
  }
};

TEST(Launch, DecisionsEndInTheirExitCodeStartAndMessageAndApprovalsHold) {
  struct Case {  // the answer to the one message box; the only box shown, or none
    Entries options;
    bool recognized;
    Install::Host host;
    int answer;
    std::int32_t code;
    const wchar_t *start, *message, *stored_experimental;
  };
  const wchar_t* const no_box = nullptr;
  using namespace exit_code;
  using enum Install::Host;
  // Two rows name a fault the way an option would; the launcher ignores options it does not know.
  const Case cases[] = {
      {{}, true, none, 0, done, L"dark", no_box, L"0"},
      {{L"--silent"}, false, none, 0, done, L"plain", no_box, L""},
      {{}, false, none, platform::id_yes, done, L"dark", sentence::launch_prompt, L"1"},
      {{}, false, none, platform::id_no, done, L"plain", sentence::launch_prompt, L""},
      {{}, false, none, platform::id_cancel, bad_use, L"", sentence::launch_prompt, L""},
      {{L"--plugin-gone"}, true, none, 0, done, L"plain", sentence::plugin_missing, L""},
      {{L"--start-fails"}, true, none, 0, action_failed, L"dark", sentence::start_failed, L"0"},
      {{L"--original"}, false, unreadable, 0, host_running, L"", sentence::running_for_normal, L""},
      {{L"--original"}, false, none, 0, done, L"plain", no_box, L""},
      {{L"--probe"}, false, none, 0, approval_needed, L"", no_box, L""},
      {{L"--browser-dark", L"dim"}, true, none, 0, bad_use, L"", no_box, L""},
      {{L"--running"}, false, unreadable, 0, host_running, L"", no_box, L""},
      {{L"--diagnostic-layout", L"d.txt", L"--running"}, false, here, 0, bad_use, L"", no_box, L""},
      {{L"--remove-shortcuts", L"--running"}, false, here, 0, done, L"", no_box, L""},
      {{L"--support-report", L"r.json"}, false, none, 0, bad_use, L"", no_box, L""},
      {{L"--support", L"--silent"}, false, none, 0, bad_use, L"", no_box, L""},
      {{L"--support"}, false, none, 0, action_failed, L"", no_box, L""},  // the double shows no
                                                                          // dialog
      {{L"--set-browser-dark", L"1"}, false, none, 0, bad_use, L"", no_box, L""},
      {{L"--paltalk", L"Z:\\absent\\Paltalk.exe"},
       true,
       none,
       0,
       not_acceptable,
       L"",
       sentence::host_not_found,
       L""}};
  for (const auto& c : cases) {
    Install in(c.recognized, c.host);
    if (c.answer) fake.message_box_answers = {c.answer};
    if (c.options == Entries{L"--plugin-gone"}) std::filesystem::remove(test::to_fs(plugin_path()));
    if (c.options == Entries{L"--start-fails"}) fake.process_start_result = {false, 193};
    Entries arguments = c.options;  // the first --paltalk counts
    arguments.insert(arguments.end(), {L"--paltalk", in.exe});
    EXPECT_EQ((std::tuple{run_launcher(arguments), in.started(),
                          fake.message_boxes,  // braces: in this order
                          read_ini_value(settings_path(), L"Paltalk", L"Experimental")}),
              std::tuple(c.code, c.start, c.message ? Entries{c.message} : Entries{},
                         c.stored_experimental))
        << &c - cases;
  }
  // An approval holds for the exact build in any spelling of its path; not for another build or
  // place, nor as a no.
  Install in;
  fake.message_box_answers = {platform::id_yes};
  run_launcher({L"--paltalk", in.exe});
  fake.process_starts.clear();
  EXPECT_EQ(run_launcher({L"--paltalk", in.dir.path + L"/P/./Paltalk.exe"}), done);
  EXPECT_EQ(std::pair(in.started(), fake.message_boxes.size()),
            std::pair(std::wstring(L"dark"), std::size_t{1}));
  test::write_bytes(in.exe, Install::image(test::to_fs(in.exe).string() + " rebuilt"));
  fake.message_box_answers = {platform::id_cancel, platform::id_cancel, platform::id_cancel};
  EXPECT_EQ(run_launcher({L"--paltalk", in.exe}), bad_use);
  platform::write_profile_string(settings_path(), L"Paltalk", L"Hashes",
                                 analyze_host(in.exe).hashes);
  platform::write_profile_string(settings_path(), L"Paltalk", L"Experimental", L"0");
  EXPECT_EQ((std::pair{run_launcher({L"--paltalk", in.exe}), fake.message_boxes.size()}),
            std::pair(bad_use, std::size_t{3}));
  platform::write_profile_string(settings_path(), L"Paltalk", L"Experimental", L"1");
  platform::write_profile_string(settings_path(), L"Paltalk", L"Exe", L"Q:\\other\\Paltalk.exe");
  EXPECT_EQ((std::pair{run_launcher({L"--paltalk", in.exe}), fake.message_boxes.size()}),
            std::pair(bad_use, std::size_t{4}));
}

TEST(Discovery, EntriesAndCommandsOfInstallers) {
  for (const auto& [name, counts] : {std::pair{L"Paltalk", true},
                                     {L"PALTALK 1.2", true},
                                     {L"Paltalk Dark", false},
                                     {L"Pal talk", false}})
    EXPECT_EQ(counts_as_host_entry(name), counts) << name;
  const std::pair<const wchar_t*, const wchar_t*> commands[] = {
      {L"\"C:\\P F\\u.exe\" /x", L"C:\\P F\\u.exe"},
      {L"C:\\T.exe\\P\\u.exe,0", L"C:\\T.exe"},
      {L"\"C:\\u.exe", L""}};
  for (const auto& [value, path] : commands) EXPECT_EQ(parse_command_path(value), path) << value;
}

}  // namespace
}  // namespace nv
