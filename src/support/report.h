#pragma once
#include <string>

namespace nv {

bool save_support_report(const std::wstring& target, const std::wstring& host_path, bool replace);

}  // namespace nv
