#pragma once
// Turning the decision into a running host, and noting what happened.
#include <cstdint>
#include <string>

#include "host/host_analysis.h"

namespace nv {

bool start_host(const HostAnalysis& analysis, bool dark);
bool start_through_shell(const HostAnalysis& analysis, bool dark);
// `browser_dark`: embedded pages are darkened too (the settings' answer, read once per start).
void write_last_status(const std::wstring& operation, std::uint32_t error, bool dark,
                       bool browser_dark);

// The second launcher's command line after a hand-off through the shell.
std::wstring hand_off_arguments(const HostAnalysis& analysis, bool dark);
// "full-dark", "qt-only" or "normal".
std::wstring launch_mode_word(bool dark, bool browser_dark);

}  // namespace nv
