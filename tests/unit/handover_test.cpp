// The daily check on real state files and a real lock, the installer's tests on real files with scripted
// signatures, the wait for the host, and the clean-up of the cache on real folders.
#include <gtest/gtest.h>

#include <future>
#include <thread>
#include <tuple>

#include "fake_platform.h"
#include "foundation/encoding.h"
#include "foundation/failure.h"
#include "foundation/paths.h"
#include "foundation/sentences.h"
#include "platform/files.h"
#include "test_support.h"
#include "update/handover.h"
#include "update/schedule.h"

namespace nv {
namespace {

namespace fs = std::filesystem;
constexpr std::int64_t T = 1'700'000'000;

std::string stored(std::int64_t time) { return "{\"schema\":1,\"lastAttemptUtc\":" + std::to_string(time) + "}"; }
std::string padded(std::size_t size) { return stored(T - 1) + std::string(size - stored(T - 1).size(), ' '); }

TEST(Schedule, OneCheckADayWhateverTheStateFileHolds) {
  const std::pair<std::string, bool> cases[] = {
      {"", true}, {stored(T - 86'399), false}, {stored(T - 86'400), true}, {stored(T + 5), true}, {stored(0), true},
      {padded(256), false}, {padded(257), true}, {"{\"schema\":1,\"lastAttemptUtc\":1699999999,\"x\":1}", true},
      {"{\"schema\":2,\"lastAttemptUtc\":1699999999}", true}, {stored(T - 1).substr(1), true}, {"<now 0>", false}, {"<directory>", false},
      {"<parent is a file>", false}, {"<held>", false}};
  for (const auto& [content, due] : cases) {
    test::TempDir dir;
    const std::wstring path = dir / (content == "<parent is a file>" ? L"file\\check.json" : L"Updates\\check.json");
    if (content == "<directory>") fs::create_directories(test::to_fs(path));
    if (content == "<parent is a file>") test::write_bytes(dir / L"file", "");
    if (!content.empty() && content[0] != '<') test::write_bytes(path, content);
    std::promise<void> ready, finished;
    std::thread other([&, mutex = platform::create_named_mutex(check_mutex_name(path))] {  // another launcher
      if (content == "<held>") platform::try_take(*mutex);
      ready.set_value();
      finished.get_future().wait();
    });
    ready.get_future().wait();
    UpdateCheckState state = open_update_check_state(path);
    EXPECT_EQ(claim_check_slot(state, content == "<now 0>" ? 0 : T), due) << content;
    finished.set_value();
    other.join();
    std::string after;
    platform::read_file(path, after);
    EXPECT_EQ(after, due ? stored(T) : content[0] == '<' ? "" : content);
    for (const auto& entry : fs::recursive_directory_iterator(dir.native)) EXPECT_NE(entry.path().extension(), ".tmp");
  }
  test::TempDir dir;
  EXPECT_EQ(test::failure_of([&] { read_last_attempt(dir.path); }), failure::update_check_state);
  EXPECT_EQ(check_state_name(),  // of the test build's identity: updates.tenebrix.test, stable, stable-1
            L"check-4c1213abe6d7a6579fc85c13176a53050af5e09d52b464c595d0f121fc80dbda.json");
  EXPECT_EQ(check_mutex_name(L"Q:\\Some\\Check.json"), check_mutex_name(L"q:/some/./CHECK.json"));
}

TEST(InstallerCommand, PiecesInOrderAndOnlyValidExtras) {
  const std::wstring start = L"\"C:\\U p\\Setup.exe\" /AUTOUPDATE /UPGRADE /PARENTPID=42 /RESUME=",
                     host = L" /PALTALK=\"C:\\P F\\Paltalk.exe\"";
  const std::tuple<bool, const wchar_t*, const wchar_t*, std::wstring> cases[] = {
      {true, L"on", L"C:\\d\\l.txt", start + L"dark" + host + L" /BROWSERDARK=on /DIAGNOSTIC=\"C:\\d\\l.txt\""},
      {false, L"ON", L"d\\l.txt", start + L"normal" + host},
      {false, L"off", L"", start + L"normal" + host + L" /BROWSERDARK=off"}};
  for (const auto& [dark, browser, diagnostic, line] : cases)
    EXPECT_EQ(build_installer_command(L"C:\\U p\\Setup.exe", L"C:\\P F\\Paltalk.exe", dark, 42, browser, diagnostic), line);
}

// Signatures are scripted: Wine reports the primary signer at every index.
TEST(Installer, RefusedUnlessTheFileItselfMatchesAndBothSignersSigned) {
  test::TempDir dir;
  const std::wstring path = dir / L"Setup.exe", host = L"C:\\P\\Paltalk.exe";
  test::write_bytes(path, "installer");  // as long as the link's own text below
  const auto digest = sha256_bytes("installer");
  const ReleaseManifest good{17, 0, 9, L"1.7", L"/Setup.exe", hex_lower(digest.data(), digest.size())};
  using Check = platform::SignatureCheck;
  const Check orvane{true, true, installer_primary_signer, 1}, elin{true, true, L"ELIN VARRO", 0},
      alone{true, true, installer_primary_signer, 0}, elin_first{true, true, installer_secondary_signer, 1};
  const std::tuple<std::wstring, Check, Check, bool> cases[] = {
      {path, orvane, elin, true}, {path, {}, elin, false}, {path, alone, elin, false}, {path, orvane, orvane, false},
      {path, elin_first, alone, false}, {dir / L"missing.exe", orvane, elin, false}, {dir.path, orvane, elin, false},
#ifndef _WIN32  // no link can be made under Wine; this one leads to a file that passes
      {dir / L"link.exe", orvane, elin, false},
  };
  fs::create_symlink("Setup.exe", test::to_fs(dir / L"link.exe"));
#else
  };
#endif
  const std::pair<std::wstring, std::uint32_t> primary{folded_path(path), 0}, secondary{folded_path(path), 1};
  for (const auto& [file, first, second, passes] : cases) {
    fake::reset();
    fake::signatures = {{primary, first}, {secondary, second}};
    EXPECT_EQ(verify_installer(file, good), passes);
    EXPECT_EQ(start_verified_installer(file, good, host, true, L"", L""),
              passes ? InstallerStart::started : InstallerStart::refused);
  }
  // Until the start has returned, nobody may rewrite or delete what was verified.
  fake::signatures = {{primary, orvane}, {secondary, elin}};
  ReleaseManifest longer = good, upper = good;  // a byte more; the digest in upper case
  longer.size += 1;
  for (char& c : upper.sha256) c = static_cast<char>(c >= 'a' ? c - 'a' + 'A' : c);
  EXPECT_FALSE(verify_installer(path, longer) || verify_installer(path, upper));
  bool written = true, deleted = true;
  fake::during_start = [&] {
    written = std::ofstream(test::to_fs(path), std::ios::app).good();
    std::error_code error;
    deleted = fs::remove(test::to_fs(path), error);
  };
  fake::process_start_result = {false, 2};
  EXPECT_EQ(start_verified_installer(path, good, host, true, L"", L""), InstallerStart::start_failed);
#ifdef _WIN32  // nothing enforces sharing natively
  EXPECT_FALSE(written || deleted);
#endif
  EXPECT_TRUE(fs::remove(test::to_fs(path)) || deleted);
}

TEST(HostWait, PoliteRequestFirstThenTheDialogUntilNoHostIsLeft) {
  const std::wstring host = L"Q:\\P\\Paltalk.exe";
  const fake::Process running{{50, 4, L"Paltalk.exe"}, host, 1, {platform::ModuleListing::listed, {}}, 777},
      stranger{{60, 4, L"Paltalk.exe"}, L"Q:\\O\\Paltalk.exe"};
  // Obeys the polite request; exits while the dialog shows; or the user presses a button.
  const std::tuple<bool, bool, std::deque<int>, bool, std::size_t> cases[] = {
      {true, false, {}, true, 0}, {false, true, {}, true, 1}, {false, false, {platform::id_cancel}, false, 1},
      {false, false, {platform::id_ok}, false, 1}};
  for (const auto& [obeys, exits, clicks, result, dialogs] : cases) {
    fake::reset();
    fake::processes = {running, stranger};
    fake::hosts_obey = obeys;
    fake::timer_dialog_clicks = clicks;
    if (exits) fake::timer_tick = [&] { fake::processes = {stranger}; };
    EXPECT_EQ(wait_for_host_exit(host, L"Q:\\T"), result);
    EXPECT_EQ(fake::close_requests, (decltype(fake::close_requests){{{50, 777}}}));
    EXPECT_EQ(fake::timer_dialogs, std::vector<std::wstring>(dialogs, sentence::wait_title));
  }
  fake::reset();
  fake::processes = {stranger};
  EXPECT_TRUE(wait_for_host_exit(host, L"Q:\\T"));
  EXPECT_TRUE(fake::close_requests.empty());  // nothing in the way: the Restart Manager is not touched
}

TEST(CachePrune, RevisionFoldersGoADayAfterTheirLastChange) {
  test::TempDir dir;
  const std::wstring names[] = {L"17\\Setup.exe", L"16\\Setup.exe", L"16\\a.part", L"16\\a.partial", L"1a\\x.part",
                                L"18"};
  for (const auto& name : names) test::write_bytes(dir / name, "x");
  std::uint64_t first = 0, last = 0;  // the oldest and newest write; `now` stands in for the passing of time
  ASSERT_TRUE(platform::last_write_time(dir / L"17", first) && platform::last_write_time(dir / L"18", last));
  const auto left = [&] { std::wstring t; for (const auto& n : names) t += fs::exists(test::to_fs(dir / n)) ? n + L" " : L""; return t; };
  prune_update_folder(dir.path, 16, first - 1);  // a write time in the future
  prune_update_folder(dir.path, 16, first + installer_cache_age_limit - 1);
  EXPECT_EQ(left(), L"17\\Setup.exe 16\\Setup.exe 16\\a.part 16\\a.partial 1a\\x.part 18 ");
  prune_update_folder(dir.path, 16, last + installer_cache_age_limit);
  EXPECT_EQ(left(), L"16\\Setup.exe 16\\a.partial 1a\\x.part 18 ");
}

}  // namespace
}  // namespace nv
