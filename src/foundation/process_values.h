#pragma once
// What the first steps of a run establish, as one record that nothing changes afterwards (workers
// may read it without a lock), and the installation's layout under its root.
#include <string>

namespace nv {

struct LaunchContext {
  std::wstring install_root{};            // the launcher's directory
  bool silent_mode = false;               // no dialog is shown; a question counts as No
  bool desktop_launch = false;            // the second start after a hand-off through the shell
  std::wstring browser_dark_override{};   // "on", "off", or "" to use the stored preference
  std::wstring diagnostic_layout_path{};  // absolute, or "" for none
};

// The context of the run in progress; an empty record outside any.
const LaunchContext& launch_context();

// Makes `context` the run's context for the life of this object, and the former one again after.
// The chain makes one per run; a test makes one for the installation it builds.
class ContextScope {
 public:
  explicit ContextScope(LaunchContext context);
  ~ContextScope();
  ContextScope(const ContextScope&) = delete;
  ContextScope& operator=(const ContextScope&) = delete;

 private:
  const LaunchContext context_;
  const LaunchContext* const former_;
};

// The installation's layout, under the context's install_root.
inline const std::wstring plugin_file_name = L"Nightveil.dll";
std::wstring settings_path();                           // settings.ini
std::wstring last_status_path();                        // last-status.ini
std::wstring compatibility_path();                      // compatibility.ini, read-only
std::wstring plugin_path();                             // plugins\styles\Nightveil.dll
std::wstring plugin_path_in(const std::wstring& root);  // the same under another installation

// The one way to a message box: no owner, under the product's title. In silent mode nothing is
// shown: a question (Yes/No, with or without Cancel) is answered No, any other box OK.
int show_message(const std::wstring& text, unsigned flags);

}  // namespace nv
