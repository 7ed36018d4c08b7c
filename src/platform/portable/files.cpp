#include "platform/files.h"

#include <cerrno>
#include <fstream>
#include <iterator>

#include "platform/portable/native_path.h"

namespace nv::platform {

Resolved resolve_path(const std::wstring& path) {
  Resolved result;
  std::error_code error;
  auto canonical = std::filesystem::canonical(portable::to_native(path), error);
  if (error) {
    const bool absent = error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory ||
                        error == std::errc::filename_too_long;
    result.status = absent ? Resolve::not_found : Resolve::failed;
    return result;
  }
  result.status = Resolve::resolved;
  result.path = portable::from_native(canonical);
  return result;
}

FileKind file_kind(const std::wstring& path) {
  std::error_code error;
  auto status = std::filesystem::status(portable::to_native(path), error);
  switch (status.type()) {
    case std::filesystem::file_type::regular:
      return FileKind::regular;
    case std::filesystem::file_type::directory:
      return FileKind::directory;
    case std::filesystem::file_type::not_found:
      return FileKind::missing;
    default:
      return error ? FileKind::error : FileKind::other;
  }
}

std::error_code create_directories(const std::wstring& path) {
  std::error_code error;
  std::filesystem::create_directories(portable::to_native(path), error);
  return error;
}

bool file_size(const std::wstring& path, std::uint64_t& size) {
  std::error_code error;
  size = std::filesystem::file_size(portable::to_native(path), error);
  return !error;
}

bool read_file(const std::wstring& path, std::string& bytes) {
  std::ifstream in(portable::to_native(path), std::ios::binary);
  if (!in) return false;
  bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  return !in.bad();
}

}  // namespace nv::platform
