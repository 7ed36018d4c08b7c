#pragma once
// The feed client: one HTTPS GET of the release manifest that, from the first
// handle to the last byte, takes at most feed_deadline_ms whatever the network
// does. The request runs asynchronously and the launch thread waits for each
// completion on one event against a single deadline, since WinHTTP's own
// time-outs apply per step.
#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "platform/http.h"

namespace nv {

inline constexpr std::uint64_t feed_deadline_ms = 3000;
inline constexpr std::uint32_t feed_read_size = 8192;
inline constexpr std::size_t feed_body_limit = 16384;
inline constexpr const wchar_t* update_user_agent = L"Tenebrix Updates/1";
inline constexpr std::uint16_t update_port = 443;

// Shared by the launch thread and WinHTTP's callback thread. The callback may
// come after the launch thread has given up, so the state is held by shared
// pointers: the launch thread's and the request context's.
struct ManifestState {
  platform::Event event;                 // auto-reset, closed with the state
  std::atomic<std::uint32_t> status{0};  // the last completion reported, 0 when none
  std::atomic<std::uint32_t> value{0};   // its length; for a read, the bytes read
  std::array<char, feed_read_size> buffer{};
};

// The state with its event. Raises "update event" when the event cannot be made.
std::shared_ptr<ManifestState> make_manifest_state();

// The value WinHTTP hands to the callback: one more reference to the state.
// Once the callback is registered, only the request's handle-closing
// notification frees it.
struct FeedContext {
  std::shared_ptr<ManifestState> state;
};

// One fetch, made as FeedRequest{make_manifest_state()}. The members go in
// reverse order: request, connection, session, and last the launch thread's
// reference to the state.
struct FeedRequest {
  std::shared_ptr<ManifestState> state;
  platform::HttpHandle session{};
  platform::HttpHandle connection{};
  platform::HttpHandle request{};
  FeedContext* context = nullptr;  // owned by WinHTTP once the callback is registered
};

// The deadline of a fetch that began at tick `start`: passed when the clock
// went backwards or feed_deadline_ms have gone by. The time left is for a wait,
// and is 0 once the deadline has passed.
bool feed_deadline_passed(std::uint64_t start, std::uint64_t now);
std::uint32_t feed_time_left(std::uint64_t start, std::uint64_t now);

// Opens the handles of `request`, which holds only its state, runs the GET of
// the channel's latest.jws and returns the body. Raises a failure word on any
// failure; the handles close when the caller lets the request go.
std::string fetch_manifest_text(FeedRequest& request);
void open_feed_request(FeedRequest& request);
// Waits for the one completion expected; raises "update deadline" on anything else.
void await_feed_event(std::uint64_t deadline_start, ManifestState& state,
                      std::uint32_t expected_status);
void feed_status_callback(void* handle, std::uintptr_t context, unsigned long notification,
                          void* information, unsigned long length);

}  // namespace nv
