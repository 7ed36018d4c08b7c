#pragma once
// Reading the shell's .lnk files.
#include <optional>
#include <string>

namespace nv::platform {

// The target of a shell link as stored, neither resolved nor searched for:
// IShellLinkW::GetPath with SLGP_RAWPATH into a cleared buffer of 32768
// characters, whose result is not examined. nullopt when the link object
// cannot be created, has no IPersistFile, or cannot load the file (mode 0),
// which includes a file that does not exist.
std::optional<std::wstring> shell_link_raw_target(const std::wstring& link);

}  // namespace nv::platform
