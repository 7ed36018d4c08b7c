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

// install_root + "\settings.ini"
std::wstring settings_path();

// MessageBoxW with no owner under product_title; 2 at once in silent mode.
int show_message(const std::wstring& text, unsigned flags);

// Back to the state of a fresh process (tests run many chains in one process).
void reset_process_values();

}  // namespace nv
