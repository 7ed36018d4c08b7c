#include "fake_platform.h"

#include <algorithm>

#include "foundation/paths.h"

namespace nv::fake {

void reset() {
  message_box_answers.clear();
  message_boxes.clear();
  process_start_result = {true, 0};
  process_starts.clear();
  processes.clear();
  session_list_fails = false;
  versions.clear();
  signatures.clear();
}

const Process* find(std::uint32_t id) {
  auto it = std::find_if(processes.begin(), processes.end(), [&](const Process& p) { return p.record.id == id; });
  return it == processes.end() ? nullptr : &*it;
}

}  // namespace nv::fake

namespace nv::platform {

int message_box(const std::wstring& text, const std::wstring&, unsigned) {
  fake::message_boxes.push_back(text);
  if (fake::message_box_answers.empty()) return id_ok;
  const int answer = fake::message_box_answers.front();
  fake::message_box_answers.pop_front();
  return answer;
}
int command_link_dialog(const CommandLinkDialog&) { return dialog_failed; }
std::wstring open_file_dialog(const FileOpenDialog&) { return {}; }

Elevation token_elevation() { return Elevation::not_elevated; }
ProcessStart create_process(const std::wstring&, const std::wstring& command_line,
                            const std::vector<std::uint16_t>& environment, const std::wstring&) {
  fake::process_starts.push_back({command_line, environment});
  return fake::process_start_result;
}
bool shell_execute_from_desktop(const std::wstring&, const std::wstring&, const std::wstring&) { return false; }

std::optional<std::vector<ProcessRecord>> list_processes() {
  if (fake::processes.empty()) return std::nullopt;
  std::vector<ProcessRecord> records;
  for (const auto& p : fake::processes) records.push_back(p.record);
  return records;
}
std::optional<std::uint32_t> current_session() { return 1; }
std::optional<std::vector<std::pair<std::uint32_t, std::uint32_t>>> session_records() {
  if (fake::session_list_fails) return std::nullopt;
  std::vector<std::pair<std::uint32_t, std::uint32_t>> records;
  for (const auto& p : fake::processes)
    if (p.session) records.emplace_back(p.record.id, *p.session);
  return records;
}
std::optional<std::wstring> process_image_path(std::uint32_t id) {
  const fake::Process* p = fake::find(id);
  return p ? p->image_path : std::nullopt;
}
ModuleList list_modules(std::uint32_t id) {
  const fake::Process* p = fake::find(id);
  if (!p) return {};
  // Only a listing that worked carries modules.
  return p->modules.status == ModuleListing::listed ? p->modules : ModuleList{p->modules.status, {}};
}

SignatureCheck check_signature(const std::wstring& path, std::optional<std::uint32_t> index) {
  auto it = fake::signatures.find({folded_path(path), index.value_or(0)});
  return it == fake::signatures.end() ? SignatureCheck{} : it->second;
}
FixedFileInfo read_fixed_file_info(const std::wstring& path) {
  auto it = fake::versions.find(folded_path(path));
  return it == fake::versions.end() ? FixedFileInfo{} : it->second;
}

}  // namespace nv::platform
