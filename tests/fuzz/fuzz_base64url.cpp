// base64url_decode on arbitrary text: a success has the length the input
// implies and survives encoding again; a failure is the word "base64".
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "foundation/encoding.h"

namespace {

std::string encode(const std::vector<std::uint8_t>& bytes) {
  static const char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
  std::string out;
  std::size_t i = 0;
  for (; i + 3 <= bytes.size(); i += 3) {
    const std::uint32_t g = (bytes[i] << 16) | (bytes[i + 1] << 8) | bytes[i + 2];
    for (int s = 18; s >= 0; s -= 6) out += alphabet[(g >> s) & 0x3F];
  }
  const std::size_t rest = bytes.size() - i;
  if (rest > 0) {
    const std::uint32_t g = (bytes[i] << 16) | (rest == 2 ? bytes[i + 1] << 8 : 0);
    out += alphabet[(g >> 18) & 0x3F];
    out += alphabet[(g >> 12) & 0x3F];
    if (rest == 2) out += alphabet[(g >> 6) & 0x3F];
  }
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  try {
    const std::vector<std::uint8_t> bytes = nv::base64url_decode(text);
    if (text.empty() || text.size() > 16384 || text.size() % 4 == 1) std::abort();
    if (bytes.size() != text.size() / 4 * 3 + (text.size() % 4 == 0 ? 0 : text.size() % 4 - 1)) std::abort();
    const std::string again = encode(bytes);
    if (again.size() != text.size() || nv::base64url_decode(again) != bytes) std::abort();
    // Only the leftover low bits of the last character may differ.
    if (again.compare(0, again.size() - 1, text, 0, text.size() - 1) != 0) std::abort();
  } catch (const std::runtime_error& e) {
    if (std::strcmp(e.what(), "base64") != 0) std::abort();
  }
  return 0;
}
