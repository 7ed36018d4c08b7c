// The native build has no shell links: none can be loaded.
#include "platform/shell_links.h"

namespace nv::platform {

std::optional<std::wstring> shell_link_raw_target(const std::wstring&) { return std::nullopt; }

}  // namespace nv::platform
