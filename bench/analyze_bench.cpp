// The cost of judging a host: analyze_host over an installation of realistic
// size, timed beside the digest of its largest file alone in the same run.
// The four digests run side by side, so the analysis should cost little more
// than that one file; the last line states the ratio of the two.
#include <benchmark/benchmark.h>

#include "fastest.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "foundation/encoding.h"
#include "foundation/paths.h"
#include "host/verdict.h"
#include "foundation/process_values.h"
#include "fake_platform.h"
#include "test_support.h"

namespace {

constexpr std::uint64_t mib = 1024 * 1024;

// An x64 image header followed by filler up to the size of the real file.
void write_image(const std::wstring& path, std::uint64_t size, std::uint64_t seed) {
  std::string bytes(size, '\0');
  std::uint64_t state = seed * 0x9E3779B97F4A7C15ull + 1;
  for (std::size_t i = 0; i + 8 <= bytes.size(); i += 8) {
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    for (int k = 0; k < 8; ++k) bytes[i + k] = static_cast<char>(state >> (8 * k));
  }
  // "MZ", the PE headers at offset 64, their signature and machine 0x8664.
  std::fill_n(bytes.begin(), 70, '\0');
  bytes[0] = 'M';
  bytes[1] = 'Z';
  bytes[60] = 64;
  bytes[64] = 'P';
  bytes[65] = 'E';
  bytes[68] = '\x64';
  bytes[69] = '\x86';
  nv::test::write_bytes(path, bytes);
}

void set_version(const std::wstring& path, std::uint32_t ms, std::uint32_t ls) {
  nv::platform::FixedFileInfo info;
  info.found = true;
  info.length = 52;
  info.version_ms = ms;
  info.version_ls = ls;
  nv::fake.versions[nv::folded_path(path)] = info;
}

// The sizes of a current Paltalk installation; this build is the tested one,
// so the analysis takes the road of an ordinary launch.
struct Installation {
  nv::test::TempDir dir;
  const nv::ContextScope context{{.install_root = dir / L"Tenebrix"}};
  std::wstring exe = dir / L"Paltalk\\Paltalk.exe";
  std::vector<std::wstring> libraries = {dir / L"Paltalk\\Qt6Core.dll",
                                         dir / L"Paltalk\\Qt6Gui.dll",
                                         dir / L"Paltalk\\Qt6Widgets.dll"};

  Installation() {
    write_image(exe, 40 * mib, 1);
    const std::uint64_t sizes[] = {7 * mib, 9 * mib, 6 * mib};
    for (std::size_t i = 0; i < libraries.size(); ++i) write_image(libraries[i], sizes[i], i + 2);
    set_version(exe, (1u << 16) | 37, 4321u << 16);
    for (const auto& library : libraries) set_version(library, (6u << 16) | 11, 1u << 16);
    std::string ini = "[Tested]\r\nHashes=";
    ini += nv::sha256_file_hex(exe);
    for (const auto& library : libraries) {
      ini += '|';
      ini += nv::sha256_file_hex(library);
    }
    ini += "\r\n";
    nv::test::write_bytes(nv::compatibility_path(), ini);
  }
};

using nv::bench::fastest;
using nv::bench::FastestReporter;

}  // namespace

int main(int argc, char** argv) {
  // Repetitions of the two alternate, so that a change in the machine's load
  // during the run falls on both. Flags given on the command line come later
  // and win.
  std::vector<char*> arguments(argv, argv + argc);
  char repetitions[] = "--benchmark_repetitions=15";
  char min_time[] = "--benchmark_min_time=0.2";
  char interleave[] = "--benchmark_enable_random_interleaving=true";
  char aggregates[] = "--benchmark_report_aggregates_only=true";
  arguments.insert(arguments.begin() + 1, {repetitions, min_time, interleave, aggregates});
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 1;

  const Installation installation;
  if (!nv::analyze_host(installation.exe).recognized) {
    std::fprintf(stderr, "the fixture installation is not recognized\n");
    return 1;
  }

  benchmark::RegisterBenchmark("hash_largest_file",
                               [&](benchmark::State& state) {
                                 for (auto _ : state)
                                   benchmark::DoNotOptimize(nv::sha256_file_hex(installation.exe));
                               })
      ->UseRealTime()
      ->Unit(benchmark::kMillisecond)
      ->ComputeStatistics("min", fastest);
  benchmark::RegisterBenchmark(
      "analyze_host",
      [&](benchmark::State& state) {
        for (auto _ : state) {
          const nv::HostAnalysis analysis = nv::analyze_host(installation.exe);
          if (!analysis.recognized)
            state.SkipWithError("analysis no longer recognizes the fixture");
          benchmark::DoNotOptimize(analysis);
        }
      })
      ->UseRealTime()
      ->Unit(benchmark::kMillisecond)
      ->ComputeStatistics("min", fastest);

  FastestReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();

  const auto analysis = reporter.milliseconds.find("analyze_host");
  const auto largest = reporter.milliseconds.find("hash_largest_file");
  if (analysis == reporter.milliseconds.end() || largest == reporter.milliseconds.end() ||
      largest->second <= 0)
    return 1;
  std::printf("analyze_host %.2f ms, largest file alone %.2f ms (fastest repetitions)\n",
              analysis->second, largest->second);
  std::printf("ratio %.2f\n", analysis->second / largest->second);
  return 0;
}
