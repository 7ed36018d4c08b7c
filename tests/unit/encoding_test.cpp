// Conversions and digests. There is no fake for these: natively they run on
// the portable backend, under Wine on the Windows calls, with the same cases.
#include "foundation/encoding.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/failure.h"
#include "host/identification.h"
#include "installation.h"

namespace nv {
namespace {

using test::failure_of;

std::string text_of(const std::vector<std::uint8_t>& bytes) { return std::string(bytes.begin(), bytes.end()); }

std::wstring units(std::initializer_list<unsigned> list) {
  std::wstring out;
  for (unsigned u : list) out += static_cast<wchar_t>(u);
  return out;
}

TEST(Sha256, NistVectorsOfBytesAndFiles) {
  const std::pair<std::string, const char*> cases[] = {
      {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
      {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
      {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
       "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
      {std::string(1000000, 'a'), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
  };
  test::TempDir dir;
  for (const auto& [message, digest] : cases) {
    const auto bytes = sha256_bytes(message);
    EXPECT_EQ(hex_lower(bytes.data(), bytes.size()), digest) << message.size();
    const std::wstring path = dir / L"Qt6Core.dll";
    test::write_bytes(path, message);
    EXPECT_EQ(sha256_file_hex(path), digest) << message.size();
    EXPECT_EQ(file_fingerprint(path), test::widened(digest));
  }
  for (const auto& path : {dir / L"absent.dll", dir / L"no-folder\\absent.dll", dir.path()})
    EXPECT_EQ(failure_of([&] { sha256_file_hex(path); }), failure::read_application_file) << test::narrowed(path);
  EXPECT_EQ(failure_of([&] { file_fingerprint(dir / L"absent.dll"); }), failure::read_application_file);
}

TEST(HexLower, EveryDigitHighNibbleFirst) {
  const std::uint8_t bytes[] = {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF, 0x00, 0xF0, 0x0F, 0xFF};
  EXPECT_EQ(hex_lower(bytes, sizeof bytes), "0123456789abcdef00f00fff");
  EXPECT_EQ(hex_lower_wide(bytes, sizeof bytes), L"0123456789abcdef00f00fff");
  EXPECT_EQ(hex_lower(bytes, 0) + test::narrowed(hex_lower_wide(bytes, 0)), "");
}

TEST(Base64UrlDecode, DecodesTheUrlAlphabetWithoutPadding) {
  const std::pair<std::string, std::string> cases[] = {
      // RFC 4648 section 10, in the URL alphabet and without padding
      {"Zg", "f"}, {"Zm8", "fo"}, {"Zm9v", "foo"}, {"Zm9vYg", "foob"}, {"Zm9vYmE", "fooba"}, {"Zm9vYmFy", "foobar"},
      {"-_8", "\xFB\xFF"}, {"----", "\xFB\xEF\xBE"}, {"____", "\xFF\xFF\xFF"},
      {"AA", std::string(1, '\0')}, {"AAA", std::string(2, '\0')}, {"AAAA", std::string(3, '\0')},
      {"AAAAAA", std::string(4, '\0')},
      {"Zh", "f"}, {"Zm9", "fo"}, {"Zm_", "fo"},  // leftover bits are not examined
      {std::string(16384, 'A'), std::string(12288, '\0')}, {std::string(16383, '_'), std::string(12287, '\xFF')},
  };
  for (const auto& [text, bytes] : cases) EXPECT_EQ(text_of(base64url_decode(text)), bytes) << text.substr(0, 10);
}

TEST(Base64UrlDecode, RefusesTheLengthsAndEverythingOutsideTheAlphabet) {
  const std::string cases[] = {
      // Lengths: none, over the limit (also where the text would decode), one modulo four.
      "", std::string(16385, 'A'), std::string(16386, 'A'), std::string(16388, 'A'), "A", "AAAAA", "Zm9vY", "Zm9vYmFyZ",
      // Each of these would decode if the alphabet were not tested first.
      "Zg==", "Zm8=", "Zm9v+A", "Zm9v/w", "Zm9v Yg", " Zm9v", "Zm9v\n", "Zm9v\r\n", "Zm9v\t", "Zm.v", "Zm9v\x80g",
      "Zm9v\xC3\xA9", "=", "Z=", "Zm9v=", std::string("Zm\0v", 4)};
  for (const auto& text : cases) EXPECT_EQ(failure_of([&] { base64url_decode(text); }), "base64") << text.size();
}

TEST(Utf8, ConvertsBothWaysWithoutAddingOrDroppingAnything) {
  const std::pair<std::wstring, std::string> cases[] = {
      {L"", ""}, {L"abc", "abc"}, {std::wstring(L"a\0b", 3), std::string("a\0b", 3)}, {units({0xE9}), "\xC3\xA9"},
      {units({0x20AC}), "\xE2\x82\xAC"}, {units({0xFEFF, 0x41}), "\xEF\xBB\xBF" "A"},  // a byte-order mark stays
      {units({0xD83D, 0xDE00}), "\xF0\x9F\x98\x80"}, {units({0xDBFF, 0xDFFF}), "\xF4\x8F\xBF\xBF"},
      {units({0xD7FF}), "\xED\x9F\xBF"}, {units({0xE000}), "\xEE\x80\x80"},
  };
  for (const auto& [text, bytes] : cases) {
    EXPECT_EQ(to_utf8(text), bytes);
    EXPECT_EQ(from_utf8(bytes), text) << bytes;
  }
  std::wstring every;
  for (unsigned u = 1; u <= 0xFFFF; ++u) {
    if (u < 0xD800 || u > 0xDFFF) every += static_cast<wchar_t>(u);
  }
  every += units({0xD800, 0xDC00, 0xDBFF, 0xDFFF});
  EXPECT_EQ(from_utf8(to_utf8(every)), every);
}

TEST(Utf8, RefusesUnpairedSurrogatesAndInvalidTruncatedOrOverlongSequences) {
  const std::wstring texts[] = {
      units({0xD800}),       units({0xDC00}),         units({0x41, 0xD83D}),         units({0xD83D, 0x41}),
      units({0xDE00, 0xD83D}), units({0xD83D, 0xDE00, 0xDE00}), units({0xD83D, 0xD83D}),
#if WCHAR_MAX > 0xFFFF
      units({0x1F600}),  // a wide value that is no UTF-16 unit
#endif
  };
  for (const auto& text : texts) EXPECT_EQ(failure_of([&] { to_utf8(text); }), "utf8") << text.size();
  const char* sequences[] = {
      "\xC0\x80",          // overlong NUL
      "\xC1\xBF",          // overlong
      "\xE0\x80\xAF",      // overlong slash
      "\xF0\x80\x80\x80",  // overlong
      "\xED\xA0\x80",      // a surrogate spelled in UTF-8
      "\xED\xBF\xBF",      // a low surrogate spelled in UTF-8
      "\xF4\x90\x80\x80",  // above U+10FFFF
      "\xF5\x80\x80\x80",  // lead byte that cannot start anything
      "\xFF", "\xFE",
      "\x80", "a\xBF" "b",  // lone continuation
      "\xC3", "\xE2\x82", "\xF0\x9F\x98", "abc\xC3",  // truncated
      "\xC3(", "\xE2(\xAC",  // continuation missing
  };
  for (const char* bytes : sequences) EXPECT_EQ(failure_of([&] { from_utf8(bytes); }), "utf8") << bytes;
}

}  // namespace
}  // namespace nv
