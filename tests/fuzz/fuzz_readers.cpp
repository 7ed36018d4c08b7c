// The strict readers of outside text on the same arbitrary bytes: each either
// succeeds with a result that survives the way back, or raises its own word.
#include <cstdint>
#include <cstdlib>
#include <set>
#include <stdexcept>
#include <string>

#include "foundation/encoding.h"
#include "foundation/json.h"

namespace {

template <typename Read>
void expect_word(const std::set<std::string>& words, Read&& read) {
  try {
    read();
  } catch (const std::runtime_error& e) {
    if (!words.count(e.what())) std::abort();
  }
}

std::string base64url(const std::vector<std::uint8_t>& bytes) {
  static const char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
  std::string out;
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::size_t n = std::min<std::size_t>(3, bytes.size() - i);
    std::uint32_t group = 0;
    for (std::size_t k = 0; k < 3; ++k) group = group << 8 | (k < n ? bytes[i + k] : 0);
    for (std::size_t k = 0; k <= n; ++k) out += alphabet[(group >> (18 - 6 * k)) & 0x3F];
  }
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  expect_word({"json size", "json object", "json string", "json control", "json escape", "json colon", "json value",
               "json number", "json fields", "json end", "json comma", "json suffix"}, [&] {
    const nv::JsonObject object = nv::parse_json_object(text);
    if (size > 32768 || object.size() > 24) std::abort();
    for (const auto& entry : object)
      expect_word({"number"}, [&] {
        if (static_cast<std::uint64_t>(nv::json_number(object, entry.first)) > 999999999999ULL) std::abort();
      });
  });
  expect_word({"base64"}, [&] {
    const auto bytes = nv::base64url_decode(text);
    if (size == 0 || size > 16384 || size % 4 == 1) std::abort();
    // Only the unused low bits of the last character may differ.
    const std::string again = base64url(bytes);
    if (again.size() != size || again.compare(0, size - 1, text, 0, size - 1) != 0) std::abort();
  });
  expect_word({"utf8"}, [&] {
    if (nv::to_utf8(nv::from_utf8(text)) != text) std::abort();
  });
  std::wstring units;
  for (std::size_t i = 0; i + 1 < size; i += 2) units += static_cast<wchar_t>(data[i] | data[i + 1] << 8);
  expect_word({"utf8"}, [&] {
    if (nv::from_utf8(nv::to_utf8(units)) != units) std::abort();
  });
  return 0;
}
