#pragma once
// The one decision chain: a command line in, exactly one run mode and one exit code out.
#include <cstdint>
#include <string>
#include <vector>

namespace nv {

using Arguments = std::vector<std::wstring>;

// What wWinMain calls: fills install_root, splits the command line, runs the
// chain and turns any standard exception into the one message and exit 1.
int run_process();

// argv[1..] in order. May throw; the entry catches.
std::int32_t run_launcher(const Arguments& arguments);

bool option_present(const Arguments& arguments, const std::wstring& name);
// The element behind the first occurrence of name, whatever it looks like; ""
// when name is absent or last.
std::wstring option_value(const Arguments& arguments, const std::wstring& name);

}  // namespace nv
