// Process inspection against a scripted process table.
#include "support/inspection.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <optional>
#include <tuple>
#include <utility>

#include "installation.h"
#include "platform/fake/processes_control.h"

namespace nv {
namespace {

using Table = std::vector<fake::FakeProcess>;
using Image = std::optional<std::wstring>;  // nullopt: cannot be opened or read
using platform::ModuleListing;

// Paths on a drive that exists nowhere compare by their lexical normal form.
const std::wstring host_path = L"Q:\\Apps\\Paltalk\\Paltalk.exe";
const std::wstring other_host_path = L"Q:\\Other\\Paltalk\\Paltalk.exe";
const std::wstring install_dir = L"Q:\\Tenebrix";
const std::wstring own_plugin = L"Q:\\Tenebrix\\plugins\\styles\\Nightveil.dll";
const std::wstring elsewhere_plugin = L"Q:\\Elsewhere\\plugins\\styles\\Nightveil.dll";
const std::wstring versioned_webview = L"Q:\\WebView2\\msedgewebview2.exe";

fake::FakeProcess process(std::uint32_t id, std::uint32_t parent, const std::wstring& name, Image image) {
  fake::FakeProcess p;
  std::tie(p.id, p.parent_id, p.file_name, p.image_path) = std::tie(id, parent, name, image);
  return p;
}
fake::FakeProcess host(std::uint32_t id, Image image = host_path) {
  fake::FakeProcess p = process(id, 4, L"Paltalk.exe", image);
  p.modules = {{L"Paltalk.exe", image.value_or(host_path)}, {L"KERNEL32.DLL", L"C:\\windows\\kernel32.dll"}};
  return p;
}
fake::FakeProcess with_plugin(fake::FakeProcess p, const std::wstring& path = own_plugin,
                              const std::wstring& base_name = L"Nightveil.dll") {
  p.modules.push_back({base_name, path});
  return p;
}
fake::FakeProcess in_session(fake::FakeProcess p, std::optional<std::uint32_t> s) { p.session = s; return p; }
fake::FakeProcess named(fake::FakeProcess p, const std::wstring& name) { p.file_name = name; return p; }
fake::FakeProcess listing(fake::FakeProcess p, ModuleListing status) { p.module_listing = status; return p; }
fake::FakeProcess webview(std::uint32_t id, std::uint32_t parent, Image image = L"Q:\\WebView\\msedgewebview2.exe") {
  return process(id, parent, L"msedgewebview2.exe", image);
}
// Always there, so that a table without a host is not an unreadable snapshot.
fake::FakeProcess explorer() { return process(40, 4, L"explorer.exe", L"C:\\windows\\explorer.exe"); }

enum Fault { none, no_snapshot, no_session_map };

// One scripted machine per case: what `inspect` says about the argument there.
template <typename Result>
struct Case {
  const char* name;
  Table table;
  Result expected;
  std::optional<std::wstring> argument = std::nullopt;  // the default one unless given
  Fault fault = none;
};

template <typename Result, typename Inspect>
void run(const std::vector<Case<Result>>& cases, Inspect inspect, const std::wstring& default_argument) {
  for (const auto& c : cases) {
    fake::reset_all();
    reset_process_values();
    install_root = install_dir;
    test::set_version(versioned_webview, {120, 0, 2210, 91});
    fake::processes = c.table;
    fake::process_snapshot_fails = c.fault == no_snapshot;
    fake::session_enumeration_fails = c.fault == no_session_map;
    EXPECT_EQ(inspect(c.argument.value_or(default_argument)), c.expected) << c.name;
  }
}

TEST(SessionTest, PassesUnlessListedInAnotherSession) {
  SessionFilter filter;
  filter.current_session = 1;
  filter.sessions = {{10, 1}, {20, 2}, {30, 0}};
  filter.valid = true;
  const std::pair<std::uint32_t, bool> cases[] = {{10, true}, {20, false}, {30, false}, {99, true}};
  for (const auto& [id, passes] : cases) EXPECT_EQ(passes_session_test(filter, id), passes) << id;
  filter.valid = false;  // a map that was not wholly obtained decides nothing
  for (const auto& [id, passes] : cases) EXPECT_TRUE(passes_session_test(filter, id)) << id;
}

TEST(BuildSessionFilter, MapsEveryRecordTheLaterWinningAndIsInvalidWithoutEither) {
  fake::reset_all();
  fake::own_session = 3;
  fake::processes = {in_session(explorer(), 3), in_session(host(50), 7), in_session(host(60), std::nullopt)};
  fake::extra_session_records = {{50, 3}};
  const SessionFilter filter = build_session_filter();
  EXPECT_TRUE(filter.valid);
  EXPECT_EQ(filter.current_session, 3u);
  EXPECT_EQ(filter.sessions, (std::map<std::uint32_t, std::uint32_t>{{40, 3}, {50, 3}}));
  fake::session_enumeration_fails = true;
  EXPECT_FALSE(build_session_filter().valid);
  fake::session_enumeration_fails = false;
  fake::own_session.reset();
  EXPECT_FALSE(build_session_filter().valid);
}

TEST(HostIsRunning, Table) {
  const Table idle{explorer(), process(41, 40, L"Paltalk.exe.bak", host_path), process(42, 40, L"Paltalk", host_path)};
  const Table elsewhere{explorer(), host(50, other_host_path)};
  const Table stranger{explorer(), in_session(host(50), 2)};
  const Table unreadable{explorer(), host(50, std::nullopt)};
  run<bool>({{"no host", idle, false},
             {"no host, any path", idle, false, L""},
             {"no snapshot", {host(50)}, false, L"", no_snapshot},
             {"at that path", {explorer(), host(50)}, true},
             {"name in capitals", {explorer(), named(host(50), L"PALTALK.EXE")}, true},
             {"path in other spelling", {explorer(), host(50, L"q:/APPS/./paltalk/../Paltalk//PALTALK.EXE")}, true},
             {"another path", elsewhere, false},
             {"another path, any path asked", elsewhere, true, L""},
             {"each host until one matches", {host(50, other_host_path), host(51, L"Q:\\x.exe"), host(52)}, true},
             {"another session", stranger, false, L""},
             {"another session, no session map", stranger, true, std::nullopt, no_session_map},
             {"not in the session map", {explorer(), in_session(host(50), std::nullopt)}, true},
             {"unreadable", unreadable, true, other_host_path},
             {"unreadable, any path", unreadable, true, L""},
             {"unreadable in another session", {explorer(), in_session(host(50, std::nullopt), 2)}, false}},
            host_is_running, host_path);
}

TEST(HostIsRunning, ReachedThroughALink) {
  fake::reset_all();
  test::TempDir dir;
  test::write_bytes(dir / L"real\\Paltalk.exe", "x");
  std::error_code error;
  std::filesystem::create_directory_symlink(test::to_fs(dir / L"real"), test::to_fs(dir / L"link"), error);
  if (error) GTEST_SKIP() << "no directory links here: " << error.message();
  fake::processes = {explorer(), host(50, dir / L"real\\Paltalk.exe")};
  EXPECT_TRUE(host_is_running(dir / L"link\\Paltalk.exe"));
  EXPECT_FALSE(host_is_running(dir / L"link\\Other.exe"));
}

TEST(HostIsRunning, HostThatExitsBeforeItIsOpenedCountsOnce) {
  fake::reset_all();
  auto p = host(50, other_host_path);
  p.exits_after_listing = true;
  fake::processes = {explorer(), p};
  EXPECT_TRUE(host_is_running(host_path));   // listed, then could not be opened
  EXPECT_FALSE(host_is_running(host_path));  // no longer listed
}

TEST(InstallIsBusy, Table) {
  const Table loaded{explorer(), with_plugin(host(50))};
  const Table stranger{explorer(), in_session(with_plugin(host(50)), 2)};
  run<bool>({{"plugin loaded", loaded, true},
             {"directory in other spelling", loaded, true, L"q:/TENEBRIX/."},
             {"plugin from elsewhere", {explorer(), with_plugin(host(50), elsewhere_plugin)}, false},
             {"any host installation", {host(50), with_plugin(host(51, other_host_path))}, true},
             {"only hosts count", {with_plugin(explorer())}, false},
             {"another session", stranger, false},
             {"another session, no session map", stranger, true, std::nullopt, no_session_map},
             {"no module snapshot", {explorer(), listing(host(50), ModuleListing::no_snapshot)}, true},
             {"no first module", {explorer(), listing(with_plugin(host(50)), ModuleListing::no_first_module)}, false},
             {"no snapshot", loaded, false, std::nullopt, no_snapshot}},
            install_is_busy, install_dir);
}

// running|theme|version|count
std::wstring summary(const RuntimeSnapshot& s) {
  return s.paltalkRunning + L"|" + s.themeLoaded + L"|" + s.webView2 + L"|" + std::to_wstring(s.webViewProcesses);
}

TEST(InspectRuntime, Table) {
  const auto unreadable = host(50, std::nullopt);
  const auto no_modules = listing(host(50), ModuleListing::no_snapshot);
  const auto helper = [](std::uint32_t id, std::uint32_t parent) { return process(id, parent, L"x.exe", L"x"); };
  // Browsers of the host, of its child and three levels down count; one whose
  // parent is gone, one of someone else and one of a host elsewhere do not.
  const Table tree{explorer(), host(50), webview(61, 50), helper(70, 50), webview(71, 70), helper(80, 70),
                   webview(81, 80), webview(90, 999), webview(91, 40), host(95, other_host_path), webview(96, 95)};
  run<std::wstring>(
      {{"no snapshot", {explorer(), with_plugin(host(50))}, L"unknown|unknown||-1", std::nullopt, no_snapshot},
       {"no host", {explorer(), host(50, other_host_path)}, L"no|no||0"},
       {"unreadable host alone", {explorer(), unreadable, webview(60, 50)}, L"unknown|unknown||-1"},
       {"one readable match outweighs doubt", {explorer(), unreadable, host(51)}, L"yes|no||0"},
       {"no session test", {explorer(), in_session(host(50), 2)}, L"yes|no||0"},
       {"theme in other case",
        {with_plugin(host(50), L"q:\\tenebrix\\PLUGINS\\styles\\nightveil.dll", L"NIGHTVEIL.DLL")}, L"yes|yes||0"},
       {"theme from elsewhere", {explorer(), with_plugin(host(50), elsewhere_plugin)}, L"yes|no||0"},
       {"no module snapshot", {explorer(), no_modules}, L"yes|unknown||0"},
       {"no first module", {explorer(), listing(host(50), ModuleListing::no_first_module)}, L"yes|unknown||0"},
       {"theme before module doubt", {explorer(), with_plugin(host(51)), no_modules}, L"yes|yes||0"},
       {"theme after module doubt", {explorer(), no_modules, with_plugin(host(51))}, L"yes|yes||0"},
       {"browsers descended from the host", tree, L"yes|no|0.0.0.0|3"},
       {"children listed before parents", {webview(71, 70), helper(70, 60), helper(60, 50), host(50)},
        L"yes|no|0.0.0.0|1"},
       {"browser name in capitals", {host(50), named(webview(61, 50), L"MSEdgeWebView2.EXE")},
        L"yes|no|0.0.0.0|1"},
       {"version of the first readable browser",
        {host(50), webview(61, 50, std::nullopt), webview(62, 50, versioned_webview), webview(63, 50)},
        L"yes|no|120.0.2210.91|3"},
       {"no browser readable", {host(50), webview(61, 50, std::nullopt)}, L"yes|no||1"}},
      [](const std::wstring& path) { return summary(inspect_runtime(path)); }, host_path);
}

TEST(InspectRuntime, EmptyPathTakesNoSnapshot) {
  fake::reset_all();
  fake::processes = {explorer(), with_plugin(host(50))};
  EXPECT_EQ(summary(inspect_runtime(L"")), L"unknown|unknown||-1");
  EXPECT_EQ(fake::process_snapshots, 0);
}

}  // namespace
}  // namespace nv
