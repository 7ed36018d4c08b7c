// Verdict, configuration store, discovery and process inspection are being
// built: until then no build can be analysed (so every dark launch falls back
// to a plain one), nothing is saved, no host is found and none is seen running.
#include "foundation/failure.h"
#include "foundation/paths.h"
#include "host/configuration.h"
#include "host/discovery.h"
#include "host/verdict.h"
#include "support/inspection.h"

namespace nv {

HostAnalysis analyze_host(std::wstring path) {
  HostAnalysis analysis;
  analysis.exe_path = normal_path(path);
  analysis.message = L"Select the installed Paltalk.exe.";
  return analysis;
}
bool is_signed_update(const HostAnalysis&) { return false; }
std::wstring verdict_word(const HostAnalysis&) { return L"unavailable"; }

void save_configuration(const std::wstring&, const HostAnalysis&, bool, const std::wstring&) {
  fail(failure::cannot_save_settings);
}

std::wstring choose_host() { return {}; }
std::vector<std::wstring> find_host_candidates() { return {}; }
std::wstring parse_command_path(const std::wstring&) { return {}; }
std::wstring pick_host_file() { return {}; }

SessionFilter build_session_filter() { return {}; }
bool host_is_running(const std::wstring&) { return false; }
bool install_is_busy(const std::wstring&) { return false; }
RuntimeSnapshot inspect_runtime(const std::wstring&) { return {}; }

}  // namespace nv
