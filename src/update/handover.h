#pragma once
// The last stretch of an update: the test that a file is the promised
// installer, the wait until no host uses the theme, the installer's start, and
// the clean-up of the download cache in later launches.
#include <cstdint>
#include <string>

#include "update/cache_chain.h"
#include "update/manifest.h"

namespace nv {

// The signers every installer carries, by signature index.
inline constexpr const wchar_t* installer_primary_signer = L"Orvane Labs LLC";
inline constexpr const wchar_t* installer_secondary_signer = L"Elin Varro";
// The installer cache of the one channel, under updates_root().
inline constexpr const wchar_t* installer_cache_channel = L"stable";
// A revision folder, or a left-over .part file, goes one day after its last change.
inline constexpr std::uint64_t installer_cache_age_limit = 864'000'000'000;  // 100 ns units

// True when the file at `path` itself (never a link's target) has the
// manifest's size and sha256, exactly, and carries both signatures. Raises
// what sha256_file_hex raises.
bool verify_installer(const std::wstring& path, const ReleaseManifest& manifest);

// True when no host is in the way any more: none ran, the polite request of
// the Restart Manager was enough, or the user waited in the dialog until every
// host had closed. False on Cancel, or on OK while a host still runs.
bool wait_for_host_exit(const std::wstring& host_path, const std::wstring& installation);

std::wstring build_installer_command(const std::wstring& installer_path,
                                     const std::wstring& host_path, bool resume_dark,
                                     std::uint32_t process_id, const std::wstring& browser_dark,
                                     const std::wstring& diagnostic_path);
// True when the installer's process was created.
bool start_installer(const std::wstring& installer_path, const std::wstring& host_path,
                     bool resume_dark, const std::wstring& browser_dark,
                     const std::wstring& diagnostic_path);

// The last verification and the start as one act, for the installer `name` in
// a held cache folder: the folders are checked once more through their handles,
// and the file is held open, not through a link and with nobody allowed to
// write, rename or delete it, from before its verification (through that
// handle) until CreateProcessW has returned. The process starts from the
// folder's resolved path. Raises what sha256_file_hex raises.
enum class InstallerStart { started, refused, start_failed };
InstallerStart start_verified_installer(const CacheChain& folder, const std::wstring& name,
                                        const ReleaseManifest& manifest,
                                        const std::wstring& host_path, bool resume_dark,
                                        const std::wstring& browser_dark,
                                        const std::wstring& diagnostic_path);

// Where an update failed: in the download or its verification, or in the start of the verified
// installer (its last check included).
enum class UpdateFailure { download, start };
// The user's message for it (none in silent mode).
void report_update_failure(UpdateFailure phase);

// Prunes the channel folder of the installer cache for current_revision. Neither
// updates_root() nor its channel folder may be a link; nothing is entered,
// listed or removed through one at any depth, and a link inside is removed as a
// link.
void clean_update_cache();  // never throws
// `now` in FILETIME units; the channel folder itself must not be a link. Never throws.
void prune_update_folder(const std::wstring& channel_folder, std::int32_t keep_revision,
                         std::uint64_t now);

}  // namespace nv
