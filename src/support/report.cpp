#include "support/report.h"

#include <cstdint>
#include <cstdio>
#include <optional>

#include "build_config.h"
#include "foundation/atomic_write.h"
#include "foundation/json.h"
#include "foundation/paths.h"
#include "foundation/process_values.h"
#include "host/configuration.h"
#include "host/discovery.h"
#include "host/identification.h"
#include "host/ini.h"
#include "host/verdict.h"
#include "platform/registry.h"
#include "platform/system.h"
#include "platform/trust.h"
#include "support/inspection.h"

namespace nv {
namespace {

const std::wstring windows_version_key = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion";

std::string quoted_or_null(const std::wstring& text) {
  return text.empty() ? "null" : json_quote(text);
}
std::string boolean(bool value) { return value ? "true" : "false"; }

std::wstring machine_word(std::uint16_t machine) {
  switch (machine) {
    case 0x8664:
      return L"x64";
    case 0xAA64:
      return L"arm64";
    case 0x014C:
      return L"x86";
    default:
      return L"unknown";
  }
}

// The composing time as a quoted JSON string.
std::string generated_utc() {
  const platform::UtcTime now = platform::utc_time();
  char text[64] = {};
  std::snprintf(text, sizeof text, "%04u-%02u-%02uT%02u:%02u:%02uZ", now.year, now.month, now.day,
                now.hour, now.minute, now.second);
  return '"' + std::string(text) + '"';
}

}  // namespace

std::string json_number_or_null(const std::wstring& text) {
  if (text.empty() || text.size() > 10) return "null";
  std::uint64_t value = 0;
  for (const wchar_t c : text) {
    if (c < L'0' || c > L'9') return "null";
    value = value * 10 + static_cast<std::uint64_t>(c - L'0');
  }
  if (value > 0xFFFFFFFFull) return "null";
  return std::to_string(value);
}

std::string package_file_record(const std::wstring& path) {
  if (!is_regular_file(path)) return R"({"present":false,"sha256":null,"signature":"missing"})";
  std::wstring digest;
  try {
    digest = file_fingerprint(path);
  } catch (...) {
    digest.clear();
  }
  const std::uint32_t status = platform::check_signature(path, std::nullopt).status;
  const char* word = status == 0                               ? "valid-offline"
                     : status == platform::trust_e_nosignature ? "unsigned"
                                                               : "unverified";
  return R"({"present":true,"sha256":)" + quoted_or_null(digest) + R"(,"signature":")" + word +
         R"(","verificationCode":)" + std::to_string(status) + "}";
}

std::string compose_support_report(const std::wstring& host_path) {
  const RuntimeSnapshot runtime = inspect_runtime(host_path);
  HostAnalysis analysis;
  if (!host_path.empty()) {
    try {
      analysis = analyze_host(host_path);
    } catch (...) {
      analysis = {};
    }
  }
  const std::wstring machine = machine_word(platform::native_machine());
  const std::optional<std::uint32_t> ubr =
      platform::registry_dword(platform::RegistryRoot::local_machine, windows_version_key, L"UBR");
  const std::wstring build =
      read_registry_text(platform::RegistryRoot::local_machine, windows_version_key,
                         L"CurrentBuildNumber", platform::key_wow64_64key);
  // Only known words leave last-status.ini: free text there never reaches the report.
  const std::wstring status = last_status_path();
  const std::wstring mode = read_ini_value(status, L"Launch", L"Mode");
  const bool known_mode = mode == L"normal" || mode == L"qt-only" || mode == L"full-dark";
  const bool created = read_ini_value(status, L"Launch", L"Operation") == L"create-process";
  const std::string error =
      created ? json_number_or_null(read_ini_value(status, L"Launch", L"Error")) : "null";

  const std::wstring& root = launch_context().install_root;
  std::string text = "{\n";
  text += "\"schemaVersion\":1,\"generatedUtc\":" + generated_utc() + ",\n";
  text += "\"versions\":{\"tenebrix\":" + json_quote(build::launcher_version) +
          ",\"windowsBuild\":" + json_number_or_null(build) +
          ",\"windowsUBR\":" + (ubr ? std::to_string(*ubr) : "null") +
          ",\"paltalk\":" + quoted_or_null(analysis.host_version) +
          ",\"qt\":" + quoted_or_null(analysis.qt_version) +
          ",\"webView2\":" + quoted_or_null(runtime.webView2) + "},\n";
  text += "\"system\":{\"nativeArchitecture\":" + json_quote(machine) +
          ",\"launcherArchitecture\":\"x64\",\"elevated\":" + boolean(process_is_elevated()) +
          "},\n";
  text += "\"configuration\":{\"browserDarkEnabled\":" + boolean(browser_dark_enabled()) +
          ",\"compatibility\":" + json_quote(verdict_word(analysis)) +
          ",\"lastLaunchMode\":" + (known_mode ? json_quote(mode) : "null") + "},\n";
  text += "\"runtime\":{\"paltalkRunning\":" + json_quote(runtime.paltalkRunning) +
          ",\"themeLoaded\":" + json_quote(runtime.themeLoaded) + ",\"webViewProcesses\":" +
          (runtime.webViewProcesses < 0 ? "null" : std::to_string(runtime.webViewProcesses)) +
          "},\n";
  text += "\"package\":{\"launcher\":" + package_file_record(root + L"\\NightveilMode.exe") +
          ",\"plugin\":" + package_file_record(plugin_path()) +
          ",\"uninstaller\":" + package_file_record(root + L"\\Uninstall.exe") + "},\n";
  text +=
      "\"lastOperation\":{\"operation\":" + std::string(created ? "\"create-process\"" : "null") +
      ",\"errorCode\":" + error + "}\n";
  text += "}\n";
  return text;
}

bool save_support_report(const std::wstring& target, const std::wstring& host_path, bool replace) {
  return write_file_atomic(
      target, [&] { return compose_support_report(host_path); }, replace);
}

}  // namespace nv
