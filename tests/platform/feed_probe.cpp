// One feed fetch or installer download against the update host, for e2e/test_feed.py: prints "start", then
// "ok <bytes>" or the failure word, and the milliseconds taken.
//   feed_probe feed | feed_probe download <path> <size> <file> <cancel after ms: 0 at once, -1 never>
#include <chrono>
#include <cstdio>
#include <thread>

#include "update/download.h"
#include "update/feed.h"

static nv::DownloadProgress progress;  // the canceller may outlive main

int wmain(int argc, wchar_t** argv) {
  std::puts("start");
  std::fflush(stdout);
  const auto begin = std::chrono::steady_clock::now();
  std::string answer = "usage";
  try {
    if (argc == 2) {
      nv::FeedRequest request{nv::make_manifest_state()};
      answer = "ok " + std::to_string(nv::fetch_manifest_text(request).size());
    } else if (argc == 6) {
      nv::ReleaseManifest manifest;
      manifest.path = argv[2];
      manifest.size = std::stoull(argv[3]);
      const auto cancel_after = std::chrono::milliseconds(std::stoi(argv[5]));
      progress.cancel = cancel_after.count() == 0;
      if (cancel_after.count() > 0)
        std::thread([=] { std::this_thread::sleep_for(cancel_after), progress.cancel = true; }).detach();
      nv::download_to_file(manifest, argv[4], progress);
      answer = "ok " + std::to_string(manifest.size);
    }
  } catch (const std::exception& e) {
    answer = e.what();
  }
  const auto taken = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
  std::printf("%s %lld\n", answer.c_str(), static_cast<long long>(taken.count()));
  std::fflush(stdout);
  return 0;
}
