#pragma once
#include <string>

namespace nv {

// True when an update hand-over has taken over and this launch must stop.
bool offer_update(const std::wstring& host_path, bool resume_dark, const std::wstring& install_root,
                  const std::wstring& browser_dark, const std::wstring& diagnostic_path);

}  // namespace nv
