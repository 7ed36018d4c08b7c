#include "platform/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <algorithm>
#include <iterator>
#include <limits>

#include "foundation/paths.h"
#include "platform/held_folders.h"
#include "platform/portable/file_status.h"
#include "platform/portable/native_path.h"
#include "platform/portable/open_file.h"

namespace nv::platform {
namespace {

using portable::attributes_of;

}  // namespace

Resolved resolve_path(const std::wstring& path) {
  Resolved result;
  std::error_code error;
  auto canonical = std::filesystem::canonical(portable::to_native(path), error);
  if (error) {
    const bool absent = error == std::errc::no_such_file_or_directory ||
                        error == std::errc::not_a_directory ||
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

bool create_directories(const std::wstring& path) {
  std::error_code error;
  std::filesystem::create_directories(portable::to_native(path), error);
  return !error;
}

bool read_file(const std::wstring& path, std::string& bytes) {
  // A directory opens here but cannot be read: that is a failed read.
  return read_file_head(path, std::numeric_limits<std::size_t>::max(), bytes);
}

bool read_file_head(const std::wstring& path, std::size_t limit, std::string& bytes) {
  const int fd = ::open(portable::to_native(path).c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  bytes.clear();
  char buffer[65536];
  bool good = true;
  while (bytes.size() < limit) {
    const ssize_t read = ::read(fd, buffer, std::min(sizeof buffer, limit - bytes.size()));
    if (read <= 0) {
      good = read == 0;
      break;
    }
    bytes.append(buffer, static_cast<std::size_t>(read));
  }
  ::close(fd);
  return good;
}

std::optional<OwnAttributes> own_attributes(const std::wstring& path) {
  struct stat info {};
  if (::lstat(portable::to_native(path).c_str(), &info) != 0) return std::nullopt;
  return attributes_of(info);
}

void OpenFileCloser::operator()(OpenFile* file) const {
  std::fclose(file->stream);
  delete file;
}

// A link is not opened at all; nothing enforces the sharing here.
HeldFile hold_file(const std::wstring& path) {
  const int fd = ::open(portable::to_native(path).c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
  if (fd < 0) return nullptr;
  std::FILE* stream = ::fdopen(fd, "rb");
  if (!stream) {
    ::close(fd);
    return nullptr;
  }
  return HeldFile(new OpenFile{stream});
}

std::optional<OwnAttributes> own_attributes(const OpenFile& file) {
  struct stat info {};
  if (::fstat(::fileno(file.stream), &info) != 0) return std::nullopt;
  return attributes_of(info);
}

std::vector<DirectoryEntry> list_directory(const std::wstring& path) {
  std::vector<DirectoryEntry> entries;
  std::error_code error;
  std::filesystem::directory_iterator it(portable::to_native(path), error), end;
  for (; !error && it != end; it.increment(error)) {
    std::error_code unreadable;  // a dangling link is listed as something else
    const auto type = it->status(unreadable).type();
    const FileKind kind = type == std::filesystem::file_type::directory ? FileKind::directory
                          : type == std::filesystem::file_type::regular ? FileKind::regular
                                                                        : FileKind::other;
    entries.push_back({portable::from_native(it->path()), kind});
  }
  return entries;
}

bool last_write_time(const std::wstring& path, std::uint64_t& time) {
  struct stat info {};
  if (::lstat(portable::to_native(path).c_str(), &info) != 0) return false;
  time = portable::filetime_of(info);
  return true;
}

void remove_tree(const std::wstring& path) {
  // Through held folders, so that a link at any depth goes by itself and is never entered.
  const HeldResult parent = hold_folder(parent_of(path));
  if (parent.folder) remove_held_entry(*parent.folder, name_of(path));
}

}  // namespace nv::platform
