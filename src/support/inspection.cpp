#include "support/inspection.h"

#include <set>

#include "foundation/failure.h"
#include "foundation/paths.h"
#include "host/identification.h"
#include "foundation/process_values.h"
#include "platform/process_start.h"
#include "platform/processes.h"

namespace nv {
namespace {

const std::wstring webview_file_name = L"msedgewebview2.exe";

}  // namespace

SessionFilter build_session_filter() {
  SessionFilter filter;
  const auto session = platform::current_session();
  if (!session) return filter;
  filter.current_session = *session;
  const auto records = platform::session_records();
  if (!records) return filter;
  for (const auto& [process_id, session_id] : *records) filter.sessions[process_id] = session_id;
  filter.valid = true;
  return filter;
}

bool passes_session_test(const SessionFilter& filter, std::uint32_t process_id) {
  if (!filter.valid) return true;
  auto it = filter.sessions.find(process_id);
  return it == filter.sessions.end() || it->second == filter.current_session;
}

std::optional<ProcessWalk> walk_processes(const std::wstring& file_name, SessionScope scope) {
  auto processes = platform::list_processes();
  if (!processes) return std::nullopt;
  ProcessWalk walk;
  walk.all = std::move(*processes);
  const SessionFilter filter =
      scope == SessionScope::this_session ? build_session_filter() : SessionFilter{};
  for (const auto& process : walk.all)
    if (same_name(process.file_name, file_name) && passes_session_test(filter, process.id))
      walk.named.push_back(process);
  return walk;
}

bool host_is_running(const std::wstring& host_path) {
  const auto walk = walk_processes(host_file_name, SessionScope::this_session);
  if (!walk) return false;
  const std::wstring wanted = host_path.empty() ? std::wstring() : folded_path(host_path);
  for (const auto& process : walk->named) {
    // A host that cannot be examined is taken for the one asked about.
    const auto image = platform::process_image_path(process.id);
    if (!image) return true;
    if (host_path.empty()) return true;
    if (folded_path(*image) == wanted) return true;
  }
  return false;
}

bool install_is_busy(const std::wstring& install_directory) {
  const std::wstring expected = folded_path(plugin_path_in(install_directory));
  const auto walk = walk_processes(host_file_name, SessionScope::this_session);
  if (!walk) return false;
  for (const auto& process : walk->named) {
    const platform::ModuleList list = platform::list_modules(process.id);
    if (list.status == platform::ModuleListing::no_snapshot) return true;
    for (const auto& module : list.modules)
      if (folded_path(module.full_path) == expected) return true;
  }
  return false;
}

RuntimeSnapshot inspect_runtime(const std::wstring& host_path) {
  RuntimeSnapshot snapshot;
  if (host_path.empty()) return snapshot;
  // Every host of that path, whatever its session: the report describes the machine.
  const auto walk = walk_processes(host_file_name, SessionScope::every_session);
  if (!walk) return snapshot;

  const std::wstring wanted = folded_path(host_path);
  std::vector<std::uint32_t> matched;
  bool doubt = false;
  for (const auto& process : walk->named) {
    const auto image = platform::process_image_path(process.id);
    if (!image) {
      doubt = true;
      continue;
    }
    if (folded_path(*image) == wanted) matched.push_back(process.id);
  }
  if (matched.empty()) {
    if (doubt) return snapshot;
    snapshot.paltalkRunning = L"no";
    snapshot.themeLoaded = L"no";
    snapshot.webViewProcesses = 0;
    return snapshot;
  }
  snapshot.paltalkRunning = L"yes";
  snapshot.themeLoaded = L"no";

  const std::wstring plugin = folded_path(plugin_path());
  bool module_doubt = false;
  for (std::uint32_t id : matched) {
    const platform::ModuleList list = platform::list_modules(id);
    if (list.status != platform::ModuleListing::listed) module_doubt = true;
    for (const auto& module : list.modules)
      if (same_name(module.base_name, plugin_file_name) && folded_path(module.full_path) == plugin)
        snapshot.themeLoaded = L"yes";
  }
  if (module_doubt && snapshot.themeLoaded != L"yes") snapshot.themeLoaded = L"unknown";

  // The host and everything descended from it, by the parents the snapshot reports.
  std::set<std::uint32_t> tree(matched.begin(), matched.end());
  for (bool added = true; added;) {
    added = false;
    for (const auto& process : walk->all) {
      if (tree.count(process.parent_id) && !tree.count(process.id)) {
        tree.insert(process.id);
        added = true;
      }
    }
  }

  snapshot.webViewProcesses = 0;
  for (const auto& process : walk->all) {
    if (!same_name(process.file_name, webview_file_name) || !tree.count(process.id)) continue;
    ++snapshot.webViewProcesses;
    if (!snapshot.webView2.empty()) continue;
    const auto image = platform::process_image_path(process.id);
    if (image) snapshot.webView2 = version_text(read_file_version(*image));
  }
  return snapshot;
}

bool process_is_elevated() {
  switch (platform::token_elevation()) {
    case platform::Elevation::token_unavailable:
      fail(failure::launch_token);
    case platform::Elevation::elevation_unavailable:
      fail(failure::launch_elevation);
    case platform::Elevation::elevated:
      return true;
    case platform::Elevation::not_elevated:
      break;
  }
  return false;
}

}  // namespace nv
