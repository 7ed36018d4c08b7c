#pragma once
// Every exit code of NightveilMode.exe; the installer and other callers rely on them.

namespace nv::exit_code {
inline constexpr int done = 0;  // host started, query answered no, file written or verified
inline constexpr int entry_failure = 1;  // a failure reached the entry
inline constexpr int bad_use =
    2;  // invalid option value, no host, Cancel, --support in silent mode
inline constexpr int not_acceptable =
    4;  // unsupported build, missing host file, failed verification
inline constexpr int approval_needed = 5;  // --probe or --configure on a build without approval
inline constexpr int action_failed = 6;    // host not started, report not written, dialog not shown
inline constexpr int host_running = 10;    // host runs, or the installation is in use
}  // namespace nv::exit_code
