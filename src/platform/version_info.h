#pragma once
// The fixed part of a file's version resource.
#include <cstdint>
#include <string>

namespace nv::platform {

struct FixedFileInfo {
  bool found =
      false;  // GetFileVersionInfoSizeW, GetFileVersionInfoW and VerQueryValueW("\") all worked
  std::uint32_t length = 0;      // the length VerQueryValueW reported
  std::uint32_t version_ms = 0;  // dwFileVersionMS
  std::uint32_t version_ls = 0;  // dwFileVersionLS
  std::uint32_t flags = 0;       // dwFileFlags
};

FixedFileInfo read_fixed_file_info(const std::wstring& path);

}  // namespace nv::platform
