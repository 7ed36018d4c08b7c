// The native build starts no Windows program: every start fails as an
// unsupported request would.
#include "platform/process_start.h"

namespace nv::platform {

constexpr std::uint32_t error_not_supported = 50;

Elevation token_elevation() { return Elevation::not_elevated; }

ProcessStart create_process(const std::wstring&, const std::wstring&,
                            const std::vector<std::uint16_t>&, const std::wstring&) {
  return {false, error_not_supported};
}

ProcessStart start_program(const std::wstring&, const std::wstring&) {
  return {false, error_not_supported};
}

bool shell_execute_from_desktop(const std::wstring&, const std::wstring&, const std::wstring&) {
  return false;
}

}  // namespace nv::platform
