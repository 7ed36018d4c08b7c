#pragma once
// The file system as the path helpers and file probes need it.
#include <cstdint>
#include <string>
#include <system_error>

namespace nv::platform {

// The final path of an existing file or directory as the file system knows it
// (links followed, letter case and separators of the disk).
enum class Resolve { resolved, not_found, failed };
struct Resolved {
  Resolve status = Resolve::failed;
  std::wstring path;
};
Resolved resolve_path(const std::wstring& path);

enum class FileKind { missing, regular, directory, other, error };
FileKind file_kind(const std::wstring& path);

std::error_code create_directories(const std::wstring& path);

// Size of a regular file; false when it cannot be had.
bool file_size(const std::wstring& path, std::uint64_t& size);
// The whole file as bytes; false when it cannot be opened or read.
bool read_file(const std::wstring& path, std::string& bytes);

}  // namespace nv::platform
