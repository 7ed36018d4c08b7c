#include "platform/version_info.h"

#include <windows.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace nv::platform {

FixedFileInfo read_fixed_file_info(const std::wstring& path) {
  FixedFileInfo info;
  DWORD ignored = 0;
  const DWORD size = GetFileVersionInfoSizeW(path.c_str(), &ignored);
  if (size == 0) return info;
  std::vector<unsigned char> block(size, 0);
  if (!GetFileVersionInfoW(path.c_str(), 0, size, block.data())) return info;
  void* fixed = nullptr;
  UINT length = 0;
  if (!VerQueryValueW(block.data(), L"\\", &fixed, &length) || fixed == nullptr) return info;

  // The words are read whatever length was reported, but never from outside
  // the block: what lies beyond its end reads as zero.
  VS_FIXEDFILEINFO words{};
  const auto start = reinterpret_cast<std::uintptr_t>(fixed);
  const auto first = reinterpret_cast<std::uintptr_t>(block.data());
  if (start >= first && start < first + block.size()) {
    const std::size_t available = first + block.size() - start;
    std::memcpy(&words, fixed, available < sizeof words ? available : sizeof words);
  }
  info.found = true;
  info.length = length;
  info.version_ms = words.dwFileVersionMS;
  info.version_ls = words.dwFileVersionLS;
  info.flags = words.dwFileFlags;
  return info;
}

}  // namespace nv::platform
