#pragma once
// Starting the host: the token, CreateProcessW and the desktop shell.
#include <cstdint>
#include <string>
#include <vector>

namespace nv::platform {

enum class Elevation { not_elevated, elevated, token_unavailable, elevation_unavailable };
Elevation token_elevation();

struct ProcessStart {
  bool started = false;
  std::uint32_t error = 0;  // GetLastError after a failed start
};

// CreateProcessW(application, command_line, no inheritance, CREATE_UNICODE_ENVIRONMENT,
// environment, directory); both handles are closed at once.
ProcessStart create_process(const std::wstring& application, const std::wstring& command_line,
                            const std::vector<std::uint16_t>& environment,
                            const std::wstring& directory);

// CreateProcessW(application, command_line, no inheritance, no creation flags,
// this process's environment and current directory, a zeroed STARTUPINFOW);
// both handles are closed at once.
ProcessStart start_program(const std::wstring& application, const std::wstring& command_line);

// IShellDispatch2::ShellExecute of the running desktop shell, reached from
// IShellWindows through the desktop's view. False at the first failed step.
bool shell_execute_from_desktop(const std::wstring& file, const std::wstring& arguments,
                                const std::wstring& directory);

}  // namespace nv::platform
