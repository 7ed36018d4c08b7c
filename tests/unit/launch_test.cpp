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
#include "launcher/request.h"
#include "launcher/environment.h"
#include "platform/ini.h"
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

// The command line read once: each row is an argument vector and the request it makes; a row
// names only what differs from a default request (a launch with nothing set).
TEST(Request, ArgumentsMakeOneRequest) {
  struct Row {
    const char* name;
    Arguments args{};
    LaunchRequest request{};
  };
  using enum RunMode;
  const LaunchRequest refused{.mode = rejected};
  const Row rows[] = {
      {.name = "no arguments"},
      {.name = "unknown and misspelt options are ignored",
       .args = {L"--Silent", L"--silent=1", L"-silent", L"/probe"}},
      {.name = "browser override on",
       .args = {L"--browser-dark", L"on"},
       .request = {.browser_dark_override = L"on"}},
      {.name = "browser override compared case-sensitively",
       .args = {L"--browser-dark", L"ON", L"--remove-shortcuts"},
       .request = refused},
      {.name = "browser override without its value",
       .args = {L"--remove-shortcuts", L"--browser-dark"},
       .request = refused},
      {.name = "a valid browser override combines with any mode",
       .args = {L"--browser-dark", L"off", L"--remove-shortcuts"},
       .request = {.mode = remove_shortcuts, .browser_dark_override = L"off"}},
      {.name = "relative diagnostic layout is refused before any mode",
       .args = {L"--remove-shortcuts", L"--diagnostic-layout", L"relative\\d.txt"},
       .request = refused},
      {.name = "diagnostic layout without its value", .args = {L"--diagnostic-layout"}},
      {.name = "absolute diagnostic layout",
       .args = {L"--diagnostic-layout", L"C:\\d.txt", L"--desktop-launch"},
       .request = {.desktop_launch = true, .diagnostic_layout_path = L"C:\\d.txt"}},
      {.name = "a value is the next element whatever it is, and still a flag",
       .args = {L"--paltalk", L"--silent"},
       .request = {.silent = true, .host_path = L"--silent"}},
      {.name = "only the first occurrence counts",
       .args = {L"--paltalk", L"C:\\a.exe", L"--paltalk", L"C:\\b.exe"},
       .request = {.host_path = L"C:\\a.exe"}},
      {.name = "the host path is taken as given",
       .args = {L"--running", L"--paltalk", L"relative.exe"},
       .request = {.mode = running, .host_path = L"relative.exe"}},
      {.name = "removing shortcuts comes before running",
       .args = {L"--running", L"--remove-shortcuts", L"--root", L"r"},
       .request = {.mode = remove_shortcuts, .root = L"r"}},
      {.name = "running comes before busy",
       .args = {L"--busy", L"--running"},
       .request = {.mode = running}},
      {.name = "busy comes before the manifest",
       .args = {L"--verify-update-manifest", L"C:\\m.jws", L"--busy"},
       .request = {.mode = busy}},
      {.name = "absolute manifest",
       .args = {L"--verify-update-manifest", L"C:\\m.jws", L"--verify-update-installer"},
       .request = {.mode = verify_manifest, .file = L"C:\\m.jws"}},
      {.name = "relative manifest",
       .args = {L"--verify-update-manifest", L"m.jws"},
       .request = refused},
      {.name = "manifest unnamed", .args = {L"--verify-update-manifest"}, .request = refused},
      {.name = "installer without its size is left to the verification",
       .args = {L"--verify-update-installer", L"x.exe"},
       .request = {.mode = verify_installer, .file = L"x.exe"}},
      {.name = "installer with size and digest as texts",
       .args = {L"--sha256", L"AB", L"--size", L"12x", L"--verify-update-installer", L"i",
                L"--support-report", L"C:\\r.json"},
       .request = {.mode = verify_installer, .file = L"i", .size = L"12x", .sha256 = L"AB"}},
      {.name = "installer comes before the report",
       .args = {L"--support-report", L"r.json", L"--verify-update-installer", L"i"},
       .request = {.mode = verify_installer, .file = L"i"}},
      {.name = "absolute report",
       .args = {L"--support-report", L"C:\\r.json", L"--set-browser-dark", L"on"},
       .request = {.mode = support_report, .file = L"C:\\r.json"}},
      {.name = "relative report", .args = {L"--support-report", L"r.json"}, .request = refused},
      {.name = "report unnamed", .args = {L"--support-report"}, .request = refused},
      {.name = "storing the preference on",
       .args = {L"--set-browser-dark", L"on", L"--support"},
       .request = {.mode = set_browser_dark, .browser_dark = true}},
      {.name = "storing the preference off",
       .args = {L"--set-browser-dark", L"off"},
       .request = {.mode = set_browser_dark}},
      {.name = "storing a preference compared case-sensitively",
       .args = {L"--set-browser-dark", L"Off"},
       .request = refused},
      {.name = "support comes before the probe",
       .args = {L"--probe", L"--support", L"--silent"},
       .request = {.mode = support, .silent = true}},
      {.name = "probe with its output",
       .args = {L"--original", L"--probe", L"--output", L"o.ini"},
       .request = {.mode = probe, .output = L"o.ini"}},
      {.name = "original comes before configure",
       .args = {L"--configure", L"--original"},
       .request = {.mode = original}},
      {.name = "configure with all of its values",
       .args = {L"--configure", L"--output", L"o.ini", L"--approved-settings", L"a.ini",
                L"--experimental"},
       .request = {.mode = configure,
                   .output = L"o.ini",
                   .approved_settings = L"a.ini",
                   .experimental = true}},
      {.name = "a launch that skips the update once",
       .args = {L"--skip-update-once"},
       .request = {.skip_update_once = true}},
  };
  for (const Row& row : rows)
    EXPECT_TRUE(parse_launch_request(row.args) == row.request) << row.name;
}

// A scratch installation: the launcher's directory <dir>\T with its plugin, and the host <dir>\P
// with three Qt libraries, all x64 images at version 6.11.1.0. The run's context names <dir>\T.
struct Install {
  enum Host { none, here, unreadable };  // a Paltalk.exe in the process list
  test::TempDir dir;
  std::wstring root = dir / L"T";
  const ContextScope context{{.install_root = root}};
  std::wstring exe = dir / L"P\\Paltalk.exe";
  std::vector<std::wstring> files = {exe, dir / L"P\\Qt6Core.dll", dir / L"P\\Qt6Gui.dll",
                                     dir / L"P\\Qt6Widgets.dll"};
  explicit Install(bool recognized = false, Host host = none) {
    fake = {};
    test::write_bytes(plugin_path(), "plugin");
    for (const auto& f : files) {
      test::write_bytes(f, test::x64_image(test::to_fs(f).string()));
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
  void version(const std::wstring& file, std::uint32_t major, std::uint32_t minor,
               std::uint32_t build, bool debug = false) {
    fake.versions[folded_path(file)] = {true, 52, major << 16 | minor, build << 16, debug};
  }
};

enum class Started { nothing, dark, plain };

Started started_host(const Install& in) {
  if (fake.process_starts.empty()) return Started::nothing;
  return fake.process_starts[0].first == quote_argument(normal_path(in.exe)) + L" -style Nightveil"
             ? Started::dark
             : Started::plain;
}

enum class Approval {
  none,
  this_build,                 // "Experimental" 1, this build's hashes, its path
  this_build_other_spelling,  // the same, with the path in another letter case and form
  not_experimental,           // "Experimental" 0
  other_build,                // another build's hashes
  other_path,                 // another path
};

void store_approval(const Install& in, Approval approval) {
  if (approval == Approval::none) return;
  const std::wstring hashes = analyze_host(in.exe).hashes;
  const auto write = [&](const wchar_t* key, const std::wstring& value) {
    platform::write_profile_string(settings_path(), L"Paltalk", key, value);
  };
  write(L"Experimental", approval == Approval::not_experimental ? L"0" : L"1");
  write(L"Hashes", approval == Approval::other_build ? L"0|1|2|3" : hashes);
  if (approval == Approval::other_path)
    write(L"Exe", L"Q:\\other\\Paltalk.exe");
  else if (approval == Approval::this_build_other_spelling)
    write(L"Exe", in.dir.path + L"/p/./PALTALK.exe");
  else
    write(L"Exe", in.exe);
}

// One run of the launcher per row, on a fresh installation. A row names what differs from a run
// on a tested build that starts nothing, shows no message box, stores no "Experimental" and exits
// 0; the command line always ends in --paltalk and the host.
TEST(Launch, EachRequestEndsInItsExitCodeStartAndMessages) {
  struct Row {
    const char* name;
    Arguments args{};
    bool tested = true;  // the build is in compatibility.ini
    Install::Host host = Install::none;
    Approval approval = Approval::none;
    bool plugin_missing = false;
    bool start_fails = false;
    bool settings_unwritable = false;  // settings.ini is a directory
    std::optional<int> answer{};       // to the message box; OK when none
    std::int32_t code = exit_code::done;
    Started started = Started::nothing;
    std::vector<std::wstring> boxes = {};
    std::wstring stored_experimental = L"";  // nothing stored
  };
  using namespace exit_code;
  using enum Started;
  using enum Install::Host;
  const std::wstring launch_prompt = sentence::launch_prompt;
  const Row rows[] = {
      {.name = "tested build", .started = dark, .stored_experimental = L"0"},
      {.name = "unknown build, silent", .args = {L"--silent"}, .tested = false, .started = plain},
      {.name = "unknown build, Yes",
       .tested = false,
       .answer = platform::id_yes,
       .started = dark,
       .boxes = {launch_prompt},
       .stored_experimental = L"1"},
      {.name = "unknown build, No",
       .tested = false,
       .answer = platform::id_no,
       .started = plain,
       .boxes = {launch_prompt}},
      {.name = "unknown build, Yes, plugin missing",
       .tested = false,
       .plugin_missing = true,
       .answer = platform::id_yes,
       .started = plain,
       .boxes = {launch_prompt, sentence::plugin_missing},
       .stored_experimental = L"1"},
      {.name = "approved build",
       .tested = false,
       .approval = Approval::this_build,
       .started = dark,
       .stored_experimental = L"1"},
      {.name = "approved build at another spelling of its path",
       .tested = false,
       .approval = Approval::this_build_other_spelling,
       .started = dark,
       .stored_experimental = L"1"},
      {.name = "approval withdrawn",
       .tested = false,
       .approval = Approval::not_experimental,
       .answer = platform::id_cancel,
       .code = bad_use,
       .boxes = {launch_prompt},
       .stored_experimental = L"0"},
      {.name = "approval of another build",
       .tested = false,
       .approval = Approval::other_build,
       .answer = platform::id_cancel,
       .code = bad_use,
       .boxes = {launch_prompt},
       .stored_experimental = L"1"},
      {.name = "approval at another path",
       .tested = false,
       .approval = Approval::other_path,
       .answer = platform::id_cancel,
       .code = bad_use,
       .boxes = {launch_prompt},
       .stored_experimental = L"1"},
      {.name = "tested build once approved is written back",
       .approval = Approval::this_build,
       .started = dark,
       .stored_experimental = L"0"},
      {.name = "plugin missing",
       .plugin_missing = true,
       .started = plain,
       .boxes = {sentence::plugin_missing}},
      {.name = "start fails",
       .start_fails = true,
       .code = action_failed,
       .started = dark,
       .boxes = {sentence::start_failed},
       .stored_experimental = L"0"},
      {.name = "host running", .host = here, .code = host_running, .boxes = {sentence::running}},
      {.name = "original on a host that may run",
       .args = {L"--original"},
       .tested = false,
       .host = unreadable,
       .code = host_running,
       .boxes = {sentence::running_for_normal}},
      {.name = "original, silent, on a running host",
       .args = {L"--original", L"--silent"},
       .host = here,
       .code = host_running},
      {.name = "original, untested", .args = {L"--original"}, .tested = false, .started = plain},
      {.name = "configure, silent, unknown build",
       .args = {L"--configure", L"--silent", L"--output", L"o.ini"},
       .tested = false,
       .code = approval_needed},
      {.name = "configure, experimental, without output",
       .args = {L"--configure", L"--experimental"},
       .tested = false,
       .code = bad_use},
      {.name = "probe, untested", .args = {L"--probe"}, .tested = false, .code = approval_needed},
      {.name = "probe of a tested build", .args = {L"--probe"}},
      {.name = "running asks about any host that may run",
       .args = {L"--running"},
       .host = unreadable,
       .code = host_running},
      {.name = "running, when none runs", .args = {L"--running"}},
      {.name = "relative diagnostic layout before running",
       .args = {L"--diagnostic-layout", L"d.txt", L"--running"},
       .host = here,
       .code = bad_use},
      {.name = "removing shortcuts before running",
       .args = {L"--remove-shortcuts", L"--running"},
       .host = here},
      {.name = "support, silent", .args = {L"--support", L"--silent"}, .code = bad_use},
      {.name = "support dialog not shown", .args = {L"--support"}, .code = action_failed},
      {.name = "preference not stored",
       .args = {L"--set-browser-dark", L"on"},
       .settings_unwritable = true,
       .code = entry_failure,
       .boxes = {sentence::entry_failure}},
      {.name = "given host missing",
       .args = {L"--paltalk", L"Z:\\absent\\Paltalk.exe"},
       .code = not_acceptable,
       .boxes = {sentence::host_not_found}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Install in(row.tested, row.host);
    store_approval(in, row.approval);
    if (row.answer) fake.message_box_answers = {*row.answer};
    if (row.plugin_missing) std::filesystem::remove(test::to_fs(plugin_path()));
    if (row.start_fails) fake.process_start_result = {false, 193};
    if (row.settings_unwritable) std::filesystem::create_directories(test::to_fs(settings_path()));
    Arguments arguments = row.args;
    arguments.insert(arguments.end(), {L"--paltalk", in.exe});
    EXPECT_EQ(run_launcher(arguments, in.root), row.code);
    EXPECT_EQ(started_host(in), row.started);
    EXPECT_EQ(fake.message_boxes, row.boxes);
    if (!row.settings_unwritable) {
      EXPECT_EQ(read_ini_value(settings_path(), L"Paltalk", L"Experimental"),
                row.stored_experimental);
    }
  }
}

// The question of --configure names the build, and only Yes writes the configuration.
TEST(Launch, ConfigurePromptNamesTheBuild) {
  for (const bool yes : {false, true}) {
    SCOPED_TRACE(yes ? "Yes" : "No");
    Install in;
    fake.message_box_answers = {yes ? platform::id_yes : platform::id_no};
    const std::wstring output = in.dir / L"o.ini";
    EXPECT_EQ(run_launcher({L"--configure", L"--output", output, L"--paltalk", in.exe}, in.root),
              yes ? exit_code::done : exit_code::approval_needed);
    EXPECT_EQ(fake.message_boxes, std::vector<std::wstring>{sentence::configure_prompt + in.exe +
                                                            L"\nPaltalk 6.11.1.0 / Qt 6.11.1.0"});
    EXPECT_EQ(read_ini_value(output, L"Paltalk", L"Experimental"), yes ? L"1" : L"");
  }
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
