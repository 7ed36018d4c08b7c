#pragma once
// Reading a few bytes at a known place of a file without loading it, for the
// probes that look at headers.
#include <cstddef>
#include <cstdint>
#include <string>

namespace nv::platform {

// Opens the file for binary reading without denying others any access and
// reads exactly `count` bytes from `offset` into `out`. False when the file
// cannot be opened or read, or ends before the last of those bytes.
bool read_file_range(const std::wstring& path, std::uint64_t offset, std::size_t count,
                     unsigned char* out);

}  // namespace nv::platform
