#include "platform/process_start.h"

#include "platform/fake/fake_control.h"

namespace nv::fake {
platform::Elevation elevation = platform::Elevation::not_elevated;
platform::ProcessStart process_start_result{true, 0};
std::vector<ProcessStartCall> process_starts;
bool shell_available = true;
std::vector<ShellExecuteCall> shell_executes;
namespace {
void reset() {
  elevation = platform::Elevation::not_elevated;
  process_start_result = {true, 0};
  process_starts.clear();
  shell_available = true;
  shell_executes.clear();
}
const ResetRegistration registration{&reset};
}  // namespace
}  // namespace nv::fake

namespace nv::platform {

Elevation token_elevation() { return fake::elevation; }

ProcessStart create_process(const std::wstring& application, const std::wstring& command_line,
                            const std::vector<std::uint16_t>& environment, const std::wstring& directory) {
  fake::process_starts.push_back({application, command_line, environment, directory});
  return fake::process_start_result;
}

bool shell_execute_from_desktop(const std::wstring& file, const std::wstring& arguments,
                                const std::wstring& directory) {
  if (!fake::shell_available) return false;
  fake::shell_executes.push_back({file, arguments, directory});
  return true;
}

}  // namespace nv::platform
