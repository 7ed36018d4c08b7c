#pragma once
#include <functional>
#include <string>

#include "host/host_analysis.h"

namespace nv {

// How the dialog starts a host; the launch core hands in its own start, so
// that this subsystem does not reach up into it.
using HostStart = std::function<bool(const HostAnalysis& analysis, bool dark)>;

// The support and recovery dialog, shown anew after each action until it is
// closed or the host has started. The process's exit code: 0, 2 in silent
// mode, 6 when the dialog cannot be shown. Raises "Cannot save settings".
int run_support_dialog(std::wstring host_path, const HostStart& start_host);

// The path the user chose in the save dialog; empty on cancel or any failure.
std::wstring choose_report_path();

}  // namespace nv
