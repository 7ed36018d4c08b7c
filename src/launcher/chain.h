#pragma once
// The one decision chain: a command line in, exactly one run mode and one exit code out.
#include <cstdint>
#include <string>

#include "launcher/request.h"

namespace nv {

// What wWinMain calls: finds the installation, splits the command line and runs the chain.
int run_process();

// argv[1..] in order, for the installation at `install_root`. Parses the arguments, makes the
// run's context, and answers the request. A standard exception ends here, as the one failure
// message (unless silent) and exit 1.
std::int32_t run_launcher(const Arguments& arguments, const std::wstring& install_root);

}  // namespace nv
