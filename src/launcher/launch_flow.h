#pragma once
// The tail of the chain: in which appearance the host starts, and whether the
// user is asked.
#include <cstdint>
#include <string>

#include "host/host_analysis.h"
#include "launcher/chain.h"

namespace nv {

// Exit code of the launch (or --configure) for a host path that is non-empty.
std::int32_t run_launch_flow(const Arguments& arguments, const std::wstring& host_path);

// An approval stands for one exact build at one exact path.
bool exact_build_approved(const std::wstring& file, const HostAnalysis& analysis);

}  // namespace nv
