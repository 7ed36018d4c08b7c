#include "platform/system.h"

#include <objbase.h>
#include <shellapi.h>
#include <windows.h>

#include <vector>

#include "platform/win32/owners.h"

namespace nv::platform {

std::wstring module_path() {
  std::vector<wchar_t> buffer(32768, L'\0');
  DWORD length = GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
  return std::wstring(buffer.data(), length);
}

std::optional<std::vector<std::wstring>> split_command_line(const std::wstring& text) {
  int count = 0;
  const win32::UniqueLocal<LPWSTR> argv(CommandLineToArgvW(text.c_str(), &count));
  if (!argv) return std::nullopt;
  return std::vector<std::wstring>(argv.get(), argv.get() + count);
}

std::vector<std::wstring> command_arguments() {
  auto all = split_command_line(GetCommandLineW());
  if (!all || all->empty()) return {};
  return std::vector<std::wstring>(all->begin() + 1, all->end());
}

std::uint64_t system_time() {
  FILETIME now{};
  GetSystemTimeAsFileTime(&now);
  return (static_cast<std::uint64_t>(now.dwHighDateTime) << 32) | now.dwLowDateTime;
}

std::uint32_t current_process_id() { return GetCurrentProcessId(); }

UtcTime utc_time() {
  SYSTEMTIME now{};
  GetSystemTime(&now);
  return {now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond};
}

std::uint16_t native_machine() {
  // Looked up by name: older systems lack it, and a missing export must not stop the launcher
  // loading.
  using IsWow64Process2Fn = BOOL(WINAPI*)(HANDLE, USHORT*, USHORT*);
  const auto query = reinterpret_cast<IsWow64Process2Fn>(reinterpret_cast<void*>(
      GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "IsWow64Process2")));
  USHORT process = 0, native = 0;
  if (!query || !query(GetCurrentProcess(), &process, &native)) return 0;
  return native;
}

void com_initialize() { (void)CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }
void com_uninitialize() { CoUninitialize(); }

std::wstring environment_block() {
  const win32::UniqueEnvironment block(GetEnvironmentStringsW());
  if (!block) return {};
  const wchar_t* end = block.get();
  while (*end) end += wcslen(end) + 1;  // entry by entry until the empty entry
  return std::wstring(block.get(), static_cast<std::size_t>(end - block.get()) + 1);
}

}  // namespace nv::platform
