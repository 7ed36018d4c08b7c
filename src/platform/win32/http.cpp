#include "platform/http.h"

#include <windows.h>
#include <winhttp.h>

#include <type_traits>

#include "platform/win32/owners.h"

namespace nv::platform {
namespace {

static_assert(std::is_same_v<HttpStatusCallback, WINHTTP_STATUS_CALLBACK>);
static_assert(http_notice::handle_closing == WINHTTP_CALLBACK_STATUS_HANDLE_CLOSING &&
              http_notice::headers_available == WINHTTP_CALLBACK_STATUS_HEADERS_AVAILABLE &&
              http_notice::read_complete == WINHTTP_CALLBACK_STATUS_READ_COMPLETE &&
              http_notice::request_error == WINHTTP_CALLBACK_STATUS_REQUEST_ERROR &&
              http_notice::send_complete == WINHTTP_CALLBACK_STATUS_SENDREQUEST_COMPLETE);

// Every completion, and the creation and closing of handles.
constexpr DWORD callback_mask = 0x097E0C00;

// WinHTTP loads crypt32 late, by its bare name, for its first TLS handshake. Windows searches
// that load where wWinMain's default DLL directories say (System32); Wine 8 looks in the
// program's folder first, where a planted crypt32.dll would run. Loaded from System32 before the
// first WinHTTP call, the copy already in the process answers that load wherever it would look.
// It stays loaded until the process ends.
void load_tls_libraries() {
  static const win32::UniqueLibrary crypt32(
      LoadLibraryExW(L"crypt32.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32));
}

}  // namespace

void HttpClose::operator()(void* handle) const {
  win32::UniqueInternet closing(static_cast<HINTERNET>(handle));
}

HttpHandle http_open(const std::wstring& user_agent, bool async) {
  load_tls_libraries();
  return HttpHandle(WinHttpOpen(user_agent.c_str(), WINHTTP_ACCESS_TYPE_AUTOMATIC_PROXY,
                                WINHTTP_NO_PROXY_NAME, WINHTTP_NO_PROXY_BYPASS,
                                async ? WINHTTP_FLAG_ASYNC : 0));
}

void http_set_timeouts(void* session, const HttpTimeouts& t) {
  WinHttpSetTimeouts(session, t.resolve_ms, t.connect_ms, t.send_ms, t.receive_ms);
}

HttpHandle http_connect(void* session, const std::wstring& host, std::uint16_t port) {
  return HttpHandle(WinHttpConnect(session, host.c_str(), port, 0));
}

HttpHandle http_open_request(void* connection, const std::wstring& path) {
  return HttpHandle(WinHttpOpenRequest(connection, L"GET", path.c_str(), nullptr,
                                       WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES,
                                       WINHTTP_FLAG_SECURE));
}

bool http_refuse_redirects(void* request) {
  DWORD policy = WINHTTP_OPTION_REDIRECT_POLICY_NEVER;
  return WinHttpSetOption(request, WINHTTP_OPTION_REDIRECT_POLICY, &policy, sizeof policy) != FALSE;
}

bool http_set_context(void* request, void* context) {
  DWORD_PTR value = reinterpret_cast<DWORD_PTR>(context);
  return WinHttpSetOption(request, WINHTTP_OPTION_CONTEXT_VALUE, &value, sizeof value) != FALSE;
}

bool http_set_callback(void* request, HttpStatusCallback callback) {
  return WinHttpSetStatusCallback(request, callback, callback_mask, 0) !=
         WINHTTP_INVALID_STATUS_CALLBACK;
}

bool http_send(void* request, void* context) {
  return WinHttpSendRequest(request, WINHTTP_NO_ADDITIONAL_HEADERS, 0, WINHTTP_NO_REQUEST_DATA, 0,
                            0, reinterpret_cast<DWORD_PTR>(context)) != FALSE;
}

bool http_receive(void* request) { return WinHttpReceiveResponse(request, nullptr) != FALSE; }

std::optional<std::uint32_t> http_status_code(void* request) {
  DWORD code = 0, size = sizeof code;
  if (!WinHttpQueryHeaders(request, WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER,
                           WINHTTP_HEADER_NAME_BY_INDEX, &code, &size, WINHTTP_NO_HEADER_INDEX)) {
    return std::nullopt;
  }
  return code;
}

bool http_read(void* request, char* buffer, std::uint32_t size, std::uint32_t* count) {
  DWORD read = 0;
  const bool done = WinHttpReadData(request, buffer, size, count ? &read : nullptr) != FALSE;
  if (count) *count = read;
  return done;
}

void EventClose::operator()(void* event) const { win32::UniqueHandle closing(event); }

Event create_event() { return Event(CreateEventW(nullptr, FALSE, FALSE, nullptr)); }
void reset_event(void* event) { ResetEvent(event); }
void set_event(void* event) { SetEvent(event); }
bool wait_event(void* event, std::uint32_t milliseconds) {
  return WaitForSingleObject(event, milliseconds) == WAIT_OBJECT_0;
}

std::uint64_t tick_count() { return GetTickCount64(); }

}  // namespace nv::platform
