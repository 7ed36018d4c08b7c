#pragma once
#include <string>

namespace nv {

// The process's exit code: 0, 2 in silent mode, 6 when the dialog cannot be shown.
int run_support_dialog(std::wstring host_path);

}  // namespace nv
