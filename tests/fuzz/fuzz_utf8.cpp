// from_utf8 on arbitrary bytes and to_utf8 on arbitrary UTF-16 units: what
// converts comes back unchanged (so nothing overlong or substituted passes),
// and a refusal is the word "utf8".
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

#include "foundation/encoding.h"

namespace {

void expect_utf8_word(const std::runtime_error& e) {
  if (std::strcmp(e.what(), "utf8") != 0) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  try {
    const std::wstring text = nv::from_utf8(bytes);
    if (text.size() > bytes.size()) std::abort();
    if (nv::to_utf8(text) != bytes) std::abort();
  } catch (const std::runtime_error& e) {
    expect_utf8_word(e);
  }

  std::wstring units;
  for (std::size_t i = 0; i + 1 < size; i += 2) units += static_cast<wchar_t>(data[i] | (data[i + 1] << 8));
  try {
    const std::string utf8 = nv::to_utf8(units);
    if (nv::from_utf8(utf8) != units) std::abort();
  } catch (const std::runtime_error& e) {
    expect_utf8_word(e);
  }
  return 0;
}
