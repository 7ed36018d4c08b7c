// Process inspection against a scripted process table.
#include "support/inspection.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "foundation/paths.h"
#include "launcher/process_values.h"
#include "platform/fake/fake_control.h"
#include "platform/fake/processes_control.h"
#include "test_support.h"

namespace nv {
namespace {

// Paths on a drive that exists nowhere compare by their lexical normal form.
const std::wstring host_path = L"Q:\\Apps\\Paltalk\\Paltalk.exe";
const std::wstring other_host_path = L"Q:\\Other\\Paltalk\\Paltalk.exe";
const std::wstring install_dir = L"Q:\\Tenebrix";
const std::wstring plugin_path = L"Q:\\Tenebrix\\plugins\\styles\\Nightveil.dll";
const std::wstring webview_path = L"Q:\\WebView\\msedgewebview2.exe";

fake::FakeProcess process(std::uint32_t id, std::uint32_t parent, const std::wstring& name,
                          const std::wstring& image) {
  fake::FakeProcess p;
  p.id = id;
  p.parent_id = parent;
  p.file_name = name;
  p.image_path = image;
  return p;
}
fake::FakeProcess host(std::uint32_t id, const std::wstring& image = host_path) {
  fake::FakeProcess p = process(id, 4, L"Paltalk.exe", image);
  p.modules = {{L"Paltalk.exe", image}, {L"KERNEL32.DLL", L"C:\\windows\\system32\\kernel32.dll"}};
  return p;
}
fake::FakeProcess unreadable_host(std::uint32_t id) {
  fake::FakeProcess p = host(id);
  p.image_path.reset();
  return p;
}
fake::FakeProcess with_plugin(fake::FakeProcess p, const std::wstring& plugin = plugin_path) {
  p.modules.push_back({L"Nightveil.dll", plugin});
  return p;
}
fake::FakeProcess webview(std::uint32_t id, std::uint32_t parent) {
  return process(id, parent, L"msedgewebview2.exe", webview_path);
}
// Something that is always there, so that a table without a host is not an
// unreadable snapshot.
fake::FakeProcess explorer() { return process(40, 4, L"explorer.exe", L"C:\\windows\\explorer.exe"); }

class Inspection : public ::testing::Test {
 protected:
  void SetUp() override {
    fake::reset_all();
    reset_process_values();
    install_root = install_dir;
  }
};

// --- the session test -------------------------------------------------------

TEST(SessionTest, PassesUnlessListedInAnotherSession) {
  SessionFilter filter;
  filter.current_session = 1;
  filter.sessions = {{10, 1}, {20, 2}, {30, 0}};
  filter.valid = true;
  struct Case {
    std::uint32_t id;
    bool passes;
  } cases[] = {{10, true}, {20, false}, {30, false}, {99, true}};
  for (const auto& c : cases) EXPECT_EQ(passes_session_test(filter, c.id), c.passes) << c.id;

  filter.valid = false;  // a map that was not wholly obtained decides nothing
  for (const auto& c : cases) EXPECT_TRUE(passes_session_test(filter, c.id)) << c.id;
}

TEST_F(Inspection, BuildSessionFilter_MapsEveryRecordAndTheLaterWins) {
  fake::own_session = 3;
  auto a = explorer();
  a.session = 3;
  auto b = host(50);
  b.session = 7;
  auto c = host(60);
  c.session.reset();
  fake::processes = {a, b, c};
  fake::extra_session_records = {{50, 3}};
  const SessionFilter filter = build_session_filter();
  EXPECT_TRUE(filter.valid);
  EXPECT_EQ(filter.current_session, 3u);
  const std::map<std::uint32_t, std::uint32_t> expected{{40, 3}, {50, 3}};
  EXPECT_EQ(filter.sessions, expected);
}

TEST_F(Inspection, BuildSessionFilter_InvalidWithoutOwnSession) {
  fake::own_session.reset();
  fake::processes = {explorer()};
  const SessionFilter filter = build_session_filter();
  EXPECT_FALSE(filter.valid);
  EXPECT_TRUE(filter.sessions.empty());
}

TEST_F(Inspection, BuildSessionFilter_InvalidWithoutEnumeration) {
  fake::own_session = 5;
  fake::session_enumeration_fails = true;
  fake::processes = {explorer()};
  const SessionFilter filter = build_session_filter();
  EXPECT_FALSE(filter.valid);
  EXPECT_EQ(filter.current_session, 5u);
  EXPECT_TRUE(filter.sessions.empty());
}

// --- host_is_running --------------------------------------------------------

TEST_F(Inspection, HostIsRunning_FalseWithNoHost) {
  fake::processes = {explorer(), process(41, 40, L"Paltalk.exe.bak", host_path),
                     process(42, 40, L"Paltalk", host_path)};
  EXPECT_FALSE(host_is_running(host_path));
  EXPECT_FALSE(host_is_running(L""));
}

TEST_F(Inspection, HostIsRunning_FalseWithoutASnapshot) {
  fake::processes = {host(50)};
  fake::process_snapshot_fails = true;
  EXPECT_FALSE(host_is_running(host_path));
  EXPECT_FALSE(host_is_running(L""));
}

TEST_F(Inspection, HostIsRunning_TrueForTheHostAtThatPath) {
  fake::processes = {explorer(), host(50)};
  EXPECT_TRUE(host_is_running(host_path));
}

TEST_F(Inspection, HostIsRunning_NameInAnyCase) {
  auto p = host(50);
  p.file_name = L"PALTALK.EXE";
  fake::processes = {explorer(), p};
  EXPECT_TRUE(host_is_running(host_path));
}

TEST_F(Inspection, HostIsRunning_OtherPathOnlyCountsForTheEmptyPath) {
  fake::processes = {explorer(), host(50, other_host_path)};
  EXPECT_FALSE(host_is_running(host_path));
  EXPECT_TRUE(host_is_running(L""));
}

TEST_F(Inspection, HostIsRunning_OtherSpellingsOfThePath) {
  const std::wstring spellings[] = {L"q:\\APPS\\paltalk\\PALTALK.EXE", L"Q:/Apps/Paltalk/Paltalk.exe",
                                    L"Q:\\Apps\\.\\Paltalk\\..\\Paltalk\\\\Paltalk.exe"};
  for (const auto& spelling : spellings) {
    fake::reset_all();
    fake::processes = {explorer(), host(50, spelling)};
    EXPECT_TRUE(host_is_running(host_path)) << spelling;
  }
}

TEST_F(Inspection, HostIsRunning_ReachedThroughALink) {
  test::TempDir dir;
  test::write_bytes(dir / L"real\\Paltalk.exe", "x");
  std::error_code error;
  std::filesystem::create_directory_symlink(test::to_fs(dir / L"real"), test::to_fs(dir / L"link"), error);
  if (error) GTEST_SKIP() << "no directory links here: " << error.message();
  fake::processes = {explorer(), host(50, dir / L"real\\Paltalk.exe")};
  EXPECT_TRUE(host_is_running(dir / L"link\\Paltalk.exe"));
  EXPECT_FALSE(host_is_running(dir / L"link\\Other.exe"));
}

TEST_F(Inspection, HostIsRunning_AnotherSessionDoesNotCount) {
  auto p = host(50);
  p.session = 2;
  fake::processes = {explorer(), p};
  EXPECT_FALSE(host_is_running(host_path));
  EXPECT_FALSE(host_is_running(L""));
  EXPECT_TRUE(fake::image_path_reads.empty());  // not even examined
  // The report has no session test and sees it.
  EXPECT_EQ(inspect_runtime(host_path).paltalkRunning, L"yes");
}

TEST_F(Inspection, HostIsRunning_EverySessionCountsWithoutTheMap) {
  auto p = host(50);
  p.session = 2;
  fake::processes = {explorer(), p};
  fake::session_enumeration_fails = true;
  EXPECT_TRUE(host_is_running(host_path));
  fake::session_enumeration_fails = false;
  fake::own_session.reset();
  EXPECT_TRUE(host_is_running(host_path));
}

TEST_F(Inspection, HostIsRunning_UnlistedInTheSessionMapCounts) {
  auto p = host(50);
  p.session.reset();
  fake::processes = {explorer(), p};
  EXPECT_TRUE(host_is_running(host_path));
}

TEST_F(Inspection, HostIsRunning_UnreadableHostCountsWhateverThePath) {
  fake::processes = {explorer(), unreadable_host(50)};
  EXPECT_TRUE(host_is_running(other_host_path));
  EXPECT_TRUE(host_is_running(L""));
}

TEST_F(Inspection, HostIsRunning_UnreadableHostInAnotherSessionDoesNotCount) {
  auto p = unreadable_host(50);
  p.session = 2;
  fake::processes = {explorer(), p};
  EXPECT_FALSE(host_is_running(host_path));
}

TEST_F(Inspection, HostIsRunning_HostThatExitsBeforeItIsOpened) {
  auto p = host(50, other_host_path);
  p.exits_after_listing = true;
  fake::processes = {explorer(), p};
  EXPECT_TRUE(host_is_running(host_path));   // listed, then could not be opened
  EXPECT_FALSE(host_is_running(host_path));  // no longer listed
}

TEST_F(Inspection, HostIsRunning_LooksAtEveryHostUntilOneMatches) {
  fake::processes = {explorer(), host(50, other_host_path), host(51, L"Q:\\Third\\Paltalk.exe"), host(52)};
  EXPECT_TRUE(host_is_running(host_path));
  EXPECT_EQ(fake::image_path_reads, (std::vector<std::uint32_t>{50, 51, 52}));
}

// --- install_is_busy --------------------------------------------------------

TEST_F(Inspection, InstallIsBusy_PluginOfThisInstallationLoaded) {
  fake::processes = {explorer(), with_plugin(host(50))};
  EXPECT_TRUE(install_is_busy(install_dir));
  EXPECT_TRUE(install_is_busy(L"q:\\TENEBRIX"));
  EXPECT_TRUE(install_is_busy(L"Q:/Tenebrix/."));
}

TEST_F(Inspection, InstallIsBusy_PluginFromAnotherFolderIsNotBusy) {
  fake::processes = {explorer(), with_plugin(host(50), L"Q:\\Elsewhere\\plugins\\styles\\Nightveil.dll")};
  EXPECT_FALSE(install_is_busy(install_dir));
}

TEST_F(Inspection, InstallIsBusy_AnyHostInstallationCounts) {
  // The host's own path plays no part: what counts is the plugin file.
  fake::processes = {explorer(), host(50), with_plugin(host(51, other_host_path))};
  EXPECT_TRUE(install_is_busy(install_dir));
}

TEST_F(Inspection, InstallIsBusy_OnlyHostProcessesCount) {
  fake::processes = {with_plugin(explorer())};
  EXPECT_FALSE(install_is_busy(install_dir));
  EXPECT_TRUE(fake::module_list_reads.empty());
}

TEST_F(Inspection, InstallIsBusy_AnotherSessionDoesNotCount) {
  auto p = with_plugin(host(50));
  p.session = 2;
  fake::processes = {explorer(), p};
  EXPECT_FALSE(install_is_busy(install_dir));
  fake::session_enumeration_fails = true;
  EXPECT_TRUE(install_is_busy(install_dir));
}

TEST_F(Inspection, InstallIsBusy_NoModuleSnapshotIsBusy) {
  auto p = host(50, other_host_path);
  p.module_listing = platform::ModuleListing::no_snapshot;
  fake::processes = {explorer(), p};
  EXPECT_TRUE(install_is_busy(install_dir));
}

TEST_F(Inspection, InstallIsBusy_NoFirstModuleIsNoMatch) {
  auto p = with_plugin(host(50));
  p.module_listing = platform::ModuleListing::no_first_module;
  fake::processes = {explorer(), p};
  EXPECT_FALSE(install_is_busy(install_dir));
}

TEST_F(Inspection, InstallIsBusy_FalseWithoutASnapshot) {
  fake::processes = {with_plugin(host(50))};
  fake::process_snapshot_fails = true;
  EXPECT_FALSE(install_is_busy(install_dir));
}

// --- inspect_runtime --------------------------------------------------------

void expect_snapshot(const RuntimeSnapshot& s, const std::wstring& running, const std::wstring& theme,
                     const std::wstring& webview, std::int32_t count) {
  EXPECT_EQ(s.paltalkRunning, running);
  EXPECT_EQ(s.themeLoaded, theme);
  EXPECT_EQ(s.webView2, webview);
  EXPECT_EQ(s.webViewProcesses, count);
}

TEST_F(Inspection, InspectRuntime_EmptyPathTakesNoSnapshot) {
  fake::processes = {explorer(), with_plugin(host(50))};
  expect_snapshot(inspect_runtime(L""), L"unknown", L"unknown", L"", -1);
  EXPECT_EQ(fake::process_snapshots, 0);
}

TEST_F(Inspection, InspectRuntime_NoSnapshotIsAllUnknown) {
  fake::processes = {explorer(), with_plugin(host(50))};
  fake::process_snapshot_fails = true;
  expect_snapshot(inspect_runtime(host_path), L"unknown", L"unknown", L"", -1);
}

TEST_F(Inspection, InspectRuntime_NoHost) {
  fake::processes = {explorer(), host(50, other_host_path)};
  expect_snapshot(inspect_runtime(host_path), L"no", L"no", L"", 0);
}

TEST_F(Inspection, InspectRuntime_UnreadableHostAloneIsDoubt) {
  fake::processes = {explorer(), unreadable_host(50), webview(60, 50)};
  expect_snapshot(inspect_runtime(host_path), L"unknown", L"unknown", L"", -1);
}

TEST_F(Inspection, InspectRuntime_OneReadableMatchOutweighsDoubt) {
  fake::processes = {explorer(), unreadable_host(50), host(51)};
  expect_snapshot(inspect_runtime(host_path), L"yes", L"no", L"", 0);
}

TEST_F(Inspection, InspectRuntime_ThemeLoadedFromThisInstallation) {
  auto p = host(50);
  p.modules.push_back({L"NIGHTVEIL.DLL", L"q:\\tenebrix\\PLUGINS\\styles\\nightveil.dll"});
  fake::processes = {explorer(), p};
  expect_snapshot(inspect_runtime(host_path), L"yes", L"yes", L"", 0);
}

TEST_F(Inspection, InspectRuntime_ThemeFromAnotherFolderIsNotLoaded) {
  fake::processes = {explorer(), with_plugin(host(50), L"Q:\\Elsewhere\\plugins\\styles\\Nightveil.dll")};
  EXPECT_EQ(inspect_runtime(host_path).themeLoaded, L"no");
}

TEST_F(Inspection, InspectRuntime_ThemeComparedWithOwnInstallRoot) {
  fake::processes = {explorer(), with_plugin(host(50))};
  install_root = L"Q:\\Another Tenebrix";
  EXPECT_EQ(inspect_runtime(host_path).themeLoaded, L"no");
}

TEST_F(Inspection, InspectRuntime_ModuleDoubtWithoutThemeIsUnknown) {
  for (auto listing : {platform::ModuleListing::no_snapshot, platform::ModuleListing::no_first_module}) {
    fake::reset_all();
    auto p = host(50);
    p.module_listing = listing;
    fake::processes = {explorer(), p};
    EXPECT_EQ(inspect_runtime(host_path).themeLoaded, L"unknown");
  }
}

TEST_F(Inspection, InspectRuntime_ThemeFoundOnOneHostOutweighsModuleDoubtOnAnother) {
  auto failing = host(50);
  failing.module_listing = platform::ModuleListing::no_snapshot;
  for (bool theme_first : {true, false}) {
    fake::reset_all();
    fake::processes = {explorer()};
    if (theme_first) fake::processes.push_back(with_plugin(host(51)));
    fake::processes.push_back(failing);
    if (!theme_first) fake::processes.push_back(with_plugin(host(51)));
    EXPECT_EQ(inspect_runtime(host_path).themeLoaded, L"yes") << theme_first;
  }
}

TEST_F(Inspection, InspectRuntime_CountsWebViewsDescendedFromTheHost) {
  fake::processes = {
      explorer(),
      host(50),
      webview(61, 50),                                       // child of the host
      process(70, 50, L"helper.exe", L"Q:\\helper.exe"),     // child ...
      webview(71, 70),                                       // ... and its child
      process(80, 70, L"cmd.exe", L"Q:\\cmd.exe"),
      webview(81, 80),                                       // three levels down
      webview(90, 999),                                      // parent gone: the chain is broken
      webview(91, 40),                                       // someone else's
      host(95, other_host_path),                             // a host at another path ...
      webview(96, 95),                                       // ... and its browser
  };
  const RuntimeSnapshot s = inspect_runtime(host_path);
  EXPECT_EQ(s.paltalkRunning, L"yes");
  EXPECT_EQ(s.webViewProcesses, 3);
}

TEST_F(Inspection, InspectRuntime_TreeFollowsChildrenListedBeforeTheirParents) {
  fake::processes = {explorer(), webview(71, 70), process(70, 60, L"helper.exe", L"Q:\\helper.exe"),
                     process(60, 50, L"helper.exe", L"Q:\\helper.exe"), host(50)};
  EXPECT_EQ(inspect_runtime(host_path).webViewProcesses, 1);
}

TEST_F(Inspection, InspectRuntime_WebViewNameInAnyCase) {
  auto w = webview(61, 50);
  w.file_name = L"MSEdgeWebView2.EXE";
  fake::processes = {explorer(), host(50), w};
  EXPECT_EQ(inspect_runtime(host_path).webViewProcesses, 1);
}

TEST_F(Inspection, InspectRuntime_WebViewVersionFromTheFirstReadableProcess) {
  const std::wstring second_image = L"Q:\\WebView2\\msedgewebview2.exe";
  platform::FixedFileInfo info;
  info.found = true;
  info.length = 52;
  info.version_ms = (120u << 16) | 0u;
  info.version_ls = (2210u << 16) | 91u;
  fake::fixed_file_infos[folded_path(second_image)] = info;
  auto unreadable = webview(61, 50);
  unreadable.image_path.reset();
  auto second = process(62, 50, L"msedgewebview2.exe", second_image);
  auto third = webview(63, 50);
  fake::processes = {explorer(), host(50), unreadable, second, third};
  const RuntimeSnapshot s = inspect_runtime(host_path);
  EXPECT_EQ(s.webView2, L"120.0.2210.91");
  EXPECT_EQ(s.webViewProcesses, 3);
  // Once a version stands, no further browser process is opened.
  EXPECT_EQ(std::count(fake::image_path_reads.begin(), fake::image_path_reads.end(), 63u), 0);
}

TEST_F(Inspection, InspectRuntime_WebViewWithoutVersionInformationIsAllZeros) {
  fake::processes = {explorer(), host(50), webview(61, 50)};
  EXPECT_EQ(inspect_runtime(host_path).webView2, L"0.0.0.0");
}

TEST_F(Inspection, InspectRuntime_NoWebViewReadableLeavesTheVersionEmpty) {
  auto w = webview(61, 50);
  w.image_path.reset();
  fake::processes = {explorer(), host(50), w};
  const RuntimeSnapshot s = inspect_runtime(host_path);
  EXPECT_EQ(s.webView2, L"");
  EXPECT_EQ(s.webViewProcesses, 1);
}

}  // namespace
}  // namespace nv
