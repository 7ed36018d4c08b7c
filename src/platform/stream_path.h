#pragma once
// The name under which the standard library's file streams open a file that
// the system names by its Windows path.
#include <filesystem>
#include <string>

namespace nv::platform {

std::filesystem::path stream_path(const std::wstring& path);

}  // namespace nv::platform
