// What runs on the machine, against a scripted process list: the two guards, for which doubt counts
// as yes in this session only, and the support report's view, which says when it cannot tell.
#include <gtest/gtest.h>

#include <tuple>

#include "fake_platform.h"
#include "foundation/paths.h"
#include "foundation/process_values.h"
#include "support/inspection.h"

namespace nv {
namespace {

// Paths on a drive that exists nowhere compare by their lexical normal form.
const wchar_t* const host = L"Q:\\P\\Paltalk.exe";
const wchar_t* const other_host = L"Q:\\O\\Paltalk.exe";
const wchar_t* const installation = L"Q:\\T";
const wchar_t* const this_plugin = L"Q:\\T\\plugins\\styles\\Nightveil.dll";
const wchar_t* const other_plugin = L"Q:\\E\\plugins\\styles\\Nightveil.dll";

// One process as the list, the session list, its image and its modules show it. By default a host
// of this session at `host`, with this installation's plugin loaded.
struct Process {
  std::uint32_t id = 50;
  std::uint32_t parent = 4;
  const wchar_t* name = L"PALTALK.exe";
  const wchar_t* image = host;
  bool opens = true;  // OpenProcess and the image path work
  std::uint32_t session = 1;
  bool in_session_list = true;
  platform::ModuleListing listing = platform::ModuleListing::listed;
  const wchar_t* plugin = this_plugin;  // the full path of its module "nightveil.DLL"
};

FakeProcess fake_of(const Process& p) {
  FakeProcess process;
  process.record = {p.id, p.parent, p.name};
  if (p.opens) process.image_path = p.image;
  process.session = p.in_session_list ? std::optional(p.session) : std::nullopt;
  process.modules = {p.listing, {{L"Paltalk.exe", p.image}, {L"nightveil.DLL", p.plugin}}};
  return process;
}

// A process of another name that is always there; its parent is the System process.
const Process idle{.id = 40, .name = L"Paltalk.exe.bak"};

struct GuardRow {
  const char* name;
  bool host_runs = true;  // `process` is in the list beside `idle`
  Process process = {};
  bool snapshot_fails = false;
  bool session_list_fails = false;
  const wchar_t* asked = host;  // the host path asked about
  bool running = false;
  bool busy = false;
};

TEST(Guards, DoubtCountsAsYesOnlyInThisSession) {
  using enum platform::ModuleListing;
  const GuardRow rows[] = {
      {.name = "no host", .host_runs = false},
      {.name = "no process list at all", .snapshot_fails = true},
      {.name = "the host, its path spelled otherwise",
       .process = {.image = L"q:/P/./X/../PALTALK.EXE"},
       .running = true,
       .busy = true},
      {.name = "another host with this plugin", .process = {.image = other_host}, .busy = true},
      {.name = "any host, when no path is asked about",
       .process = {.image = other_host, .plugin = other_plugin},
       .asked = L"",
       .running = true},
      {.name = "another host with another installation's plugin",
       .process = {.image = other_host, .plugin = other_plugin}},
      {.name = "the host in another session", .process = {.session = 2}},
      {.name = "the host in another session, no session list",
       .process = {.session = 2},
       .session_list_fails = true,
       .running = true,
       .busy = true},
      {.name = "the host missing from the session list",
       .process = {.session = 2, .in_session_list = false},
       .running = true,
       .busy = true},
      {.name = "a host that cannot be opened",
       .process = {.image = other_host, .opens = false},
       .running = true,
       .busy = true},
      {.name = "a host not opened, in another session", .process = {.opens = false, .session = 2}},
      {.name = "another host whose modules cannot be listed",
       .process = {.image = other_host, .listing = no_snapshot},
       .busy = true},
      {.name = "another host whose module list is empty",
       .process = {.image = other_host, .listing = no_first_module}},
  };
  for (const GuardRow& row : rows) {
    fake = {};
    if (!row.snapshot_fails) fake.processes = {fake_of(idle)};
    if (row.host_runs && !row.snapshot_fails) fake.processes.push_back(fake_of(row.process));
    fake.session_list_fails = row.session_list_fails;
    // The installation's folder with a trailing separator: the plugin path is appended as text.
    EXPECT_EQ(std::pair(host_is_running(row.asked), install_is_busy(L"q:\\t\\")),
              std::pair(row.running, row.busy))
        << row.name;
  }
}

const wchar_t* const webview_image = L"Q:\\W\\120\\msedgewebview2.exe";
const wchar_t* const older_webview_image = L"Q:\\W\\119\\msedgewebview2.exe";

// What the report says: by default, that it cannot tell.
struct Seen {
  const wchar_t* running = L"unknown";
  const wchar_t* theme = L"unknown";
  const wchar_t* webview = L"";
  std::int32_t webviews = -1;
};
const Seen cannot_tell = {};
const Seen themed_host = {.running = L"yes", .theme = L"yes", .webviews = 0},
           no_host = {.running = L"no", .theme = L"no", .webviews = 0};

struct RuntimeRow {
  const char* name;
  std::vector<Process> processes = {};  // beside `idle`
  const wchar_t* asked = host;
  Seen expected = themed_host;
};

Process webview(std::uint32_t id, std::uint32_t parent, const wchar_t* image = webview_image) {
  return {.id = id, .parent = parent, .name = L"msedgewebview2.exe", .image = image};
}

TEST(Runtime, WhatTheReportCanTell) {
  using enum platform::ModuleListing;
  const Process helper{.id = 60, .parent = 50, .name = L"helper.exe", .image = L"Q:\\P\\h.exe"};
  const RuntimeRow rows[] = {
      {.name = "no path asked", .processes = {Process{}}, .asked = L"", .expected = cannot_tell},
      {.name = "no host", .expected = no_host},
      {.name = "the host with the theme, in another session", .processes = {Process{.session = 2}}},
      {.name = "another host", .processes = {Process{.image = other_host}}, .expected = no_host},
      {.name = "the only host cannot be opened",
       .processes = {Process{.opens = false}},
       .expected = cannot_tell},
      {.name = "one of two hosts cannot be opened",
       .processes = {Process{.id = 50, .opens = false}, Process{.id = 51}}},
      {.name = "the plugin of another installation",
       .processes = {Process{.plugin = other_plugin}},
       .expected = {.running = L"yes", .theme = L"no", .webviews = 0}},
      {.name = "modules cannot be listed",
       .processes = {Process{.listing = no_snapshot}},
       .expected = {.running = L"yes", .webviews = 0}},
      {.name = "an empty module list",
       .processes = {Process{.listing = no_first_module}},
       .expected = {.running = L"yes", .webviews = 0}},
      {.name = "one host's modules unlisted, the theme in the other's",
       .processes = {Process{.id = 50, .listing = no_snapshot}, Process{.id = 51}}},
      {.name = "browsers of the host and of its child, a child listed before its parent",
       .processes = {Process{}, webview(70, 60), helper, webview(71, 50, older_webview_image)},
       .expected =
           {.running = L"yes", .theme = L"yes", .webview = L"120.0.2210.91", .webviews = 2}},
      {.name = "a browser whose parent is gone, and one of another program",
       .processes = {Process{}, webview(70, 66), webview(71, 40)}},
      {.name = "the first browser cannot be opened",
       .processes = {Process{},
                     Process{.id = 70, .parent = 50, .name = L"MSEdgeWebView2.EXE", .opens = false},
                     webview(71, 50, older_webview_image)},
       .expected = {.running = L"yes", .theme = L"yes", .webview = L"119.0.0.1", .webviews = 2}},
      {.name = "a browser without a version resource",
       .processes = {Process{}, webview(70, 50, L"Q:\\W\\x\\msedgewebview2.exe")},
       .expected = {.running = L"yes", .theme = L"yes", .webview = L"0.0.0.0", .webviews = 1}},
  };
  for (const RuntimeRow& row : rows) {
    fake = {};
    const ContextScope context{{.install_root = installation}};
    fake.versions[folded_path(webview_image)] = {true, 52, 120 << 16, 2210 << 16 | 91, 0};
    fake.versions[folded_path(older_webview_image)] = {true, 52, 119 << 16, 1, 0};
    fake.processes = {fake_of(idle)};
    for (const Process& process : row.processes) fake.processes.push_back(fake_of(process));
    const RuntimeSnapshot seen = inspect_runtime(row.asked);
    EXPECT_EQ(
        std::tuple(seen.paltalkRunning, seen.themeLoaded, seen.webView2, seen.webViewProcesses),
        std::tuple(std::wstring(row.expected.running), std::wstring(row.expected.theme),
                   std::wstring(row.expected.webview), row.expected.webviews))
        << row.name;
  }
  fake = {};  // no process list at all
  EXPECT_EQ(inspect_runtime(host).paltalkRunning, L"unknown");
}

}  // namespace
}  // namespace nv
