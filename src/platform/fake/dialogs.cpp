#include "platform/dialogs.h"

#include "platform/fake/dialogs_control.h"
#include "platform/fake/fake_control.h"

namespace nv::fake {
std::deque<int> message_box_answers;
std::vector<MessageBoxCall> message_boxes;
std::vector<DialogKind> dialog_sequence;
std::deque<int> command_link_answers;
std::vector<platform::CommandLinkDialog> command_link_dialogs;
std::deque<std::wstring> file_dialog_answers;
std::vector<platform::FileOpenDialog> file_dialogs;
namespace {
void reset() {
  message_box_answers.clear();
  message_boxes.clear();
  dialog_sequence.clear();
  command_link_answers.clear();
  command_link_dialogs.clear();
  file_dialog_answers.clear();
  file_dialogs.clear();
}
const ResetRegistration registration{&reset};
}  // namespace
}  // namespace nv::fake

namespace nv::platform {

int message_box(const std::wstring& text, const std::wstring& title, unsigned flags) {
  fake::message_boxes.push_back({text, title, flags});
  fake::dialog_sequence.push_back(fake::DialogKind::message_box);
  if (fake::message_box_answers.empty()) return id_ok;
  int answer = fake::message_box_answers.front();
  fake::message_box_answers.pop_front();
  return answer;
}

int command_link_dialog(const CommandLinkDialog& dialog) {
  fake::command_link_dialogs.push_back(dialog);
  fake::dialog_sequence.push_back(fake::DialogKind::command_links);
  if (fake::command_link_answers.empty()) return id_cancel;
  int answer = fake::command_link_answers.front();
  fake::command_link_answers.pop_front();
  return answer;
}

std::wstring open_file_dialog(const FileOpenDialog& dialog) {
  fake::file_dialogs.push_back(dialog);
  fake::dialog_sequence.push_back(fake::DialogKind::file_open);
  if (fake::file_dialog_answers.empty()) return {};
  std::wstring answer = fake::file_dialog_answers.front();
  fake::file_dialog_answers.pop_front();
  return answer;
}

}  // namespace nv::platform
