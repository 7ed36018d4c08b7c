#pragma once
// The process's own surroundings: its module, command line, environment and COM.
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace nv::platform {

std::wstring module_path();  // GetModuleFileNameW(nullptr, ..., 32768)
std::vector<std::wstring>
command_arguments();    // CommandLineToArgvW(GetCommandLineW()), argv[0] dropped
void com_initialize();  // single-threaded apartment; result not examined
void com_uninitialize();

// The raw block of GetEnvironmentStringsW: entries each ending in NUL, then one
// more NUL. Empty when the call gives nothing.
std::wstring environment_block();

// GetSystemTimeAsFileTime: 100 ns units since 1601, UTC.
std::uint64_t system_time();
std::uint32_t current_process_id();  // GetCurrentProcessId

// GetSystemTime: the calendar time in UTC.
struct UtcTime {
  unsigned year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
};
UtcTime utc_time();
// The machine Windows runs on (IsWow64Process2 of this process: 0x8664, 0xAA64,
// 0x014C, ...); 0 when the call fails or is not there.
std::uint16_t native_machine();

// The splitting rules of CommandLineToArgvW; nullopt when the call fails.
std::optional<std::vector<std::wstring>> split_command_line(const std::wstring& text);

}  // namespace nv::platform
