#pragma once
// Test control of the scriptable process table (see fake_control.h for reset_all).
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/processes.h"

namespace nv::fake {

struct FakeProcess {
  std::uint32_t id = 0;
  std::uint32_t parent_id = 0;
  std::wstring file_name;
  std::optional<std::wstring> image_path;     // nullopt: the process cannot be opened or read
  std::optional<std::uint32_t> session = 1;   // nullopt: missing from the session enumeration
  // listed: the modules below; a listed process without modules yields no first module.
  platform::ModuleListing module_listing = platform::ModuleListing::listed;
  std::vector<platform::ModuleRecord> modules;
  bool exits_after_listing = false;  // gone as soon as one process list has shown it
};

// The machine's processes in snapshot order. An empty table reads like a
// snapshot whose first entry cannot be read, as a real one always has one.
extern std::vector<FakeProcess> processes;
extern bool process_snapshot_fails;
extern std::optional<std::uint32_t> own_session;  // 1 by default; nullopt: ProcessIdToSessionId fails
extern bool session_enumeration_fails;
// Records listed after those of the table, e.g. a second record for one id.
extern std::vector<std::pair<std::uint32_t, std::uint32_t>> extra_session_records;

// What was asked, in order.
extern int process_snapshots;
extern std::vector<std::uint32_t> image_path_reads;
extern std::vector<std::uint32_t> module_list_reads;

}  // namespace nv::fake
