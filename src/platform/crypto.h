#pragma once
// The converters, the base64 decoder and SHA-256 of the platform. Each call
// reports what happened; which failure word that means is decided by the
// caller.
#include <array>
#include <cstdint>
#include <memory>
#include <string>

namespace nv::platform {

// UTF-16 and UTF-8 through code page 65001, in two passes. The strict sizing
// pass returns the length of the converted text, 0 when the input holds
// anything invalid (an unpaired surrogate; an invalid, truncated or overlong
// sequence). The conversion pass fills `out`, already of that length, without
// checks: the sizing pass has proved the input.
std::size_t utf8_length_strict(const std::wstring& text);
void utf16_to_utf8(const std::wstring& text, std::string& out);
std::size_t utf16_length_strict(const std::string& bytes);
void utf8_to_utf16(const std::string& bytes, std::wstring& out);

// Standard base64 with padding (CRYPT_STRING_BASE64). With a null `out`, sets
// `size` to the bytes needed; otherwise decodes into `out`, which holds `size`
// bytes, and sets `size` to the bytes written. False when the call fails.
bool base64_decode(const std::string& text, std::uint8_t* out, std::uint32_t& size);

using Sha256Digest = std::array<std::uint8_t, 32>;

// SHA-256 of a string in one call, with a provider of its own; false on any failure.
bool sha256(const std::uint8_t* data, std::uint32_t size, Sha256Digest& digest);

// SHA-256 of a file, streamed through one buffer of file_hash_buffer bytes.
inline constexpr std::size_t file_hash_buffer = 262144;
enum class FileHash {
  done,
  cannot_read,        // the file cannot be opened, or a read fails
  unavailable,        // the provider cannot be opened
  cannot_initialize,  // the object length cannot be read, or the hash cannot be created
  cannot_hash,        // a chunk cannot be hashed
  cannot_finish,      // the final digest cannot be produced
};
FileHash sha256_file(const std::wstring& path, Sha256Digest& digest);
// The same over a file held open (files.h), read from its start.
struct OpenFile;
FileHash sha256_file(const OpenFile& file, Sha256Digest& digest);

// ES256: ECDSA on P-256 over a SHA-256 digest. The point is X then Y and the
// signature r then s, each 32 big-endian bytes. The statuses are NTSTATUS
// values, negative for a failure. Opening the provider and importing the key
// come first, apart from the verification, so that a caller can let a missing
// provider decide before it hashes anything.
using EcPoint = std::array<std::uint8_t, 64>;
using EcSignature = std::array<std::uint8_t, 64>;
struct Es256Key;  // the provider and the imported key, released together
struct Es256KeyRelease {
  void operator()(Es256Key* key) const;
};
struct Es256Open {
  bool provider = false;                           // the ECDSA P-256 provider could be opened
  std::int32_t import_status = -1;                 // not tried without a provider
  std::unique_ptr<Es256Key, Es256KeyRelease> key;  // set when the import succeeded
};
Es256Open es256_open(const EcPoint& point);
std::int32_t es256_verify(const Es256Key& key, const Sha256Digest& digest,
                          const EcSignature& signature);

}  // namespace nv::platform
