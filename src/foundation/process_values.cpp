#include "foundation/process_values.h"

#include <utility>

#include "foundation/sentences.h"
#include "platform/dialogs.h"

namespace nv {
namespace {

const LaunchContext no_run;
const LaunchContext* current = &no_run;

constexpr unsigned button_bits = 0xF;  // MB_TYPEMASK

bool is_question(unsigned flags) {
  const unsigned buttons = flags & button_bits;
  return buttons == platform::mb_yesno || buttons == platform::mb_yesnocancel;
}

}  // namespace

const LaunchContext& launch_context() { return *current; }

ContextScope::ContextScope(LaunchContext context)
    : context_(std::move(context)), former_(std::exchange(current, &context_)) {}

ContextScope::~ContextScope() { current = former_; }

std::wstring settings_path() { return launch_context().install_root + L"\\settings.ini"; }
std::wstring last_status_path() { return launch_context().install_root + L"\\last-status.ini"; }
std::wstring compatibility_path() { return launch_context().install_root + L"\\compatibility.ini"; }
std::wstring plugin_path_in(const std::wstring& root) {
  return root + L"\\plugins\\styles\\" + plugin_file_name;
}
std::wstring plugin_path() { return plugin_path_in(launch_context().install_root); }

int show_message(const std::wstring& text, unsigned flags) {
  if (launch_context().silent_mode) return is_question(flags) ? platform::id_no : platform::id_ok;
  return platform::message_box(text, sentence::product_title, flags);
}

}  // namespace nv
