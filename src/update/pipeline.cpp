#include "update/pipeline.h"

#include <chrono>
#include <optional>

#include "foundation/atomic_write.h"
#include "foundation/paths.h"
#include "foundation/sentences.h"
#include "update/cache_chain.h"
#include "update/handover.h"
#include "update/schedule.h"

namespace nv {
namespace {

bool finished(std::future<bool>& worker) {
  return worker.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

// The revision folder and every folder up to updates_root(), made where missing and held from
// before the download until the installer has started. Nullopt (a failed download) when one of
// them is a link or cannot be held.
std::optional<CacheChain> hold_revision_folder(const ReleaseManifest& manifest) {
  const std::wstring root = updates_root();
  if (root.empty()) return std::nullopt;
  return hold_cache_chain(root, {installer_cache_channel, std::to_wstring(manifest.revision)},
                          true);
}

// Whatever way the dialog ends, an exception included, the worker is told to stop before
// anything waits for it: the future of std::async waits in its destructor.
struct StopWorkerOnExit {
  DownloadProgress& progress;
  ~StopWorkerOnExit() { progress.cancel = true; }
};

DownloadResult download_to_target(const CacheChain& folder, const ReleaseManifest& manifest,
                                  std::wstring& target, const DownloadBody& body) {
  target = append_path(folder.path, name_of(manifest.path));
  if (verify_installer(target, manifest)) return DownloadResult::ready;

  Replacement part(target, download_temporary);
  DownloadProgress progress;
  std::future<bool> worker = std::async(std::launch::async, [&]() noexcept {
    try {
      body(manifest, part.temporary(), progress);
      return true;
    } catch (...) {
      return false;
    }
  });
  const StopWorkerOnExit stop{progress};
  DownloadDialogState state{&progress, &worker, false};
  const int pressed = platform::timer_dialog(
      {sentence::product_title, sentence::download_title, sentence::download_content,
       platform::tdf_show_progress_bar | platform::tdf_callback_timer,
       platform::tdcbf_cancel_button},
      [&](const platform::DialogWindow& dialog, platform::DialogEvent event, int button) {
        return download_dialog_callback(state, dialog, event, button);
      });
  const bool dialog_failed = pressed == platform::dialog_failed || state.failed;
  if (dialog_failed) progress.cancel = true;
  const bool downloaded = worker.get();
  if (dialog_failed) return DownloadResult::failed;
  if (progress.cancel) return DownloadResult::cancelled;
  if (!downloaded || !verify_installer(part.temporary(), manifest) || !part.rename(true))
    return DownloadResult::failed;
  return verify_installer(target, manifest) ? DownloadResult::ready : DownloadResult::failed;
}

DownloadResult download_held(const std::optional<CacheChain>& folder,
                             const ReleaseManifest& manifest, std::wstring& target,
                             const DownloadBody& body = download_to_file) {
  try {
    return folder ? download_to_target(*folder, manifest, target, body) : DownloadResult::failed;
  } catch (...) {
    return DownloadResult::failed;
  }
}

}  // namespace

DownloadResult download_installer(const ReleaseManifest& manifest, std::wstring& target,
                                  const DownloadBody& body) {
  try {
    return download_held(hold_revision_folder(manifest), manifest, target, body);
  } catch (...) {
    return DownloadResult::failed;
  }
}

int download_dialog_callback(DownloadDialogState& state, const platform::DialogWindow& dialog,
                             platform::DialogEvent event, int button) try {
  if (event == platform::DialogEvent::timer) {
    dialog.set_progress(state.progress->percent);
    if (finished(*state.worker)) {
      state.closing = true;
      dialog.click_button(platform::id_cancel);
    }
    return 0;
  }
  if (button != platform::id_cancel) return 0;
  const bool done = finished(*state.worker);
  if (!state.closing) state.progress->cancel = true;
  if (done) return 0;
  // The dialog stays until the worker has really stopped; the timer closes it then.
  dialog.set_content(sentence::download_cancelling);
  return 1;
} catch (...) {
  // Nothing may leave a callback of the system: the download stops and counts as failed, and
  // the timer closes the dialog once the worker has.
  state.failed = true;
  state.progress->cancel = true;
  return 0;
}

bool run_update_pipeline(const ReleaseManifest& manifest, const std::wstring& host_path,
                         bool resume_dark, const std::wstring& install_root,
                         const std::wstring& browser_dark, const std::wstring& diagnostic_path) {
  UpdateFailure phase = UpdateFailure::download;
  try {
    std::wstring target;
    const std::optional<CacheChain> folder = hold_revision_folder(manifest);
    const DownloadResult downloaded = download_held(folder, manifest, target);
    if (downloaded == DownloadResult::cancelled) return false;
    if (downloaded == DownloadResult::failed) {
      report_update_failure(UpdateFailure::download);
      return false;
    }
    phase = UpdateFailure::start;
    if (!verify_installer(target, manifest)) {
      report_update_failure(UpdateFailure::start);
      return false;
    }
    if (!wait_for_host_exit(host_path, install_root)) return false;
    // The last check and the start share one held handle, and the folders above it have been held
    // since before the download, so nothing can swap the file or its path between them.
    if (start_verified_installer(*folder, name_of(target), manifest, host_path, resume_dark,
                                 browser_dark, diagnostic_path) != InstallerStart::started) {
      report_update_failure(UpdateFailure::start);
      return false;
    }
    return true;
  } catch (...) {
    report_update_failure(phase);
    return false;
  }
}

}  // namespace nv
