#pragma once
// Values of the whole process, written in the first steps of the decision chain
// and read-only after that (workers may read them without a lock).
#include <string>

namespace nv {

inline const std::wstring product_title = L"Tenebrix";

extern std::wstring install_root;
extern bool silent_mode;
extern bool desktop_launch;
extern std::wstring browser_dark_override;
extern std::wstring diagnostic_layout_path;

// The installation's layout, under install_root.
inline const std::wstring plugin_file_name = L"Nightveil.dll";
std::wstring settings_path();                           // settings.ini
std::wstring last_status_path();                        // last-status.ini
std::wstring compatibility_path();                      // compatibility.ini, read-only
std::wstring plugin_path();                             // plugins\styles\Nightveil.dll
std::wstring plugin_path_in(const std::wstring& root);  // the same under another installation

// MessageBoxW with no owner under product_title; 2 at once in silent mode.
int show_message(const std::wstring& text, unsigned flags);

// Back to the state of a fresh process (tests run many chains in one process).
void reset_process_values();

}  // namespace nv
