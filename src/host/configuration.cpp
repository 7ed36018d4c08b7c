#include "host/configuration.h"

#include <array>

#include "foundation/atomic_write.h"
#include "foundation/failure.h"
#include "foundation/process_values.h"
#include "host/ini.h"
#include "platform/file_ops.h"
#include "platform/ini.h"

namespace nv {
namespace {

struct Setting {
  const wchar_t* section;
  const wchar_t* key;
  std::wstring value;
};

// The whole layout of the file: these seven keys in this order, nothing else.
std::array<Setting, 7> settings_for(const HostAnalysis& analysis, bool experimental,
                                    const std::wstring& browser_dark) {
  return {{{L"Paltalk", L"Exe", analysis.exe_path},
           {L"Paltalk", L"Hashes", analysis.hashes},
           {L"Paltalk", L"Experimental", experimental ? L"1" : L"0"},
           {L"Info", L"Version", analysis.host_version},
           {L"Info", L"Qt", analysis.qt_version},
           {L"Info", L"Status", analysis.message},
           {L"Appearance", L"BrowserDark", browser_dark}}};
}

// One fixed name: a failed save leaves its temporary, and the next one truncates it.
constexpr TemporaryRule configuration_temporary{.name = TemporaryName::fixed_tmp,
                                                .creation = platform::Creation::truncating,
                                                .removed_unless_renamed = false};

}  // namespace

void save_configuration(const std::wstring& path, const HostAnalysis& analysis, bool experimental,
                        const std::wstring& appearance_source) {
  // The appearance is the user's choice: carried over, never taken from the analysis.
  const std::wstring& source = appearance_source.empty() ? path : appearance_source;
  const std::wstring browser_dark =
      read_ini_value(source, L"Appearance", L"BrowserDark") == L"0" ? L"0" : L"1";
  const auto settings = settings_for(analysis, experimental, browser_dark);

  // A launch of an unchanged build writes nothing.
  bool unchanged = true;
  for (const auto& setting : settings) {
    if (read_ini_value(path, setting.section, setting.key) != setting.value) {
      unchanged = false;
      break;
    }
  }
  if (unchanged) return;

  // The mark makes the profile writer keep the text in UTF-16. A leftover from
  // a failed save is truncated here; anything the target held beyond the seven
  // keys is dropped with it.
  Replacement settings_file(path, configuration_temporary);
  if (const platform::WritableFile file = settings_file.create();
      !file || !platform::write_all(*file, "\xFF\xFE", 2))
    fail(failure::create_configuration);
  for (const auto& setting : settings) {
    if (!platform::write_profile_string(settings_file.temporary(), setting.section, setting.key,
                                        setting.value))
      fail(failure::cannot_save_settings);
  }
  if (!settings_file.rename(true)) fail(failure::replace_configuration);
}

bool browser_dark_enabled() {
  const std::wstring& override = launch_context().browser_dark_override;
  if (!override.empty()) return override == L"on";
  return read_ini_value(settings_path(), L"Appearance", L"BrowserDark") != L"0";
}

void write_browser_dark(const std::wstring& path, bool on) {
  if (!platform::write_profile_string(path, L"Appearance", L"BrowserDark", on ? L"1" : L"0"))
    fail(failure::cannot_save_settings);
}

}  // namespace nv
