#pragma once
// A strict reader of one flat JSON object of strings and unsigned numbers, and
// a writer that quotes any UTF-16 text into ASCII JSON.
#include <cstdint>
#include <map>
#include <string>

namespace nv {

// Byte-wise ordered map (std::string compares as unsigned char), at most 24 entries.
using JsonObject = std::map<std::string, std::string>;

JsonObject parse_json_object(const std::string& text);
const std::string& json_text(const JsonObject& object, const std::string& key);
std::int64_t json_number(const JsonObject& object, const std::string& key);
std::string json_quote(const std::wstring& text);

}  // namespace nv
