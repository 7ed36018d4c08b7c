#pragma once
// What runs on the machine: the process list, sessions, one process's image
// path and loaded modules. Every call reports its own failure; none raises.
#include <cstdint>
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
