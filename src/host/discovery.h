#pragma once
// Finding the installed Paltalk.exe: the traces installations leave in the
// registry and the usual folders, and the user's choice when that is not clear.
#include <string>
#include <vector>

#include "platform/registry.h"

namespace nv {

std::wstring choose_host();
std::vector<std::wstring> find_host_candidates();
std::wstring parse_command_path(const std::wstring& value);
std::wstring pick_host_file();

// A text value of the registry (REG_SZ, or REG_EXPAND_SZ expanded); empty on
// any failure. access adds to KEY_READ, e.g. a WOW64 view flag.
std::wstring read_registry_text(platform::RegistryRoot root, const std::wstring& subkey,
                                const std::wstring& name, unsigned access);

// The decisions above on plain data.

// The text of a value read: empty unless REG_SZ or REG_EXPAND_SZ; the last unit
// of the 32,768-unit buffer is forced to NUL and the text ends at the first
// NUL; REG_EXPAND_SZ then goes through the environment.
std::wstring registry_text(const platform::RegistryValue& value);

// An Uninstall entry counts when its display name contains "paltalk" and not
// "dark", in any ASCII case.
bool counts_as_host_entry(const std::wstring& display_name);

// Appends the normal form of an existing regular file unless an entry equal
// to it after towlower is already listed; the form found first stays.
void add_host_candidate(std::vector<std::wstring>& candidates, const std::wstring& path);

// The task dialog's button ids are the whole protocol.
inline constexpr int first_candidate_button = 100;  // + the candidate's index
inline constexpr int browse_button = 200;
struct HostAnswer {
  bool browse = false;  // open the file dialog
  std::wstring path;    // the chosen candidate; empty for anything else
};
HostAnswer answer_for_button(int button, const std::vector<std::wstring>& candidates);

}  // namespace nv
