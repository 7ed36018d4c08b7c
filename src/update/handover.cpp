#include "update/handover.h"

#include <optional>
#include <vector>

#include "build_config.h"
#include "foundation/command_line.h"
#include "foundation/encoding.h"
#include "foundation/paths.h"
#include "foundation/process_values.h"
#include "foundation/sentences.h"
#include "host/identification.h"
#include "platform/dialogs.h"
#include "platform/files.h"
#include "platform/held_folders.h"
#include "platform/known_folders.h"
#include "platform/process_start.h"
#include "platform/processes.h"
#include "platform/system.h"
#include "support/inspection.h"
#include "update/schedule.h"

namespace nv {
namespace {

const std::wstring part_extension = L".part";

// The installer's tests, cheapest first, over one file seen either through its
// path or through a handle held open.
template <typename Installer>
bool passes(const Installer& file, const ReleaseManifest& manifest) {
  const std::optional<platform::OwnAttributes> own = file.attributes();
  if (!own || (own->attributes & platform::file_attribute_directory)) return false;
  if (own->reparse_tag == platform::reparse_tag_symlink ||
      own->reparse_tag == platform::reparse_tag_mount_point)
    return false;
  if (own->size != manifest.size) return false;
  if (file.sha256_hex() != manifest.sha256) return false;
  std::uint32_t secondary_signatures = 0;
  if (!file.signed_at(0, installer_primary_signer, &secondary_signatures) ||
      secondary_signatures == 0)
    return false;
  return file.signed_at(1, installer_secondary_signer, nullptr);
}

struct InstallerAtPath {
  const std::wstring& path;
  std::optional<platform::OwnAttributes> attributes() const {
    return platform::own_attributes(path);
  }
  std::string sha256_hex() const { return sha256_file_hex(path); }
  bool signed_at(std::uint32_t index, const wchar_t* subject, std::uint32_t* count) const {
    return signed_by_at(path, index, subject, count);
  }
};

struct HeldInstaller {
  const platform::OpenFile& file;
  const std::wstring& path;
  std::optional<platform::OwnAttributes> attributes() const {
    return platform::own_attributes(file);
  }
  std::string sha256_hex() const { return sha256_file_hex(file); }
  bool signed_at(std::uint32_t index, const wchar_t* subject, std::uint32_t* count) const {
    return signed_by_at(file, path, index, subject, count);
  }
};

bool in_the_way(const std::wstring& host_path, const std::wstring& installation) {
  return host_is_running(host_path) || install_is_busy(installation);
}

// The host processes at `host_path`, each with its creation time, so that a
// later process that got a reused id is not asked to close.
std::vector<platform::RestartProcess> host_processes(const std::wstring& host_path) {
  std::vector<platform::RestartProcess> found;
  // Of every session: only the image path decides which to ask.
  const auto walk = walk_processes(host_file_name, SessionScope::every_session);
  if (!walk) return found;
  const std::wstring wanted = folded_path(host_path);
  for (const platform::ProcessRecord& process : walk->named) {
    const auto identity = platform::process_identity(process.id);
    if (identity && folded_path(identity->image_path) == wanted)
      found.push_back({process.id, identity->creation_time});
  }
  return found;
}

bool old_enough(const std::optional<std::uint64_t>& written, std::uint64_t now) {
  return written && now >= *written && now - *written >= installer_cache_age_limit;
}

bool is_revision_name(const std::wstring& name) {
  return !name.empty() && name.find_first_not_of(L"0123456789") == std::wstring::npos;
}

// The extension as the filesystem library reads it, with an alternate stream
// after a colon left out: a name that only starts with a full stop has none.
bool is_part_file(const std::wstring& name) {
  const std::wstring file = name.substr(0, name.find(L':'));
  const std::size_t dot = file.rfind(L'.');
  return dot != std::wstring::npos && dot > 0 &&
         file.compare(dot, std::wstring::npos, part_extension) == 0;
}

// Works only through held folders: a revision folder is entered only when it could be held, which
// a link never can, and whatever is removed goes as itself.
void prune_held(const platform::HeldFolder& channel, std::int32_t keep_revision,
                std::uint64_t now) {
  std::vector<platform::HeldEntry> folders;
  for (platform::HeldEntry& entry : platform::list_held(channel))
    if (entry.kind == platform::FileKind::directory) folders.push_back(std::move(entry));
  const std::wstring kept = std::to_wstring(keep_revision);
  for (const platform::HeldEntry& folder : folders) {
    if (!is_revision_name(folder.name)) continue;  // foreign folders survive
    if (folder.name != kept) {
      if (old_enough(folder.write_time, now)) platform::remove_held_entry(channel, folder.name);
      continue;
    }
    // The running revision keeps its installer; only what a crash left behind goes.
    const platform::HeldResult revision = platform::hold_folder_in(channel, folder.name, false);
    if (!revision.folder) continue;
    for (const platform::HeldEntry& entry : platform::list_held(*revision.folder))
      if (entry.kind == platform::FileKind::regular && is_part_file(entry.name) &&
          old_enough(entry.write_time, now))
        platform::remove_held_entry(*revision.folder, entry.name);
  }
}

}  // namespace

bool verify_installer(const std::wstring& path, const ReleaseManifest& manifest) {
  return passes(InstallerAtPath{path}, manifest);
}

bool wait_for_host_exit(const std::wstring& host_path, const std::wstring& installation) {
  if (!in_the_way(host_path, installation)) return true;
  // Errors of the Restart Manager are not reported: the dialog is the fallback for all of them.
  platform::ask_to_close(plugin_path_in(installation), [&] { return host_processes(host_path); });
  if (!in_the_way(host_path, installation)) return true;
  const int pressed = platform::timer_dialog(
      {sentence::product_title, sentence::wait_title, sentence::wait_content,
       platform::tdf_callback_timer, platform::tdcbf_ok_button | platform::tdcbf_cancel_button},
      [&](const platform::DialogWindow& dialog, platform::DialogEvent event, int) {
        // Nothing may leave a callback of the system: a failure counts as "not yet".
        try {
          if (event == platform::DialogEvent::timer && !in_the_way(host_path, installation))
            dialog.click_button(platform::id_ok);
        } catch (...) {
        }
        return 0;
      });
  // OK may also be pressed by hand while a host still runs.
  return pressed == platform::id_ok && !in_the_way(host_path, installation);
}

std::wstring build_installer_command(const std::wstring& installer_path,
                                     const std::wstring& host_path, bool resume_dark,
                                     std::uint32_t process_id, const std::wstring& browser_dark,
                                     const std::wstring& diagnostic_path) {
  std::wstring line = quote_argument(installer_path) + L" /AUTOUPDATE /UPGRADE /PARENTPID=" +
                      std::to_wstring(process_id) + L" /RESUME=" +
                      (resume_dark ? L"dark" : L"normal") + L" /PALTALK=" +
                      quote_argument(host_path);
  if (browser_dark == L"on" || browser_dark == L"off") line += L" /BROWSERDARK=" + browser_dark;
  if (!diagnostic_path.empty() && is_absolute_path(diagnostic_path))
    line += L" /DIAGNOSTIC=" + quote_argument(diagnostic_path);
  return line;
}

bool start_installer(const std::wstring& installer_path, const std::wstring& host_path,
                     bool resume_dark, const std::wstring& browser_dark,
                     const std::wstring& diagnostic_path) {
  const std::wstring line =
      build_installer_command(installer_path, host_path, resume_dark,
                              platform::current_process_id(), browser_dark, diagnostic_path);
  return platform::start_program(installer_path, line).started;
}

InstallerStart start_verified_installer(const CacheChain& folder, const std::wstring& name,
                                        const ReleaseManifest& manifest,
                                        const std::wstring& host_path, bool resume_dark,
                                        const std::wstring& browser_dark,
                                        const std::wstring& diagnostic_path) {
  const std::wstring installer_path = append_path(folder.path, name);
  // Held until CreateProcessW has returned: what was verified is what starts.
  const platform::HeldFile held = platform::hold_file(installer_path);
  if (!held || !folder.intact() || !passes(HeldInstaller{*held, installer_path}, manifest))
    return InstallerStart::refused;
  return start_installer(installer_path, host_path, resume_dark, browser_dark, diagnostic_path)
             ? InstallerStart::started
             : InstallerStart::start_failed;
}

void report_update_failure(UpdateFailure phase) {
  show_message(phase == UpdateFailure::start ? sentence::update_start_failed
                                             : sentence::update_download_failed,
               platform::mb_iconerror);
}

void clean_update_cache() try {
  const std::wstring root = updates_root();
  if (root.empty()) return;
  if (const auto channel = hold_cache_chain(root, {installer_cache_channel}, false))
    prune_held(channel->innermost(), build::current_revision, platform::system_time());
} catch (...) {
  // A file that cannot go stays until the next launch.
}

void prune_update_folder(const std::wstring& channel_folder, std::int32_t keep_revision,
                         std::uint64_t now) try {
  if (const auto channel = hold_cache_chain(channel_folder, {}, false))
    prune_held(channel->innermost(), keep_revision, now);
} catch (...) {
}

}  // namespace nv
