#include "launcher/chain.h"

#include <algorithm>
#include <exception>
#include <iterator>

#include "foundation/encoding.h"
#include "foundation/paths.h"
#include "foundation/sentences.h"
#include "host/configuration.h"
#include "host/discovery.h"
#include "host/ini.h"
#include "host/verdict.h"
#include "foundation/exit_code.h"
#include "launcher/host_start.h"
#include "launcher/launch_flow.h"
#include "foundation/process_values.h"
#include "launcher/shortcuts.h"
#include "platform/dialogs.h"
#include "platform/files.h"
#include "platform/system.h"
#include "support/inspection.h"
#include "support/report.h"
#include "support/support_dialog.h"
#include "update/handover.h"
#include "update/manifest.h"

namespace nv {
namespace {

// The manifest file must be named absolutely, exist, and be small enough to read.
std::int32_t verify_manifest_option(const std::wstring& path) {
  if (path.empty() || !is_absolute_path(path) || !is_regular_file(path)) return exit_code::bad_use;
  std::uint64_t size = 0;
  if (!platform::file_size(path, size) || size > manifest_size_limit) return exit_code::bad_use;
  std::string bytes;
  if (!platform::read_file(path, bytes)) return exit_code::bad_use;
  try {
    (void)parse_release_manifest(bytes);
    return exit_code::done;
  } catch (...) {
    return exit_code::not_acceptable;
  }
}

std::int32_t verify_installer_option(const Arguments& arguments, const std::wstring& path) {
  try {
    ReleaseManifest manifest;
    manifest.size = std::stoull(option_value(arguments, L"--size"));
    manifest.sha256 = to_utf8(option_value(arguments, L"--sha256"));
    return verify_installer(path, manifest) ? exit_code::done : exit_code::not_acceptable;
  } catch (...) {
    return exit_code::not_acceptable;
  }
}

std::int32_t probe(const Arguments& arguments, std::wstring host_path) {
  if (host_path.empty()) host_path = choose_host();
  if (host_path.empty()) return exit_code::bad_use;
  const HostAnalysis analysis = analyze_host(host_path);
  const std::wstring output = option_value(arguments, L"--output");
  if (!output.empty()) save_configuration(output, analysis, false, L"");
  if (!analysis.analyzed) return exit_code::not_acceptable;
  return analysis.compatible ? exit_code::done : exit_code::approval_needed;
}

}  // namespace

bool option_present(const Arguments& arguments, const std::wstring& name) {
  return std::find(arguments.begin(), arguments.end(), name) != arguments.end();
}

std::wstring option_value(const Arguments& arguments, const std::wstring& name) {
  auto it = std::find(arguments.begin(), arguments.end(), name);
  if (it == arguments.end() || std::next(it) == arguments.end()) return {};
  return *std::next(it);
}

std::int32_t run_launcher(const Arguments& arguments) {
  desktop_launch = option_present(arguments, L"--desktop-launch");

  browser_dark_override = option_value(arguments, L"--browser-dark");
  if (option_present(arguments, L"--browser-dark") && browser_dark_override != L"on" &&
      browser_dark_override != L"off")
    return exit_code::bad_use;

  diagnostic_layout_path = option_value(arguments, L"--diagnostic-layout");
  if (!diagnostic_layout_path.empty() && !is_absolute_path(diagnostic_layout_path))
    return exit_code::bad_use;

  silent_mode = option_present(arguments, L"--silent");

  const std::wstring root = option_value(arguments, L"--root");
  if (option_present(arguments, L"--remove-shortcuts")) {
    remove_shortcuts(root.empty() ? install_root : root);
    return exit_code::done;
  }
  if (option_present(arguments, L"--running"))
    return host_is_running(option_value(arguments, L"--paltalk")) ? exit_code::host_running
                                                                  : exit_code::done;
  if (option_present(arguments, L"--busy"))
    return install_is_busy(root.empty() ? install_root : root) ? exit_code::host_running
                                                               : exit_code::done;
  if (option_present(arguments, L"--verify-update-manifest"))
    return verify_manifest_option(option_value(arguments, L"--verify-update-manifest"));
  if (option_present(arguments, L"--verify-update-installer"))
    return verify_installer_option(arguments,
                                   option_value(arguments, L"--verify-update-installer"));

  const std::wstring given_host = option_value(arguments, L"--paltalk");
  std::wstring host_path =
      given_host.empty() ? read_ini_value(settings_path(), L"Paltalk", L"Exe") : given_host;

  if (option_present(arguments, L"--support-report")) {
    const std::wstring target = option_value(arguments, L"--support-report");
    if (!is_absolute_path(target)) return exit_code::bad_use;
    return save_support_report(target, host_path, false) ? exit_code::done
                                                         : exit_code::action_failed;
  }
  if (option_present(arguments, L"--set-browser-dark")) {
    const std::wstring value = option_value(arguments, L"--set-browser-dark");
    if (value != L"on" && value != L"off") return exit_code::bad_use;
    write_browser_dark(settings_path(), value == L"on");
    return exit_code::done;
  }
  if (option_present(arguments, L"--support")) return run_support_dialog(host_path, start_host);
  if (option_present(arguments, L"--probe")) return probe(arguments, host_path);

  if (!given_host.empty() && !path_exists(given_host)) {
    show_message(sentence::host_not_found, platform::mb_iconerror);
    return exit_code::not_acceptable;
  }
  if (host_path.empty() || !is_regular_file(host_path)) host_path = choose_host();
  if (host_path.empty()) return exit_code::bad_use;

  return run_launch_flow(arguments, host_path);
}

int run_process() {
  install_root = parent_of(platform::module_path());
  platform::com_initialize();
  const Arguments arguments = platform::command_arguments();
  int code = exit_code::entry_failure;
  try {
    code = run_launcher(arguments);
  } catch (const std::exception&) {
    if (!silent_mode)
      platform::message_box(sentence::entry_failure, product_title, platform::mb_iconerror);
    code = exit_code::entry_failure;
  }
  platform::com_uninitialize();
  return code;
}

}  // namespace nv
