// The update cache's folders as the update and the clean-up see them: a link anywhere from
// Tenebrix\Updates down stops the update and the clean-up, and a link above may be re-pointed
// without changing what starts.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <thread>
#include <chrono>

#include "build_config.h"
#include "fake_platform.h"
#include "foundation/encoding.h"
#include "foundation/failure.h"
#include "foundation/paths.h"
#include "foundation/sentences.h"
#include "platform/held_folders.h"
#include "test_support.h"
#include "update/handover.h"
#include "update/pipeline.h"

namespace nv {
namespace {

namespace fs = std::filesystem;
using platform::Hold;

// What the platform cannot show here: junctions and reparse points of other kinds.
TEST(HeldFolder, EveryReparsePointIsRefusedWhateverItsTag) {
  constexpr std::uint32_t folder = platform::file_attribute_directory;
  // A row names what differs from a folder that is a reparse point, refused as a link.
  struct Row {
    const char* name;
    std::uint32_t attributes = folder | platform::file_attribute_reparse_point;
    std::uint32_t tag = 0;
    Hold status = Hold::link;
  };
  const Row rows[] = {
      {.name = "plain folder", .attributes = folder, .status = Hold::held},
      {.name = "junction", .tag = platform::reparse_tag_mount_point},
      {.name = "symbolic link", .tag = platform::reparse_tag_symlink},
      {.name = "cloud placeholder", .tag = 0x9000001A},
      {.name = "tag without the attribute", .attributes = folder, .tag = 0x9000001A},
      {.name = "file", .attributes = 0x20, .status = Hold::not_folder},
  };
  for (const Row& row : rows)
    EXPECT_EQ(platform::hold_status_of({row.attributes, row.tag, 0}), row.status) << row.name;
}

#ifndef _WIN32  // Wine makes no link that a Windows program sees, and its known folder is fixed

// LOCALAPPDATA for the life of a test; the native build's known folder reads it.
struct LocalAppData {
  explicit LocalAppData(const std::wstring& path) {
    ::setenv("LOCALAPPDATA", to_utf8(path).c_str(), 1);
  }
  ~LocalAppData() { ::unsetenv("LOCALAPPDATA"); }
};

const std::string installer_bytes = "the verified installer";

// The release of `installer`, in the running revision's folder of the cache and passing every test
// (its signatures scripted at each of `paths`), so that the update goes straight to the start.
ReleaseManifest cached_release(const std::wstring& installer,
                               const std::vector<std::wstring>& paths) {
  for (const std::wstring& path : paths)
    for (std::uint32_t index : {0u, 1u})
      fake.signatures[{folded_path(path), index}] = {
          true, true, index ? installer_secondary_signer : installer_primary_signer, 1};
  return {build::current_revision,
          0,
          installer_bytes.size(),
          L"1.7",
          L"/downloads/releases/stable/16/Setup.exe",
          sha256_file_hex(installer)};
}

const FakeProcess stranger{{60, 4, L"Paltalk.exe"}, L"Q:\\O\\Paltalk.exe"};

TEST(CacheChain, ALinkFromUpdatesDownStopsTheUpdateAndTheCleanUp) {
  enum class Link { none, updates, stable, revision };
  struct Row {
    const char* name;
    Link link = Link::none;
  };
  const Row rows[] = {{.name = "no link"},
                      {.name = "Updates", .link = Link::updates},
                      {.name = "stable", .link = Link::stable},
                      {.name = "revision folder", .link = Link::revision}};
  const std::wstring kept = std::to_wstring(build::current_revision),
                     older = std::to_wstring(build::current_revision - 1);
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    fake = {};
    fake.processes = {stranger};
    test::TempDir dir;
    const LocalAppData local(dir / L"Local");
    const std::wstring updates = dir / L"Local\\Tenebrix\\Updates", channel = updates + L"\\stable",
                       revision = channel + L"\\" + kept, installer = revision + L"\\Setup.exe";
    test::write_bytes(installer, installer_bytes);
    test::write_bytes(revision + L"\\a.part", "left by a crash");
    test::write_bytes(channel + L"\\" + older + L"\\old.bin", "an older download");
    for (const std::wstring& old : {revision + L"\\a.part", channel + L"\\" + older})
      fs::last_write_time(test::to_fs(old),
                          fs::file_time_type::clock::now() - std::chrono::hours(48));
    // The linked folder moves out, and a link to it takes its place.
    const std::wstring linked = row.link == Link::updates  ? updates
                                : row.link == Link::stable ? channel
                                                           : revision;
    const fs::path outside = test::to_fs(dir / L"outside");
    if (row.link != Link::none) {
      fs::rename(test::to_fs(linked), outside);
      fs::create_directory_symlink(outside, test::to_fs(linked));
    }
    std::vector<fs::path> outside_files;
    if (row.link != Link::none)
      for (const auto& entry : fs::recursive_directory_iterator(outside))
        outside_files.push_back(entry.path());

    const bool started = run_update_pipeline(cached_release(installer, {installer}),
                                             L"Q:\\P\\Paltalk.exe", true, dir / L"T", L"", L"");
    clean_update_cache();
    const bool linked_row = row.link != Link::none;
    EXPECT_EQ(started, !linked_row);
    EXPECT_EQ(fake.process_starts.size(), linked_row ? 0u : 1u);
    EXPECT_EQ(fake.message_boxes,
              std::vector<std::wstring>(linked_row, sentence::update_download_failed));
    for (const fs::path& file : outside_files) EXPECT_TRUE(fs::exists(file)) << file;
    if (!linked_row) {  // the clean-up did run where it may
      EXPECT_FALSE(fs::exists(test::to_fs(channel + L"\\" + older)));
      EXPECT_FALSE(fs::exists(test::to_fs(revision + L"\\a.part")));
      EXPECT_TRUE(fs::exists(test::to_fs(installer)));
    }
  }
}

// %LOCALAPPDATA% may itself be a link (a moved profile); the update follows it once, when it
// takes hold of Tenebrix\Updates, and starts what it verified even if the link is re-pointed.
TEST(CacheChain, ALinkAboveTenebrixReTargetedBeforeTheStartChangesNothingThatStarts) {
  fake = {};
  fake.processes = {stranger};
  test::TempDir dir;
  const std::wstring tail =
      L"\\Tenebrix\\Updates\\stable\\" + std::to_wstring(build::current_revision) + L"\\Setup.exe";
  test::write_bytes(dir / (L"real" + tail), installer_bytes);
  test::write_bytes(dir / (L"other" + tail), "another program");
  const fs::path link = test::to_fs(dir / L"Local");
  fs::create_directory_symlink(test::to_fs(dir / L"real"), link);
  const LocalAppData local(dir / L"Local");
  // Both places pass the scripted signatures: only the bytes tell them apart.
  const ReleaseManifest release =
      cached_release(dir / (L"real" + tail),
                     {dir / (L"Local" + tail), dir / (L"real" + tail), dir / (L"other" + tail)});
  fake.during_start = [&] {
    fs::remove(link);
    fs::create_directory_symlink(test::to_fs(dir / L"other"), link);
  };
  ASSERT_TRUE(run_update_pipeline(release, L"Q:\\P\\Paltalk.exe", true, dir / L"T", L"", L""));
  std::string bytes;
  const std::wstring& line = fake.process_starts.at(0).first;  // the installer's path, quoted
  ASSERT_TRUE(platform::read_file(line.substr(1, line.find(L'"', 1) - 1), bytes));
  EXPECT_EQ(bytes, installer_bytes);
}

// A download whose dialog fails stops its worker before it waits for it: the launch goes on at
// once, and no temporary file is left.
TEST(DownloadDialog, AFailureStopsTheWorkerBeforeWaitingForIt) {
  fake = {};
  fake.timer_dialog_throws = true;
  test::TempDir dir;
  const LocalAppData local(dir / L"Local");
  // A download that runs until it is told to stop, or for ten seconds.
  const DownloadBody endless = [](const ReleaseManifest&, const std::wstring& file,
                                  DownloadProgress& progress) {
    test::write_bytes(file, "part of the release");
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!progress.cancel && std::chrono::steady_clock::now() < until)
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    fail(failure::download_cancelled);
  };
  std::wstring target;
  const auto start = std::chrono::steady_clock::now();
  const ReleaseManifest release{
      build::current_revision, 0, 4096, L"1.7", L"/downloads/releases/stable/16/Setup.exe",
      std::string(64, '0')};
  EXPECT_EQ(download_installer(release, target, endless), DownloadResult::failed);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
  const fs::path revision = test::to_fs(dir / L"Local\\Tenebrix\\Updates\\stable") /
                            std::to_string(build::current_revision);
  EXPECT_TRUE(fs::is_directory(revision));
  EXPECT_TRUE(fs::is_empty(revision));
}

#endif

// Nothing leaves the progress dialog's callback: a failure inside it (here a worker that cannot
// be asked) stops the download and marks it failed.
TEST(DownloadDialog, AFailureInsideTheCallbackStopsTheDownload) {
  fake = {};
  DownloadProgress progress{40, false};
  std::future<bool> no_worker;
  DownloadDialogState state{&progress, &no_worker, false};
  int result = -1;
  EXPECT_NO_THROW(result = download_dialog_callback(state, {}, platform::DialogEvent::timer, 0));
  EXPECT_EQ(result, 0);
  EXPECT_TRUE(progress.cancel);
  EXPECT_TRUE(state.failed);
}

}  // namespace
}  // namespace nv
