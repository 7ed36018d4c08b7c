// The strict readers and conversions. Natively they run on the portable
// backend, under Wine on the Windows calls, with the same cases; the fuzz
// targets add their round trips on arbitrary input.
#include <gtest/gtest.h>

#include "foundation/encoding.h"
#include "foundation/failure.h"
#include "foundation/json.h"
#include "host/identification.h"
#include "test_support.h"

namespace nv {
namespace {

using test::failure_of;

TEST(ParseJson, EachFaultHasItsWordWhateverFollows) {
  const std::pair<const char*, std::vector<std::string>> cases[] = {
      {failure::json_size, {std::string(32769, ' ')}},
      {failure::json_object, {"", "[]", "\xEF\xBB\xBF{}", "\f{}"}},
      {failure::json_string, {"{a:1}", "{\"a\":1,}", "{\"a"}},
      {failure::json_control, {"{\"a\":\"\t\"}", std::string("{\"\0\":1}", 7)}},
      {failure::json_escape, {"{\"a\":\"\\n\"}", "{\"a\":\"\\u0041\"}"}},
      {failure::json_colon, {"{\"a\" 1}", "{\"a\""}},
      {failure::json_value, {"{\"a\":"}},
      {failure::json_number, {"{\"a\":-1}", "{\"a\":01}", "{\"a\":true}", "{\"a\":}"}},
      {failure::json_fields, {"{\"a\":1,\"a\":2}", "{\"\\/\":1,\"/\":1}"}},
      {failure::json_end, {"{\"a\":1"}},
      {failure::json_comma, {"{\"a\":1.5}", "{\"a\":1 2}"}},
      {failure::json_suffix, {"{}x", "{}\f"}},
  };
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
  const auto object = parse_json_object(" {\"s\":\"\\\"\\\\\\/\" ,\"n\":999999999999,\"q\":\"007\",\"big\":"
                                        "1000000000000,\"neg\":\"-1\"}" + std::string(32000, ' '));
  EXPECT_EQ(object, (JsonObject{{"s", "\"\\/"}, {"n", "999999999999"}, {"q", "007"}, {"big", "1000000000000"},
                                {"neg", "-1"}}));
  EXPECT_EQ(json_number(object, "n") + json_number(object, "q"), 1000000000006);
  for (const char* key : {"big", "neg", "s"}) EXPECT_EQ(failure_of([&] { json_number(object, key); }), failure::number);
  EXPECT_EQ(failure_of([&] { json_text(object, "S"); }), failure::missing_key);
  EXPECT_EQ(json_quote(L"C:\\a \"b\"\n\x00e9\xd83d"), "\"C:\\\\a \\\"b\\\"\\u000a\\u00e9\\ud83d\"");
}

TEST(Encodings, StrictBothWays) {
  EXPECT_EQ(to_utf8(L"\x00e9\x20ac\xd83d\xde00"), "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
  for (const std::wstring bad : {L"\xd800", L"\xde00\xd83d", L"a\xd83d"})
    EXPECT_EQ(failure_of([&] { to_utf8(bad); }), failure::utf8);
  for (const char* bad : {"\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\x80", "\xE2\x82", "\xC3("})
    EXPECT_EQ(failure_of([&] { from_utf8(bad); }), failure::utf8) << bad;
  const auto decoded = base64url_decode("-_8");
  EXPECT_EQ(hex_lower(decoded.data(), decoded.size()), "fbff");
  EXPECT_EQ(base64url_decode(std::string(16384, 'A')).size(), 12288u);
  for (const std::string& bad : std::vector<std::string>{"", "A", "AAAAA", "Zg==", "Zm9v+A", "Zm9v/w", " Zm9v", std::string(16385, 'A')})
    EXPECT_EQ(failure_of([&] { base64url_decode(bad); }), failure::base64) << bad.size();
}

TEST(Sha256, VectorsOfBytesAndFilesAndUnreadableFiles) {
  test::TempDir dir;
  const std::pair<std::string, const char*> cases[] = {
      {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
      {std::string(1000000, 'a'), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"}};
  for (const auto& [message, digest] : cases) {
    const auto bytes = sha256_bytes(message);
    EXPECT_EQ(hex_lower(bytes.data(), bytes.size()), digest);
    test::write_bytes(dir / L"f", message);
    EXPECT_EQ(sha256_file_hex(dir / L"f"), digest);
  }
  for (const auto& path : {dir / L"absent", dir.path})
    EXPECT_EQ(failure_of([&] { file_fingerprint(path); }), failure::read_application_file);
}

}  // namespace
}  // namespace nv
