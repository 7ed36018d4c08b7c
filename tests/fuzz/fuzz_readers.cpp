// The strict readers of outside text on the same arbitrary bytes: each succeeds within its limits
// (UTF-8 surviving the way back) or raises its own word. The corpus holds a manifest signed with
// the test key.
#include <cstdint>
#include <cstdlib>
#include <set>
#include <stdexcept>
#include <string>

#include "foundation/encoding.h"
#include "foundation/failure.h"
#include "foundation/json.h"
#include "update/manifest.h"

namespace {

template <typename Read>
void expect_word(const std::set<std::string>& words, Read&& read) try {
  read();
} catch (const std::runtime_error& e) {
  if (!words.count(e.what())) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  using namespace nv::failure;
  const std::set<std::string> json_words{json_size,   json_object, json_string, json_control,
                                         json_escape, json_colon,  json_value,  json_number,
                                         json_fields, json_end,    json_comma,  json_suffix};
  expect_word(json_words, [&] {
    const nv::JsonObject object = nv::parse_json_object(text);
    if (size > 32768 || object.size() > 24) std::abort();
    for (const auto& entry : object)
      expect_word({number}, [&] {
        if (static_cast<std::uint64_t>(nv::json_number(object, entry.first)) > 999999999999ULL)
          std::abort();
      });
  });
  expect_word({base64}, [&] {
    const auto bytes = nv::base64url_decode(text);
    if (size == 0 || size > 16384 || size % 4 == 1 || bytes.size() != size * 3 / 4) std::abort();
  });
  expect_word({utf8}, [&] {
    if (nv::to_utf8(nv::from_utf8(text)) != text) std::abort();
  });
  auto manifest_words = json_words;
  manifest_words.insert({update_manifest_size, update_manifest, base64, update_header,
                         update_signature, update_claims, number, update_bounds, update_hash,
                         update_path, missing_key});
  expect_word(manifest_words, [&] {
    if (nv::parse_release_manifest(text).size > 200000000) std::abort();
  });
  std::wstring units;
  for (std::size_t i = 0; i + 1 < size; i += 2)
    units += static_cast<wchar_t>(data[i] | data[i + 1] << 8);
  expect_word({utf8}, [&] {
    if (nv::from_utf8(nv::to_utf8(units)) != units) std::abort();
  });
  return 0;
}
