#pragma once
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/processes.h"

namespace nv {

struct SessionFilter {
  std::map<std::uint32_t, std::uint32_t> sessions;  // process id -> session id
  std::uint32_t current_session = 0;
  bool valid = false;
};

struct RuntimeSnapshot {
  std::wstring paltalkRunning = L"unknown";
  std::wstring themeLoaded = L"unknown";
  std::wstring webView2;
  std::int32_t webViewProcesses = -1;
};

SessionFilter build_session_filter();
// A process passes unless the filter is valid, lists it, and puts it in a
// session other than the current one.
bool passes_session_test(const SessionFilter& filter, std::uint32_t process_id);

// Whose processes a walk keeps: the guards look at this session only, the report at the machine.
enum class SessionScope { this_session, every_session };

// One look at the process list: the whole snapshot in its order, and those of its processes that
// bear the file name asked for (compared as _wcsicmp does) and are within the scope.
struct ProcessWalk {
  std::vector<platform::ProcessRecord> all;
  std::vector<platform::ProcessRecord> named;
};
// nullopt when no snapshot could be taken; the session list is asked for only for this_session.
std::optional<ProcessWalk> walk_processes(const std::wstring& file_name, SessionScope scope);

bool host_is_running(const std::wstring& host_path);
bool install_is_busy(const std::wstring& install_directory);
RuntimeSnapshot inspect_runtime(const std::wstring& host_path);
// Whether this process runs elevated; raises "Cannot inspect launch token" or
// "Cannot inspect launch elevation" when its token cannot tell.
bool process_is_elevated();

}  // namespace nv
