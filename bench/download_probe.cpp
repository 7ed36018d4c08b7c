// The installer download and its checks, timed inside the program, for tools/bench-download.sh.
// Prints "start", then one answer line, each mode's figures after "ok" or the failure word.
//   download_probe download <path> <size> <file>  download_to_file; "ok <bytes> <ms>". Waits for a
//   line before
//                                                 the download and one after it, so that the memory
//                                                 the process holds can be read from outside at
//                                                 both points.
//   download_probe read <path> <size>             the same request, read by WinHttpReadData into
//   one buffer
//                                                 of the loop's size and nothing written; "ok
//                                                 <bytes> <ms>"
//   download_probe write <file> <size>            the loop's writes alone: <size> bytes by
//   WriteFile in reads'
//                                                 sizes, then FlushFileBuffers; "ok <write ms>
//                                                 <flush ms>"
//   download_probe verify <file> <size> <sha256>  sha256_file_hex, then the whole verify_installer;
//                                                 "ok <sha256 ms> <verify ms> <verified 0|1>"
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "build_config.h"
#include "foundation/encoding.h"
#include "foundation/failure.h"
#include "platform/file_ops.h"
#include "platform/http.h"
#include "update/download.h"
#include "update/feed.h"
#include "update/handover.h"

namespace {

using Clock = std::chrono::steady_clock;

long long ms_since(Clock::time_point begin) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin).count();
}

void wait_for_line() {
  char line[16];
  static_cast<void>(std::fgets(line, sizeof line, stdin));
}

std::uint64_t read_only(const std::wstring& path) {
  namespace p = nv::platform;
  const p::HttpHandle session = p::http_open(nv::update_user_agent, false);
  const p::HttpHandle connection =
      p::http_connect(session.get(), nv::build::update_host, nv::update_port);
  const p::HttpHandle request = p::http_open_request(connection.get(), path);
  if (!request || !p::http_send(request.get(), nullptr) || !p::http_receive(request.get()))
    nv::fail(nv::failure::download_network);
  std::vector<char> buffer(nv::download_read_size);
  std::uint64_t total = 0;
  for (std::uint32_t count = 1; count > 0; total += count)
    if (!p::http_read(request.get(), buffer.data(), nv::download_read_size, &count))
      nv::fail(nv::failure::download_network);
  return total;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  std::puts("start");
  std::fflush(stdout);
  const std::wstring mode = argc > 1 ? argv[1] : L"";
  std::string answer = "usage";
  try {
    nv::ReleaseManifest manifest;
    if (argc > 3) manifest.size = std::stoull(argv[3]);
    if (mode == L"download" && argc == 5) {
      wait_for_line();
      manifest.path = argv[2];
      nv::DownloadProgress progress;
      const auto begin = Clock::now();
      nv::download_to_file(manifest, argv[4], progress);
      answer = "ok " + std::to_string(manifest.size) + " " + std::to_string(ms_since(begin));
    } else if (mode == L"read" && argc == 4) {
      const auto begin = Clock::now();
      const std::uint64_t total = read_only(argv[2]);
      answer = "ok " + std::to_string(total) + " " + std::to_string(ms_since(begin));
    } else if (mode == L"write" && argc == 4) {
      const std::vector<char> bytes(nv::download_read_size, 'x');
      auto begin = Clock::now();
      const nv::platform::WritableFile file = nv::create_temporary(argv[2], nv::download_temporary);
      for (std::uint64_t done = 0; file && done < manifest.size; done += bytes.size()) {
        const auto count =
            static_cast<std::uint32_t>(std::min<std::uint64_t>(manifest.size - done, bytes.size()));
        if (!nv::platform::write_all(*file, bytes.data(), count))
          nv::fail(nv::failure::download_file);
      }
      const long long written = ms_since(begin);
      begin = Clock::now();
      if (!file || !nv::platform::flush_file(*file)) nv::fail(nv::failure::download_file);
      answer = "ok " + std::to_string(written) + " " + std::to_string(ms_since(begin));
    } else if (mode == L"verify" && argc == 5) {
      manifest.sha256 = nv::to_utf8(argv[4]);
      auto begin = Clock::now();
      const bool same = nv::sha256_file_hex(argv[2]) == manifest.sha256;
      const long long hashed = ms_since(begin);
      begin = Clock::now();
      const bool verified = nv::verify_installer(argv[2], manifest);
      answer = same ? "ok " + std::to_string(hashed) + " " + std::to_string(ms_since(begin)) + " " +
                          std::to_string(verified)
                    : "digest differs";
    }
  } catch (const std::exception& e) {
    answer = e.what();
  }
  std::puts(answer.c_str());
  std::fflush(stdout);
  if (mode == L"download") wait_for_line();
  return 0;
}
