#include "support/support_dialog.h"

#include "foundation/exit_code.h"
#include "foundation/paths.h"
#include "foundation/process_values.h"
#include "foundation/sentences.h"
#include "host/configuration.h"
#include "host/discovery.h"
#include "host/ini.h"
#include "platform/dialogs.h"
#include "support/inspection.h"
#include "support/report.h"

namespace nv {
namespace {

constexpr int start_plain_button = 100;
constexpr int save_report_button = 101;
constexpr int apply_preference_button = 102;

platform::CheckBoxDialog support_dialog(bool checked) {
  using namespace platform;
  return {{sentence::support_title, sentence::support_instruction,
           std::wstring(sentence::exit_before_plain_start) + L"\n\n" + sentence::report_promise +
               L"\n\n" + sentence::preference_next_launch,
           tdf_allow_dialog_cancellation | tdf_use_command_links |
               (checked ? tdf_verification_flag_checked : 0u),
           tdcbf_close_button},
          sentence::darken_pages,
          {{start_plain_button, sentence::start_plain},
           {save_report_button, sentence::save_report},
           {apply_preference_button, sentence::apply_preference}}};
}

// The way out when the theme or the analysis is the trouble: the host starts
// unanalysed and plain. True once it has started.
bool start_without_theme(std::wstring& host_path, const HostStart& start_host) {
  if (host_path.empty() || !is_regular_file(host_path)) host_path = choose_host();
  if (host_path.empty()) return false;
  if (host_is_running(host_path)) {
    show_message(sentence::exit_before_plain_start, platform::mb_iconinformation);
    return false;
  }
  HostAnalysis analysis;
  analysis.exe_path = normal_path(host_path);
  if (start_host(analysis, false)) return true;
  show_message(sentence::plain_start_failed, platform::mb_iconerror);
  return false;
}

}  // namespace

std::wstring choose_report_path() {
  using namespace platform;
  return save_file_dialog({sentence::save_report_title, sentence::report_file_type, L"*.json",
                           L"json", sentence::report_file_name,
                           fos_overwriteprompt | fos_forcefilesystem | fos_pathmustexist});
}

int run_support_dialog(std::wstring host_path, const HostStart& start_host) {
  if (launch_context().silent_mode) return exit_code::bad_use;
  // The box shows what is stored, whatever --browser-dark says for this run.
  bool checked = read_ini_value(settings_path(), L"Appearance", L"BrowserDark") != L"0";
  for (;;) {
    const platform::CheckBoxAnswer answer = platform::check_box_dialog(support_dialog(checked));
    if (answer.button == platform::dialog_failed) return exit_code::action_failed;
    checked = answer.checked;
    if (answer.button == apply_preference_button) {
      write_browser_dark(settings_path(), checked);
    } else if (answer.button == save_report_button) {
      // The save dialog has already asked before replacing a file.
      const std::wstring target = choose_report_path();
      if (!target.empty() && !save_support_report(target, host_path, true))
        show_message(sentence::report_not_saved, platform::mb_iconerror);
    } else if (answer.button == start_plain_button) {
      if (start_without_theme(host_path, start_host)) return exit_code::done;
    } else {
      return exit_code::done;  // Close, Escape or the close box
    }
  }
}

}  // namespace nv
