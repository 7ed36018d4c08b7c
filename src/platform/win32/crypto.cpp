#include "platform/crypto.h"

#include <windows.h>
#include <bcrypt.h>
#include <wincrypt.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/win32/open_file.h"
#include "platform/win32/owners.h"

namespace nv::platform {
namespace {

bool succeeded(NTSTATUS status) { return status >= 0; }

using win32::UniqueAlgorithm;
using win32::UniqueHash;
using win32::UniqueKey;

// The provider for file digests, opened once for the life of the process (the
// analysis hashes four files at a time) and closed at exit. A failed opening
// leaves it unset, so the next call tries again.
struct FileHashProvider {
  std::mutex lock;
  std::atomic<bool> ready{false};
  UniqueAlgorithm algorithm;
  DWORD object_length = 0;
};

FileHashProvider& file_hash_provider() {
  static FileHashProvider provider;
  return provider;
}

FileHash ensure_file_hash_provider(FileHashProvider& provider) {
  if (provider.ready.load(std::memory_order_acquire)) return FileHash::done;
  std::lock_guard<std::mutex> guard(provider.lock);
  if (provider.ready.load(std::memory_order_relaxed)) return FileHash::done;
  UniqueAlgorithm algorithm;
  if (!succeeded(
          BCryptOpenAlgorithmProvider(algorithm.put(), BCRYPT_SHA256_ALGORITHM, nullptr, 0))) {
    return FileHash::unavailable;
  }
  DWORD length = 0;
  ULONG written = 0;
  if (!succeeded(BCryptGetProperty(algorithm.get(), BCRYPT_OBJECT_LENGTH,
                                   reinterpret_cast<PUCHAR>(&length), sizeof length, &written,
                                   0))) {
    return FileHash::cannot_initialize;
  }
  provider.algorithm = std::move(algorithm);
  provider.object_length = length;
  provider.ready.store(true, std::memory_order_release);
  return FileHash::done;
}

}  // namespace

std::size_t utf8_length_strict(const std::wstring& text) {
  const int length =
      WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text.data(), static_cast<int>(text.size()),
                          nullptr, 0, nullptr, nullptr);
  return length > 0 ? static_cast<std::size_t>(length) : 0;
}

void utf16_to_utf8(const std::wstring& text, std::string& out) {
  WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), out.data(),
                      static_cast<int>(out.size()), nullptr, nullptr);
}

std::size_t utf16_length_strict(const std::string& bytes) {
  const int length = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bytes.data(),
                                         static_cast<int>(bytes.size()), nullptr, 0);
  return length > 0 ? static_cast<std::size_t>(length) : 0;
}

void utf8_to_utf16(const std::string& bytes, std::wstring& out) {
  MultiByteToWideChar(CP_UTF8, 0, bytes.data(), static_cast<int>(bytes.size()), out.data(),
                      static_cast<int>(out.size()));
}

bool base64_decode(const std::string& text, std::uint8_t* out, std::uint32_t& size) {
  DWORD length = out ? size : 0;
  if (!CryptStringToBinaryA(text.data(), static_cast<DWORD>(text.size()), CRYPT_STRING_BASE64, out,
                            &length, nullptr, nullptr)) {
    return false;
  }
  size = length;
  return true;
}

bool sha256(const std::uint8_t* data, std::uint32_t size, Sha256Digest& digest) {
  UniqueAlgorithm algorithm;
  if (!succeeded(BCryptOpenAlgorithmProvider(algorithm.put(), BCRYPT_SHA256_ALGORITHM, nullptr, 0)))
    return false;
  return succeeded(BCryptHash(algorithm.get(), nullptr, 0, const_cast<PUCHAR>(data), size,
                              digest.data(), static_cast<ULONG>(digest.size())));
}

namespace {

FileHash sha256_of_handle(HANDLE file, Sha256Digest& digest) {
  FileHashProvider& provider = file_hash_provider();
  if (const FileHash ready = ensure_file_hash_provider(provider); ready != FileHash::done)
    return ready;

  std::vector<UCHAR> object(provider.object_length);
  auto buffer = std::make_unique<UCHAR[]>(file_hash_buffer);
  UniqueHash hash;
  if (!succeeded(BCryptCreateHash(provider.algorithm.get(), hash.put(), object.data(),
                                  static_cast<ULONG>(object.size()), nullptr, 0, 0))) {
    return FileHash::cannot_initialize;
  }
  for (;;) {
    DWORD read = 0;
    if (!ReadFile(file, buffer.get(), static_cast<DWORD>(file_hash_buffer), &read, nullptr)) {
      return FileHash::cannot_read;
    }
    if (read == 0) break;
    if (!succeeded(BCryptHashData(hash.get(), buffer.get(), read, 0))) return FileHash::cannot_hash;
  }
  if (!succeeded(
          BCryptFinishHash(hash.get(), digest.data(), static_cast<ULONG>(digest.size()), 0))) {
    return FileHash::cannot_finish;
  }
  return FileHash::done;
}

}  // namespace

FileHash sha256_file(const std::wstring& path, Sha256Digest& digest) {
  win32::UniqueFile file(CreateFileW(path.c_str(), GENERIC_READ,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                     nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
  if (!file) return FileHash::cannot_read;
  return sha256_of_handle(file.get(), digest);
}

FileHash sha256_file(const OpenFile& file, Sha256Digest& digest) {
  LARGE_INTEGER start{};
  if (!SetFilePointerEx(file.handle.get(), start, nullptr, FILE_BEGIN))
    return FileHash::cannot_read;
  return sha256_of_handle(file.handle.get(), digest);
}

struct Es256Key {
  UniqueAlgorithm algorithm;
  UniqueKey key;
};

void Es256KeyRelease::operator()(Es256Key* key) const { delete key; }

Es256Open es256_open(const EcPoint& point) {
  Es256Open opened;
  auto held = std::make_unique<Es256Key>();
  if (!succeeded(BCryptOpenAlgorithmProvider(held->algorithm.put(), BCRYPT_ECDSA_P256_ALGORITHM,
                                             nullptr, 0)))
    return opened;
  opened.provider = true;

  // ECCPUBLICBLOB: magic "ECS1" and key length 32, little-endian, then X and Y.
  const BCRYPT_ECCKEY_BLOB head{BCRYPT_ECDSA_PUBLIC_P256_MAGIC, 32};
  std::array<UCHAR, sizeof head + 64> blob{};
  std::memcpy(blob.data(), &head, sizeof head);
  std::memcpy(blob.data() + sizeof head, point.data(), point.size());
  opened.import_status =
      BCryptImportKeyPair(held->algorithm.get(), nullptr, BCRYPT_ECCPUBLIC_BLOB, held->key.put(),
                          blob.data(), static_cast<ULONG>(blob.size()), 0);
  if (succeeded(opened.import_status)) opened.key.reset(held.release());
  return opened;
}

std::int32_t es256_verify(const Es256Key& key, const Sha256Digest& digest,
                          const EcSignature& signature) {
  return BCryptVerifySignature(
      key.key.get(), nullptr, const_cast<PUCHAR>(digest.data()), static_cast<ULONG>(digest.size()),
      const_cast<PUCHAR>(signature.data()), static_cast<ULONG>(signature.size()), 0);
}

}  // namespace nv::platform
