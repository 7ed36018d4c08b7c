#include "platform/stream_path.h"

#include "platform/portable/native_path.h"

namespace nv::platform {

std::filesystem::path stream_path(const std::wstring& path) { return portable::to_native(path); }

}  // namespace nv::platform
