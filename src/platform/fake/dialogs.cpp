#include "platform/dialogs.h"

#include "platform/fake/fake_control.h"

namespace nv::fake {
std::deque<int> message_box_answers;
std::vector<MessageBoxCall> message_boxes;
namespace {
void reset() {
  message_box_answers.clear();
  message_boxes.clear();
}
const ResetRegistration registration{&reset};
}  // namespace
}  // namespace nv::fake

namespace nv::platform {

int message_box(const std::wstring& text, const std::wstring& title, unsigned flags) {
  fake::message_boxes.push_back({text, title, flags});
  if (fake::message_box_answers.empty()) return id_ok;
  int answer = fake::message_box_answers.front();
  fake::message_box_answers.pop_front();
  return answer;
}

}  // namespace nv::platform
