// The daily check, the installer's tests, the wait for the host and the cache's clean-up, on real
// files and locks.
#include <gtest/gtest.h>

#include <future>
#include <optional>

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

std::string stored(std::int64_t time) {
  return "{\"schema\":1,\"lastAttemptUtc\":" + std::to_string(time) + "}";
}
std::string padded(std::size_t size) {
  return stored(T - 1) + std::string(size - stored(T - 1).size(), ' ');
}
// What a check at T leaves in the file.
const std::string written_at_t = R"({"schema":1,"lastAttemptUtc":1700000000})";

enum class StateFolder { usable, a_file_in_its_place };

struct ScheduleCase {
  const char* name;
  std::optional<std::string> state_file = std::nullopt;  // none: no file at all
  std::int64_t now = T;
  StateFolder folder = StateFolder::usable;
  bool mutex_held_elsewhere = false;
  bool due = true;
};

TEST(Schedule, OneCheckADayWhateverTheStateFileHolds) {
  const ScheduleCase cases[] = {
      {.name = "no state file"},
      {.name = "86,399 s ago", .state_file = stored(T - 86'399), .due = false},
      {.name = "86,400 s ago", .state_file = stored(T - 86'400)},
      {.name = "in the future", .state_file = stored(T + 5)},
      {.name = "time 0 stored", .state_file = stored(0)},
      {.name = "no clock", .now = 0, .due = false},
      {.name = "recent, at the size limit", .state_file = padded(check_state_limit), .due = false},
      {.name = "recent, a byte over the limit", .state_file = padded(check_state_limit + 1)},
      {.name = "invalid JSON", .state_file = stored(T - 1).substr(1)},
      {.name = "a third key", .state_file = R"({"schema":1,"lastAttemptUtc":1699999999,"x":1})"},
      {.name = "schema 2", .state_file = R"({"schema":2,"lastAttemptUtc":1699999999})"},
      {.name = "folder cannot be made", .folder = StateFolder::a_file_in_its_place, .due = false},
      {.name = "another launcher holds the mutex", .mutex_held_elsewhere = true, .due = false},
  };
  for (const ScheduleCase& c : cases) {
    SCOPED_TRACE(c.name);
    test::TempDir dir;
    const std::wstring path = dir / L"Updates\\check.json";
    if (c.folder == StateFolder::a_file_in_its_place) test::write_bytes(dir / L"Updates", "");
    if (c.state_file) test::write_bytes(path, *c.state_file);
    const auto other = platform::create_named_mutex(check_mutex_name(path));  // another launcher's
    if (c.mutex_held_elsewhere) {
      ASSERT_EQ(platform::try_take(*other), platform::MutexWait::taken);
    }
    UpdateCheckState state = open_update_check_state(path);
    // On a thread of its own: within one, a Windows mutex is taken again.
    const auto claim = [&] { return claim_check_slot(state, c.now); };
    EXPECT_EQ(std::async(std::launch::async, claim).get(), c.due);
    std::string after;
    platform::read_file(path, after);
    EXPECT_EQ(after, c.due ? written_at_t : c.state_file.value_or(""));
  }
}

TEST(Schedule, StateFileWordsAndNames) {
  test::TempDir dir;
  EXPECT_EQ(test::failure_of([&] { read_last_attempt(dir.path); }), failure::update_check_state);
  test::write_bytes(dir / L"Updates", "");
  UpdateCheckState in_a_file{dir / L"Updates\\check.json", nullptr};
  EXPECT_EQ(test::failure_of([&] { write_last_attempt(in_a_file, T); }),
            failure::create_directories);
  // A folder at the state file's path refuses the rename; no temporary is left beside it.
  fs::create_directories(test::to_fs(dir / L"State\\check.json"));
  UpdateCheckState a_folder{dir / L"State\\check.json", nullptr};
  EXPECT_EQ(test::failure_of([&] { write_last_attempt(a_folder, T); }),
            failure::update_check_state);
  EXPECT_EQ(std::distance(fs::directory_iterator(test::to_fs(dir / L"State")), {}), 1);
  EXPECT_EQ(
      check_state_name(),  // of the test build's identity: updates.tenebrix.test, stable, stable-1
      L"check-4c1213abe6d7a6579fc85c13176a53050af5e09d52b464c595d0f121fc80dbda.json");
  EXPECT_EQ(check_mutex_name(L"Q:\\Some\\Check.json"), check_mutex_name(L"q:/some/./CHECK.json"));
}

TEST(InstallerCommand, PiecesInOrderAndOnlyValidExtras) {
  const std::wstring start = L"\"C:\\U p\\Setup.exe\" /AUTOUPDATE /UPGRADE /PARENTPID=42 /RESUME=",
                     host = L" /PALTALK=\"C:\\P F\\Paltalk.exe\"";
  const std::tuple<bool, const wchar_t*, const wchar_t*, std::wstring> cases[] = {
      {true, L"on", L"C:\\d\\l.txt",
       start + L"dark" + host + L" /BROWSERDARK=on /DIAGNOSTIC=\"C:\\d\\l.txt\""},
      {false, L"ON", L"d\\l.txt", start + L"normal" + host},
      {false, L"off", L"", start + L"normal" + host + L" /BROWSERDARK=off"}};
  for (const auto& [dark, browser, diagnostic, line] : cases)
    EXPECT_EQ(build_installer_command(L"C:\\U p\\Setup.exe", L"C:\\P F\\Paltalk.exe", dark, 42,
                                      browser, diagnostic),
              line);
}

// Signatures are scripted, by the path asked about: Wine reports the primary signer at every index.
TEST(Installer, RefusedUnlessTheFileItselfMatchesAndBothSignersSigned) {
  test::TempDir dir;
  const std::wstring path = dir / L"Setup.exe", host = L"C:\\P\\Paltalk.exe";
  test::write_bytes(path, "installer");  // as long as the link's own text
  std::error_code no_link;               // Wine makes none: a missing file is refused all the same
  fs::create_symlink("Setup.exe", test::to_fs(dir / L"link.exe"), no_link);
  const ReleaseManifest good{17, 0, 9, L"1.7", L"/Setup.exe", sha256_file_hex(path)};
  using Check = platform::SignatureCheck;
  const Check orvane{true, true, installer_primary_signer, 1}, elin{true, true, L"ELIN VARRO", 0},
      alone{true, true, installer_primary_signer, 0},
      elin_first{true, true, installer_secondary_signer, 1};
  const std::tuple<std::wstring, Check, Check, bool> cases[] = {
      {dir / L"link.exe", orvane, elin, false},
      {dir / L"missing.exe", orvane, elin, false},
      {path, {}, elin, false},
      {path, alone, elin, false},
      {path, orvane, orvane, false},
      {path, elin_first, elin, false},
      {path, orvane, elin, true}};  // the last one stays scripted
  const std::optional<CacheChain> folder = hold_cache_chain(dir.path, {}, false);
  ASSERT_TRUE(folder);
  for (const auto& [file, first, second, passes] : cases) {
    fake = {};
    fake.signatures = {{{folded_path(file), 0}, first}, {{folded_path(file), 1}, second}};
    EXPECT_EQ(start_verified_installer(*folder, name_of(file), good, host, true, L"", L""),
              passes ? InstallerStart::started : InstallerStart::refused);
  }
  std::string upper = good.sha256;  // the digest in upper case; a byte more or less than the file
  for (char& c : upper) c = static_cast<char>(std::toupper(c));
  for (const auto& [size, digest] : {std::pair{9, upper}, {10, good.sha256}, {8, good.sha256}})
    EXPECT_FALSE(
        verify_installer(path, {17, 0, static_cast<std::uint64_t>(size), L"", L"", digest}));
#ifdef _WIN32  // natively nothing enforces sharing
  fake.during_start =
      [&] {  // until the start has returned, nobody may rewrite or delete what was verified
        std::error_code error;
        EXPECT_FALSE(std::ofstream(test::to_fs(path), std::ios::app).good() ||
                     fs::remove(test::to_fs(path), error));
      };
#endif
  fake.process_start_result = {false, 2};
  EXPECT_EQ(start_verified_installer(*folder, L"Setup.exe", good, host, true, L"", L""),
            InstallerStart::start_failed);
}

// One host at the path asked about, id 50, created at 777, beside a stranger of the same name at
// another path, who is never asked to close. A row names what differs from a host that is asked
// to close once, shows the dialog and then is gone.
struct HostWaitRow {
  const char* name;
  bool host_runs = true;
  bool host_obeys = false;            // it ends when asked politely
  bool host_exits_in_dialog = false;  // it ends at the dialog's first tick
  std::deque<int> clicks = {};        // the user's buttons, one after each tick
  bool result = true;
  std::vector<std::vector<std::pair<std::uint32_t, std::uint64_t>>> close_requests = {{{50, 777}}};
  bool dialog_shown = true;
};

TEST(HostWait, PoliteRequestFirstThenTheDialogUntilNoHostIsLeft) {
  const std::wstring host = L"Q:\\P\\Paltalk.exe";
  const FakeProcess running{
      {50, 4, L"Paltalk.exe"}, host, 1, {platform::ModuleListing::listed, {}}, 777},
      stranger{{60, 4, L"Paltalk.exe"}, L"Q:\\O\\Paltalk.exe"};
  const HostWaitRow rows[] = {
      {.name = "no host runs", .host_runs = false, .close_requests = {}, .dialog_shown = false},
      {.name = "the host obeys the polite request", .host_obeys = true, .dialog_shown = false},
      {.name = "the host exits while the dialog shows", .host_exits_in_dialog = true},
      {.name = "the user cancels", .clicks = {platform::id_cancel}, .result = false},
      {.name = "the user presses OK, the host runs", .clicks = {platform::id_ok}, .result = false},
  };
  for (const HostWaitRow& row : rows) {
    fake = {};
    fake.processes = {stranger};
    if (row.host_runs) fake.processes.push_back(running);
    fake.hosts_obey = row.host_obeys;
    fake.timer_dialog_clicks = row.clicks;
    if (row.host_exits_in_dialog) fake.timer_tick = [&] { fake.processes = {stranger}; };
    EXPECT_EQ(wait_for_host_exit(host, L"Q:\\T"), row.result) << row.name;
    EXPECT_EQ(fake.close_requests, row.close_requests) << row.name;
    EXPECT_EQ(fake.timer_dialogs.size(), row.dialog_shown ? 1u : 0u) << row.name;
    if (row.dialog_shown) {
      EXPECT_EQ(fake.timer_dialogs[0], sentence::wait_title) << row.name;
    }
  }
}

TEST(CachePrune, RevisionFoldersGoADayAfterTheirLastChange) {
  test::TempDir dir;  // the running revision is 16
  const std::pair<std::wstring, bool> files[] = {
      {L"17\\Setup.exe", false}, {L"16\\Setup.exe", true}, {L"16\\a.part", false},
      {L"16\\a.partial", true},  {L"1a\\x.part", true},    {L"18", true}};
  for (const auto& [name, stays] : files) test::write_bytes(dir / name, "x");
  std::uint64_t first = 0,
                last = 0;  // the oldest and newest write; `now` stands in for the passing of time
  ASSERT_TRUE(platform::last_write_time(dir / L"17", first) &&
              platform::last_write_time(dir / L"18", last));
  prune_update_folder(dir.path, 16, first - 1);  // a write time in the future
  prune_update_folder(dir.path, 16, first + installer_cache_age_limit - 1);
  for (const auto& [name, stays] : files) EXPECT_TRUE(fs::exists(test::to_fs(dir / name))) << name;
  prune_update_folder(dir.path, 16, last + installer_cache_age_limit);
  for (const auto& [name, stays] : files)
    EXPECT_EQ(fs::exists(test::to_fs(dir / name)), stays) << name;
}

}  // namespace
}  // namespace nv
