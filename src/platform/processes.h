#pragma once
// What runs on the machine: the process list, sessions, one process's image
// path and loaded modules. Every call reports its own failure; none raises.
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace nv::platform {

struct ProcessRecord {
  std::uint32_t id = 0;
  std::uint32_t parent_id = 0;  // as the snapshot reports it; the parent may be gone
  std::wstring file_name;       // szExeFile: the file name only
};

// A Toolhelp process snapshot walked to its end. nullopt when the snapshot
// cannot be taken or its first entry cannot be read.
std::optional<std::vector<ProcessRecord>> list_processes();

// ProcessIdToSessionId of this process; nullopt on failure.
std::optional<std::uint32_t> current_session();

// WTSEnumerateProcessesExW at level 1 for every session of this server, as
// (process id, session id) in the order listed. nullopt on failure or a null list.
std::optional<std::vector<std::pair<std::uint32_t, std::uint32_t>>> session_records();

// OpenProcess with PROCESS_QUERY_LIMITED_INFORMATION, then
// QueryFullProcessImageNameW in Win32 form. nullopt when either step fails.
std::optional<std::wstring> process_image_path(std::uint32_t process_id);

// Through one OpenProcess as above: the image path and the creation time
// (GetProcessTimes, FILETIME units), which tells a process from a later one
// that got its id. nullopt when the process cannot be opened or either read fails.
struct ProcessIdentity {
  std::wstring image_path;
  std::uint64_t creation_time = 0;
};
std::optional<ProcessIdentity> process_identity(std::uint32_t process_id);

// Asks the processes that use `file` to close, through the Restart Manager:
// RmStartSession; then `collect` names the processes (RM_UNIQUE_PROCESS);
// RmRegisterResources with the file, those processes and no services; when
// that worked, RmShutdown with no flags and no progress callback, a polite
// request with no forced close; RmEndSession. False when no session could be
// started, and `collect` is then not called.
struct RestartProcess {
  std::uint32_t id = 0;
  std::uint64_t creation_time = 0;
};
bool ask_to_close(const std::wstring& file,
                  const std::function<std::vector<RestartProcess>()>& collect);

struct ModuleRecord {
  std::wstring base_name;  // szModule
  std::wstring full_path;  // szExePath
};
enum class ModuleListing {
  listed,           // the snapshot gave at least one module
  no_snapshot,      // the module snapshot could not be taken
  no_first_module,  // the snapshot was taken but yielded no first module
};
struct ModuleList {
  ModuleListing status = ModuleListing::no_snapshot;
  std::vector<ModuleRecord> modules;  // empty unless listed
};

// A Toolhelp module snapshot (64-bit and 32-bit modules) of one process.
ModuleList list_modules(std::uint32_t process_id);

}  // namespace nv::platform
