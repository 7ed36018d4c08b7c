#pragma once
#include <string>
#include <vector>

namespace nv {

std::wstring choose_host();
std::vector<std::wstring> find_host_candidates();
std::wstring parse_command_path(const std::wstring& value);
std::wstring pick_host_file();

}  // namespace nv
