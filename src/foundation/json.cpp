#include "foundation/json.h"

#include "foundation/failure.h"

namespace nv {
namespace {

constexpr std::size_t json_input_limit = 32768;
constexpr std::size_t json_entry_limit = 24;
constexpr std::size_t json_number_digits = 12;

// One pass over the input with a single position; every refusal is a fixed word.
class Reader {
 public:
  explicit Reader(const std::string& text) : text_(text) {}

  bool at_end() const { return pos_ == text_.size(); }
  bool next_is(char c) const { return !at_end() && text_[pos_] == c; }
  void consume() { ++pos_; }

  void skip_whitespace() {
    while (!at_end()) {
      const char c = text_[pos_];
      if (c != ' ' && c != '\r' && c != '\n' && c != '\t') return;
      ++pos_;
    }
  }

  std::string read_string() {
    if (!next_is('"')) fail(failure::json_string);
    consume();
    std::string out;
    for (;;) {
      if (at_end()) fail(failure::json_string);
      const auto byte = static_cast<unsigned char>(text_[pos_++]);
      if (byte == '"') return out;
      if (byte < 0x20) fail(failure::json_control);
      if (byte == '\\') {
        if (at_end()) fail(failure::json_escape);
        const char escaped = text_[pos_++];
        if (escaped != '"' && escaped != '\\' && escaped != '/') fail(failure::json_escape);
        out += escaped;
        continue;
      }
      out += static_cast<char>(byte);
    }
  }

  // The longest run of digits, kept as it stood; a leading zero only alone.
  std::string read_number() {
    const std::size_t start = pos_;
    while (!at_end() && text_[pos_] >= '0' && text_[pos_] <= '9') ++pos_;
    const std::size_t length = pos_ - start;
    if (length == 0 || (length > 1 && text_[start] == '0')) fail(failure::json_number);
    return text_.substr(start, length);
  }

 private:
  const std::string& text_;
  std::size_t pos_ = 0;
};

bool is_digit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

JsonObject parse_json_object(const std::string& text) {
  if (text.size() > json_input_limit) fail(failure::json_size);
  Reader reader(text);
  JsonObject object;

  reader.skip_whitespace();
  if (!reader.next_is('{')) fail(failure::json_object);
  reader.consume();
  reader.skip_whitespace();
  if (reader.next_is('}')) {
    reader.consume();
  } else {
    for (;;) {
      reader.skip_whitespace();
      std::string key = reader.read_string();
      reader.skip_whitespace();
      if (!reader.next_is(':')) fail(failure::json_colon);
      reader.consume();
      reader.skip_whitespace();
      if (reader.at_end()) fail(failure::json_value);
      std::string value = reader.next_is('"') ? reader.read_string() : reader.read_number();
      if (object.count(key) != 0) fail(failure::json_fields);
      object.emplace(std::move(key), std::move(value));
      if (object.size() > json_entry_limit) fail(failure::json_fields);
      reader.skip_whitespace();
      if (reader.at_end()) fail(failure::json_end);
      if (reader.next_is('}')) {
        reader.consume();
        break;
      }
      if (!reader.next_is(',')) fail(failure::json_comma);
      reader.consume();
    }
  }
  reader.skip_whitespace();
  if (!reader.at_end()) fail(failure::json_suffix);
  return object;
}

const std::string& json_text(const JsonObject& object, const std::string& key) {
  const auto it = object.find(key);
  if (it == object.end()) fail(failure::missing_key);
  return it->second;
}

std::int64_t json_number(const JsonObject& object, const std::string& key) {
  const std::string& value = json_text(object, key);
  if (value.empty() || value.size() > json_number_digits) fail(failure::number);
  std::int64_t number = 0;
  for (const char c : value) {
    if (!is_digit(c)) fail(failure::number);
    number = number * 10 + (c - '0');
  }
  return number;
}

std::string json_quote(const std::wstring& text) {
  static constexpr char hex_digits[] = "0123456789abcdef";
  std::string out = "\"";
  const auto escape_unit = [&out](std::uint32_t unit) {
    out += "\\u";
    for (int shift = 12; shift >= 0; shift -= 4) out += hex_digits[(unit >> shift) & 0xF];
  };
  for (const wchar_t c : text) {
    const auto unit = static_cast<std::uint32_t>(c);
    if (c == L'"' || c == L'\\') {
      out += '\\';
      out += static_cast<char>(c);
    } else if (unit >= 0x20 && unit <= 0x7E) {
      out += static_cast<char>(c);
    } else if (unit > 0xFFFF) {
      // Only where wchar_t is wider than a UTF-16 unit: written as the two
      // units Windows would hold for it, so the output stays four-digit escapes.
      const std::uint32_t offset = unit - 0x10000;
      escape_unit(0xD800 + ((offset >> 10) & 0x3FF));
      escape_unit(0xDC00 + (offset & 0x3FF));
    } else {
      escape_unit(unit);
    }
  }
  out += '"';
  return out;
}

}  // namespace nv
