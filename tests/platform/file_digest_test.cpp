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

namespace {

std::string random_bytes(std::size_t size, unsigned seed) {
  std::mt19937 generator(seed);
  std::string bytes(size, '\0');
  for (auto& b : bytes) b = static_cast<char>(generator() & 0xFF);
  return bytes;
}

std::string digest_of(const std::string& bytes) {
  const auto digest = nv::sha256_bytes(bytes);
  return nv::hex_lower(digest.data(), digest.size());
}

using nv::test::failure_of;

TEST(FileDigest, SizesAroundTheReadBuffer) {
  nv::test::TempDir dir;
  constexpr std::size_t chunk = nv::platform::file_hash_buffer;
  const std::size_t sizes[] = {1, 63, 64, 65, chunk - 1, chunk, chunk + 1, 3 * chunk + 17};
  unsigned seed = 1;
  for (const std::size_t size : sizes) {
    const std::string bytes = random_bytes(size, seed++);
    const std::wstring path = dir / (L"file" + std::to_wstring(size));
    nv::test::write_bytes(path, bytes);
    EXPECT_EQ(nv::sha256_file_hex(path), digest_of(bytes)) << size;
  }
}

TEST(FileDigest, EmptyFileGivesTheDigestOfNothing) {
  nv::test::TempDir dir;
  nv::test::write_bytes(dir / L"empty", "");
  EXPECT_EQ(nv::sha256_file_hex(dir / L"empty"), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
}

TEST(FileDigest, FourTasksAtOnce) {
  // The analysis fingerprints four files at a time, possibly as the first use
  // of the shared provider in the process.
  nv::test::TempDir dir;
  std::vector<std::wstring> paths;
  std::vector<std::string> expected;
  for (unsigned i = 0; i < 4; ++i) {
    const std::string bytes = random_bytes(600000 + i * 1000, 100 + i);
    paths.push_back(dir / (L"Qt6Part" + std::to_wstring(i) + L".dll"));
    nv::test::write_bytes(paths.back(), bytes);
    expected.push_back(digest_of(bytes));
  }
  for (int round = 0; round < 3; ++round) {
    std::vector<std::wstring> results(4);
    std::vector<std::thread> tasks;
    for (std::size_t i = 0; i < 4; ++i) {
      tasks.emplace_back([&, i] { results[i] = nv::file_fingerprint(paths[i]); });
    }
    for (auto& t : tasks) t.join();
    for (std::size_t i = 0; i < 4; ++i) {
      EXPECT_EQ(results[i], std::wstring(expected[i].begin(), expected[i].end())) << i;
    }
  }
}

TEST(FileDigest, FileOpenForWritingElsewhere) {
  nv::test::TempDir dir;
  const std::wstring path = dir / L"Paltalk.exe";
  nv::test::write_bytes(path, "abc");
  std::ofstream writer(nv::test::to_fs(path), std::ios::binary | std::ios::app);
  ASSERT_TRUE(writer.is_open());
  EXPECT_EQ(nv::sha256_file_hex(path), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(FileDigest, MissingFileOrFolder) {
  nv::test::TempDir dir;
  EXPECT_EQ(failure_of([&] { nv::sha256_file_hex(dir / L"absent.exe"); }), nv::failure::read_application_file);
  EXPECT_EQ(failure_of([&] { nv::sha256_file_hex(dir.path()); }), nv::failure::read_application_file);
}

#ifdef _WIN32
TEST(FileDigest, FileLockedAgainstReadingCannotBeRead) {
  nv::test::TempDir dir;
  const std::wstring path = dir / L"locked.dll";
  nv::test::write_bytes(path, "abc");
  HANDLE lock = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(lock, INVALID_HANDLE_VALUE);
  EXPECT_EQ(failure_of([&] { nv::sha256_file_hex(path); }), nv::failure::read_application_file);
  CloseHandle(lock);
  EXPECT_EQ(nv::sha256_file_hex(path), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}
#endif

}  // namespace
