#pragma once
// The tail of the chain: in which appearance the host starts, and whether the
// user is asked.
#include <cstdint>
#include <string>

#include "host/host_analysis.h"
#include "launcher/request.h"

namespace nv {

// Exit code of a request to start the host (original or launch) or to configure it, for a host
// path that is non-empty.
std::int32_t run_launch_flow(const LaunchRequest& request, const std::wstring& host_path);

// An approval stands for one exact build at one exact path.
bool exact_build_approved(const std::wstring& file, const HostAnalysis& analysis);

}  // namespace nv
