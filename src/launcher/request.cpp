#include "launcher/request.h"

#include <algorithm>
#include <iterator>

#include "foundation/paths.h"

namespace nv {
namespace {

bool option_present(const Arguments& arguments, const std::wstring& name) {
  return std::find(arguments.begin(), arguments.end(), name) != arguments.end();
}

std::wstring option_value(const Arguments& arguments, const std::wstring& name) {
  auto it = std::find(arguments.begin(), arguments.end(), name);
  if (it == arguments.end() || std::next(it) == arguments.end()) return {};
  return *std::next(it);
}

bool on_or_off(const std::wstring& value) { return value == L"on" || value == L"off"; }

// The mode and its own file; the modes' checks of their values follow in the caller.
RunMode mode_of(const Arguments& arguments) {
  // clang-format off: one mode per line reads as the order of precedence
  const std::pair<const wchar_t*, RunMode> modes[] = {
      {L"--remove-shortcuts", RunMode::remove_shortcuts},
      {L"--running", RunMode::running},
      {L"--busy", RunMode::busy},
      {L"--verify-update-manifest", RunMode::verify_manifest},
      {L"--verify-update-installer", RunMode::verify_installer},
      {L"--support-report", RunMode::support_report},
      {L"--set-browser-dark", RunMode::set_browser_dark},
      {L"--support", RunMode::support},
      {L"--probe", RunMode::probe},
      {L"--original", RunMode::original},
      {L"--configure", RunMode::configure}};
  // clang-format on
  for (const auto& [name, mode] : modes)
    if (option_present(arguments, name)) return mode;
  return RunMode::launch;
}

}  // namespace

LaunchRequest parse_launch_request(const Arguments& arguments) {
  LaunchRequest request;
  request.desktop_launch = option_present(arguments, L"--desktop-launch");
  request.browser_dark_override = option_value(arguments, L"--browser-dark");
  request.diagnostic_layout_path = option_value(arguments, L"--diagnostic-layout");
  request.silent = option_present(arguments, L"--silent");
  // These two are refused before any mode is looked at.
  if (option_present(arguments, L"--browser-dark") && !on_or_off(request.browser_dark_override))
    return {.mode = RunMode::rejected};
  if (!request.diagnostic_layout_path.empty() && !is_absolute_path(request.diagnostic_layout_path))
    return {.mode = RunMode::rejected};

  request.mode = mode_of(arguments);
  request.host_path = option_value(arguments, L"--paltalk");
  request.root = option_value(arguments, L"--root");
  request.size = option_value(arguments, L"--size");
  request.sha256 = option_value(arguments, L"--sha256");
  request.output = option_value(arguments, L"--output");
  request.approved_settings = option_value(arguments, L"--approved-settings");
  request.experimental = option_present(arguments, L"--experimental");
  request.skip_update_once = option_present(arguments, L"--skip-update-once");

  switch (request.mode) {
    case RunMode::verify_manifest:
      request.file = option_value(arguments, L"--verify-update-manifest");
      if (request.file.empty() || !is_absolute_path(request.file))
        return {.mode = RunMode::rejected};
      break;
    case RunMode::verify_installer:
      request.file = option_value(arguments, L"--verify-update-installer");
      break;
    case RunMode::support_report:
      request.file = option_value(arguments, L"--support-report");
      if (!is_absolute_path(request.file)) return {.mode = RunMode::rejected};
      break;
    case RunMode::set_browser_dark: {
      const std::wstring value = option_value(arguments, L"--set-browser-dark");
      if (!on_or_off(value)) return {.mode = RunMode::rejected};
      request.browser_dark = value == L"on";
      break;
    }
    default:
      break;
  }
  return request;
}

}  // namespace nv
