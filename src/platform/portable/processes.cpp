// The native build has no Windows processes to inspect: every probe reports
// that it could not look, and the callers' rules for doubt apply.
#include "platform/processes.h"

namespace nv::platform {

std::optional<std::vector<ProcessRecord>> list_processes() { return std::nullopt; }
std::optional<std::uint32_t> current_session() { return std::nullopt; }
std::optional<std::vector<std::pair<std::uint32_t, std::uint32_t>>> session_records() {
  return std::nullopt;
}
std::optional<std::wstring> process_image_path(std::uint32_t) { return std::nullopt; }
ModuleList list_modules(std::uint32_t) { return {}; }
std::optional<ProcessIdentity> process_identity(std::uint32_t) { return std::nullopt; }
bool ask_to_close(const std::wstring&, const std::function<std::vector<RestartProcess>()>&) {
  return false;
}

}  // namespace nv::platform
