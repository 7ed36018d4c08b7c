// Encodings, digests, identification and JSON are being built: until then
// every probe answers its neutral value and every digest fails.
#include "foundation/encoding.h"
#include "foundation/failure.h"
#include "foundation/json.h"
#include "host/identification.h"

namespace nv {

std::string to_utf8(const std::wstring&) { fail(failure::utf8); }
std::wstring from_utf8(const std::string&) { fail(failure::utf8); }
std::vector<std::uint8_t> base64url_decode(std::string) { fail(failure::base64); }
std::vector<std::uint8_t> sha256_bytes(const std::string&) { fail(failure::hash); }
std::string sha256_file_hex(const std::wstring&) { fail(failure::sha256_unavailable); }
std::string hex_lower(const std::uint8_t*, std::size_t) { return {}; }
std::wstring hex_lower_wide(const std::uint8_t*, std::size_t) { return {}; }

std::uint16_t read_pe_machine(const std::wstring&) { return 0; }
FileVersion read_file_version(const std::wstring&) { return {}; }
std::wstring version_text(const FileVersion&) { return L"0.0.0.0"; }
bool check_qt_dll(const std::wstring&, std::uint32_t&, std::uint32_t&) { return false; }
bool signed_by(const std::wstring&, const std::wstring&) { return false; }
bool signed_by_at(const std::wstring&, std::uint32_t, const std::wstring&, std::uint32_t*) { return false; }
std::wstring file_fingerprint(const std::wstring&) { fail(failure::sha256_unavailable); }

JsonObject parse_json_object(const std::string&) { fail(failure::json_object); }
const std::string& json_text(const JsonObject&, const std::string&) { fail(failure::missing_key); }
std::int64_t json_number(const JsonObject&, const std::string&) { fail(failure::number); }
std::string json_quote(const std::wstring&) { return "\"\""; }

}  // namespace nv
