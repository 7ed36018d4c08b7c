#pragma once
// HTTPS GETs to the update host through WinHTTP, the completion event of the
// asynchronous form, and the tick count its deadline is measured on. Each call
// reports what happened; the order of calls and the failure words are the
// caller's.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace nv::platform {

// A session, connection or request handle; WinHttpCloseHandle when it goes.
struct HttpClose {
  void operator()(void* handle) const;
};
using HttpHandle = std::unique_ptr<void, HttpClose>;

// The completions a request reports to its status callback.
namespace http_notice {
inline constexpr std::uint32_t handle_closing = 0x00000800;
inline constexpr std::uint32_t headers_available = 0x00020000;
inline constexpr std::uint32_t read_complete = 0x00080000;
inline constexpr std::uint32_t request_error = 0x00200000;
inline constexpr std::uint32_t send_complete = 0x00400000;
}  // namespace http_notice

// WinHTTP's status callback (x64 has one calling convention): the handle, the
// request's context value, the notification, its information and length.
using HttpStatusCallback = void (*)(void* handle, std::uintptr_t context, unsigned long notice,
                                    void* information, unsigned long length);

struct HttpTimeouts {
  int resolve_ms, connect_ms, send_ms, receive_ms;
};

// WinHttpOpen with the user agent and the system's automatic proxy rules;
// asynchronous with `async`. Empty on failure.
HttpHandle http_open(const std::wstring& user_agent, bool async);
void http_set_timeouts(void* session, const HttpTimeouts& timeouts);  // result ignored by design
HttpHandle http_connect(void* session, const std::wstring& host, std::uint16_t port);
// A GET of `path` over TLS with the default certificate rules. Empty on failure.
HttpHandle http_open_request(void* connection, const std::wstring& path);
bool http_refuse_redirects(void* request);  // WINHTTP_OPTION_REDIRECT_POLICY = never
bool http_set_context(void* request, void* context);
// All completions and the handle notifications go to `callback`.
bool http_set_callback(void* request, HttpStatusCallback callback);
bool http_send(void* request, void* context);  // no headers, no body
bool http_receive(void* request);
std::optional<std::uint32_t> http_status_code(void* request);
// WinHttpReadData. `count` is null in the asynchronous form, where the read
// completes through the callback.
bool http_read(void* request, char* buffer, std::uint32_t size, std::uint32_t* count);

// An auto-reset event, not signalled, without a name; CloseHandle when it goes.
struct EventClose {
  void operator()(void* event) const;
};
using Event = std::unique_ptr<void, EventClose>;
Event create_event();  // empty on failure
void reset_event(void* event);
void set_event(void* event);
// True when the event is signalled within `milliseconds`.
bool wait_event(void* event, std::uint32_t milliseconds);

std::uint64_t tick_count();  // GetTickCount64

}  // namespace nv::platform
