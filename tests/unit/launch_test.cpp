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
    Arguments arguments{};
    LaunchRequest request{};
  };
  using enum RunMode;
  const Row rows[] = {
      {.name = "no arguments", .arguments = {}, .request = {}},
      {.name = "unknown and misspelt options are ignored",
       .arguments = {L"--Silent", L"--silent=1", L"-silent", L"/probe"},
       .request = {}},
      {.name = "browser override on",
       .arguments = {L"--browser-dark", L"on"},
       .request = {.browser_dark_override = L"on"}},
      {.name = "browser override compared case-sensitively",
       .arguments = {L"--browser-dark", L"ON", L"--remove-shortcuts"},
       .request = {.mode = rejected}},
      {.name = "browser override without its value",
       .arguments = {L"--remove-shortcuts", L"--browser-dark"},
       .request = {.mode = rejected}},
      {.name = "a valid browser override combines with any mode",
       .arguments = {L"--browser-dark", L"off", L"--remove-shortcuts"},
       .request = {.mode = remove_shortcuts, .browser_dark_override = L"off"}},
      {.name = "relative diagnostic layout is refused before any mode",
       .arguments = {L"--remove-shortcuts", L"--diagnostic-layout", L"relative\\d.txt"},
       .request = {.mode = rejected}},
      {.name = "diagnostic layout as the last element means none",
       .arguments = {L"--diagnostic-layout"},
       .request = {}},
      {.name = "absolute diagnostic layout",
       .arguments = {L"--diagnostic-layout", L"C:\\d.txt", L"--desktop-launch"},
       .request = {.desktop_launch = true, .diagnostic_layout_path = L"C:\\d.txt"}},
      {.name = "a value is the next element whatever it is, and still a flag",
       .arguments = {L"--paltalk", L"--silent"},
       .request = {.silent = true, .host_path = L"--silent"}},
      {.name = "only the first occurrence counts",
       .arguments = {L"--paltalk", L"C:\\a.exe", L"--paltalk", L"C:\\b.exe"},
       .request = {.host_path = L"C:\\a.exe"}},
      {.name = "the host path is taken as given",
       .arguments = {L"--running", L"--paltalk", L"relative.exe"},
       .request = {.mode = running, .host_path = L"relative.exe"}},
      {.name = "removing shortcuts comes before running",
       .arguments = {L"--running", L"--remove-shortcuts", L"--root", L"r"},
       .request = {.mode = remove_shortcuts, .root = L"r"}},
      {.name = "running comes before busy",
       .arguments = {L"--busy", L"--running"},
       .request = {.mode = running}},
      {.name = "busy comes before the manifest",
       .arguments = {L"--verify-update-manifest", L"C:\\m.jws", L"--busy"},
       .request = {.mode = busy}},
      {.name = "manifest named absolutely",
       .arguments = {L"--verify-update-manifest", L"C:\\m.jws", L"--verify-update-installer"},
       .request = {.mode = verify_manifest, .file = L"C:\\m.jws"}},
      {.name = "manifest named relatively",
       .arguments = {L"--verify-update-manifest", L"m.jws"},
       .request = {.mode = rejected}},
      {.name = "manifest without a name",
       .arguments = {L"--verify-update-manifest"},
       .request = {.mode = rejected}},
      {.name = "installer without its size is left to the verification",
       .arguments = {L"--verify-update-installer", L"x.exe"},
       .request = {.mode = verify_installer, .file = L"x.exe"}},
      {.name = "installer with size and digest as texts",
       .arguments = {L"--sha256", L"AB", L"--size", L"12x", L"--verify-update-installer", L"i",
                     L"--support-report", L"C:\\r.json"},
       .request = {.mode = verify_installer, .file = L"i", .size = L"12x", .sha256 = L"AB"}},
      {.name = "installer comes before the report",
       .arguments = {L"--support-report", L"r.json", L"--verify-update-installer", L"i"},
       .request = {.mode = verify_installer, .file = L"i"}},
      {.name = "report named absolutely",
       .arguments = {L"--support-report", L"C:\\r.json", L"--set-browser-dark", L"on"},
       .request = {.mode = support_report, .file = L"C:\\r.json"}},
      {.name = "report named relatively",
       .arguments = {L"--support-report", L"r.json"},
       .request = {.mode = rejected}},
      {.name = "report without a name",
       .arguments = {L"--support-report"},
       .request = {.mode = rejected}},
      {.name = "storing the preference on",
       .arguments = {L"--set-browser-dark", L"on", L"--support"},
       .request = {.mode = set_browser_dark, .browser_dark = true}},
      {.name = "storing the preference off",
       .arguments = {L"--set-browser-dark", L"off"},
       .request = {.mode = set_browser_dark}},
      {.name = "storing a preference compared case-sensitively",
       .arguments = {L"--set-browser-dark", L"Off"},
       .request = {.mode = rejected}},
      {.name = "support comes before the probe",
       .arguments = {L"--probe", L"--support", L"--silent"},
       .request = {.mode = support, .silent = true}},
      {.name = "probe with its output",
       .arguments = {L"--original", L"--probe", L"--output", L"o.ini"},
       .request = {.mode = probe, .output = L"o.ini"}},
      {.name = "original comes before configure",
       .arguments = {L"--configure", L"--original"},
       .request = {.mode = original}},
      {.name = "configure with all of its values",
       .arguments = {L"--configure", L"--output", L"o.ini", L"--approved-settings", L"a.ini",
                     L"--experimental"},
       .request = {.mode = configure,
                   .output = L"o.ini",
                   .approved_settings = L"a.ini",
                   .experimental = true}},
      {.name = "a launch that skips the update once",
       .arguments = {L"--skip-update-once"},
       .request = {.skip_update_once = true}},
  };
  for (const Row& row : rows)
    EXPECT_TRUE(parse_launch_request(row.arguments) == row.request) << row.name;
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
  static std::string image(const std::string& text) {  // an x64 PE image
    return std::string("MZ") + std::string(58, '\0') + std::string("@\0\0\0PE\0\0\x64\x86", 10) +
           text;
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

// One run of the launcher per row, on a fresh installation. A row names what differs from a plain
// launch of a tested build (dark, exit 0, no message box, "Experimental" stored as 0); the command
// line always ends in --paltalk and the host.
TEST(Launch, EachRequestEndsInItsExitCodeStartAndMessages) {
  struct Row {
    const char* name;
    Arguments options{};
    bool recognized = true;  // the build is in compatibility.ini
    Install::Host host = Install::none;
    Approval approval = Approval::none;
    bool plugin_missing = false;
    bool start_fails = false;
    bool settings_unwritable = false;  // settings.ini is a directory
    std::optional<int> answer{};       // to the message box; OK when none
    std::int32_t code = exit_code::done;
    Started started = Started::dark;
    std::vector<std::wstring> boxes = {};
    std::wstring stored_experimental = L"0";
  };
  using namespace exit_code;
  const std::wstring launch_prompt = sentence::launch_prompt;
  const Row rows[] = {
      {.name = "tested build"},
      {.name = "unknown build, silent",
       .options = {L"--silent"},
       .recognized = false,
       .started = Started::plain,
       .stored_experimental = L""},
      {.name = "unknown build, Yes",
       .recognized = false,
       .answer = platform::id_yes,
       .boxes = {launch_prompt},
       .stored_experimental = L"1"},
      {.name = "unknown build, No",
       .recognized = false,
       .answer = platform::id_no,
       .started = Started::plain,
       .boxes = {launch_prompt},
       .stored_experimental = L""},
      {.name = "unknown build, Yes, plugin missing",
       .recognized = false,
       .plugin_missing = true,
       .answer = platform::id_yes,
       .started = Started::plain,
       .boxes = {launch_prompt, sentence::plugin_missing},
       .stored_experimental = L"1"},
      {.name = "approved build",
       .recognized = false,
       .approval = Approval::this_build,
       .stored_experimental = L"1"},
      {.name = "approved build at another spelling of its path",
       .recognized = false,
       .approval = Approval::this_build_other_spelling,
       .stored_experimental = L"1"},
      {.name = "approval withdrawn",
       .recognized = false,
       .approval = Approval::not_experimental,
       .answer = platform::id_cancel,
       .code = bad_use,
       .started = Started::nothing,
       .boxes = {launch_prompt}},
      {.name = "approval of another build",
       .recognized = false,
       .approval = Approval::other_build,
       .answer = platform::id_cancel,
       .code = bad_use,
       .started = Started::nothing,
       .boxes = {launch_prompt},
       .stored_experimental = L"1"},
      {.name = "approval at another path",
       .recognized = false,
       .approval = Approval::other_path,
       .answer = platform::id_cancel,
       .code = bad_use,
       .started = Started::nothing,
       .boxes = {launch_prompt},
       .stored_experimental = L"1"},
      {.name = "tested build once approved is written back", .approval = Approval::this_build},
      {.name = "plugin missing",
       .plugin_missing = true,
       .started = Started::plain,
       .boxes = {sentence::plugin_missing},
       .stored_experimental = L""},
      {.name = "start fails",
       .start_fails = true,
       .code = action_failed,
       .boxes = {sentence::start_failed}},
      {.name = "host running",
       .host = Install::here,
       .code = host_running,
       .started = Started::nothing,
       .boxes = {sentence::running},
       .stored_experimental = L""},
      {.name = "original on a host that may run",
       .options = {L"--original"},
       .recognized = false,
       .host = Install::unreadable,
       .code = host_running,
       .started = Started::nothing,
       .boxes = {sentence::running_for_normal},
       .stored_experimental = L""},
      {.name = "original, silent, on a running host",
       .options = {L"--original", L"--silent"},
       .host = Install::here,
       .code = host_running,
       .started = Started::nothing,
       .stored_experimental = L""},
      {.name = "original on an unknown build",
       .options = {L"--original"},
       .recognized = false,
       .started = Started::plain,
       .stored_experimental = L""},
      {.name = "configure, silent, unknown build",
       .options = {L"--configure", L"--silent", L"--output", L"o.ini"},
       .recognized = false,
       .code = approval_needed,
       .started = Started::nothing,
       .stored_experimental = L""},
      {.name = "configure, experimental, without output",
       .options = {L"--configure", L"--experimental"},
       .recognized = false,
       .code = bad_use,
       .started = Started::nothing,
       .stored_experimental = L""},
      {.name = "probe of an unknown build",
       .options = {L"--probe"},
       .recognized = false,
       .code = approval_needed,
       .started = Started::nothing,
       .stored_experimental = L""},
      {.name = "probe of a tested build",
       .options = {L"--probe"},
       .started = Started::nothing,
       .stored_experimental = L""},
      {.name = "running asks about any host that may run",
       .options = {L"--running"},
       .host = Install::unreadable,
       .code = host_running,
       .started = Started::nothing,
       .stored_experimental = L""},
      {.name = "running, when none runs",
       .options = {L"--running"},
       .started = Started::nothing,
       .stored_experimental = L""},
      {.name = "relative diagnostic layout before running",
       .options = {L"--diagnostic-layout", L"d.txt", L"--running"},
       .host = Install::here,
       .code = bad_use,
       .started = Started::nothing,
       .stored_experimental = L""},
      {.name = "removing shortcuts before running",
       .options = {L"--remove-shortcuts", L"--running"},
       .host = Install::here,
       .started = Started::nothing,
       .stored_experimental = L""},
      {.name = "support, silent",
       .options = {L"--support", L"--silent"},
       .code = bad_use,
       .started = Started::nothing,
       .stored_experimental = L""},
      {.name = "support dialog not shown",
       .options = {L"--support"},
       .code = action_failed,
       .started = Started::nothing,
       .stored_experimental = L""},
      {.name = "preference not stored",
       .options = {L"--set-browser-dark", L"on"},
       .settings_unwritable = true,
       .code = entry_failure,
       .started = Started::nothing,
       .boxes = {sentence::entry_failure},
       .stored_experimental = L""},
      {.name = "given host missing",
       .options = {L"--paltalk", L"Z:\\absent\\Paltalk.exe"},
       .code = not_acceptable,
       .started = Started::nothing,
       .boxes = {sentence::host_not_found},
       .stored_experimental = L""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Install in(row.recognized, row.host);
    store_approval(in, row.approval);
    if (row.answer) fake.message_box_answers = {*row.answer};
    if (row.plugin_missing) std::filesystem::remove(test::to_fs(plugin_path()));
    if (row.start_fails) fake.process_start_result = {false, 193};
    if (row.settings_unwritable) std::filesystem::create_directories(test::to_fs(settings_path()));
    Arguments arguments = row.options;
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
