#include "launcher/launch_flow.h"

#include "foundation/paths.h"
#include "foundation/sentences.h"
#include "host/configuration.h"
#include "host/ini.h"
#include "host/verdict.h"
#include "foundation/exit_code.h"
#include "launcher/host_start.h"
#include "foundation/process_values.h"
#include "platform/dialogs.h"
#include "support/inspection.h"
#include "update/handover.h"
#include "update/update_decision.h"

namespace nv {
namespace {

std::int32_t start_original(const std::wstring& host_path) {
  HostAnalysis analysis;
  analysis.exe_path = normal_path(host_path);
  if (host_is_running(analysis.exe_path)) {
    show_message(sentence::running_for_normal, platform::mb_iconinformation);
    return exit_code::host_running;
  }
  return start_host(analysis, false) ? exit_code::done : exit_code::action_failed;
}

std::int32_t configure(const LaunchRequest& request, const HostAnalysis& analysis) {
  if (!analysis.analyzed) {
    show_message(analysis.message, platform::mb_iconerror);
    return exit_code::not_acceptable;
  }
  const std::wstring& approved_settings = request.approved_settings;
  const bool approved =
      !approved_settings.empty() && exact_build_approved(approved_settings, analysis);
  if (!analysis.compatible && !approved && !request.experimental) {
    const std::wstring text = sentence::configure_prompt + analysis.exe_path +
                              sentence::configure_prompt_host_version + analysis.host_version +
                              sentence::configure_prompt_qt_version + analysis.qt_version;
    if (show_message(text, platform::mb_yesno | platform::mb_iconwarning) != platform::id_yes)
      return exit_code::approval_needed;
  }
  if (request.output.empty()) return exit_code::bad_use;
  save_configuration(request.output, analysis, !analysis.compatible, approved_settings);
  return exit_code::done;
}

}  // namespace

bool exact_build_approved(const std::wstring& file, const HostAnalysis& analysis) {
  if (read_ini_value(file, L"Paltalk", L"Experimental") != L"1") return false;
  if (read_ini_value(file, L"Paltalk", L"Hashes") != analysis.hashes) return false;
  return folded_path(read_ini_value(file, L"Paltalk", L"Exe")) == fold_ascii(analysis.exe_path);
}

std::int32_t run_launch_flow(const LaunchRequest& request, const std::wstring& host_path) {
  if (request.mode == RunMode::original) return start_original(host_path);

  const LaunchContext& context = launch_context();
  const bool configuring = request.mode == RunMode::configure;
  const bool skip_update = request.skip_update_once;
  if (!configuring && host_is_running(host_path)) {
    show_message(sentence::running, platform::mb_iconinformation);
    return exit_code::host_running;
  }
  if (!configuring && !skip_update) clean_update_cache();
  if (!context.silent_mode && !configuring && !context.desktop_launch && !skip_update &&
      offer_update(host_path, true, context.install_root, context.browser_dark_override,
                   context.diagnostic_layout_path))
    return exit_code::done;

  const HostAnalysis analysis = analyze_host(host_path);
  if (configuring) return configure(request, analysis);

  bool dark = true;
  if (!analysis.analyzed) {
    show_message(analysis.message + sentence::starting_normally, platform::mb_iconinformation);
    dark = false;
  } else if (!analysis.compatible && !exact_build_approved(settings_path(), analysis)) {
    // In silent mode the answer is No: a plain host, nothing stored.
    const int answer =
        show_message(sentence::launch_prompt,
                     platform::mb_yesnocancel | platform::mb_iconwarning | platform::mb_defbutton2);
    if (answer == platform::id_cancel) return exit_code::bad_use;
    if (answer == platform::id_yes) {
      save_configuration(settings_path(), analysis, true, L"");
    } else {
      dark = false;
    }
  }
  if (dark && !is_regular_file(plugin_path())) {
    show_message(sentence::plugin_missing, platform::mb_iconinformation);
    dark = false;
  }
  if (dark && analysis.compatible) save_configuration(settings_path(), analysis, false, L"");

  if (start_host(analysis, dark)) return exit_code::done;
  show_message(sentence::start_failed, platform::mb_iconerror);
  return exit_code::action_failed;
}

}  // namespace nv
