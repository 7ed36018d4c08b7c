#include "foundation/encoding.h"

#include <string_view>

#include "foundation/failure.h"
#include "platform/crypto.h"

namespace nv {
namespace {

constexpr std::string_view base64url_alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
constexpr std::size_t base64url_limit = 16384;
constexpr char hex_digits[] = "0123456789abcdef";

const char* file_hash_failure(platform::FileHash result) {
  switch (result) {
    case platform::FileHash::cannot_read:
      return failure::read_application_file;
    case platform::FileHash::unavailable:
      return failure::sha256_unavailable;
    case platform::FileHash::cannot_initialize:
      return failure::initialize_sha256;
    case platform::FileHash::cannot_hash:
      return failure::hash_application_file;
    case platform::FileHash::cannot_finish:
    case platform::FileHash::done:
      break;
  }
  return failure::finish_fingerprint;
}

}  // namespace

std::string to_utf8(const std::wstring& text) {
  if (text.empty()) return {};
  const std::size_t length = platform::utf8_length_strict(text);
  if (length == 0) fail(failure::utf8);
  std::string out(length, '\0');
  platform::utf16_to_utf8(text, out);
  return out;
}

std::wstring from_utf8(const std::string& bytes) {
  if (bytes.empty()) return {};
  const std::size_t length = platform::utf16_length_strict(bytes);
  if (length == 0) fail(failure::utf8);
  std::wstring out(length, L'\0');
  platform::utf8_to_utf16(bytes, out);
  return out;
}

std::vector<std::uint8_t> base64url_decode(std::string text) {
  if (text.empty() || text.size() > base64url_limit) fail(failure::base64);
  if (text.find_first_not_of(base64url_alphabet) != std::string::npos) fail(failure::base64);
  if (text.size() % 4 == 1) fail(failure::base64);
  for (auto& c : text) {
    if (c == '-') c = '+';
    if (c == '_') c = '/';
  }
  while (text.size() % 4 != 0) text += '=';

  std::uint32_t size = 0;
  if (!platform::base64_decode(text, nullptr, size)) fail(failure::base64);
  std::vector<std::uint8_t> bytes(size, 0);
  if (!platform::base64_decode(text, bytes.data(), size)) fail(failure::base64);
  bytes.resize(size);
  return bytes;
}

std::vector<std::uint8_t> sha256_bytes(const std::string& bytes) {
  platform::Sha256Digest digest{};
  if (!platform::sha256(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                        static_cast<std::uint32_t>(bytes.size()), digest)) {
    fail(failure::hash);
  }
  return {digest.begin(), digest.end()};
}

std::string sha256_file_hex(const std::wstring& path) {
  platform::Sha256Digest digest{};
  const platform::FileHash result = platform::sha256_file(path, digest);
  if (result != platform::FileHash::done) fail(file_hash_failure(result));
  return hex_lower(digest.data(), digest.size());
}

std::string sha256_file_hex(const platform::OpenFile& file) {
  platform::Sha256Digest digest{};
  const platform::FileHash result = platform::sha256_file(file, digest);
  if (result != platform::FileHash::done) fail(file_hash_failure(result));
  return hex_lower(digest.data(), digest.size());
}

std::string hex_lower(const std::uint8_t* bytes, std::size_t count) {
  std::string out;
  out.reserve(count * 2);
  for (std::size_t i = 0; i < count; ++i) {
    out += hex_digits[bytes[i] >> 4];
    out += hex_digits[bytes[i] & 0x0F];
  }
  return out;
}

std::wstring hex_lower_wide(const std::uint8_t* bytes, std::size_t count) {
  std::wstring out;
  out.reserve(count * 2);
  for (std::size_t i = 0; i < count; ++i) {
    out += static_cast<wchar_t>(hex_digits[bytes[i] >> 4]);
    out += static_cast<wchar_t>(hex_digits[bytes[i] & 0x0F]);
  }
  return out;
}

}  // namespace nv
