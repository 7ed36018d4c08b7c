// The release manifest: a compact JWS, ES256 over nine fixed claims. The order
// of the checks is part of the format (it decides which word a bad text gets),
// and the payload stays unread until its signature has been verified.
#include "update/manifest.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

#include "build_config.h"
#include "foundation/encoding.h"
#include "foundation/failure.h"
#include "foundation/json.h"
#include "platform/crypto.h"

namespace nv {
namespace {

constexpr std::string_view version_alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789.-";
constexpr std::string_view hex_alphabet = "0123456789abcdef";
constexpr std::size_t version_limit = 80;

std::string as_text(const std::vector<std::uint8_t>& bytes) { return {bytes.begin(), bytes.end()}; }

template <std::size_t N>
std::array<std::uint8_t, N> as_array(const std::vector<std::uint8_t>& bytes) {
  std::array<std::uint8_t, N> out{};
  std::copy_n(bytes.begin(), N, out.begin());
  return out;
}

void require(bool condition, const char* word) {
  if (!condition) fail(word);
}

void check_header(const JsonObject& header, const ManifestRules& rules,
                  std::size_t signature_size) {
  // A wrong count or value is one failure; a missing key of three fails in the lookup.
  require(header.size() == 3, failure::update_header);
  require(json_text(header, "alg") == "ES256", failure::update_header);
  require(json_text(header, "typ") == "TXUPDATE", failure::update_header);
  require(json_text(header, "kid") == rules.key_id, failure::update_header);
  require(signature_size == 64, failure::update_header);
}

// The provider is opened and the key imported before anything is hashed: when
// several things are missing, the provider's word is the one that counts.
void verify_signature(const std::string& signed_data, const std::vector<std::uint8_t>& signature,
                      const ManifestRules& rules) {
  const std::vector<std::uint8_t> point = base64url_decode(rules.public_key);
  require(point.size() == 64, failure::update_public_key);
  const platform::Es256Open opened = platform::es256_open(as_array<64>(point));
  require(opened.provider, failure::update_algorithm);
  require(opened.import_status >= 0, failure::update_signature);
  const auto digest = sha256_bytes(signed_data);
  const std::int32_t status =
      platform::es256_verify(*opened.key, as_array<32>(digest), as_array<64>(signature));
  require(status >= 0, failure::update_signature);
}

}  // namespace

ManifestRules compiled_manifest_rules() {
  return {build::update_public_key, build::update_channel, build::update_key_id};
}

ReleaseManifest parse_release_manifest(const std::string& text, const ManifestRules& rules) {
  require(!text.empty() && text.size() <= manifest_size_limit, failure::update_manifest_size);

  const std::size_t first = text.find('.');
  require(first != std::string::npos, failure::update_manifest);
  const std::size_t second = text.find('.', first + 1);
  require(second != std::string::npos && text.find('.', second + 1) == std::string::npos,
          failure::update_manifest);

  const auto header_bytes = base64url_decode(text.substr(0, first));
  const auto payload_bytes = base64url_decode(text.substr(first + 1, second - first - 1));
  const auto signature = base64url_decode(text.substr(second + 1));

  check_header(parse_json_object(as_text(header_bytes)), rules, signature.size());
  verify_signature(text.substr(0, second), signature, rules);

  const JsonObject claims = parse_json_object(as_text(payload_bytes));
  require(claims.size() == 9, failure::update_claims);
  require(json_number(claims, "schema") == 1, failure::update_claims);
  require(json_text(claims, "product") == "tenebrix", failure::update_claims);
  require(json_text(claims, "channel") == rules.channel, failure::update_claims);

  const std::int64_t revision = json_number(claims, "revision");
  const std::int64_t release_utc = json_number(claims, "releaseUtc");
  const std::int64_t size = json_number(claims, "size");
  require(revision >= 1 && revision <= 2147483647 && release_utc >= 1700000000 && size >= 1024 &&
              size <= 200000000,
          failure::update_bounds);

  const std::string& sha256 = json_text(claims, "sha256");
  const std::string& path = json_text(claims, "path");
  const std::string& version = json_text(claims, "version");

  require(sha256.size() == 64, failure::update_hash);
  require(sha256.find_first_not_of(hex_alphabet) == std::string::npos, failure::update_hash);

  // The path is computed, never taken: a signed text can name no other place on the host.
  const std::string expected = "/downloads/releases/" + rules.channel + "/" +
                               std::to_string(revision) + "/Tenebrix-" + version + "-Setup.exe";
  require(path.rfind(expected, 0) == 0 && path == expected, failure::update_path);
  require(version.size() <= version_limit &&
              version.find_first_not_of(version_alphabet) == std::string::npos,
          failure::update_path);

  ReleaseManifest manifest;
  manifest.revision = static_cast<std::int32_t>(revision);
  manifest.release_utc = release_utc;
  manifest.size = static_cast<std::uint64_t>(size);
  manifest.version = from_utf8(version);
  manifest.path = from_utf8(path);
  manifest.sha256 = sha256;
  return manifest;
}

ReleaseManifest parse_release_manifest(const std::string& text) {
  return parse_release_manifest(text, compiled_manifest_rules());
}

}  // namespace nv
