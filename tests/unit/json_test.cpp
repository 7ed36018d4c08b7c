#include "foundation/json.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "test_support.h"

namespace nv {
namespace {

using test::failure_of;

std::string entries(int count) {
  std::string text = "{";
  for (int i = 0; i < count; ++i) text += (i ? ",\"k" : "\"k") + std::to_string(i) + "\":" + std::to_string(i);
  return text + "}";
}

TEST(ParseJson, EachFaultHasItsWord) {
  // With `twins`, each input is also tried with something more after it: the
  // word must come from the point of the fault, not from whatever follows.
  // Without, whatever followed would change the fault.
  struct Case {
    const char* word;
    bool twins;
    std::vector<std::string> inputs;
  };
  const Case cases[] = {
      {"json size", false,
       {std::string(32769, 'x'), "{}" + std::string(32767, ' '), "{\"a\":\"" + std::string(32770, 'b') + "\"}"}},
      {"json object", true, {"", "   ", "[]", "\"a\"", "1", "x{}", " \t\r\n[", "\xEF\xBB\xBF{}", "\f{}", "\v{}"}},
      {"json string", true, {"{", "{ ", "{a:1}", "{1:1}", "{'a':1}", "{\"a\":1,}", "{\"a\":1, }", "{\"a\":1,"}},
      {"json string", false, {"{\"a", "{\"abc", "{\"a\":\"b", "{\"a\":\"b\\\"", "{\"a\":\"b\\\\"}},
      {"json control", true,
       {"{\"a\":\"b\tc\"}", "{\"a\nb\":1}", "{\"a\":\"\r\"}", std::string("{\"a\":\"\0\"}", 9), "{\"a\":\"\x1F\"}",
        "{\"\x01\":1}"}},
      {"json escape", true,
       {"{\"a\":\"\\n\"}", "{\"a\":\"\\t\"}", "{\"a\":\"\\u0041\"}", "{\"a\":\"\\b\"}", "{\"a\\x\":1}",
        "{\"a\":\"\\\t\"}", "{\"a\":\"\\\n\"}", "{\"a\":\"\\'\"}"}},
      {"json escape", false, {"{\"a\":\"\\"}},
      {"json colon", true, {"{\"a\"", "{\"a\" ", "{\"a\" 1}", "{\"a\";1}", "{\"a\"=1}", "{\"a\":1,\"b\"}"}},
      {"json value", false, {"{\"a\":", "{\"a\": \r\n\t", "{\"a\":1,\"b\":"}},
      {"json number", true,
       {"{\"a\":}", "{\"a\":-1}", "{\"a\":+1}", "{\"a\":true}", "{\"a\":false}", "{\"a\":null}", "{\"a\":[1]}",
        "{\"a\":{}}", "{\"a\":00}", "{\"a\":01}", "{\"a\":007}", "{\"a\":.5}", "{\"a\":'b'}", "{\"a\":,}"}},
      {"json fields", true,
       {"{\"a\":1,\"a\":1}", "{\"a\":\"x\",\"a\":\"y\"}", "{\"\":1,\"\":2}", "{\"a\":1,\"b\":2,\"a\":3}",
        "{\"\\/\":1,\"/\":1}", entries(25), entries(25).substr(0, entries(25).size() - 1)}},
      {"json end", false, {"{\"a\":1", "{\"a\":\"b\"", "{\"a\":1 \r\n", "{\"a\":1,\"b\":0"}},
      {"json comma", true,
       {"{\"a\":1.5}", "{\"a\":1e5}", "{\"a\":0x1}", "{\"a\":1 2}", "{\"a\":\"b\" \"c\"}", "{\"a\":1;\"b\":2}",
        "{\"a\":1]", "{\"a\":1:"}},
      {"json suffix", true, {"{}x", "{} {}", "{\"a\":1}}", "{\"a\":1} ,", "{}\f"}},
      {"json suffix", false, {std::string("{}\0", 3)}},
  };
  for (const Case& c : cases) {
    for (const auto& input : c.inputs) {
      EXPECT_EQ(failure_of([&] { parse_json_object(input); }), c.word) << "input: " << input.substr(0, 40);
      if (!c.twins) continue;
      EXPECT_EQ(failure_of([&] { parse_json_object(input + "x\"}"); }), c.word) << "twin of: " << input;
    }
  }
}

TEST(ParseJson, ReadsStringsAndNumbersAsText) {
  const std::pair<std::string, JsonObject> cases[] = {
      {"{}", {}},
      {" \t\r\n{ \t\r\n} \t\r\n", {}},
      {"{}" + std::string(32766, ' '), {}},  // exactly the size limit
      {" { \"b\" : \"text\" ,\n\t\"a\":12, \"zero\":0 ,\"\":\"\"} ",
       {{"b", "text"}, {"a", "12"}, {"zero", "0"}, {"", ""}}},
      {"{\"n\":\"12\"}", {{"n", "12"}}},  // a string and a number are stored alike
      {"{\"n\":12}", {{"n", "12"}}},
      {"{\"p\\/q\":\"\\\"\\\\\\/\"}", {{"p/q", "\"\\/"}}},
      {"{\"\xC3\xA9\":\"\xC0\x80\xFF\xE2\x82\xAC\"}", {{"\xC3\xA9", "\xC0\x80\xFF\xE2\x82\xAC"}}},
      {"{\"Key\":1,\"key\":2}", {{"Key", "1"}, {"key", "2"}}},
  };
  for (const auto& [input, object] : cases) EXPECT_EQ(parse_json_object(input), object) << input.substr(0, 40);
  EXPECT_EQ(parse_json_object(entries(24)).size(), 24u);
  // Keys in unsigned byte order, a prefix first.
  const auto ordered = parse_json_object("{\"\xC3\":1,\"z\":2,\"ab\":3,\"a\":4,\"B\":5}");
  std::string keys;
  for (const auto& entry : ordered) keys += entry.first + " ";
  EXPECT_EQ(keys, "B a ab z \xC3 ");
}

TEST(JsonNumber, OneToTwelveDigitsQuotedOrNot) {
  const std::string digits = "1" + std::string(300, '7');
  const auto object = parse_json_object(
      "{\"zero\":0,\"twelve\":999999999999,\"quoted\":\"42\",\"padded\":\"007\",\"one\":1,\"big\":" + digits +
      ",\"thirteen\":1000000000000,\"empty\":\"\",\"letters\":\"abc\",\"minus\":\"-1\",\"plus\":\"+1\","
      "\"space\":\" 1\",\"tail\":\"1 \",\"point\":\"1.0\",\"zeros\":\"0000000000000\"}");
  const std::pair<const char*, long long> numbers[] = {
      {"zero", 0}, {"one", 1}, {"twelve", 999999999999LL}, {"quoted", 42}, {"padded", 7}};
  for (const auto& [key, value] : numbers) EXPECT_EQ(json_number(object, key), value) << key;
  for (const char* key : {"big", "thirteen", "empty", "letters", "minus", "plus", "space", "tail", "point", "zeros"})
    EXPECT_EQ(failure_of([&] { json_number(object, key); }), "number") << key;
  EXPECT_EQ(json_text(object, "big"), digits);
  EXPECT_EQ(failure_of([&] { json_text(object, "Zero"); }), "invalid map<K, T> key");
  EXPECT_EQ(failure_of([&] { json_number(object, "absent"); }), "invalid map<K, T> key");
}

std::wstring units(std::initializer_list<unsigned> list) {
  std::wstring out;
  for (unsigned u : list) out += static_cast<wchar_t>(u);
  return out;
}

TEST(JsonQuote, PrintableAsciiStandsElseTheFourDigitFormInLowerCase) {
  const std::pair<std::wstring, std::string> cases[] = {
      {L"", "\"\""}, {L" az~/AZ09!", "\" az~/AZ09!\""},
      {L"say \"hi\"", "\"say \\\"hi\\\"\""},
      {L"C:\\Program Files\\Paltalk.exe", "\"C:\\\\Program Files\\\\Paltalk.exe\""},
      {std::wstring(L"\0", 1), "\"\\u0000\""}, {L"a\nb\tc\r", "\"a\\u000ab\\u0009c\\u000d\""},
      {units({0x08, 0x0C, 0x1F, 0x7F}), "\"\\u0008\\u000c\\u001f\\u007f\""},
      {units({0xE9}), "\"\\u00e9\""},
      {units({0x80, 0x20AC, 0xABCD, 0xFFFF}), "\"\\u0080\\u20ac\\uabcd\\uffff\""},
      {units({0xD83D, 0xDE00}), "\"\\ud83d\\ude00\""},  // surrogates unit by unit, paired or not
      {units({0x41, 0xD800}), "\"A\\ud800\""}, {units({0xDC00, 0x42}), "\"\\udc00B\""},
#if WCHAR_MAX > 0xFFFF
      {units({0x1F600}), "\"\\ud83d\\ude00\""},  // a wide code point becomes its two units
#endif
  };
  for (const auto& [text, quoted] : cases) EXPECT_EQ(json_quote(text), quoted) << quoted;
}

}  // namespace
}  // namespace nv
