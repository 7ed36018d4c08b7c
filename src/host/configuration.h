#pragma once
#include <string>

#include "host/host_analysis.h"

namespace nv {

// Writes the seven keys of a settings file through "<path>.tmp" and a replacing
// move, or nothing at all when the file already says the same. Raises on failure.
void save_configuration(const std::wstring& path, const HostAnalysis& analysis, bool experimental,
                        const std::wstring& appearance_source);

// The embedded-browser preference of this run: --browser-dark when given, else
// BrowserDark of settings.ini, where only "0" turns it off.
bool browser_dark_enabled();

// The one in-place write: key BrowserDark of section Appearance. Raises
// "Cannot save settings" on failure.
void write_browser_dark(const std::wstring& path, bool on);

}  // namespace nv
