#include "host/configuration.h"

#include "foundation/failure.h"
#include "platform/ini.h"

namespace nv {

void write_browser_dark(const std::wstring& path, bool on) {
  if (!platform::write_profile_string(path, L"Appearance", L"BrowserDark", on ? L"1" : L"0"))
    fail(failure::cannot_save_settings);
}

}  // namespace nv
