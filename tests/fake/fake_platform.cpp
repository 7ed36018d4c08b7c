#include "fake_platform.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <thread>

#include "foundation/paths.h"

namespace nv::platform {
namespace {

const FakeProcess* fake_process(std::uint32_t id) {
  auto it = std::find_if(fake.processes.begin(), fake.processes.end(),
                         [&](const FakeProcess& p) { return p.record.id == id; });
  return it == fake.processes.end() ? nullptr : &*it;
}
std::optional<int> pop(std::deque<int>& queue) {
  if (queue.empty()) return std::nullopt;
  const int front = queue.front();
  queue.pop_front();
  return front;
}
std::optional<int> pending_click;  // a button pressed by the callback itself

}  // namespace

int message_box(const std::wstring& text, const std::wstring&, unsigned) {
  fake.message_boxes.push_back(text);
  return pop(fake.message_box_answers).value_or(id_ok);
}
int command_link_dialog(const CommandLinkDialog&) { return dialog_failed; }
std::wstring open_file_dialog(const FileOpenDialog&) { return {}; }
std::wstring save_file_dialog(const FileSaveDialog&) { return {}; }
CheckBoxAnswer check_box_dialog(const CheckBoxDialog&) { return {}; }

void DialogWindow::click_button(int id) const {
  fake.dialog_actions.push_back(L"click " + std::to_wstring(id));
  pending_click = id;
}
void DialogWindow::set_progress(unsigned percent) const {
  fake.dialog_actions.push_back(L"progress " + std::to_wstring(percent));
}
void DialogWindow::set_content(const std::wstring& text) const {
  fake.dialog_actions.push_back(L"content " + text);
}

int timer_dialog(const TimerDialog& dialog, const DialogCallback& callback) {
  fake.timer_dialogs.push_back(dialog.main_instruction);
  if (fake.timer_dialog_throws) throw std::bad_alloc();
  const DialogWindow window;
  pending_click.reset();
  // A click closes the dialog unless the callback keeps it open.
  const auto click = [&](int id) { return callback(window, DialogEvent::button_clicked, id) == 0; };
  for (int tick = 0; tick < 5000;
       ++tick, std::this_thread::sleep_for(std::chrono::milliseconds(1))) {
    if (fake.timer_tick) fake.timer_tick();
    callback(window, DialogEvent::timer, 0);
    if (const auto id = std::exchange(pending_click, std::nullopt); id && click(*id)) return *id;
    if (const auto id = pop(fake.timer_dialog_clicks); id && click(*id)) return *id;
  }
  return id_cancel;
}

Elevation token_elevation() { return Elevation::not_elevated; }
ProcessStart create_process(const std::wstring&, const std::wstring& command_line,
                            const std::vector<std::uint16_t>& environment, const std::wstring&) {
  fake.process_starts.emplace_back(command_line, environment);
  if (fake.during_start) fake.during_start();
  return fake.process_start_result;
}
ProcessStart start_program(const std::wstring& file, const std::wstring& line) {
  return create_process(file, line, {}, L"");
}
bool shell_execute_from_desktop(const std::wstring&, const std::wstring&, const std::wstring&) {
  return false;
}

std::optional<std::vector<ProcessRecord>> list_processes() {
  if (fake.processes.empty()) return std::nullopt;
  std::vector<ProcessRecord> records;
  for (const auto& p : fake.processes) records.push_back(p.record);
  return records;
}
std::optional<std::uint32_t> current_session() { return 1; }
std::optional<std::vector<std::pair<std::uint32_t, std::uint32_t>>> session_records() {
  if (fake.session_list_fails) return std::nullopt;
  std::vector<std::pair<std::uint32_t, std::uint32_t>> records;
  for (const auto& p : fake.processes)
    if (p.session) records.emplace_back(p.record.id, *p.session);
  return records;
}
std::optional<std::wstring> process_image_path(std::uint32_t id) {
  const FakeProcess* p = fake_process(id);
  return p ? p->image_path : std::nullopt;
}
std::optional<ProcessIdentity> process_identity(std::uint32_t id) {
  const auto image = process_image_path(id);
  return image ? std::optional<ProcessIdentity>({*image, fake_process(id)->creation_time})
               : std::nullopt;
}
bool ask_to_close(const std::wstring&,
                  const std::function<std::vector<RestartProcess>()>& collect) {
  auto& request = fake.close_requests.emplace_back();
  for (const RestartProcess& p : collect()) request.emplace_back(p.id, p.creation_time);
  if (fake.hosts_obey) fake.processes.clear();
  return true;
}
ModuleList list_modules(std::uint32_t id) {
  const FakeProcess* p = fake_process(id);
  // Only a listing that worked carries modules.
  return !p                                           ? ModuleList{}
         : p->modules.status == ModuleListing::listed ? p->modules
                                                      : ModuleList{p->modules.status, {}};
}

SignatureCheck check_signature(const std::wstring& path, std::optional<std::uint32_t> index) {
  auto it = fake.signatures.find({folded_path(path), index.value_or(0)});
  return it == fake.signatures.end() ? SignatureCheck{} : it->second;
}
SignatureCheck check_signature(const OpenFile&, const std::wstring& path, std::uint32_t i) {
  return check_signature(path, i);
}
FixedFileInfo read_fixed_file_info(const std::wstring& path) {
  auto it = fake.versions.find(folded_path(path));
  return it == fake.versions.end() ? FixedFileInfo{} : it->second;
}

}  // namespace nv::platform
