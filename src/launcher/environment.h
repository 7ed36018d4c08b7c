#pragma once
// The host's environment block: the theme reaches the host through it.
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "host/host_analysis.h"

namespace nv {

struct EnvironmentNameLess {
  bool operator()(const std::wstring& a, const std::wstring& b) const;  // _wcsicmp order
};
using LaunchEnvironment = std::map<std::wstring, std::wstring, EnvironmentNameLess>;

inline const std::wstring webview_background_variable = L"WEBVIEW2_DEFAULT_BACKGROUND_COLOR";
inline const std::wstring webview_arguments_variable = L"WEBVIEW2_ADDITIONAL_BROWSER_ARGUMENTS";
inline const std::wstring webview_background_prefix = L"TENEBRIX_WEBVIEW_BACKGROUND";
inline const std::wstring webview_arguments_prefix = L"TENEBRIX_WEBVIEW_ARGS";
inline const std::wstring dark_background_color = L"FF202328";

// What the theme hands the host, gathered before the block is computed.
struct ThemeValues {
  bool dark = false;
  std::wstring install_root;
  std::wstring hashes;
  std::wstring diagnostic_layout;  // empty when not given
  bool browser_dark = true;
};

// The host's block from a given raw block (entries ending in NUL, then NUL):
// a pure function of its arguments.
std::vector<std::uint16_t> compute_launch_environment(const std::wstring& parent_block,
                                                      const ThemeValues& theme);

// The block for CreateProcessW with CREATE_UNICODE_ENVIRONMENT: this process's
// environment and the run's context put through the above; `browser_dark` is the
// settings' answer for embedded pages.
std::vector<std::uint16_t> build_launch_environment(const HostAnalysis& analysis, bool dark,
                                                    bool browser_dark);

LaunchEnvironment parse_environment_block(const std::wstring& block);
std::vector<std::uint16_t> write_environment_block(const LaunchEnvironment& environment);

void restore_saved_variable(LaunchEnvironment& environment, const std::wstring& name,
                            const std::wstring& prefix);
void save_and_set_variable(LaunchEnvironment& environment, const std::wstring& name,
                           const std::wstring& prefix, const std::wstring& value);

}  // namespace nv
