#pragma once
#include <cstdint>
#include <string>

namespace nv {

struct ReleaseManifest {
  std::int32_t revision = 0;
  std::int64_t release_utc = 0;
  std::uint64_t size = 0;
  std::wstring version;
  std::wstring path;
  std::string sha256;
};

ReleaseManifest parse_release_manifest(const std::string& text);

}  // namespace nv
