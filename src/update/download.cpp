#include "update/download.h"

#include <vector>

#include "build_config.h"
#include "foundation/failure.h"
#include "platform/file_ops.h"
#include "platform/http.h"
#include "update/feed.h"

namespace nv {
namespace {

void stop_if_cancelled(const DownloadProgress& progress) {
  if (progress.cancel.load()) fail(failure::download_cancelled);
}

}  // namespace

void download_to_file(const ReleaseManifest& manifest, const std::wstring& temporary_path,
                      DownloadProgress& progress) {
  stop_if_cancelled(progress);
  // Declared in the reverse of their closing order: file, request, connection, session.
  const platform::HttpHandle session = platform::http_open(update_user_agent, false);
  if (!session) fail(failure::download_network);
  // No overall deadline here: a user can watch a slow download, and a stall ends at the receive
  // time-out.
  platform::http_set_timeouts(session.get(), {5000, 5000, 10000, 10000});
  const platform::HttpHandle connection =
      platform::http_connect(session.get(), build::update_host, update_port);
  const platform::HttpHandle request = platform::http_open_request(connection.get(), manifest.path);
  if (!request) fail(failure::download_network);
  platform::http_refuse_redirects(request.get());  // unlike the feed's, its result is not examined
  if (!platform::http_send(request.get(), nullptr) || !platform::http_receive(request.get())) {
    fail(failure::download_network);
  }
  const auto code = platform::http_status_code(request.get());
  if (!code || *code != 200) fail(failure::download_unavailable);
  const platform::WritableFile file = create_temporary(temporary_path, download_temporary);
  if (!file) fail(failure::download_file);
  copy_response_to_file(manifest.size, progress,
                        [&](char* buffer, std::uint32_t capacity, std::uint32_t& count) {
                          return platform::http_read(request.get(), buffer, capacity, &count);
                        },
                        {[&](const char* bytes, std::uint32_t count) {
                           return platform::write_all(*file, bytes, count);
                         },
                         [&] { return platform::flush_file(*file); }});
}

void copy_response_to_file(std::uint64_t size, DownloadProgress& progress,
                           const ResponseReader& request, const FileWriter& file) {
  std::vector<char> buffer(download_read_size);
  std::uint64_t total = 0;
  stop_if_cancelled(progress);
  for (;;) {
    std::uint32_t count = 0;
    if (!request(buffer.data(), download_read_size, count)) fail(failure::download_network);
    stop_if_cancelled(progress);
    if (count == 0) {
      if (total != size || !file.flush()) fail(failure::download_incomplete);
      stop_if_cancelled(progress);  // a cancel in the last moment still counts
      return;
    }
    total += count;
    if (total > size) fail(failure::download_size);  // before a byte of this read is written
    if (!file.write(buffer.data(), count)) fail(failure::download_file);
    progress.percent.store(static_cast<std::uint32_t>(total * 100 / size));
    stop_if_cancelled(progress);
  }
}

}  // namespace nv
