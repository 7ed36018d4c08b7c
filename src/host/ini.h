#pragma once
#include <string>

namespace nv {

// The one INI read of the system. A missing file, section or key is "".
std::wstring read_ini_value(const std::wstring& path, const std::wstring& section,
                            const std::wstring& key);

}  // namespace nv
