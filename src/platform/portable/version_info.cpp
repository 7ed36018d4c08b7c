#include "platform/version_info.h"

namespace nv::platform {

// Version resources are a Windows service: natively no file has one.
FixedFileInfo read_fixed_file_info(const std::wstring&) { return {}; }

}  // namespace nv::platform
