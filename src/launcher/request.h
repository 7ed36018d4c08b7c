#pragma once
// The command line, read once: which run mode it asks for and that mode's values.
#include <string>
#include <vector>

namespace nv {

using Arguments = std::vector<std::wstring>;

// In the order of precedence: the first mode whose option is present decides.
enum class RunMode {
  rejected,  // an invalid value; exit 2 before anything runs
  remove_shortcuts,
  running,
  busy,
  verify_manifest,
  verify_installer,
  support_report,
  set_browser_dark,
  support,
  probe,
  original,   // start the host unthemed
  configure,  // write a configuration for the installer, start nothing
  launch,     // a dark launch, or its fallback
};

// Option values are taken as given ("" when the option is absent or last); only the diagnostic
// layout, the manifest and the report are required to be absolute.
struct LaunchRequest {
  RunMode mode = RunMode::launch;
  // What the run's context is made of.
  bool desktop_launch = false;
  bool silent = false;
  std::wstring browser_dark_override{};   // "", "on" or "off"
  std::wstring diagnostic_layout_path{};  // "" or absolute
  // The values the modes use.
  std::wstring host_path{};  // --paltalk
  std::wstring root{};       // --root: another installation than this one
  std::wstring file{};       // the manifest, installer or report of those modes
  // The texts of --size and --sha256, for verify_installer; a bad size is that mode's refusal.
  std::wstring size{};
  std::wstring sha256{};
  bool browser_dark = false;         // set_browser_dark: the value to store
  std::wstring output{};             // --output, for probe and configure
  std::wstring approved_settings{};  // --approved-settings, for configure
  bool experimental = false;         // --experimental, for configure
  bool skip_update_once = false;     // --skip-update-once, for launch

  bool operator==(const LaunchRequest&) const = default;
};

// Names match whole elements, case-sensitively; only an option's first occurrence counts, and its
// value is the next element whatever it looks like. Unknown elements are ignored.
LaunchRequest parse_launch_request(const Arguments& arguments);

}  // namespace nv
