#pragma once
// Windows profile (INI) files.
#include <cstdint>
#include <string>

namespace nv::platform {

// A profile file larger than this is read as if it were missing: the files
// are a few hundred bytes, and a planted giant must not be read whole.
inline constexpr std::uint64_t profile_file_limit = 1024 * 1024;

// GetPrivateProfileStringW with an empty default into a zeroed buffer of
// 32,768 characters: "" for a missing file, section or key, and for a file
// over profile_file_limit bytes.
std::wstring read_profile_string(const std::wstring& path, const std::wstring& section,
                                 const std::wstring& key);

// WritePrivateProfileStringW; false on failure.
bool write_profile_string(const std::wstring& path, const std::wstring& section,
                          const std::wstring& key, const std::wstring& value);

}  // namespace nv::platform
