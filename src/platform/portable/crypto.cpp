// The native build's converters and digests: OpenSSL's SHA-256, and UTF-8 and
// base64 written out with the strictness of the Windows calls they stand for.
#include "platform/crypto.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/params.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <memory>
#include <mutex>

#include "platform/portable/native_path.h"
#include "platform/portable/open_file.h"

namespace nv::platform {
namespace {

constexpr std::uint32_t invalid = 0xFFFFFFFFu;

bool is_high_surrogate(std::uint32_t u) { return u >= 0xD800 && u <= 0xDBFF; }
bool is_low_surrogate(std::uint32_t u) { return u >= 0xDC00 && u <= 0xDFFF; }

// Each wchar_t is one UTF-16 code unit, also where wchar_t is wider. Returns the
// code point starting at `i` and advances `i`, or `invalid` for an unpaired
// surrogate or a value that is no UTF-16 unit at all.
std::uint32_t next_code_point(const std::wstring& text, std::size_t& i) {
  const auto unit = static_cast<std::uint32_t>(text[i++]);
  if (unit > 0xFFFF || is_low_surrogate(unit)) return invalid;
  if (!is_high_surrogate(unit)) return unit;
  if (i == text.size()) return invalid;
  const auto low = static_cast<std::uint32_t>(text[i]);
  if (!is_low_surrogate(low)) return invalid;
  ++i;
  return 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
}

std::size_t utf8_units(std::uint32_t c) {
  return c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
}

// The code point of the well-formed UTF-8 sequence at `i` (RFC 3629: no overlong
// forms, no surrogates, nothing above U+10FFFF), advancing `i`; `invalid` for
// anything else.
std::uint32_t next_utf8(const std::string& bytes, std::size_t& i) {
  const auto lead = static_cast<unsigned char>(bytes[i++]);
  if (lead < 0x80) return lead;
  std::size_t extra = 0;
  std::uint32_t c = 0;
  std::uint32_t minimum = 0;
  if (lead >= 0xC2 && lead <= 0xDF) {
    extra = 1, c = lead & 0x1Fu, minimum = 0x80;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    extra = 2, c = lead & 0x0Fu, minimum = 0x800;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    extra = 3, c = lead & 0x07u, minimum = 0x10000;
  } else {
    return invalid;
  }
  for (std::size_t k = 0; k < extra; ++k) {
    if (i == bytes.size()) return invalid;
    const auto next = static_cast<unsigned char>(bytes[i]);
    if ((next & 0xC0) != 0x80) return invalid;
    c = (c << 6) | (next & 0x3Fu);
    ++i;
  }
  if (c < minimum || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) return invalid;
  return c;
}

int base64_value(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == '+') return 62;
  if (c == '/') return 63;
  return -1;
}

// Decoded length of a text of whole groups with at most two padding signs at
// its end; -1 when it is not one.
long long base64_length(const std::string& text) {
  if (text.empty() || text.size() % 4 != 0) return -1;
  std::size_t padding = 0;
  while (padding < 2 && text[text.size() - 1 - padding] == '=') ++padding;
  for (std::size_t i = 0; i < text.size() - padding; ++i) {
    if (base64_value(text[i]) < 0) return -1;
  }
  return static_cast<long long>(text.size() / 4 * 3 - padding);
}

struct FreeContextFn {
  void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};
struct FreeDigestFn {
  void operator()(EVP_MD* digest) const { EVP_MD_free(digest); }
};
struct FreeKeyFn {
  void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
struct FreeKeyContextFn {
  void operator()(EVP_PKEY_CTX* context) const { EVP_PKEY_CTX_free(context); }
};
struct FreeSignatureFn {
  void operator()(ECDSA_SIG* signature) const { ECDSA_SIG_free(signature); }
};
struct CloseFileFn {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

// The fetched digest stands for the process-wide provider of the Windows build:
// fetched once, kept until exit, fetched again after a failed attempt.
struct FileHashProvider {
  std::mutex lock;
  std::atomic<bool> ready{false};
  std::unique_ptr<EVP_MD, FreeDigestFn> digest;
};

FileHashProvider& file_hash_provider() {
  static FileHashProvider provider;
  return provider;
}

bool ensure_file_hash_provider(FileHashProvider& provider) {
  if (provider.ready.load(std::memory_order_acquire)) return true;
  std::lock_guard<std::mutex> guard(provider.lock);
  if (provider.ready.load(std::memory_order_relaxed)) return true;
  provider.digest.reset(EVP_MD_fetch(nullptr, "SHA256", nullptr));
  if (!provider.digest) return false;
  provider.ready.store(true, std::memory_order_release);
  return true;
}

// The statuses CNG gives for a point off the curve and for a signature that
// does not match.
constexpr std::int32_t status_invalid_parameter = static_cast<std::int32_t>(0xC000000Du);
constexpr std::int32_t status_invalid_signature = static_cast<std::int32_t>(0xC000A000u);

}  // namespace

std::size_t utf8_length_strict(const std::wstring& text) {
  std::size_t length = 0;
  for (std::size_t i = 0; i < text.size();) {
    const std::uint32_t c = next_code_point(text, i);
    if (c == invalid) return 0;
    length += utf8_units(c);
  }
  return length;
}

void utf16_to_utf8(const std::wstring& text, std::string& out) {
  std::size_t o = 0;
  for (std::size_t i = 0; i < text.size() && o < out.size();) {
    const std::uint32_t c = next_code_point(text, i);
    if (c == invalid) continue;  // not reached: the sizing pass has refused it
    const std::size_t units = utf8_units(c);
    if (o + units > out.size()) break;
    if (units == 1) {
      out[o++] = static_cast<char>(c);
    } else if (units == 2) {
      out[o++] = static_cast<char>(0xC0 | (c >> 6));
      out[o++] = static_cast<char>(0x80 | (c & 0x3F));
    } else if (units == 3) {
      out[o++] = static_cast<char>(0xE0 | (c >> 12));
      out[o++] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out[o++] = static_cast<char>(0x80 | (c & 0x3F));
    } else {
      out[o++] = static_cast<char>(0xF0 | (c >> 18));
      out[o++] = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
      out[o++] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out[o++] = static_cast<char>(0x80 | (c & 0x3F));
    }
  }
}

std::size_t utf16_length_strict(const std::string& bytes) {
  std::size_t length = 0;
  for (std::size_t i = 0; i < bytes.size();) {
    const std::uint32_t c = next_utf8(bytes, i);
    if (c == invalid) return 0;
    length += c >= 0x10000 ? 2 : 1;
  }
  return length;
}

void utf8_to_utf16(const std::string& bytes, std::wstring& out) {
  std::size_t o = 0;
  for (std::size_t i = 0; i < bytes.size() && o < out.size();) {
    std::uint32_t c = next_utf8(bytes, i);
    if (c == invalid) continue;  // not reached: the sizing pass has refused it
    if (c >= 0x10000) {
      if (o + 2 > out.size()) break;
      c -= 0x10000;
      out[o++] = static_cast<wchar_t>(0xD800 + (c >> 10));
      out[o++] = static_cast<wchar_t>(0xDC00 + (c & 0x3FF));
    } else {
      out[o++] = static_cast<wchar_t>(c);
    }
  }
}

bool base64_decode(const std::string& text, std::uint8_t* out, std::uint32_t& size) {
  const long long length = base64_length(text);
  if (length < 0) return false;
  if (!out) {
    size = static_cast<std::uint32_t>(length);
    return true;
  }
  if (size < length) return false;
  // The last group yields fewer bytes by its padding; the leftover low bits of
  // a padded group are ignored, as the Windows decoder does.
  const std::size_t padding = text.size() / 4 * 3 - static_cast<std::size_t>(length);
  std::size_t o = 0;
  for (std::size_t i = 0; i < text.size(); i += 4) {
    std::uint32_t group = 0;
    for (std::size_t k = 0; k < 4; ++k) {
      const int value = base64_value(text[i + k]);
      group = (group << 6) | static_cast<std::uint32_t>(value < 0 ? 0 : value);
    }
    const std::size_t count = i + 4 == text.size() ? 3 - padding : 3;
    for (std::size_t k = 0; k < count; ++k)
      out[o++] = static_cast<std::uint8_t>(group >> (16 - 8 * k));
  }
  size = static_cast<std::uint32_t>(o);
  return true;
}

bool sha256(const std::uint8_t* data, std::uint32_t size, Sha256Digest& digest) {
  unsigned int written = 0;
  return EVP_Digest(data, size, digest.data(), &written, EVP_sha256(), nullptr) == 1 &&
         written == digest.size();
}

namespace {

FileHash sha256_of_stream(std::FILE* file, Sha256Digest& digest) {
  // The stream's own buffer would only copy: every read goes straight into ours.
  std::setvbuf(file, nullptr, _IONBF, 0);

  FileHashProvider& provider = file_hash_provider();
  if (!ensure_file_hash_provider(provider)) return FileHash::unavailable;

  auto buffer = std::make_unique<unsigned char[]>(file_hash_buffer);
  std::unique_ptr<EVP_MD_CTX, FreeContextFn> context(EVP_MD_CTX_new());
  if (!context || EVP_DigestInit_ex(context.get(), provider.digest.get(), nullptr) != 1) {
    return FileHash::cannot_initialize;
  }
  for (;;) {
    const std::size_t read = std::fread(buffer.get(), 1, file_hash_buffer, file);
    if (read == 0) {
      if (std::ferror(file)) return FileHash::cannot_read;
      break;
    }
    if (EVP_DigestUpdate(context.get(), buffer.get(), read) != 1) return FileHash::cannot_hash;
  }
  unsigned int written = 0;
  if (EVP_DigestFinal_ex(context.get(), digest.data(), &written) != 1 || written != digest.size()) {
    return FileHash::cannot_finish;
  }
  return FileHash::done;
}

}  // namespace

FileHash sha256_file(const std::wstring& path, Sha256Digest& digest) {
  std::unique_ptr<std::FILE, CloseFileFn> file(std::fopen(portable::to_native(path).c_str(), "rb"));
  if (!file) return FileHash::cannot_read;
  return sha256_of_stream(file.get(), digest);
}

FileHash sha256_file(const OpenFile& file, Sha256Digest& digest) {
  if (std::fseek(file.stream, 0, SEEK_SET) != 0) return FileHash::cannot_read;
  return sha256_of_stream(file.stream, digest);
}

struct Es256Key {
  std::unique_ptr<EVP_PKEY, FreeKeyFn> key;
};

void Es256KeyRelease::operator()(Es256Key* key) const { delete key; }

Es256Open es256_open(const EcPoint& point) {
  Es256Open opened;
  std::unique_ptr<EVP_PKEY_CTX, FreeKeyContextFn> maker(
      EVP_PKEY_CTX_new_from_name(nullptr, "EC", nullptr));
  if (!maker || EVP_PKEY_fromdata_init(maker.get()) != 1) return opened;
  opened.provider = true;

  // The uncompressed encoding 04 || X || Y; OpenSSL refuses a point off the curve.
  unsigned char encoded[65] = {0x04};
  std::copy(point.begin(), point.end(), encoded + 1);
  char group[] = "prime256v1";
  const OSSL_PARAM params[] = {
      OSSL_PARAM_construct_utf8_string(OSSL_PKEY_PARAM_GROUP_NAME, group, 0),
      OSSL_PARAM_construct_octet_string(OSSL_PKEY_PARAM_PUB_KEY, encoded, sizeof encoded),
      OSSL_PARAM_construct_end()};
  EVP_PKEY* made = nullptr;
  const bool imported = EVP_PKEY_fromdata(maker.get(), &made, EVP_PKEY_PUBLIC_KEY,
                                          const_cast<OSSL_PARAM*>(params)) == 1;
  auto held = std::make_unique<Es256Key>();
  held->key.reset(made);
  opened.import_status = imported ? 0 : status_invalid_parameter;
  if (imported) opened.key.reset(held.release());
  return opened;
}

std::int32_t es256_verify(const Es256Key& key, const Sha256Digest& digest,
                          const EcSignature& signature) {
  // OpenSSL wants the signature in DER.
  std::unique_ptr<ECDSA_SIG, FreeSignatureFn> pair(ECDSA_SIG_new());
  BIGNUM* r = BN_bin2bn(signature.data(), 32, nullptr);
  BIGNUM* s = BN_bin2bn(signature.data() + 32, 32, nullptr);
  if (!pair || !r || !s || ECDSA_SIG_set0(pair.get(), r, s) != 1) {
    BN_free(r);
    BN_free(s);
    return status_invalid_signature;
  }
  unsigned char* der = nullptr;
  const int der_length = i2d_ECDSA_SIG(pair.get(), &der);
  std::unique_ptr<EVP_PKEY_CTX, FreeKeyContextFn> verifier(
      EVP_PKEY_CTX_new_from_pkey(nullptr, key.key.get(), nullptr));
  const bool verified = der_length > 0 && verifier && EVP_PKEY_verify_init(verifier.get()) == 1 &&
                        EVP_PKEY_verify(verifier.get(), der, static_cast<std::size_t>(der_length),
                                        digest.data(), digest.size()) == 1;
  OPENSSL_free(der);
  return verified ? 0 : status_invalid_signature;
}

}  // namespace nv::platform
