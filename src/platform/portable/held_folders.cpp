// Folders held through descriptors: every step below a held folder goes through
// openat, fstatat and unlinkat relative to it, and never follows a link.
#include "platform/held_folders.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

#include "platform/portable/file_status.h"
#include "platform/portable/native_path.h"

namespace nv::platform {

struct HeldFolder {
  int fd = -1;
};

namespace {

using portable::attributes_of;
using portable::filetime_of;

// A name of one entry, never a path: no separator, no "." or "..".
bool plain_name(const std::string& name) {
  return !name.empty() && name != "." && name != ".." &&
         name.find_first_of("/\\") == std::string::npos;
}

HeldResult hold_at(int directory, const std::string& name) {
  HeldResult result;
  const int fd = ::openat(directory, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (fd < 0) {
    const int error = errno;
    struct stat info {};
    if (error == ENOENT) {
      result.status = Hold::missing;
    } else if ((error == ELOOP || error == ENOTDIR) &&
               ::fstatat(directory, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0) {
      result.status = hold_status_of(attributes_of(info));
    }
    return result;
  }
  result.folder.reset(new HeldFolder{fd});
  const auto own = own_attributes(*result.folder);
  result.status = own ? hold_status_of(*own) : Hold::failed;
  if (result.status != Hold::held) result.folder.reset();
  return result;
}

}  // namespace

void HeldFolderCloser::operator()(HeldFolder* folder) const {
  ::close(folder->fd);
  delete folder;
}

HeldResult hold_folder(const std::wstring& path) {
  return hold_at(AT_FDCWD, portable::to_native(path).string());
}

HeldResult hold_folder_in(const HeldFolder& parent, const std::wstring& name, bool create) {
  const std::string native = portable::narrow(name);
  if (!plain_name(native)) return {};
  if (create && ::mkdirat(parent.fd, native.c_str(), 0777) != 0 && errno != EEXIST) return {};
  return hold_at(parent.fd, native);
}

std::optional<OwnAttributes> own_attributes(const HeldFolder& folder) {
  struct stat info {};
  if (::fstat(folder.fd, &info) != 0) return std::nullopt;
  return attributes_of(info);
}

std::wstring held_path(const HeldFolder& folder) {
  char target[PATH_MAX];
  const std::string link = "/proc/self/fd/" + std::to_string(folder.fd);
  const ssize_t length = ::readlink(link.c_str(), target, sizeof target);
  if (length <= 0 || static_cast<std::size_t>(length) >= sizeof target) return {};
  return portable::from_native(std::string(target, static_cast<std::size_t>(length)));
}

std::vector<HeldEntry> list_held(const HeldFolder& folder) {
  std::vector<HeldEntry> entries;
  const int fd = ::openat(folder.fd, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return entries;
  DIR* directory = ::fdopendir(fd);
  if (!directory) {
    ::close(fd);
    return entries;
  }
  while (const dirent* entry = ::readdir(directory)) {
    const std::string name = entry->d_name;
    if (!plain_name(name)) continue;
    HeldEntry held{portable::widen(name), FileKind::other, std::nullopt};
    struct stat info {};
    if (::fstatat(folder.fd, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0) {
      held.kind = S_ISDIR(info.st_mode)   ? FileKind::directory
                  : S_ISREG(info.st_mode) ? FileKind::regular
                                          : FileKind::other;
      held.write_time = filetime_of(info);
    }
    entries.push_back(std::move(held));
  }
  ::closedir(directory);
  return entries;
}

void remove_held_entry(const HeldFolder& parent, const std::wstring& name) {
  const std::string native = portable::narrow(name);
  if (!plain_name(native)) return;
  HeldResult inner = hold_at(parent.fd, native);
  if (inner.status == Hold::held) {
    for (const HeldEntry& entry : list_held(*inner.folder))
      remove_held_entry(*inner.folder, entry.name);
    inner.folder.reset();
    // If the name was swapped for a link meanwhile, this fails and the link stays.
    ::unlinkat(parent.fd, native.c_str(), AT_REMOVEDIR);
    return;
  }
  // A file or a link, by itself; a folder that could not be held is left alone.
  if (inner.status == Hold::link || inner.status == Hold::not_folder)
    ::unlinkat(parent.fd, native.c_str(), 0);
}

}  // namespace nv::platform
