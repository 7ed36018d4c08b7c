#include "foundation/process_values.h"

#include "platform/dialogs.h"

namespace nv {

std::wstring install_root;
bool silent_mode = false;
bool desktop_launch = false;
std::wstring browser_dark_override;
std::wstring diagnostic_layout_path;

std::wstring settings_path() { return install_root + L"\\settings.ini"; }
std::wstring last_status_path() { return install_root + L"\\last-status.ini"; }
std::wstring compatibility_path() { return install_root + L"\\compatibility.ini"; }
std::wstring plugin_path_in(const std::wstring& root) {
  return root + L"\\plugins\\styles\\" + plugin_file_name;
}
std::wstring plugin_path() { return plugin_path_in(install_root); }

int show_message(const std::wstring& text, unsigned flags) {
  if (silent_mode) return platform::id_cancel;
  return platform::message_box(text, product_title, flags);
}

void reset_process_values() {
  install_root.clear();
  silent_mode = false;
  desktop_launch = false;
  browser_dark_override.clear();
  diagnostic_layout_path.clear();
}

}  // namespace nv
