#pragma once
// From the user's Yes to a started installer: the download behind a progress
// dialog, the checks, the wait for the host and the hand-over.
#include <functional>
#include <future>
#include <string>

#include "platform/dialogs.h"
#include "update/download.h"
#include "update/manifest.h"

namespace nv {

enum class DownloadResult { ready = 0, cancelled = 1, failed = 2 };

// What the download's worker runs: it streams the release into the temporary
// file and stops soon after progress.cancel is set. The update uses
// download_to_file.
using DownloadBody =
    std::function<void(const ReleaseManifest&, const std::wstring&, DownloadProgress&)>;

// Brings the manifest's installer into the per-user cache and stores its path
// in `target`. Never raises, and never waits for the worker before telling it
// to stop when the dialog fails, however it fails.
DownloadResult download_installer(const ReleaseManifest& manifest, std::wstring& target,
                                  const DownloadBody& body = download_to_file);

// What the progress dialog's callback shares with the dialog's owner. `closing`
// marks the program's own press of Cancel on a finished download; `failed`, a
// failure inside the callback, which ends the download as a failed one.
struct DownloadDialogState {
  DownloadProgress* progress = nullptr;
  std::future<bool>* worker = nullptr;
  bool closing = false;
  bool failed = false;
};
int download_dialog_callback(DownloadDialogState& state, const platform::DialogWindow& dialog,
                             platform::DialogEvent event, int button);

// True when the installer has been started and this launch must end. Never raises.
bool run_update_pipeline(const ReleaseManifest& manifest, const std::wstring& host_path,
                         bool resume_dark, const std::wstring& install_root,
                         const std::wstring& browser_dark, const std::wstring& diagnostic_path);

}  // namespace nv
