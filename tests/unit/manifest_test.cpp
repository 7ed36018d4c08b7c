// The release manifest, signed with the key of the test presets (the RFC 7515
// A.3 example key) unless a case says otherwise: each case is refused with its
// word or accepted. Under Wine the signatures go through the real CNG.
#include "update/manifest.h"

#include <gtest/gtest.h>

#include <map>

#include "build_config.h"
#include "foundation/encoding.h"
#include "foundation/failure.h"
#include "platform/crypto.h"
#include "test_support.h"
#ifdef _WIN32
#include "platform/win32/owners.h"
#else
#include <openssl/ec.h>
#include <openssl/evp.h>
#endif

namespace nv {
namespace {

using test::failure_of;
const std::string rfc_key = "f83OJ3D2xF1Bg8vub9tLe1gHMzV76e8Tus9uPHvRVEXH8UTNG72bfocs3-257rn0s2ldbqkLJK2KRiMohYjlrQ";
const std::string rfc_d = "jpsQnnGQmL-YBIffH1136cspYG6-0iY7X1fCE9-E9LI";

std::string b64(const std::string& bytes) {
  static const char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
  std::string out;
  unsigned bits = 0, count = 0;
  for (unsigned char c : bytes)
    for (bits = bits << 8 | c, count += 8; count >= 6;) out += alphabet[(bits >> (count -= 6)) & 63];
  return count ? out + alphabet[(bits << (6 - count)) & 63] : out;
}
std::string raw(const std::vector<std::uint8_t>& bytes) { return {bytes.begin(), bytes.end()}; }

// ES256 with the RFC's private scalar, r||s.
std::string es256_sign(const std::string& data) {
  auto digest = sha256_bytes(data);
  std::string signature(64, '\0');
  auto* rs = reinterpret_cast<unsigned char*>(signature.data());
#ifdef _WIN32
  // ECCPRIVATEBLOB: "ECS2", key length 32, X, Y, d.
  std::string blob =
      raw({0x45, 0x43, 0x53, 0x32, 32, 0, 0, 0}) + raw(base64url_decode(rfc_key)) + raw(base64url_decode(rfc_d));
  platform::win32::UniqueAlgorithm algorithm;
  platform::win32::UniqueKey key;
  ULONG written = 0;
  BCryptOpenAlgorithmProvider(algorithm.put(), BCRYPT_ECDSA_P256_ALGORITHM, nullptr, 0);
  BCryptImportKeyPair(algorithm.get(), nullptr, BCRYPT_ECCPRIVATE_BLOB, key.put(), PUCHAR(blob.data()),
                      ULONG(blob.size()), 0);
  BCryptSignHash(key.get(), nullptr, digest.data(), 32, rs, 64, &written, 0);
#else
  // SEC1 ECPrivateKey on prime256v1, without its public part.
  const std::string der = raw({0x30, 0x31, 2, 1, 1, 4, 32}) + raw(base64url_decode(rfc_d)) +
                          raw({0xa0, 10, 6, 8, 0x2a, 0x86, 0x48, 0xce, 0x3d, 3, 1, 7});
  auto* cursor = reinterpret_cast<const unsigned char*>(der.data());
  EVP_PKEY* key = d2i_PrivateKey(EVP_PKEY_EC, nullptr, &cursor, long(der.size()));
  EVP_PKEY_CTX* context = EVP_PKEY_CTX_new(key, nullptr);
  unsigned char out[80];
  std::size_t length = sizeof out;
  EVP_PKEY_sign_init(context), EVP_PKEY_sign(context, out, &length, digest.data(), 32);
  ECDSA_SIG* pair = d2i_ECDSA_SIG(nullptr, &(cursor = out), long(length));
  BN_bn2binpad(ECDSA_SIG_get0_r(pair), rs, 32), BN_bn2binpad(ECDSA_SIG_get0_s(pair), rs + 32, 32);
  ECDSA_SIG_free(pair), EVP_PKEY_CTX_free(context), EVP_PKEY_free(key);
#endif
  return signature;
}

const std::string header = R"({"alg":"ES256","typ":"TXUPDATE","kid":"stable-1"})";
const std::string hash(64, 'a'), v80(80, 'v');
const std::string claims =
    R"({"schema":1,"product":"tenebrix","channel":"stable","revision":17,"releaseUtc":1800000000,)"
    R"("size":1024,"sha256":")" +
    hash + R"(","path":"/downloads/releases/stable/17/Tenebrix-2.1.0-Setup.exe","version":"2.1.0"})";

// A signed text of the claims with every occurrence of some texts replaced.
std::string text(const std::map<std::string, std::string>& changes = {}, const std::string& head = header) {
  std::string payload = claims;
  for (const auto& [from, to] : changes)
    for (auto at = payload.find(from); at != std::string::npos; at = payload.find(from, at + to.size()))
      payload.replace(at, from.size(), to);
  const std::string data = b64(head) + "." + b64(payload);
  return data + "." + b64(es256_sign(data));
}

TEST(ReleaseManifest, EachRuleInItsOrderWithItsWord) {
  ASSERT_EQ(build::update_public_key, rfc_key) << "the tests need the key of the test presets";
  const std::string good = text(), tail = good.substr(good.find('.'));  // tail: payload and signature
  const std::pair<const char*, std::vector<std::string>> cases[] = {
      {"no failure",
       {good, text({{"1024", "200000000"}, {"17", "2147483647"}}), text({{"2.1.0", v80}}), text({{"2.1.0", ""}})}},
      {failure::update_manifest_size, {"", std::string(16385, 'A')}},
      {failure::update_manifest, {std::string(16384, 'A'), "a.b", good + ".x"}},
      {failure::base64, {good + "\n", "YQ..YQ"}},
      {failure::json_object, {b64("[]") + tail}},
      {failure::update_header,  // before any cryptography: a changed header's signature fails later
       {text({}, R"({"alg":"ES256","typ":"TXUPDATE","kid":"stable-1","x":""})"),
        b64(R"({"alg":"ES256","typ":"TXUPDATE","kid":"stable-2"})") + tail,
        b64(R"({"alg":"ES256","typ":"JWT","kid":"stable-1"})") + tail,
        b64(R"({"alg":"HS256","typ":"TXUPDATE","kid":"stable-1"})") + tail, good + "A"}},
      {failure::missing_key, {text({}, R"({"alg":"ES256","typ":"TXUPDATE","x":"stable-1"})"), text({{"sha256", "x"}})}},
      {failure::update_signature,  // before the payload is read
       {b64(header) + "." + b64("not json") + good.substr(good.rfind('.')),
        good.substr(0, good.rfind('.')) + "." + b64(es256_sign("other"))}},
      {failure::update_claims,
       {text({{"{", R"({"x":1,)"}}), text({{":1,", ":2,"}}), text({{"tenebrix", "Tenebrix"}}),
        text({{R"("stable")", R"("beta")"}})}},
      {failure::number, {text({{"1024", "1000000000000"}})}},
      {failure::update_bounds,
       {text({{"1024", "1023"}}), text({{"1024", "200000001"}}), text({{"17", "0"}}),
        text({{"1800000000", "1699999999"}})}},
      {failure::update_hash, {text({{hash, std::string(64, 'A')}}), text({{hash, hash.substr(1)}})}},
      {failure::update_path,
       {text({{"2.1.0", v80 + "v"}}), text({{"2.1.0", "2.1 0"}}), text({{":17,", R"(:"017",)"}, {"/17/", "/017/"}}),
        text({{"Setup.exe", "Setup.exe?x"}})}},
  };
  for (const auto& [word, texts] : cases)
    for (const auto& one : texts)
      EXPECT_EQ(failure_of([&] { parse_release_manifest(one); }), word) << one.substr(0, 200);

  const ReleaseManifest manifest = parse_release_manifest(good);
  EXPECT_EQ(std::tie(manifest.revision, manifest.release_utc, manifest.size, manifest.sha256),
            std::make_tuple(17, 1800000000, 1024u, hash));
  EXPECT_EQ(manifest.version + manifest.path, L"2.1.0/downloads/releases/stable/17/Tenebrix-2.1.0-Setup.exe");
  // Another issuer's rules: a key of 64 bytes, a point on the curve.
  const std::string keys[] = {std::string(84, 'A'), rfc_key + "=", std::string(86, 'A'), rfc_key};
  const char* words[] = {failure::update_public_key, failure::base64, failure::update_signature, "no failure"};
  for (int i = 0; i < 4; ++i)
    EXPECT_EQ(failure_of([&] { parse_release_manifest(good, {keys[i], "stable", "stable-1"}); }), words[i]) << i;
}

TEST(ReleaseManifest, RfcExampleVerifiesThroughThePlatformButIsNoManifest) {
  const std::string data =
      "eyJhbGciOiJFUzI1NiJ9."
      "eyJpc3MiOiJqb2UiLA0KICJleHAiOjEzMDA4MTkzODAsDQogImh0dHA6Ly9leGFtcGxlLmNvbS9pc19yb290Ijp0cnVlfQ";
  const std::string signature =
      "DtEhU3ljbEg8L38VWAfUAqOyKAM6-Xx-F4GawxaepmXFCgfTjDxw5djxLa8ISlSApmWQxfKTUJqPP3-Kg6NU1Q";
  platform::EcPoint point;
  platform::Sha256Digest digest;
  platform::EcSignature rs;
  const auto key = base64url_decode(rfc_key), hashed = sha256_bytes(data), bytes = base64url_decode(signature);
  std::copy(key.begin(), key.end(), point.begin()), std::copy(hashed.begin(), hashed.end(), digest.begin());
  std::copy(bytes.begin(), bytes.end(), rs.begin());
  EXPECT_GE(platform::es256_verify(point, digest, rs).verify_status, 0);  // negative when not verified
  EXPECT_EQ(failure_of([&] { parse_release_manifest(data + "." + signature); }), failure::update_header);
}

}  // namespace
}  // namespace nv
