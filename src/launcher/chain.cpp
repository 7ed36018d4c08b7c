#include "launcher/chain.h"

#include <exception>

#include "foundation/encoding.h"
#include "foundation/exit_code.h"
#include "foundation/paths.h"
#include "foundation/process_values.h"
#include "foundation/sentences.h"
#include "host/configuration.h"
#include "host/discovery.h"
#include "host/ini.h"
#include "host/verdict.h"
#include "launcher/host_start.h"
#include "launcher/launch_flow.h"
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

// The manifest file must exist and be small enough to read.
std::int32_t verify_manifest_option(const std::wstring& path) {
  if (!is_regular_file(path)) return exit_code::bad_use;
  // One open, and at most one byte past the limit read through it: what is judged is what was
  // read, whatever a link's own size says or the file grows to meanwhile.
  std::string bytes;
  if (!platform::read_file_head(path, manifest_size_limit + 1, bytes) ||
      bytes.size() > manifest_size_limit)
    return exit_code::bad_use;
  try {
    (void)parse_release_manifest(bytes);
    return exit_code::done;
  } catch (...) {
    return exit_code::not_acceptable;
  }
}

std::int32_t verify_installer_option(const LaunchRequest& request) {
  try {
    ReleaseManifest manifest;
    manifest.size = std::stoull(request.size);
    manifest.sha256 = to_utf8(request.sha256);
    return verify_installer(request.file, manifest) ? exit_code::done : exit_code::not_acceptable;
  } catch (...) {
    return exit_code::not_acceptable;
  }
}

std::int32_t probe(const std::wstring& output, std::wstring host_path) {
  if (host_path.empty()) host_path = choose_host();
  if (host_path.empty()) return exit_code::bad_use;
  const HostAnalysis analysis = analyze_host(host_path);
  if (!output.empty()) save_configuration(output, analysis, false, L"");
  if (!analysis.analyzed) return exit_code::not_acceptable;
  return analysis.compatible ? exit_code::done : exit_code::approval_needed;
}

std::wstring installation(const LaunchRequest& request) {
  return request.root.empty() ? launch_context().install_root : request.root;
}

// The host named on the command line, or else the configured one; either may be "".
std::wstring host_path_of(const LaunchRequest& request) {
  if (!request.host_path.empty()) return request.host_path;
  return read_ini_value(settings_path(), L"Paltalk", L"Exe");
}

std::int32_t launch(const LaunchRequest& request) {
  if (!request.host_path.empty() && !path_exists(request.host_path)) {
    show_message(sentence::host_not_found, platform::mb_iconerror);
    return exit_code::not_acceptable;
  }
  std::wstring host_path = host_path_of(request);
  if (host_path.empty() || !is_regular_file(host_path)) host_path = choose_host();
  if (host_path.empty()) return exit_code::bad_use;
  return run_launch_flow(request, host_path);
}

std::int32_t answer(const LaunchRequest& request) {
  switch (request.mode) {
    case RunMode::rejected:
      return exit_code::bad_use;
    case RunMode::remove_shortcuts:
      remove_shortcuts(installation(request));
      return exit_code::done;
    case RunMode::running:
      return host_is_running(request.host_path) ? exit_code::host_running : exit_code::done;
    case RunMode::busy:
      return install_is_busy(installation(request)) ? exit_code::host_running : exit_code::done;
    case RunMode::verify_manifest:
      return verify_manifest_option(request.file);
    case RunMode::verify_installer:
      return verify_installer_option(request);
    case RunMode::support_report:
      return save_support_report(request.file, host_path_of(request), false)
                 ? exit_code::done
                 : exit_code::action_failed;
    case RunMode::set_browser_dark:
      write_browser_dark(settings_path(), request.browser_dark);
      return exit_code::done;
    case RunMode::support:
      return run_support_dialog(host_path_of(request), start_host);
    case RunMode::probe:
      return probe(request.output, host_path_of(request));
    case RunMode::original:
    case RunMode::configure:
    case RunMode::launch:
      return launch(request);
  }
  return exit_code::bad_use;  // not reached: every mode is answered above
}

}  // namespace

std::int32_t run_launcher(const Arguments& arguments, const std::wstring& install_root) {
  const LaunchRequest request = parse_launch_request(arguments);
  const ContextScope context({.install_root = install_root,
                              .silent_mode = request.silent,
                              .desktop_launch = request.desktop_launch,
                              .browser_dark_override = request.browser_dark_override,
                              .diagnostic_layout_path = request.diagnostic_layout_path});
  try {
    return answer(request);
  } catch (const std::exception&) {
    show_message(sentence::entry_failure, platform::mb_iconerror);
    return exit_code::entry_failure;
  }
}

int run_process() {
  const std::wstring install_root = parent_of(platform::module_path());
  platform::com_initialize();
  const std::int32_t code = run_launcher(platform::command_arguments(), install_root);
  platform::com_uninitialize();
  return code;
}

}  // namespace nv
