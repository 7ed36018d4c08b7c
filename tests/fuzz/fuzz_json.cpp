// parse_json_object on arbitrary bytes: it returns a bounded object or raises
// one of its own words, and never anything else.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

#include "foundation/json.h"

namespace {

bool is_json_word(const char* text) {
  static const char* const words[] = {"json size",   "json object", "json string", "json control",
                                      "json escape", "json colon",  "json value",  "json number",
                                      "json fields", "json end",    "json comma",  "json suffix"};
  for (const char* word : words) {
    if (std::strcmp(text, word) == 0) return true;
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  try {
    const nv::JsonObject object = nv::parse_json_object(text);
    if (text.size() > 32768 || object.size() > 24) std::abort();
    for (const auto& [key, value] : object) {
      if (&nv::json_text(object, key) != &value) std::abort();
      try {
        const std::int64_t number = nv::json_number(object, key);
        if (number < 0 || number > 999999999999LL || value.empty() || value.size() > 12) std::abort();
      } catch (const std::runtime_error& e) {
        if (std::strcmp(e.what(), "number") != 0) std::abort();
      }
    }
  } catch (const std::runtime_error& e) {
    if (!is_json_word(e.what())) std::abort();
  }
  return 0;
}
