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

std::int32_t configure(const Arguments& arguments, const HostAnalysis& analysis) {
  if (!analysis.analyzed) {
    show_message(analysis.message, platform::mb_iconerror);
    return exit_code::not_acceptable;
  }
  const std::wstring approved_settings = option_value(arguments, L"--approved-settings");
  const bool approved =
      !approved_settings.empty() && exact_build_approved(approved_settings, analysis);
  if (!analysis.compatible && !approved && !option_present(arguments, L"--experimental")) {
    const std::wstring text = std::wstring(sentence::configure_prompt) + analysis.exe_path +
                              L"\nPaltalk " + analysis.host_version + L" / Qt " +
                              analysis.qt_version;
    if (show_message(text, platform::mb_yesno | platform::mb_iconwarning) != platform::id_yes)
      return exit_code::approval_needed;
  }
  const std::wstring output = option_value(arguments, L"--output");
  if (output.empty()) return exit_code::bad_use;
  save_configuration(output, analysis, !analysis.compatible, approved_settings);
  return exit_code::done;
}

}  // namespace

bool exact_build_approved(const std::wstring& file, const HostAnalysis& analysis) {
  if (read_ini_value(file, L"Paltalk", L"Experimental") != L"1") return false;
  if (read_ini_value(file, L"Paltalk", L"Hashes") != analysis.hashes) return false;
  return folded_path(read_ini_value(file, L"Paltalk", L"Exe")) == fold_ascii(analysis.exe_path);
}

std::int32_t run_launch_flow(const Arguments& arguments, const std::wstring& host_path) {
  if (option_present(arguments, L"--original")) return start_original(host_path);

  const bool configuring = option_present(arguments, L"--configure");
  const bool skip_update = option_present(arguments, L"--skip-update-once");
  if (!configuring && host_is_running(host_path)) {
    show_message(sentence::running, platform::mb_iconinformation);
    return exit_code::host_running;
  }
  if (!configuring && !skip_update) clean_update_cache();
  if (!silent_mode && !configuring && !desktop_launch && !skip_update &&
      offer_update(host_path, true, install_root, browser_dark_override, diagnostic_layout_path))
    return exit_code::done;

  const HostAnalysis analysis = analyze_host(host_path);
  if (configuring) return configure(arguments, analysis);

  bool dark = true;
  if (!analysis.analyzed) {
    show_message(analysis.message + L"\n\nStarting Paltalk normally.",
                 platform::mb_iconinformation);
    dark = false;
  } else if (!analysis.compatible && !exact_build_approved(settings_path(), analysis)) {
    // Silence counts as No: a plain host, nothing stored.
    const int answer =
        silent_mode ? platform::id_no
                    : platform::message_box(sentence::launch_prompt, product_title,
                                            platform::mb_yesnocancel | platform::mb_iconwarning |
                                                platform::mb_defbutton2);
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
