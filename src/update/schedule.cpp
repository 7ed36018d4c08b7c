#include "update/schedule.h"

#include <optional>

#include "build_config.h"
#include "foundation/atomic_write.h"
#include "foundation/encoding.h"
#include "foundation/failure.h"
#include "foundation/json.h"
#include "foundation/paths.h"
#include "update/cache_chain.h"
#include "platform/files.h"
#include "platform/known_folders.h"
#include "platform/system.h"

namespace nv {
namespace {

constexpr std::int64_t filetime_of_1970 = 116'444'736'000'000'000;
constexpr std::int64_t filetime_per_second = 10'000'000;

std::wstring digest_text(const std::string& bytes) {
  const std::vector<std::uint8_t> digest = sha256_bytes(bytes);
  return hex_lower_wide(digest.data(), digest.size());
}

// A temporary of its own per attempt, gone on every way out.
constexpr TemporaryRule check_state_temporary{.name = TemporaryName::guid_tmp,
                                              .creation = platform::Creation::exclusive,
                                              .removed_unless_renamed = true};

// Taken with a time-out of 0, released on every way out.
class MutexHold {
 public:
  explicit MutexHold(platform::MutexObject& mutex) : mutex_(mutex) {
    const platform::MutexWait wait = platform::try_take(mutex);
    // An abandoned mutex is taken: its previous owner died holding it.
    taken_ = wait == platform::MutexWait::taken || wait == platform::MutexWait::abandoned;
  }
  MutexHold(const MutexHold&) = delete;
  MutexHold& operator=(const MutexHold&) = delete;
  ~MutexHold() {
    if (taken_) platform::release(mutex_);
  }
  bool taken() const { return taken_; }

 private:
  platform::MutexObject& mutex_;
  bool taken_ = false;
};

}  // namespace

std::wstring updates_root() {
  const std::wstring local = platform::known_folder_path(platform::KnownFolder::local_app_data);
  return local.empty() ? local : append_path(local, L"Tenebrix\\Updates");
}

std::wstring check_state_name() {
  const std::string identity =
      to_utf8(build::update_host) + "\n" + build::update_channel + "\n" + build::update_key_id;
  return L"check-" + digest_text(identity) + L".json";
}

std::wstring check_mutex_name(const std::wstring& state_path) {
  return L"Local\\Tenebrix.UpdateCheck." + digest_text(to_utf8(folded_path(state_path)));
}

bool update_check_due() try {
  const std::wstring root = updates_root();
  if (root.empty()) return false;
  UpdateCheckState state = open_update_check_state(append_path(root, check_state_name()));
  const auto now =
      (static_cast<std::int64_t>(platform::system_time()) - filetime_of_1970) / filetime_per_second;
  const bool due = claim_check_slot(state, now);
  state.mutex.reset();
  return due;
} catch (...) {
  return false;
}

UpdateCheckState open_update_check_state(const std::wstring& path) {
  return {path, platform::create_named_mutex(check_mutex_name(path))};
}

bool claim_check_slot(UpdateCheckState& state, std::int64_t now) {
  if (now <= 0 || !state.mutex) return false;
  // Held for the read and the write only, never during the network request.
  const MutexHold hold(*state.mutex);
  if (!hold.taken()) return false;
  try {
    const std::int64_t last = read_last_attempt(state.path);
    // A time in the future does not hold a check back: a clock set back heals.
    if (last >= 1 && last <= now && now - last < update_check_interval) return false;
    write_last_attempt(state, now);
    return true;
  } catch (...) {
    return false;
  }
}

std::int64_t read_last_attempt(const std::wstring& path) {
  if (!path_exists(path)) return 0;
  std::string bytes;
  if (!platform::read_file_head(path, check_state_limit + 1, bytes))
    fail(failure::update_check_state);
  if (bytes.size() > check_state_limit) return 0;
  // Nonsense counts as no state: the next write heals the file.
  try {
    const JsonObject state = parse_json_object(bytes);
    if (state.size() != 2 || json_number(state, "schema") != 1) return 0;
    return json_number(state, "lastAttemptUtc");
  } catch (const std::exception&) {
    return 0;
  }
}

void write_last_attempt(const UpdateCheckState& state, std::int64_t now) {
  // The folder is held while the state is written: a link planted in its place is refused, and
  // none can take its place until the rename is done.
  const std::optional<CacheChain> folder = hold_cache_chain(parent_of(state.path), {}, true);
  if (!folder) fail(failure::update_check_state);
  Replacement replacement(state.path, check_state_temporary);
  const std::string content = "{\"schema\":1,\"lastAttemptUtc\":" + std::to_string(now) + "}";
  if (!replacement.write(content, true)) fail(failure::update_check_state);
}

}  // namespace nv
