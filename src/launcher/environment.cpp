#include "launcher/environment.h"

#include "launcher/browser_arguments.h"
#include "foundation/process_values.h"
#include "platform/system.h"

namespace nv {
namespace {

const std::wstring active_suffix = L"_ACTIVE";
const std::wstring original_suffix = L"_ORIGINAL";

// _wcsicmp compares after folding A-Z to lower case, unit by unit.
int compare_ignoring_case(const std::wstring& a, const std::wstring& b) {
  const std::size_t n = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < n; ++i) {
    auto fold = [](wchar_t c) -> std::uint32_t {
      auto u = static_cast<std::uint32_t>(c);
      return (u >= 'A' && u <= 'Z') ? u + 32 : u;
    };
    const std::uint32_t x = fold(a[i]), y = fold(b[i]);
    if (x != y) return x < y ? -1 : 1;
  }
  return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

// A later name that differs only in case overwrites the value and keeps the first spelling.
void assign(LaunchEnvironment& environment, const std::wstring& name, const std::wstring& value) {
  environment[name] = value;
}

}  // namespace

bool EnvironmentNameLess::operator()(const std::wstring& a, const std::wstring& b) const {
  return compare_ignoring_case(a, b) < 0;
}

LaunchEnvironment parse_environment_block(const std::wstring& block) {
  LaunchEnvironment environment;
  std::size_t start = 0;
  while (start < block.size()) {
    std::size_t end = block.find(L'\0', start);
    if (end == std::wstring::npos) end = block.size();
    if (end == start) break;  // the empty entry ends the block
    const std::wstring entry = block.substr(start, end - start);
    const std::size_t equals = entry.find(L'=', entry[0] == L'=' ? 1 : 0);
    if (equals != std::wstring::npos)
      assign(environment, entry.substr(0, equals), entry.substr(equals + 1));
    start = end + 1;
  }
  return environment;
}

std::vector<std::uint16_t> write_environment_block(const LaunchEnvironment& environment) {
  std::vector<std::uint16_t> block;
  for (const auto& [name, value] : environment) {
    for (wchar_t c : name) block.push_back(static_cast<std::uint16_t>(c));
    block.push_back(u'=');
    for (wchar_t c : value) block.push_back(static_cast<std::uint16_t>(c));
    block.push_back(0);
  }
  block.push_back(0);
  return block;
}

void restore_saved_variable(LaunchEnvironment& environment, const std::wstring& name,
                            const std::wstring& prefix) {
  const std::wstring active = prefix + active_suffix;
  const std::wstring original = prefix + original_suffix;
  auto marker = environment.find(active);
  if (marker == environment.end()) return;
  if (marker->second == L"present") {
    auto saved = environment.find(original);
    if (saved != environment.end()) assign(environment, name, saved->second);
  } else if (marker->second == L"absent") {
    environment.erase(name);
  }
  environment.erase(active);
  environment.erase(original);
}

void save_and_set_variable(LaunchEnvironment& environment, const std::wstring& name,
                           const std::wstring& prefix, const std::wstring& value) {
  auto current = environment.find(name);
  const bool present = current != environment.end();
  assign(environment, prefix + active_suffix, present ? L"present" : L"absent");
  if (present) assign(environment, prefix + original_suffix, current->second);
  assign(environment, name, value);
}

std::vector<std::uint16_t> compute_launch_environment(const std::wstring& parent_block,
                                                      const ThemeValues& theme) {
  LaunchEnvironment environment = parse_environment_block(parent_block);
  restore_saved_variable(environment, webview_background_variable, webview_background_prefix);
  restore_saved_variable(environment, webview_arguments_variable, webview_arguments_prefix);
  for (const wchar_t* owned : {L"QT_PLUGIN_PATH", L"QT_STYLE_OVERRIDE", L"NIGHTVEIL_HOME",
                               L"NIGHTVEIL_HASHES", L"NIGHTVEIL_DIAGNOSTICS"})
    environment.erase(owned);
  if (theme.dark) {
    assign(environment, L"QT_PLUGIN_PATH", theme.install_root + L"\\plugins");
    assign(environment, L"QT_STYLE_OVERRIDE", L"Nightveil");
    assign(environment, L"NIGHTVEIL_HOME", theme.install_root);
    assign(environment, L"NIGHTVEIL_HASHES", theme.hashes);
    if (!theme.diagnostic_layout.empty())
      assign(environment, L"NIGHTVEIL_DIAGNOSTICS", theme.diagnostic_layout);
    if (theme.browser_dark) {
      save_and_set_variable(environment, webview_background_variable, webview_background_prefix,
                            dark_background_color);
      auto arguments = environment.find(webview_arguments_variable);
      const std::wstring merged = merge_browser_arguments(
          arguments == environment.end() ? std::wstring() : arguments->second);
      save_and_set_variable(environment, webview_arguments_variable, webview_arguments_prefix,
                            merged);
    }
  }
  return write_environment_block(environment);
}

std::vector<std::uint16_t> build_launch_environment(const HostAnalysis& analysis, bool dark,
                                                    bool browser_dark) {
  return compute_launch_environment(
      platform::environment_block(),
      {dark, launch_context().install_root, analysis.hashes,
       launch_context().diagnostic_layout_path, dark && browser_dark});
}

}  // namespace nv
