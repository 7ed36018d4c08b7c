// The installer download and its checks, timed inside the program, for tools/bench-download.sh.
// Prints "start", then one answer line, each mode's figures after "ok" or the failure word.
//   download <path> <size> <file>  download_to_file; "ok <bytes> <ms>". Waits for a line before
//                                  the download and one after it, so that the memory the process
//                                  holds can be read from outside at both points.
//   read <path> <size>             the same request, opened as download_to_file opens it, read by
//                                  WinHttpReadData into one buffer of the loop's size, nothing
//                                  written; "ok <bytes> <ms>"
//   write <file> <size>            the loop's writes alone: <size> bytes by WriteFile in reads'
//                                  sizes, then FlushFileBuffers; "ok <write ms> <flush ms>"
//   trace <path> <size> <file>     the read-then-write loop with each call timed: "ok <bytes> <ms>
//                                  <ms to the first read> <read ms> <write ms> <flush ms> <reads
//                                  over 5 ms> <their ms>"
//   verify <file> <size> <sha256>  sha256_file_hex, then the whole verify_installer;
//                                  "ok <sha256 ms> <verify ms> <verified 0|1>"
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

double ms_between(Clock::time_point begin, Clock::time_point end) {
  return std::chrono::duration<double, std::milli>(end - begin).count();
}

// The request as download_to_file makes it, up to its first read.
struct Request {
  nv::platform::HttpHandle session, connection, request;
};

Request open_request(const std::wstring& path) {
  namespace p = nv::platform;
  Request r;
  r.session = p::http_open(nv::update_user_agent, false);
  if (!r.session) nv::fail(nv::failure::download_network);
  p::http_set_timeouts(r.session.get(), {5000, 5000, 10000, 10000});
  r.connection = p::http_connect(r.session.get(), nv::build::update_host, nv::update_port);
  r.request = p::http_open_request(r.connection.get(), path);
  if (!r.request) nv::fail(nv::failure::download_network);
  p::http_refuse_redirects(r.request.get());
  if (!p::http_send(r.request.get(), nullptr) || !p::http_receive(r.request.get()))
    nv::fail(nv::failure::download_network);
  const auto code = p::http_status_code(r.request.get());
  if (!code || *code != 200) nv::fail(nv::failure::download_unavailable);
  return r;
}

std::uint64_t read_only(const std::wstring& path) {
  const Request r = open_request(path);
  std::vector<char> buffer(nv::download_read_size);
  std::uint64_t total = 0;
  for (std::uint32_t count = 1; count > 0; total += count)
    if (!nv::platform::http_read(r.request.get(), buffer.data(), nv::download_read_size, &count))
      nv::fail(nv::failure::download_network);
  return total;
}

// A read that long is the thread waiting for the processor or for the peer, not work of its own.
constexpr double stall_ms = 5;

// download_to_file's loop with a clock around each call; the figures after "ok".
std::string traced(const std::wstring& path, const std::wstring& file_path) {
  namespace p = nv::platform;
  const auto begin = Clock::now();
  const Request r = open_request(path);
  const p::WritableFile file = p::create_file(file_path, p::Creation::exclusive_sequential);
  if (!file) nv::fail(nv::failure::download_file);
  const double opening = ms_between(begin, Clock::now());
  std::vector<char> buffer(nv::download_read_size);
  std::uint64_t total = 0, stalls = 0;
  double reading = 0, writing = 0, stalled = 0;
  for (;;) {
    std::uint32_t count = 0;
    const auto before_read = Clock::now();
    if (!p::http_read(r.request.get(), buffer.data(), nv::download_read_size, &count))
      nv::fail(nv::failure::download_network);
    const auto after_read = Clock::now();
    const double read_ms = ms_between(before_read, after_read);
    reading += read_ms;
    if (read_ms > stall_ms) ++stalls, stalled += read_ms;
    if (count == 0) break;
    total += count;
    if (!p::write_all(*file, buffer.data(), count)) nv::fail(nv::failure::download_file);
    writing += ms_between(after_read, Clock::now());
  }
  const auto before_flush = Clock::now();
  if (!p::flush_file(*file)) nv::fail(nv::failure::download_incomplete);
  const double flushing = ms_between(before_flush, Clock::now());
  char figures[160];
  std::snprintf(figures, sizeof figures, "ok %llu %lld %.0f %.0f %.0f %.0f %llu %.0f",
                static_cast<unsigned long long>(total), ms_since(begin), opening, reading, writing,
                flushing, static_cast<unsigned long long>(stalls), stalled);
  return figures;
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
    } else if (mode == L"trace" && argc == 5) {
      answer = traced(argv[2], argv[4]);
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
