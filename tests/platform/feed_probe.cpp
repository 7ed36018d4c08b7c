// One step of the update on the real backend: prints "start", then its answer ("ok <bytes>" or the
// failure word; "started <own pid>" or "not started"; "true" or "false") and the milliseconds
// taken. "-": an empty value.
//   feed_probe feed | feed_probe download <path> <size> <file> <cancel after ms: 0 at once, -1
//   never> feed_probe start <installer> <host> <resume dark: 1|0> <browser dark> <diagnostic>
//   feed_probe wait <host> <installation>
#include <chrono>
#include <cstdio>
#include <thread>

#include "update/download.h"
#include "platform/system.h"
#include "update/feed.h"
#include "update/handover.h"

static nv::DownloadProgress progress;  // the canceller may outlive main

int wmain(int argc, wchar_t** argv) {
  std::puts("start");
  std::fflush(stdout);
  const auto begin = std::chrono::steady_clock::now();
  std::string answer = "usage";
  const auto given = [&](int at) {
    return std::wstring(argv[at]) == L"-" ? std::wstring() : argv[at];
  };
  try {
    if (argc == 7 && argv[1] == std::wstring(L"start")) {
      answer =
          nv::start_installer(argv[2], argv[3], argv[4] == std::wstring(L"1"), given(5), given(6))
              ? "started " + std::to_string(nv::platform::current_process_id())
              : "not started";
    } else if (argc == 4 && argv[1] == std::wstring(L"wait")) {
      answer = nv::wait_for_host_exit(argv[2], argv[3]) ? "true" : "false";
    } else if (argc == 2) {
      nv::FeedRequest request{nv::make_manifest_state()};
      answer = "ok " + std::to_string(nv::fetch_manifest_text(request).size());
    } else if (argc == 6) {
      nv::ReleaseManifest manifest;
      manifest.path = argv[2];
      manifest.size = std::stoull(argv[3]);
      const auto cancel_after = std::chrono::milliseconds(std::stoi(argv[5]));
      progress.cancel = cancel_after.count() == 0;
      if (cancel_after.count() > 0)
        std::thread([=] {
          std::this_thread::sleep_for(cancel_after), progress.cancel = true;
        }).detach();
      nv::download_to_file(manifest, argv[4], progress);
      answer = "ok " + std::to_string(manifest.size);
    }
  } catch (const std::exception& e) {
    answer = e.what();
  }
  const auto taken = std::chrono::duration_cast<std::chrono::milliseconds>(
      std::chrono::steady_clock::now() - begin);
  std::printf("%s %lld\n", answer.c_str(), static_cast<long long>(taken.count()));
  std::fflush(stdout);
  return 0;
}
