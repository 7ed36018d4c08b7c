#include "update/feed.h"

#include <algorithm>

#include "build_config.h"
#include "foundation/encoding.h"
#include "foundation/failure.h"

namespace nv {
namespace {

namespace notice = platform::http_notice;

void check_deadline(std::uint64_t start) {
  if (feed_deadline_passed(start, platform::tick_count())) fail(failure::update_deadline);
}

// The single slot of the handshake: no completion is pending, and the next
// one to arrive is the answer to the call about to be made.
void arm(ManifestState& state) {
  state.status.exchange(0);
  platform::reset_event(state.event.get());
}

// Waits for the time left and wants the expected completion, and nothing else.
void wait_for(std::uint64_t start, ManifestState& state, std::uint32_t expected) {
  const std::uint64_t now = platform::tick_count();
  if (feed_deadline_passed(start, now)) fail(failure::update_deadline);
  if (!platform::wait_event(state.event.get(), feed_time_left(start, now)) ||
      state.status.load() != expected) {
    fail(failure::update_deadline);
  }
}

}  // namespace

std::shared_ptr<ManifestState> make_manifest_state() {
  auto state = std::make_shared<ManifestState>();
  state->event = platform::create_event();
  if (!state->event) fail(failure::update_event);
  return state;
}

bool feed_deadline_passed(std::uint64_t start, std::uint64_t now) {
  return now < start || now - start >= feed_deadline_ms;
}

std::uint32_t feed_time_left(std::uint64_t start, std::uint64_t now) {
  return feed_deadline_passed(start, now)
             ? 0
             : static_cast<std::uint32_t>(feed_deadline_ms - (now - start));
}

void open_feed_request(FeedRequest& request) {
  constexpr int step_ms = static_cast<int>(feed_deadline_ms);
  request.session = platform::http_open(update_user_agent, true);
  if (!request.session) fail(failure::update_network);
  platform::http_set_timeouts(request.session.get(), {step_ms, step_ms, step_ms, step_ms});
  // A failed connection shows itself at the next step, as a request that cannot be opened.
  request.connection =
      platform::http_connect(request.session.get(), build::update_host, update_port);
  const std::wstring path = L"/downloads" + std::wstring(L"/updates/") +
                            from_utf8(build::update_channel) + L"/latest.jws";
  request.request = platform::http_open_request(request.connection.get(), path);
  if (!request.request) fail(failure::update_network);
  if (!platform::http_refuse_redirects(request.request.get()))
    fail(failure::update_redirect_policy);
  // Until the callback is registered no notification can free the context, so it is still ours.
  auto context = std::make_unique<FeedContext>(FeedContext{request.state});
  if (!platform::http_set_context(request.request.get(), context.get()))
    fail(failure::update_context);
  if (!platform::http_set_callback(request.request.get(), feed_status_callback))
    fail(failure::update_callback);
  request.context = context.release();
}

void await_feed_event(std::uint64_t deadline_start, ManifestState& state,
                      std::uint32_t expected_status) {
  wait_for(deadline_start, state, expected_status);
  check_deadline(deadline_start);
}

std::string fetch_manifest_text(FeedRequest& request) {
  const std::uint64_t start = platform::tick_count();
  open_feed_request(request);
  ManifestState& state = *request.state;
  void* const handle = request.request.get();
  check_deadline(start);

  arm(state);
  if (!platform::http_send(handle, request.context)) fail(failure::update_network);
  await_feed_event(start, state, notice::send_complete);
  arm(state);
  if (!platform::http_receive(handle)) fail(failure::update_network);
  await_feed_event(start, state, notice::headers_available);

  const auto code = platform::http_status_code(handle);
  if (!code || *code != 200) fail(failure::update_feed_unavailable);

  std::string body;
  for (;;) {
    check_deadline(start);
    arm(state);
    if (!platform::http_read(handle, state.buffer.data(), feed_read_size, nullptr))
      fail(failure::update_network);
    // The read is started between two tests of the deadline, so its wait is written out here.
    wait_for(start, state, notice::read_complete);
    check_deadline(start);
    const std::uint32_t count = std::min(state.value.load(), feed_read_size);
    if (count == 0) return body;
    body.append(state.buffer.data(), count);
    if (body.size() > feed_body_limit) fail(failure::update_manifest_size);
  }
}

void feed_status_callback(void*, std::uintptr_t context, unsigned long notification, void*,
                          unsigned long length) {
  auto* const owner = reinterpret_cast<FeedContext*>(context);
  if (!owner) return;
  const std::shared_ptr<ManifestState> state = owner->state;  // alive to the end of this call
  switch (notification) {
    case notice::handle_closing:
      delete owner;
      break;
    case notice::send_complete:
    case notice::headers_available:
    case notice::read_complete:
    case notice::request_error:
      // The value first: whoever sees the status sees its value.
      state->value.store(static_cast<std::uint32_t>(length));
      state->status.store(static_cast<std::uint32_t>(notification));
      platform::set_event(state->event.get());
      break;
    default:
      break;
  }
}

}  // namespace nv
