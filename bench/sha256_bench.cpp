// The file digest's throughput: sha256_file_hex on a 64 MiB file beside
// `openssl dgst -sha256` on the same file in the same run. OpenSSL's time is
// taken less the cost of starting the command (timed on an empty file), so the
// comparison is of hashing alone and errs against this project. The last line
// states the ratio of the two throughputs; the memory line shows that the
// digest streams the file rather than holding it.
#include <benchmark/benchmark.h>

#include "fastest.h"
#include <sys/resource.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "foundation/encoding.h"
#include "test_support.h"

namespace {

constexpr std::uint64_t mib = 1024 * 1024;
constexpr std::uint64_t file_size = 64 * mib;

// Written a mebibyte at a time, so the file itself never sits in this process.
void write_file(const std::wstring& path, std::uint64_t size) {
  std::ofstream out(nv::test::to_fs(path), std::ios::binary | std::ios::trunc);
  std::string chunk(mib, '\0');
  std::uint64_t state = 0x9E3779B97F4A7C15ull;
  for (std::uint64_t written = 0; written < size; written += chunk.size()) {
    for (std::size_t i = 0; i + 8 <= chunk.size(); i += 8) {
      state ^= state << 13;
      state ^= state >> 7;
      state ^= state << 17;
      for (int k = 0; k < 8; ++k) chunk[i + k] = static_cast<char>(state >> (8 * k));
    }
    out.write(chunk.data(),
              static_cast<std::streamsize>(std::min<std::uint64_t>(chunk.size(), size - written)));
  }
}

// The digest `openssl dgst -sha256 -r` prints for a file; empty on failure.
std::string openssl_digest(const std::string& file) {
  const std::string command = "openssl dgst -sha256 -r '" + file + "' 2>/dev/null";
  std::FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return {};
  char line[256] = {};
  const bool read = std::fgets(line, sizeof line, pipe) != nullptr;
  const int status = pclose(pipe);
  if (!read || status != 0) return {};
  return std::string(line).substr(0, 64);
}

long peak_rss_kib() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

using nv::bench::fastest;
using nv::bench::FastestReporter;

void configure(benchmark::internal::Benchmark* b) {
  b->UseRealTime()
      ->Unit(benchmark::kMillisecond)
      ->Repetitions(7)
      ->ComputeStatistics("min", fastest);
  b->ReportAggregatesOnly(true);
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<char*> arguments(argv, argv + argc);
  char interleave[] = "--benchmark_enable_random_interleaving=true";
  arguments.insert(arguments.begin() + 1, interleave);
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 1;

  const nv::test::TempDir dir;
  const std::wstring big = dir / L"Paltalk.exe";
  const std::wstring empty = dir / L"empty.bin";
  write_file(big, file_size);
  write_file(empty, 0);
  const std::string big_native = nv::test::to_fs(big).string();
  const std::string empty_native = nv::test::to_fs(empty).string();

  // Both read the file once from the page cache, and must agree on it.
  const long rss_before = peak_rss_kib();
  const std::string ours = nv::sha256_file_hex(big);
  if (ours != openssl_digest(big_native)) {
    std::fprintf(stderr, "sha256_file_hex and openssl disagree (or openssl is missing)\n");
    return 1;
  }

  benchmark::RegisterBenchmark("sha256_file_hex", [&](benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(nv::sha256_file_hex(big));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * file_size));
  })->Apply(configure);
  benchmark::RegisterBenchmark("openssl_dgst", [&](benchmark::State& state) {
    for (auto _ : state) {
      if (openssl_digest(big_native).empty()) state.SkipWithError("openssl dgst failed");
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * file_size));
  })->Apply(configure);
  benchmark::RegisterBenchmark("openssl_dgst_empty_file", [&](benchmark::State& state) {
    for (auto _ : state) {
      if (openssl_digest(empty_native).empty()) state.SkipWithError("openssl dgst failed");
    }
  })->Apply(configure);

  FastestReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  const long rss_growth = peak_rss_kib() - rss_before;

  const auto& ms = reporter.milliseconds;
  const auto project = ms.find("sha256_file_hex");
  const auto openssl = ms.find("openssl_dgst");
  const auto start = ms.find("openssl_dgst_empty_file");
  if (project == ms.end() || openssl == ms.end() || start == ms.end()) return 1;
  const double openssl_hashing = std::max(openssl->second - start->second, 1e-6);
  const double project_rate = static_cast<double>(file_size) / mib / (project->second / 1e3);
  const double openssl_rate = static_cast<double>(file_size) / mib / (openssl_hashing / 1e3);
  std::printf("sha256_file_hex: %.0f MiB/s (%.1f ms for 64 MiB)\n", project_rate, project->second);
  std::printf("openssl dgst -sha256: %.0f MiB/s (%.1f ms, less %.1f ms to start the command)\n",
              openssl_rate, openssl->second, start->second);
  std::printf("peak memory growth while hashing: %ld KiB\n", rss_growth);
  if (rss_growth > 8 * 1024) {
    std::fprintf(stderr, "the digest's memory grew with the file\n");
    return 1;
  }
  std::printf("ratio %.2f\n", project_rate / openssl_rate);
  return 0;
}
