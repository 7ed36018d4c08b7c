#include "launcher/host_start.h"

#include <exception>

#include "foundation/failure.h"
#include "foundation/paths.h"
#include "launcher/browser_arguments.h"
#include "host/configuration.h"
#include "launcher/environment.h"
#include "support/inspection.h"
#include "foundation/process_values.h"
#include "platform/ini.h"
#include "platform/process_start.h"

namespace nv {

std::wstring launch_mode_word(bool dark, bool browser_dark) {
  if (!dark) return L"normal";
  return browser_dark ? L"full-dark" : L"qt-only";
}

std::wstring hand_off_arguments(const HostAnalysis& analysis, bool dark) {
  const LaunchContext& context = launch_context();
  std::wstring arguments = L"--desktop-launch --paltalk " + quote_argument(analysis.exe_path);
  if (!dark) arguments += L" --original";
  if (context.silent_mode) arguments += L" --silent";
  if (!context.diagnostic_layout_path.empty())
    arguments += L" --diagnostic-layout " + quote_argument(context.diagnostic_layout_path);
  if (!context.browser_dark_override.empty())
    arguments += L" --browser-dark " + context.browser_dark_override;
  return arguments;
}

bool start_through_shell(const HostAnalysis& analysis, bool dark) {
  const LaunchContext& context = launch_context();
  if (context.desktop_launch) return false;
  return platform::shell_execute_from_desktop(context.install_root + L"\\NightveilMode.exe",
                                              hand_off_arguments(analysis, dark),
                                              context.install_root);
}

bool start_host(const HostAnalysis& analysis, bool dark) {
  // An elevated launcher would hand its token to the host; the desktop shell
  // starts a second launcher at the user's normal rights instead.
  // A second start after the hand-off never hands off again, so it skips the token query.
  if (!launch_context().desktop_launch && process_is_elevated() &&
      start_through_shell(analysis, dark))
    return true;

  // The settings file is read once, and only when its answer matters.
  const bool browser_dark = dark && browser_dark_enabled();
  const std::vector<std::uint16_t> environment =
      build_launch_environment(analysis, dark, browser_dark);
  std::wstring command_line = quote_argument(analysis.exe_path);
  if (dark) command_line += L" -style Nightveil";
  const platform::ProcessStart started = platform::create_process(
      analysis.exe_path, command_line, environment, parent_of(analysis.exe_path));
  write_last_status(L"create-process", started.started ? 0 : started.error, dark, browser_dark);
  return started.started;
}

void write_last_status(const std::wstring& operation, std::uint32_t error, bool dark,
                       bool browser_dark) {
  // A note for the support report: no failure here may change the launch.
  try {
    const std::wstring path = last_status_path();
    if (!platform::write_profile_string(path, L"Launch", L"Operation", operation)) return;
    if (!platform::write_profile_string(path, L"Launch", L"Error", std::to_wstring(error))) return;
    platform::write_profile_string(path, L"Launch", L"Mode", launch_mode_word(dark, browser_dark));
  } catch (...) {
  }
}

}  // namespace nv
