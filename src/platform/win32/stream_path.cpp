#include "platform/stream_path.h"

namespace nv::platform {

// The streams take wide names on Windows: the path as it stands.
std::filesystem::path stream_path(const std::wstring& path) { return std::filesystem::path(path); }

}  // namespace nv::platform
