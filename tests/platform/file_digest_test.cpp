// File digests on the real backend: chunking across the read buffer, the
// shared provider under concurrent first use, and files other handles hold.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <thread>
#include <vector>

#include "foundation/encoding.h"
#include "foundation/failure.h"
#include "host/identification.h"
#include "platform/crypto.h"
#include "test_support.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace nv {
namespace {

// A file of `size` random bytes in `dir`, and the digest it must have.
std::pair<std::wstring, std::string> random_file(const test::TempDir& dir, std::size_t size, unsigned seed) {
  std::mt19937 generator(seed);
  std::string bytes(size, '\0');
  for (auto& b : bytes) b = static_cast<char>(generator() & 0xFF);
  const std::wstring path = dir / (L"Qt6Part" + std::to_wstring(seed) + L".dll");
  test::write_bytes(path, bytes);
  const auto digest = sha256_bytes(bytes);
  return {path, hex_lower(digest.data(), digest.size())};
}

// Sizes around the read buffer, hashed side by side as the analysis does,
// possibly as the first use of the shared provider in the process.
TEST(FileDigest, SizesAroundTheReadBufferAtOnce) {
  test::TempDir dir;
  constexpr std::size_t chunk = platform::file_hash_buffer;
  const std::size_t sizes[] = {1, 63, 64, 65, chunk - 1, chunk, chunk + 1, 3 * chunk + 17};
  std::vector<std::pair<std::wstring, std::string>> files;
  for (const std::size_t size : sizes) files.push_back(random_file(dir, size, static_cast<unsigned>(files.size())));
  std::vector<std::wstring> results(files.size());
  std::vector<std::thread> tasks;
  for (std::size_t i = 0; i < files.size(); ++i)
    tasks.emplace_back([&, i] { results[i] = file_fingerprint(files[i].first); });
  for (auto& task : tasks) task.join();
  for (std::size_t i = 0; i < files.size(); ++i) EXPECT_EQ(to_utf8(results[i]), files[i].second) << sizes[i];
}

TEST(FileDigest, FileHeldByAnotherHandle) {
  test::TempDir dir;
  const auto file = random_file(dir, 100, 7);
  const std::wstring& path = file.first;
  const std::string& digest = file.second;
  std::ofstream writer(test::to_fs(path), std::ios::binary | std::ios::app);
  ASSERT_TRUE(writer.is_open());
  EXPECT_EQ(sha256_file_hex(path), digest);  // open for writing elsewhere
  writer.close();
#ifdef _WIN32
  HANDLE lock = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(lock, INVALID_HANDLE_VALUE);
  EXPECT_EQ(test::failure_of([&] { sha256_file_hex(path); }), failure::read_application_file);
  CloseHandle(lock);
  EXPECT_EQ(sha256_file_hex(path), digest);
#endif
}

}  // namespace
}  // namespace nv
