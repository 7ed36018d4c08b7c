// The strict readers of outside text and the release manifest, natively on the portable backend and
// under Wine on the Windows calls (real CNG). Manifests are signed with the test presets' key (RFC
// 7515 A.3).
#include "update/manifest.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "build_config.h"
#include "foundation/encoding.h"
#include "foundation/exit_code.h"
#include "foundation/failure.h"
#include "foundation/json.h"
#include "host/identification.h"
#include "launcher/chain.h"
#include "platform/files.h"
#include "test_support.h"

namespace nv {
namespace {

using test::failure_of;

TEST(ParseJson, EachFaultHasItsWordWhateverFollows) {
  const std::pair<const char*, std::vector<std::string>> cases[] = {
      {failure::json_size, {std::string(32769, ' ')}},
      {failure::json_object, {"", "[]", "\xEF\xBB\xBF{}", "\f{}"}},
      {failure::json_string, {"{a:1}", "{\"a\":1,}", "{\"a"}},
      {failure::json_colon, {"{\"a\" 1}", "{\"a\""}},
      {failure::json_control, {"{\"a\":\"\t\"}", std::string("{\"\0\":1}", 7)}},
      {failure::json_value, {"{\"a\":"}},
      {failure::json_escape, {"{\"a\":\"\\n\"}", "{\"a\":\"\\u0041\"}"}},
      {failure::json_end, {"{\"a\":1"}},
      {failure::json_number, {"{\"a\":-1}", "{\"a\":01}", "{\"a\":true}", "{\"a\":}"}},
      {failure::json_fields, {"{\"a\":1,\"a\":2}", "{\"\\/\":1,\"/\":1}"}},
      {failure::json_suffix, {"{}x", "{}\f"}},
      {failure::json_comma, {"{\"a\":1.5}", "{\"a\":1 2}"}}};
  for (const auto& [word, inputs] : cases)
    for (const auto& input : inputs) {
      EXPECT_EQ(failure_of([&] { parse_json_object(input); }), word) << input.substr(0, 20);
      // The word comes from the point of the fault, not from what follows it.
      if (input.size() > 2 && input.size() < 32000 && word != std::string(failure::json_end) &&
          word != std::string(failure::json_value)) {
        EXPECT_EQ(failure_of([&] { parse_json_object(input + "}x"); }), word) << input;
      }
    }
  std::string many = "{";
  for (int i = 0; i < 25; ++i) many += (i ? ",\"" : "\"") + std::to_string(i) + "\":0";
  EXPECT_EQ(failure_of([&] { parse_json_object(many + "}"); }), failure::json_fields);
}

TEST(ParseJson, StringsAndNumbersAreTextAndNumbersHaveTwelveDigits) {
  const auto object = parse_json_object(
      " {\"s\":\"\\\"\\\\\\/\" ,\"n\":999999999999,\"q\":\"007\",\"big\":"
      "1000000000000,\"neg\":\"-1\"}" +
      std::string(32000, ' '));
  EXPECT_EQ(object, (JsonObject{{"s", "\"\\/"},
                                {"n", "999999999999"},
                                {"q", "007"},
                                {"big", "1000000000000"},
                                {"neg", "-1"}}));
  EXPECT_EQ(json_number(object, "n") + json_number(object, "q"), 1000000000006);
  for (const char* key : {"big", "neg", "s"})
    EXPECT_EQ(failure_of([&] { json_number(object, key); }), failure::number);
  EXPECT_EQ(failure_of([&] { json_text(object, "S"); }), failure::missing_key);
  EXPECT_EQ(json_quote(L"C:\\a \"b\"\n\x00e9\xd83d"), "\"C:\\\\a \\\"b\\\"\\u000a\\u00e9\\ud83d\"");
}

TEST(Encodings, StrictBothWays) {
  EXPECT_EQ(to_utf8(L"\x00e9\x20ac\xd83d\xde00"), "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
  for (const std::wstring bad : {L"\xd800", L"\xde00\xd83d", L"a\xd83d"})
    EXPECT_EQ(failure_of([&] { to_utf8(bad); }), failure::utf8);
  for (const char* bad :
       {"\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\x80", "\xE2\x82", "\xC3("})
    EXPECT_EQ(failure_of([&] { from_utf8(bad); }), failure::utf8) << bad;
  const auto decoded = base64url_decode("-_8");
  EXPECT_EQ(hex_lower(decoded.data(), decoded.size()), "fbff");
  EXPECT_EQ(base64url_decode(std::string(16384, 'A')).size(), 12288u);
  for (const std::string& bad : std::vector<std::string>{
           "", "A", "AAAAA", "Zg==", "Zm9v+A", "Zm9v/w", " Zm9v", std::string(16385, 'A')})
    EXPECT_EQ(failure_of([&] { base64url_decode(bad); }), failure::base64) << bad.size();
}

TEST(Sha256, VectorsOfBytesAndFilesAndUnreadableFiles) {
  test::TempDir dir;
  const std::pair<std::string, const char*> cases[] = {
      {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
      {std::string(1000000, 'a'),
       "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"}};
  for (const auto& [message, digest] : cases) {
    const auto bytes = sha256_bytes(message);
    test::write_bytes(dir / L"f", message);
    EXPECT_EQ(hex_lower(bytes.data(), bytes.size()) + sha256_file_hex(dir / L"f"),
              std::string(digest) + digest);
  }
  for (const auto& path : {dir / L"absent", dir.path})
    EXPECT_EQ(failure_of([&] { file_fingerprint(path); }), failure::read_application_file);
}

const std::string rfc_key =
    "f83OJ3D2xF1Bg8vub9tLe1gHMzV76e8Tus9uPHvRVEXH8UTNG72bfocs3-257rn0s2ldbqkLJK2KRiMohYjlrQ";
// Of P-256 and the RFC's private key d: the group order n, the generator's x, and x·d mod n.
const std::string order = "_____wAAAAD__________7zm-q2nF56E87nKwvxjJVE",
                  generator_x = "axfR8uEsQkf4vOblY6RA8ncDfYEt6zOg9KE5RdiYwpY",
                  x_times_d = "65nqOuPuCuIZAyLqsVOIULiMA6b9nIsk2qycuuv-oqg";

std::string b64(const std::string& bytes) {
  static const char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
  std::string out;
  unsigned bits = 0, count = 0;
  for (unsigned char c : bytes)
    for (bits = bits << 8 | c, count += 8; count >= 6;)
      out += alphabet[(bits >> (count -= 6)) & 63];
  return count ? out + alphabet[(bits << (6 - count)) & 63] : out;
}

// ES256 with the RFC's key and the nonce 1, which needs no curve arithmetic: r is the generator's
// x, and s = z + x·d mod n for the digest z (below 2^256 < 2n, so n goes at most twice).
std::string es256_sign(const std::string& data) {
  const std::vector<std::uint8_t> n = base64url_decode(order), r = base64url_decode(generator_x);
  std::vector<std::uint8_t> s = sha256_bytes(data);
  const auto add = [&s](const std::vector<std::uint8_t>& b,
                        int sign) {  // s += sign·b, big-endian; the top carry
    int carry = 0;
    for (int i = 31; i >= 0; --i)
      s[i] = static_cast<std::uint8_t>(carry += s[i] + sign * b[i]), carry >>= 8;
    return carry;
  };
  int top = add(base64url_decode(x_times_d), 1);
  while (top > 0 || s >= n) top += add(n, -1);
  return std::string(r.begin(), r.end()) + std::string(s.begin(), s.end());
}

const std::string header = R"({"alg":"ES256","typ":"TXUPDATE","kid":"stable-1"})";
const std::string hash(64, 'a'), v80(80, 'v');
const std::string claims =
    R"({"schema":1,"product":"tenebrix","channel":"stable","revision":17,"releaseUtc":1800000000,)"
    R"("size":1024,"sha256":")" +
    hash +
    R"(","path":"/downloads/releases/stable/17/Tenebrix-2.1.0-Setup.exe","version":"2.1.0"})";

// A signed text of the claims with every occurrence of some texts replaced.
std::string text(const std::map<std::string, std::string>& changes = {},
                 const std::string& head = header) {
  std::string payload = claims;
  for (const auto& [from, to] : changes)
    for (auto at = payload.find(from); at != std::string::npos;
         at = payload.find(from, at + to.size()))
      payload.replace(at, from.size(), to);
  const std::string data = b64(head) + "." + b64(payload);
  return data + "." + b64(es256_sign(data));
}

TEST(ReleaseManifest, EachRuleInItsOrderWithItsWord) {
  ASSERT_EQ(build::update_public_key, rfc_key) << "the tests need the key of the test presets";
  const std::string good = text(),
                    tail = good.substr(good.find('.'));  // tail: payload and signature
  const std::pair<const char*, std::vector<std::string>> cases[] = {
      {"no failure",
       {good, text({{"2.1.0", v80}}), text({{"2.1.0", ""}}),
        text({{"1024", "200000000"}, {"17", "2147483647"}})}},
      {failure::update_manifest_size, {"", std::string(manifest_size_limit + 1, 'A')}},
      {failure::json_object, {b64("[]") + tail}},
      {failure::update_manifest, {std::string(manifest_size_limit, 'A'), good + ".x"}},
      {failure::base64, {good + "\n", "YQ..YQ"}},
      {failure::update_header,  // before any cryptography: a changed header's signature fails later
       {text({}, R"({"alg":"ES256","typ":"TXUPDATE","kid":"stable-1","x":""})"),
        b64(R"({"alg":"ES256","typ":"TXUPDATE","kid":"stable-2"})") + tail,
        b64(R"({"alg":"ES256","typ":"JWT","kid":"stable-1"})") + tail,
        b64(R"({"alg":"HS256","typ":"TXUPDATE","kid":"stable-1"})") + tail, good + "A"}},
      {failure::missing_key,
       {text({}, R"({"alg":"ES256","typ":"TXUPDATE","x":"stable-1"})"), text({{"sha256", "x"}})}},
      {failure::update_signature,
       {b64(header) + "." + b64("not json") + good.substr(good.rfind('.'))}},  // payload unread
      {failure::update_claims,
       {text({{"{", R"({"x":1,)"}}), text({{":1,", ":2,"}}), text({{"tenebrix", "Tenebrix"}}),
        text({{R"("stable")", R"("beta")"}})}},
      {failure::update_bounds,
       {text({{"1024", "1023"}}), text({{"1024", "200000001"}}), text({{"17", "0"}}),
        text({{"1800000000", "1699999999"}})}},
      {failure::update_hash,
       {text({{hash, std::string(64, 'A')}}), text({{hash, hash.substr(1)}})}},
      {failure::update_path,
       {text({{"2.1.0", v80 + "v"}}), text({{"2.1.0", "2.1 0"}}),
        text({{"Setup.exe", "Setup.exe?x"}}), text({{":17,", R"(:"017",)"}, {"/17/", "/017/"}})}},
  };
  for (const auto& [word, texts] : cases)
    for (const auto& one : texts)
      EXPECT_EQ(failure_of([&] { parse_release_manifest(one); }), word) << one.substr(0, 200);
  const ReleaseManifest manifest = parse_release_manifest(good);
  EXPECT_EQ(std::tie(manifest.revision, manifest.release_utc, manifest.size, manifest.sha256),
            std::make_tuple(17, 1800000000, 1024u, hash));
  EXPECT_EQ(manifest.version + manifest.path,
            L"2.1.0/downloads/releases/stable/17/Tenebrix-2.1.0-Setup.exe");
  // Another issuer's rules: a key of 64 bytes.
  EXPECT_EQ(failure_of([&] {
              parse_release_manifest(good, {std::string(84, 'A'), "stable", "stable-1"});
            }),
            failure::update_public_key);
}

#ifndef _WIN32  // Wine makes no link that Windows code sees as one
// The option opens the file once and reads at most one byte past the limit through that handle:
// a link's own size and a file that holds more than its size says decide nothing.
TEST(VerifyManifestOption, ReadsAtMostOneBytePastTheLimit) {
  test::TempDir dir;
  const std::string good = text();
  test::write_bytes(dir / L"signed.jws", good);
  test::write_bytes(dir / L"at-limit.jws", std::string(manifest_size_limit, 'A'));
  test::write_bytes(dir / L"over-limit.jws", std::string(manifest_size_limit + 1, 'A'));
  for (const wchar_t* name : {L"signed", L"at-limit", L"over-limit"})
    std::filesystem::create_symlink(test::to_fs(dir / (std::wstring(name) + L".jws")),
                                    test::to_fs(dir / (std::wstring(L"link-") + name)));
  // Its size reads 0, and it holds far more than the limit.
  const std::wstring lying_size = L"Z:\\proc\\self\\smaps";
  std::string held;
  ASSERT_TRUE(platform::read_file_head(lying_size, manifest_size_limit + 1, held));
  ASSERT_GT(held.size(), manifest_size_limit);
  struct Case {
    const char* name;
    std::wstring file;
    std::int32_t code;
  };
  using namespace exit_code;
  const Case cases[] = {
      {.name = "signed, via a link", .file = dir / L"link-signed", .code = done},
      {.name = "at the limit, via a link", .file = dir / L"link-at-limit", .code = not_acceptable},
      {.name = "over the limit, via a link", .file = dir / L"link-over-limit", .code = bad_use},
      {.name = "more than its size says", .file = lying_size, .code = bad_use},
  };
  for (const Case& row : cases)
    EXPECT_EQ(run_launcher({L"--verify-update-manifest", row.file}, dir.path), row.code)
        << row.name;
}
#endif

}  // namespace
}  // namespace nv
