#include "host/discovery.h"

#include <algorithm>
#include <string_view>

#include "foundation/paths.h"
#include "foundation/sentences.h"
#include "foundation/process_values.h"
#include "host/identification.h"
#include "platform/dialogs.h"
#include "platform/known_folders.h"

namespace nv {
namespace {

const std::wstring uninstall_key = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall";
const std::wstring known_folder_suffix = std::wstring(L"\\Paltalk\\") + host_file_name;

constexpr std::size_t text_buffer_units = platform::registry_value_bytes / 2;

// Where part first occurs in text, or text.end().
std::wstring::const_iterator find_text(const std::wstring& text, std::wstring_view part) {
  return std::search(text.begin(), text.end(), part.begin(), part.end());
}
bool contains(const std::wstring& text, std::wstring_view part) {
  return find_text(text, part) != text.end();
}

}  // namespace

std::wstring registry_text(const platform::RegistryValue& value) {
  if (!value.read || (value.type != platform::reg_sz && value.type != platform::reg_expand_sz))
    return {};
  // The bytes as they lie in a zeroed buffer of UTF-16 units.
  std::wstring buffer(text_buffer_units, L'\0');
  const std::size_t bytes = std::min(value.data.size(), platform::registry_value_bytes);
  for (std::size_t i = 0; i < bytes; ++i) {
    const auto byte = static_cast<std::uint32_t>(value.data[i]);
    auto unit = static_cast<std::uint32_t>(buffer[i / 2]);
    unit |= (i % 2 == 0) ? byte : (byte << 8);
    buffer[i / 2] = static_cast<wchar_t>(unit);
  }
  buffer.back() = L'\0';
  std::wstring text = buffer.substr(0, buffer.find(L'\0'));
  if (value.type == platform::reg_expand_sz) text = platform::expand_environment_strings(text);
  return text;
}

std::wstring read_registry_text(platform::RegistryRoot root, const std::wstring& subkey,
                                const std::wstring& name, unsigned access) {
  return registry_text(platform::registry_value(root, subkey, name, access));
}

std::wstring parse_command_path(const std::wstring& value) {
  if (value.empty()) return {};
  if (value[0] == L'"') {
    const std::size_t close = value.find(L'"', 1);
    if (close == std::wstring::npos) return {};
    return value.substr(1, close - 1);
  }
  const std::wstring folded = fold_ascii(value);
  const auto extension = find_text(folded, L".exe");
  if (extension == folded.end()) return {};
  return value.substr(0, static_cast<std::size_t>(extension - folded.begin()) + 4);
}

bool counts_as_host_entry(const std::wstring& display_name) {
  const std::wstring folded = fold_ascii(display_name);
  return contains(folded, L"paltalk") && !contains(folded, L"dark");
}

void add_host_candidate(std::vector<std::wstring>& candidates, const std::wstring& path) {
  if (!is_regular_file(path)) return;
  std::wstring normal = normal_path(path);
  const std::wstring folded = fold_ascii(normal);
  for (const auto& existing : candidates)
    if (fold_ascii(existing) == folded) return;
  candidates.push_back(std::move(normal));
}

std::vector<std::wstring> find_host_candidates() {
  std::vector<std::wstring> candidates;
  for (const auto root :
       {platform::RegistryRoot::current_user, platform::RegistryRoot::local_machine}) {
    for (const unsigned view : {platform::key_wow64_32key, platform::key_wow64_64key}) {
      const auto subkeys = platform::registry_subkeys(root, uninstall_key, view);
      if (!subkeys) continue;
      for (const auto& subkey : *subkeys) {
        const std::wstring key = uninstall_key + L"\\" + subkey;
        if (!counts_as_host_entry(read_registry_text(root, key, L"DisplayName", view))) continue;
        const std::wstring location = read_registry_text(root, key, L"InstallLocation", view);
        if (!location.empty())
          add_host_candidate(candidates, append_path(location, host_file_name));
        // The entry's own program is never the host; its folder may hold it.
        for (const wchar_t* name : {L"DisplayIcon", L"UninstallString"}) {
          const std::wstring program =
              parse_command_path(read_registry_text(root, key, name, view));
          if (!program.empty())
            add_host_candidate(candidates, append_path(parent_of(program), host_file_name));
        }
      }
    }
  }
  for (const auto folder :
       {platform::KnownFolder::local_app_data, platform::KnownFolder::program_files,
        platform::KnownFolder::program_files_x86})
    add_host_candidate(candidates, platform::known_folder_path(folder) + known_folder_suffix);
  return candidates;
}

HostAnswer answer_for_button(int button, const std::vector<std::wstring>& candidates) {
  HostAnswer answer;
  if (button == browse_button) {
    answer.browse = true;
  } else if (button >= first_candidate_button &&
             static_cast<std::size_t>(button - first_candidate_button) < candidates.size()) {
    answer.path = candidates[static_cast<std::size_t>(button - first_candidate_button)];
  }
  return answer;
}

std::wstring pick_host_file() {
  platform::FileOpenDialog dialog;
  dialog.title = sentence::locate_host_title;
  dialog.type_name = sentence::host_file_type;
  dialog.type_pattern = host_file_name;
  dialog.options =
      platform::fos_forcefilesystem | platform::fos_pathmustexist | platform::fos_filemustexist;
  return platform::open_file_dialog(dialog);
}

std::wstring choose_host() {
  const std::vector<std::wstring> candidates = find_host_candidates();
  if (candidates.size() == 1) return candidates.front();
  if (launch_context().silent_mode) return {};
  if (candidates.empty()) {
    show_message(sentence::host_missing, platform::mb_iconinformation);
    return pick_host_file();
  }
  platform::CommandLinkDialog dialog;
  dialog.window_title = sentence::product_title;
  dialog.main_instruction = sentence::choose_host_instruction;
  for (std::size_t i = 0; i < candidates.size(); ++i)
    dialog.buttons.push_back({first_candidate_button + static_cast<int>(i), candidates[i]});
  dialog.buttons.push_back({browse_button, sentence::browse_for_host});
  const HostAnswer answer = answer_for_button(platform::command_link_dialog(dialog), candidates);
  return answer.browse ? pick_host_file() : answer.path;
}

}  // namespace nv
