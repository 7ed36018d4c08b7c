#pragma once
// What a stat record means in the terms of the Windows backend: a file's own
// attributes (a link as a reparse point) and its times in FILETIME units.
#include <sys/stat.h>

#include <cstdint>

#include "platform/files.h"

namespace nv::platform::portable {

// 1970-01-01 in FILETIME units (100 ns since 1601).
inline constexpr std::uint64_t filetime_of_1970 = 116444736000000000ull;

inline std::uint64_t filetime_of(const struct stat& info) {
  const auto seconds = static_cast<std::int64_t>(info.st_mtim.tv_sec);
  return static_cast<std::uint64_t>(seconds * 10000000 + info.st_mtim.tv_nsec / 100) +
         filetime_of_1970;
}

inline OwnAttributes attributes_of(const struct stat& info) {
  OwnAttributes own;
  if (S_ISLNK(info.st_mode)) {
    own.attributes = file_attribute_reparse_point;
    own.reparse_tag = reparse_tag_symlink;
  } else if (S_ISDIR(info.st_mode)) {
    own.attributes = file_attribute_directory;
  }
  own.size = static_cast<std::uint64_t>(info.st_size);
  return own;
}

}  // namespace nv::platform::portable
