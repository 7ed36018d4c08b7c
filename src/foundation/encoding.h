#pragma once
// Strict conversions and digests: bad input is refused, never repaired.
#include <cstdint>
#include <string>
#include <vector>

namespace nv::platform {
struct OpenFile;
}

namespace nv {

std::string to_utf8(const std::wstring& text);                     // "utf8"
std::wstring from_utf8(const std::string& bytes);                  // "utf8"
std::vector<std::uint8_t> base64url_decode(std::string text);      // "base64"
std::vector<std::uint8_t> sha256_bytes(const std::string& bytes);  // "hash"
std::string sha256_file_hex(const std::wstring& path);
std::string sha256_file_hex(const platform::OpenFile& file);  // a file held open, from its start
std::string hex_lower(const std::uint8_t* bytes, std::size_t count);
std::wstring hex_lower_wide(const std::uint8_t* bytes, std::size_t count);

}  // namespace nv
