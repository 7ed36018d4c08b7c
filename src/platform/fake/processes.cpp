#include "platform/processes.h"

#include <algorithm>

#include "platform/fake/fake_control.h"
#include "platform/fake/processes_control.h"

namespace nv::fake {
std::vector<FakeProcess> processes;
bool process_snapshot_fails = false;
std::optional<std::uint32_t> own_session = 1;
bool session_enumeration_fails = false;
std::vector<std::pair<std::uint32_t, std::uint32_t>> extra_session_records;
int process_snapshots = 0;
std::vector<std::uint32_t> image_path_reads;
std::vector<std::uint32_t> module_list_reads;
namespace {
void reset() {
  processes.clear();
  process_snapshot_fails = false;
  own_session = 1;
  session_enumeration_fails = false;
  extra_session_records.clear();
  process_snapshots = 0;
  image_path_reads.clear();
  module_list_reads.clear();
}
const ResetRegistration registration{&reset};

const FakeProcess* find(std::uint32_t id) {
  for (const auto& process : processes)
    if (process.id == id) return &process;
  return nullptr;
}
}  // namespace
}  // namespace nv::fake

namespace nv::platform {

std::optional<std::vector<ProcessRecord>> list_processes() {
  ++fake::process_snapshots;
  if (fake::process_snapshot_fails || fake::processes.empty()) return std::nullopt;
  std::vector<ProcessRecord> records;
  for (const auto& process : fake::processes) records.push_back({process.id, process.parent_id, process.file_name});
  std::erase_if(fake::processes, [](const fake::FakeProcess& process) { return process.exits_after_listing; });
  return records;
}

std::optional<std::uint32_t> current_session() { return fake::own_session; }

std::optional<std::vector<std::pair<std::uint32_t, std::uint32_t>>> session_records() {
  if (fake::session_enumeration_fails) return std::nullopt;
  std::vector<std::pair<std::uint32_t, std::uint32_t>> records;
  for (const auto& process : fake::processes)
    if (process.session) records.emplace_back(process.id, *process.session);
  records.insert(records.end(), fake::extra_session_records.begin(), fake::extra_session_records.end());
  return records;
}

std::optional<std::wstring> process_image_path(std::uint32_t process_id) {
  fake::image_path_reads.push_back(process_id);
  const fake::FakeProcess* process = fake::find(process_id);
  if (!process) return std::nullopt;  // exited: OpenProcess fails
  return process->image_path;
}

ModuleList list_modules(std::uint32_t process_id) {
  fake::module_list_reads.push_back(process_id);
  ModuleList list;
  const fake::FakeProcess* process = fake::find(process_id);
  if (!process || process->module_listing == ModuleListing::no_snapshot) return list;
  if (process->module_listing == ModuleListing::no_first_module || process->modules.empty()) {
    list.status = ModuleListing::no_first_module;
    return list;
  }
  list.status = ModuleListing::listed;
  list.modules = process->modules;
  return list;
}

}  // namespace nv::platform
