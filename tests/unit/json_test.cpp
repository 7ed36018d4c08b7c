#include <gtest/gtest.h>

#include "test_support.h"

#include <string>
#include <vector>

#include "foundation/failure.h"
#include "foundation/json.h"

namespace {

using nv::test::failure_of;

std::string parse_failure(const std::string& text) {
  return failure_of([&] { nv::parse_json_object(text); });
}

// Each failing input and its twin with something more after it: the word must
// come from the point of the fault, not from whatever follows.
void expect_word(const char* word, const std::vector<std::string>& inputs) {
  for (const auto& input : inputs) {
    EXPECT_EQ(parse_failure(input), word) << "input: " << input;
    EXPECT_EQ(parse_failure(input + "x\"}"), word) << "twin of: " << input;
  }
}

std::string entries(int count) {
  std::string text = "{";
  for (int i = 0; i < count; ++i) {
    if (i) text += ",";
    text += "\"k" + std::to_string(i) + "\":" + std::to_string(i);
  }
  return text + "}";
}

// --- refusals, one word a group ----------------------------------------------

TEST(ParseJson, RefusesOversizedInputBeforeAnythingElse) {
  EXPECT_EQ(parse_failure(std::string(32769, 'x')), "json size");
  EXPECT_EQ(parse_failure("{}" + std::string(32767, ' ')), "json size");
  EXPECT_EQ(parse_failure("{\"a\":\"" + std::string(32770, 'b') + "\"}"), "json size");
}

TEST(ParseJson, AcceptsExactlyTheSizeLimit) {
  EXPECT_TRUE(nv::parse_json_object("{}" + std::string(32766, ' ')).empty());
  const std::string value(32768 - 8, 'v');
  EXPECT_EQ(nv::parse_json_object("{\"a\":\"" + value + "\"}").at("a"), value);
}

TEST(ParseJson, RefusesWhatIsNotAnObject) {
  expect_word("json object", {"", "   ", "[]", "\"a\"", "1", "x{}", " \t\r\n[", "\xEF\xBB\xBF{}", "\f{}", "\v{}"});
}

TEST(ParseJson, RefusesAKeyThatIsNotAString) {
  expect_word("json string", {"{", "{ ", "{a:1}", "{1:1}", "{'a':1}", "{\"a\":1,}", "{\"a\":1, }", "{\"a\":1,"});
}

TEST(ParseJson, RefusesAnUnterminatedString) {
  // Whatever followed would end the string, so these have no twins.
  for (const char* input : {"{\"a", "{\"abc", "{\"a\":\"b", "{\"a\":\"b\\\"", "{\"a\":\"b\\\\"}) {
    EXPECT_EQ(parse_failure(input), "json string") << input;
  }
}

TEST(ParseJson, RefusesControlBytesInsideStrings) {
  expect_word("json control", {"{\"a\":\"b\tc\"}", "{\"a\nb\":1}", "{\"a\":\"\r\"}", std::string("{\"a\":\"\0\"}", 9),
                               "{\"a\":\"\x1F\"}", "{\"\x01\":1}"});
}

TEST(ParseJson, RefusesEveryOtherEscape) {
  expect_word("json escape", {"{\"a\":\"\\n\"}", "{\"a\":\"\\t\"}", "{\"a\":\"\\u0041\"}", "{\"a\":\"\\b\"}",
                              "{\"a\\x\":1}", "{\"a\":\"\\\t\"}", "{\"a\":\"\\\n\"}", "{\"a\":\"\\'\"}"});
  EXPECT_EQ(parse_failure("{\"a\":\"\\"), "json escape");
}

TEST(ParseJson, RefusesAMissingColon) {
  expect_word("json colon", {"{\"a\"", "{\"a\" ", "{\"a\" 1}", "{\"a\";1}", "{\"a\"=1}", "{\"a\":1,\"b\"}"});
}

TEST(ParseJson, RefusesAnInputThatEndsAfterTheColon) {
  EXPECT_EQ(parse_failure("{\"a\":"), "json value");
  EXPECT_EQ(parse_failure("{\"a\": \r\n\t"), "json value");
  EXPECT_EQ(parse_failure("{\"a\":1,\"b\":"), "json value");
}

TEST(ParseJson, RefusesWhatIsNotAStringOrWholeNumber) {
  expect_word("json number", {"{\"a\":}", "{\"a\":-1}", "{\"a\":+1}", "{\"a\":true}", "{\"a\":false}",
                              "{\"a\":null}", "{\"a\":[1]}", "{\"a\":{}}", "{\"a\":00}", "{\"a\":01}", "{\"a\":007}",
                              "{\"a\":.5}", "{\"a\":'b'}", "{\"a\":,}"});
}

TEST(ParseJson, RefusesDuplicateKeys) {
  expect_word("json fields", {"{\"a\":1,\"a\":1}", "{\"a\":\"x\",\"a\":\"y\"}", "{\"\":1,\"\":2}",
                              "{\"a\":1,\"b\":2,\"a\":3}", "{\"\\/\":1,\"/\":1}"});
}

TEST(ParseJson, RefusesTheTwentyFifthEntry) {
  EXPECT_EQ(nv::parse_json_object(entries(24)).size(), 24u);
  EXPECT_EQ(parse_failure(entries(25)), "json fields");
  std::string open = entries(25);
  open.pop_back();
  EXPECT_EQ(parse_failure(open), "json fields");
}

TEST(ParseJson, RefusesAnInputThatEndsAfterAValue) {
  EXPECT_EQ(parse_failure("{\"a\":1"), "json end");
  EXPECT_EQ(parse_failure("{\"a\":\"b\""), "json end");
  EXPECT_EQ(parse_failure("{\"a\":1 \r\n"), "json end");
  EXPECT_EQ(parse_failure("{\"a\":1,\"b\":0"), "json end");
}

TEST(ParseJson, RefusesWhatFollowsAValueUnlessCommaOrBrace) {
  expect_word("json comma", {"{\"a\":1.5}", "{\"a\":1e5}", "{\"a\":0x1}", "{\"a\":1 2}", "{\"a\":\"b\" \"c\"}",
                             "{\"a\":1;\"b\":2}", "{\"a\":1]", "{\"a\":1:"});
}

TEST(ParseJson, RefusesAnythingAfterTheObject) {
  expect_word("json suffix", {"{}x", "{} {}", "{\"a\":1}}", "{\"a\":1} ,", "{}\f"});
  EXPECT_EQ(parse_failure(std::string("{}\0", 3)), "json suffix");
}

// --- acceptance ----------------------------------------------------------------

TEST(ParseJson, EmptyObjects) {
  EXPECT_TRUE(nv::parse_json_object("{}").empty());
  EXPECT_TRUE(nv::parse_json_object(" \t\r\n{ \t\r\n} \t\r\n").empty());
}

TEST(ParseJson, ReadsStringsAndNumbersAsText) {
  const auto object = nv::parse_json_object(" { \"b\" : \"text\" ,\n\t\"a\":12, \"zero\":0 ,\"\":\"\"} ");
  ASSERT_EQ(object.size(), 4u);
  EXPECT_EQ(object.at("b"), "text");
  EXPECT_EQ(object.at("a"), "12");
  EXPECT_EQ(object.at("zero"), "0");
  EXPECT_EQ(object.at(""), "");
}

TEST(ParseJson, StringAndNumberAreStoredAlike) {
  EXPECT_EQ(nv::parse_json_object("{\"n\":\"12\"}"), nv::parse_json_object("{\"n\":12}"));
}

TEST(ParseJson, DecodesTheThreeEscapes) {
  const auto object = nv::parse_json_object("{\"p\\/q\":\"\\\"\\\\\\/\"}");
  EXPECT_EQ(object.at("p/q"), "\"\\/");
}

TEST(ParseJson, PassesHighBytesUnchanged) {
  const auto object = nv::parse_json_object("{\"\xC3\xA9\":\"\xC0\x80\xFF\xE2\x82\xAC\"}");
  EXPECT_EQ(object.at("\xC3\xA9"), "\xC0\x80\xFF\xE2\x82\xAC");
}

TEST(ParseJson, KeysDifferingInCaseAreTwoKeys) {
  const auto object = nv::parse_json_object("{\"Key\":1,\"key\":2}");
  EXPECT_EQ(object.size(), 2u);
  EXPECT_EQ(object.at("Key"), "1");
  EXPECT_EQ(object.at("key"), "2");
}

TEST(ParseJson, OrdersKeysByUnsignedBytes) {
  const auto object = nv::parse_json_object("{\"\xC3\":1,\"z\":2,\"ab\":3,\"a\":4,\"B\":5}");
  std::vector<std::string> keys;
  for (const auto& entry : object) keys.push_back(entry.first);
  EXPECT_EQ(keys, (std::vector<std::string>{"B", "a", "ab", "z", "\xC3"}));
}

TEST(ParseJson, ReadsAHundredsOfDigitsNumber) {
  const std::string digits = "1" + std::string(300, '7');
  const auto object = nv::parse_json_object("{\"big\":" + digits + "}");
  EXPECT_EQ(nv::json_text(object, "big"), digits);
  EXPECT_EQ(failure_of([&] { nv::json_number(object, "big"); }), "number");
}

// --- json_text and json_number -------------------------------------------------

TEST(JsonText, MissingKey) {
  const auto object = nv::parse_json_object("{\"a\":\"1\"}");
  EXPECT_EQ(nv::json_text(object, "a"), "1");
  EXPECT_EQ(failure_of([&] { nv::json_text(object, "A"); }), "invalid map<K, T> key");
  EXPECT_EQ(failure_of([&] { nv::json_number(object, "b"); }), "invalid map<K, T> key");
}

TEST(JsonNumber, ReadsOneToTwelveDigits) {
  const auto object = nv::parse_json_object(
      "{\"zero\":0,\"twelve\":999999999999,\"quoted\":\"42\",\"padded\":\"007\",\"one\":1}");
  EXPECT_EQ(nv::json_number(object, "zero"), 0);
  EXPECT_EQ(nv::json_number(object, "one"), 1);
  EXPECT_EQ(nv::json_number(object, "twelve"), 999999999999LL);
  EXPECT_EQ(nv::json_number(object, "quoted"), 42);
  EXPECT_EQ(nv::json_number(object, "padded"), 7);
}

TEST(JsonNumber, RefusesWhatIsNotOneToTwelveDigits) {
  const auto object = nv::parse_json_object(
      "{\"thirteen\":1000000000000,\"empty\":\"\",\"letters\":\"abc\",\"minus\":\"-1\",\"plus\":\"+1\","
      "\"space\":\" 1\",\"tail\":\"1 \",\"point\":\"1.0\",\"zeros\":\"0000000000000\"}");
  for (const char* key : {"thirteen", "empty", "letters", "minus", "plus", "space", "tail", "point", "zeros"}) {
    EXPECT_EQ(failure_of([&] { nv::json_number(object, key); }), "number") << key;
  }
}

// --- json_quote ------------------------------------------------------------------

std::wstring units(std::initializer_list<unsigned> list) {
  std::wstring out;
  for (unsigned u : list) out += static_cast<wchar_t>(u);
  return out;
}

TEST(JsonQuote, PrintableAsciiStandsAsItIs) {
  EXPECT_EQ(nv::json_quote(L""), "\"\"");
  EXPECT_EQ(nv::json_quote(L" az~/AZ09!"), "\" az~/AZ09!\"");
  EXPECT_EQ(nv::json_quote(L"say \"hi\""), "\"say \\\"hi\\\"\"");
  EXPECT_EQ(nv::json_quote(L"C:\\Program Files\\Paltalk\\Paltalk.exe"),
            "\"C:\\\\Program Files\\\\Paltalk\\\\Paltalk.exe\"");
}

TEST(JsonQuote, ControlUnitsUseTheFourDigitForm) {
  EXPECT_EQ(nv::json_quote(std::wstring(L"\0", 1)), "\"\\u0000\"");
  EXPECT_EQ(nv::json_quote(L"a\nb\tc\r"), "\"a\\u000ab\\u0009c\\u000d\"");
  EXPECT_EQ(nv::json_quote(units({0x08, 0x0C, 0x1F, 0x7F})), "\"\\u0008\\u000c\\u001f\\u007f\"");
}

TEST(JsonQuote, NonAsciiUsesLowerCaseDigits) {
  EXPECT_EQ(nv::json_quote(units({0xE9})), "\"\\u00e9\"");
  EXPECT_EQ(nv::json_quote(units({0x80, 0x20AC, 0xABCD, 0xFFFF})), "\"\\u0080\\u20ac\\uabcd\\uffff\"");
}

TEST(JsonQuote, SurrogatesAreWrittenUnitByUnit) {
  EXPECT_EQ(nv::json_quote(units({0xD83D, 0xDE00})), "\"\\ud83d\\ude00\"");
  EXPECT_EQ(nv::json_quote(units({0x41, 0xD800})), "\"A\\ud800\"");
  EXPECT_EQ(nv::json_quote(units({0xDC00, 0x42})), "\"\\udc00B\"");
}

#if WCHAR_MAX > 0xFFFF
TEST(JsonQuote, AWideCodePointBecomesItsTwoUnits) {
  EXPECT_EQ(nv::json_quote(units({0x1F600})), "\"\\ud83d\\ude00\"");
}
#endif

}  // namespace
