#pragma once
// Every exit code of NightveilMode.exe; the installer and other callers rely on them.

namespace nv::exit_code {
// The host started, the query answered no, the file was written or verified.
inline constexpr int done = 0;
// A failure reached the entry.
inline constexpr int entry_failure = 1;
// An invalid option value, no host, Cancel, --support in silent mode.
inline constexpr int bad_use = 2;
// An unsupported build, a missing host file, a failed verification.
inline constexpr int not_acceptable = 4;
// --probe or --configure on a build without approval.
inline constexpr int approval_needed = 5;
// The host not started, the report not written, the dialog not shown.
inline constexpr int action_failed = 6;
// The host runs, or the installation is in use.
inline constexpr int host_running = 10;
}  // namespace nv::exit_code
