// Conversions and digests. There is no fake for these: natively they run on
// the portable backend, under Wine on the Windows calls, with the same cases.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/encoding.h"
#include "foundation/failure.h"
#include "host/identification.h"
#include "test_support.h"

namespace {

using nv::test::failure_of;

std::string hex(const std::vector<std::uint8_t>& bytes) { return nv::hex_lower(bytes.data(), bytes.size()); }

std::string bytes_text(const std::vector<std::uint8_t>& bytes) { return std::string(bytes.begin(), bytes.end()); }

std::wstring units(std::initializer_list<unsigned> list) {
  std::wstring out;
  for (unsigned u : list) out += static_cast<wchar_t>(u);
  return out;
}

struct DigestCase {
  const char* name;
  std::string message;
  const char* digest;
};

std::vector<DigestCase> nist_vectors() {
  return {
      {"empty", "", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
      {"abc", "abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
      {"448 bits", "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
       "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
      {"one million a", std::string(1000000, 'a'), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
  };
}

// --- SHA-256 -----------------------------------------------------------------

TEST(Sha256Bytes, NistVectors) {
  for (const auto& c : nist_vectors()) {
    const auto digest = nv::sha256_bytes(c.message);
    EXPECT_EQ(digest.size(), 32u) << c.name;
    EXPECT_EQ(hex(digest), c.digest) << c.name;
  }
}

TEST(Sha256FileHex, NistVectorsFromFiles) {
  nv::test::TempDir dir;
  int n = 0;
  for (const auto& c : nist_vectors()) {
    const std::wstring path = dir / (L"vector" + std::to_wstring(n++) + L".bin");
    nv::test::write_bytes(path, c.message);
    EXPECT_EQ(nv::sha256_file_hex(path), c.digest) << c.name;
  }
}

TEST(Sha256FileHex, MissingFileCannotBeRead) {
  nv::test::TempDir dir;
  EXPECT_EQ(failure_of([&] { nv::sha256_file_hex(dir / L"absent.dll"); }), nv::failure::read_application_file);
  EXPECT_EQ(failure_of([&] { nv::sha256_file_hex(dir / L"no-folder\\absent.dll"); }),
            nv::failure::read_application_file);
}

TEST(Sha256FileHex, DirectoryCannotBeRead) {
  nv::test::TempDir dir;
  EXPECT_EQ(failure_of([&] { nv::sha256_file_hex(dir.path()); }), nv::failure::read_application_file);
}

TEST(FileFingerprint, WidensTheDigest) {
  nv::test::TempDir dir;
  nv::test::write_bytes(dir / L"Qt6Core.dll", "abc");
  EXPECT_EQ(nv::file_fingerprint(dir / L"Qt6Core.dll"),
            L"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(failure_of([&] { nv::file_fingerprint(dir / L"absent.dll"); }), nv::failure::read_application_file);
}

// --- hexadecimal -------------------------------------------------------------

TEST(HexLower, EveryDigitHighNibbleFirst) {
  const std::uint8_t bytes[] = {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF, 0x00, 0xF0, 0x0F, 0xFF};
  EXPECT_EQ(nv::hex_lower(bytes, sizeof bytes), "0123456789abcdef00f00fff");
  EXPECT_EQ(nv::hex_lower_wide(bytes, sizeof bytes), L"0123456789abcdef00f00fff");
  EXPECT_EQ(nv::hex_lower(bytes, 0), "");
  EXPECT_EQ(nv::hex_lower_wide(bytes, 0), L"");
}

// --- base64url ---------------------------------------------------------------

TEST(Base64UrlDecode, Rfc4648VectorsInTheUrlAlphabet) {
  const std::pair<const char*, const char*> cases[] = {
      {"Zg", "f"}, {"Zm8", "fo"}, {"Zm9v", "foo"}, {"Zm9vYg", "foob"}, {"Zm9vYmE", "fooba"}, {"Zm9vYmFy", "foobar"},
  };
  for (const auto& [text, bytes] : cases) EXPECT_EQ(bytes_text(nv::base64url_decode(text)), bytes) << text;
}

TEST(Base64UrlDecode, HyphenAndUnderscoreAreTheHighValues) {
  EXPECT_EQ(nv::base64url_decode("-_8"), (std::vector<std::uint8_t>{0xFB, 0xFF}));
  EXPECT_EQ(nv::base64url_decode("----"), (std::vector<std::uint8_t>{0xFB, 0xEF, 0xBE}));
  EXPECT_EQ(nv::base64url_decode("____"), (std::vector<std::uint8_t>{0xFF, 0xFF, 0xFF}));
}

TEST(Base64UrlDecode, TwoThreeFourCharactersGiveOneTwoThreeBytes) {
  EXPECT_EQ(nv::base64url_decode("AA").size(), 1u);
  EXPECT_EQ(nv::base64url_decode("AAA").size(), 2u);
  EXPECT_EQ(nv::base64url_decode("AAAA").size(), 3u);
  EXPECT_EQ(nv::base64url_decode("AAAAAA").size(), 4u);
}

TEST(Base64UrlDecode, LeftoverBitsAreNotExamined) {
  EXPECT_EQ(bytes_text(nv::base64url_decode("Zh")), "f");
  EXPECT_EQ(bytes_text(nv::base64url_decode("Zm9")), "fo");
  EXPECT_EQ(bytes_text(nv::base64url_decode("Zm_")), bytes_text(nv::base64url_decode("Zm8")));
}

TEST(Base64UrlDecode, LengthLimits) {
  EXPECT_EQ(nv::base64url_decode(std::string(16384, 'A')), std::vector<std::uint8_t>(12288, 0));
  EXPECT_EQ(nv::base64url_decode(std::string(16383, '_')), std::vector<std::uint8_t>(12287, 0xFF));
  EXPECT_EQ(failure_of([] { nv::base64url_decode(""); }), "base64");
  EXPECT_EQ(failure_of([] { nv::base64url_decode(std::string(16385, 'A')); }), "base64");
  // A length that would decode fails only through the limit.
  EXPECT_EQ(failure_of([] { nv::base64url_decode(std::string(16386, 'A')); }), "base64");
  EXPECT_EQ(failure_of([] { nv::base64url_decode(std::string(16388, 'A')); }), "base64");
}

TEST(Base64UrlDecode, RefusesEverythingOutsideTheAlphabet) {
  // Each of these would decode if the alphabet were not tested first.
  const char* cases[] = {"Zg==", "Zm8=", "Zm9v+A", "Zm9v/w", "Zm9v Yg", " Zm9v", "Zm9v\n", "Zm9v\r\n", "Zm9v\t",
                         "Zm.v", "Zm9v\x80g", "Zm9v\xC3\xA9", "=", "Z=", "Zm9v="};
  for (const char* text : cases) EXPECT_EQ(failure_of([&] { nv::base64url_decode(text); }), "base64") << text;
  EXPECT_EQ(failure_of([] { nv::base64url_decode(std::string("Zm\0v", 4)); }), "base64");
}

TEST(Base64UrlDecode, RefusesALengthOfOneModuloFour) {
  const char* cases[] = {"A", "AAAAA", "Zm9vY", "Zm9vYmFyZ"};
  for (const char* text : cases) EXPECT_EQ(failure_of([&] { nv::base64url_decode(text); }), "base64") << text;
}

// --- UTF-8 -------------------------------------------------------------------

TEST(ToUtf8, Converts) {
  EXPECT_EQ(nv::to_utf8(L""), "");
  EXPECT_EQ(nv::to_utf8(L"abc"), "abc");
  EXPECT_EQ(nv::to_utf8(std::wstring(L"a\0b", 3)), std::string("a\0b", 3));
  EXPECT_EQ(nv::to_utf8(units({0xE9})), "\xC3\xA9");
  EXPECT_EQ(nv::to_utf8(units({0x20AC})), "\xE2\x82\xAC");
  EXPECT_EQ(nv::to_utf8(units({0xFEFF, 0x41})), "\xEF\xBB\xBF" "A");  // a byte-order mark stays
  EXPECT_EQ(nv::to_utf8(units({0xD83D, 0xDE00})), "\xF0\x9F\x98\x80");
  EXPECT_EQ(nv::to_utf8(units({0xDBFF, 0xDFFF})), "\xF4\x8F\xBF\xBF");
}

TEST(ToUtf8, RefusesUnpairedSurrogates) {
  const std::wstring cases[] = {
      units({0xD800}),         units({0xDC00}),         units({0x41, 0xD83D}),
      units({0xD83D, 0x41}),   units({0xDE00, 0xD83D}), units({0xD83D, 0xDE00, 0xDE00}),
      units({0xD83D, 0xD83D}),
  };
  for (const auto& text : cases) EXPECT_EQ(failure_of([&] { nv::to_utf8(text); }), "utf8") << text.size();
}

#if WCHAR_MAX > 0xFFFF
TEST(ToUtf8, RefusesAWideValueThatIsNoUtf16Unit) {
  EXPECT_EQ(failure_of([] { nv::to_utf8(units({0x1F600})); }), "utf8");
}
#endif

TEST(FromUtf8, Converts) {
  EXPECT_EQ(nv::from_utf8(""), L"");
  EXPECT_EQ(nv::from_utf8("abc"), L"abc");
  EXPECT_EQ(nv::from_utf8(std::string("a\0b", 3)), std::wstring(L"a\0b", 3));
  EXPECT_EQ(nv::from_utf8("\xC3\xA9"), units({0xE9}));
  EXPECT_EQ(nv::from_utf8("\xE2\x82\xAC"), units({0x20AC}));
  EXPECT_EQ(nv::from_utf8("\xEF\xBB\xBF" "A"), units({0xFEFF, 0x41}));
  EXPECT_EQ(nv::from_utf8("\xF0\x9F\x98\x80"), units({0xD83D, 0xDE00}));
  EXPECT_EQ(nv::from_utf8("\xF4\x8F\xBF\xBF"), units({0xDBFF, 0xDFFF}));
  EXPECT_EQ(nv::from_utf8("\xED\x9F\xBF"), units({0xD7FF}));
  EXPECT_EQ(nv::from_utf8("\xEE\x80\x80"), units({0xE000}));
}

TEST(FromUtf8, RefusesInvalidTruncatedAndOverlongSequences) {
  const char* cases[] = {
      "\xC0\x80",          // overlong NUL
      "\xC1\xBF",          // overlong
      "\xE0\x80\xAF",      // overlong slash
      "\xF0\x80\x80\x80",  // overlong
      "\xED\xA0\x80",      // a surrogate spelled in UTF-8
      "\xED\xBF\xBF",      // a low surrogate spelled in UTF-8
      "\xF4\x90\x80\x80",  // above U+10FFFF
      "\xF5\x80\x80\x80",  // lead byte that cannot start anything
      "\xFF",
      "\xFE",
      "\x80",              // lone continuation
      "a\xBF" "b",
      "\xC3",              // truncated
      "\xE2\x82",
      "\xF0\x9F\x98",
      "abc\xC3",
      "\xC3(",             // continuation missing
      "\xE2(\xAC",
  };
  for (const char* bytes : cases) EXPECT_EQ(failure_of([&] { nv::from_utf8(bytes); }), "utf8") << bytes;
}

TEST(Utf8, EveryUnitOfTheBasicPlaneRoundTrips) {
  std::wstring text;
  for (unsigned u = 1; u <= 0xFFFF; ++u) {
    if (u < 0xD800 || u > 0xDFFF) text += static_cast<wchar_t>(u);
  }
  text += units({0xD800, 0xDC00, 0xDBFF, 0xDFFF});
  EXPECT_EQ(nv::from_utf8(nv::to_utf8(text)), text);
}

}  // namespace
