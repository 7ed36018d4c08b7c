// The native build has no update host: every network call and the feed's event
// fail at once, so the callers' failure paths run as they would offline.
#include "platform/http.h"

#include <chrono>

namespace nv::platform {

void HttpClose::operator()(void*) const {}
HttpHandle http_open(const std::wstring&, bool) { return nullptr; }
void http_set_timeouts(void*, const HttpTimeouts&) {}
HttpHandle http_connect(void*, const std::wstring&, std::uint16_t) { return nullptr; }
HttpHandle http_open_request(void*, const std::wstring&) { return nullptr; }
bool http_refuse_redirects(void*) { return false; }
bool http_set_context(void*, void*) { return false; }
bool http_set_callback(void*, HttpStatusCallback) { return false; }
bool http_send(void*, void*) { return false; }
bool http_receive(void*) { return false; }
std::optional<std::uint32_t> http_status_code(void*) { return std::nullopt; }
bool http_read(void*, char*, std::uint32_t, std::uint32_t*) { return false; }

void EventClose::operator()(void*) const {}
Event create_event() { return nullptr; }
void reset_event(void*) {}
void set_event(void*) {}
bool wait_event(void*, std::uint32_t) { return false; }

std::uint64_t tick_count() {
  using namespace std::chrono;
  return static_cast<std::uint64_t>(
      duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

}  // namespace nv::platform
