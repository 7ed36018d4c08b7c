#pragma once
// The worker's side of the installer download: one blocking HTTPS GET of the
// manifest's path, streamed into a new temporary file through one buffer.
#include <atomic>
#include <cstdint>
#include <functional>
#include <string>

#include "foundation/atomic_write.h"
#include "update/manifest.h"

namespace nv {

inline constexpr std::uint32_t download_read_size = 65536;

// A temporary of its own per attempt, never reopened, gone on every way out
// but the rename.
inline constexpr TemporaryRule download_temporary{
    .name = TemporaryName::guid_part,
    .creation = platform::Creation::exclusive_sequential,
    .removed_unless_renamed = true};

// Shared by the progress dialog and the worker.
struct DownloadProgress {
  std::atomic<std::uint32_t> percent{0};  // 0 to 100, written by the worker
  std::atomic<bool> cancel{false};        // set by the dialog side
};

// Fetches manifest.path from the update host into `temporary_path`, which must
// not exist yet. Returns only with all of manifest.size bytes on disk; raises a
// failure word otherwise, and leaves what was written for the caller to delete.
void download_to_file(const ReleaseManifest& manifest, const std::wstring& temporary_path,
                      DownloadProgress& progress);

// The two ends of the copy. The response reads up to `capacity` bytes and
// reports the count, 0 at its end (WinHttpReadData); the file writes all the
// bytes or fails (WriteFile), and flushes (FlushFileBuffers).
using ResponseReader =
    std::function<bool(char* buffer, std::uint32_t capacity, std::uint32_t& count)>;
struct FileWriter {
  std::function<bool(const char* bytes, std::uint32_t count)> write;
  std::function<bool()> flush;
};

// Copies a response of exactly `size` bytes into the file, keeping `percent`
// and stopping between reads when `cancel` is set. Raises a failure word.
void copy_response_to_file(std::uint64_t size, DownloadProgress& progress,
                           const ResponseReader& request, const FileWriter& file);

}  // namespace nv
