#pragma once
// At most one look at the update feed a day, per Windows account and per update
// identity. The attempt is written down before the network is touched, so a
// dead network costs its wait once a day, and a No to the offer holds a day.
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/named_mutex.h"

namespace nv {

inline constexpr std::int64_t update_check_interval = 86'400;  // seconds
inline constexpr std::size_t check_state_limit = 256;  // bytes; a longer file holds nothing usable

// Alive for one call of update_check_due.
struct UpdateCheckState {
  std::wstring path;           // the state file
  platform::NamedMutex mutex;  // keeps other launchers of this user out; may be null
};

// (local application data)\Tenebrix\Updates; empty when that folder cannot be had.
std::wstring updates_root();
// "check-" and the hexadecimal SHA-256 of host, channel and key id, ".json":
// another identity starts another schedule.
std::wstring check_state_name();
// "Local\Tenebrix.UpdateCheck." and the hexadecimal SHA-256 of the folded path.
std::wstring check_mutex_name(const std::wstring& state_path);

// True when the caller is to check now; the attempt is then already recorded.
// Every failure, and every doubt, is false. Never raises.
bool update_check_due();
UpdateCheckState open_update_check_state(const std::wstring& path);
// `now` in seconds since 1970.
bool claim_check_slot(UpdateCheckState& state, std::int64_t now);
// The stored time, 0 when nothing usable is stored; raises "update check state"
// when the file cannot be read.
std::int64_t read_last_attempt(const std::wstring& path);
// Replaces the file through a temporary one; raises "update check state", or
// "create_directories" when its folder cannot be made.
void write_last_attempt(const UpdateCheckState& state, std::int64_t now);

}  // namespace nv
