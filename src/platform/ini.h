#pragma once
// Windows profile (INI) files.
#include <string>

namespace nv::platform {

// GetPrivateProfileStringW with an empty default into a zeroed buffer of
// 32,768 characters: "" for a missing file, section or key.
std::wstring read_profile_string(const std::wstring& path, const std::wstring& section,
                                 const std::wstring& key);

// WritePrivateProfileStringW; false on failure.
bool write_profile_string(const std::wstring& path, const std::wstring& section,
                          const std::wstring& key, const std::wstring& value);

}  // namespace nv::platform
