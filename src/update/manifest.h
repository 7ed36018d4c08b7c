#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

namespace nv {

struct ReleaseManifest {
  std::int32_t revision = 0;
  std::int64_t release_utc = 0;
  std::uint64_t size = 0;
  std::wstring version;
  std::wstring path;
  std::string sha256;
};

// The one limit on a manifest's bytes, for the feed, the parser and the file option.
inline constexpr std::size_t manifest_size_limit = 16384;

// What a manifest is checked against. The product uses the compiled values; the
// release tool checks its texts against the key it signs with.
struct ManifestRules {
  std::string public_key;  // base64url of the P-256 point X||Y
  std::string channel;     // UTF-8
  std::string key_id;
};

ManifestRules compiled_manifest_rules();
ReleaseManifest parse_release_manifest(const std::string& text, const ManifestRules& rules);
ReleaseManifest parse_release_manifest(const std::string& text);  // with compiled_manifest_rules()

}  // namespace nv
