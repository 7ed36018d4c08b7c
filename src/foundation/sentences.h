#pragma once
// Every sentence a user can read, in one place: what the launcher shows in its
// message boxes and dialogs, and the verdict texts it reports.
namespace nv::sentence {

// The title of every message box and dialog.
inline constexpr const wchar_t* product_title = L"Tenebrix";

// Entry and decision chain
inline constexpr const wchar_t* entry_failure =
    L"The theme launcher could not read or save its files. Reinstall the theme or select a "
    L"readable Paltalk "
    L"installation.";
inline constexpr const wchar_t* host_not_found = L"The specified Paltalk.exe was not found.";

// Launch flow
inline constexpr const wchar_t* running_for_normal =
    L"Fully exit Paltalk before switching to normal mode.";
inline constexpr const wchar_t* running =
    L"Paltalk is already running. Fully exit it using its Exit command, then reopen this shortcut. "
    L"Closing a "
    L"window to the tray is not enough.";
// Followed by the host's path, then the host's version after the first piece below and the Qt
// version after the second.
inline constexpr const wchar_t* configure_prompt =
    L"This Paltalk build could not be verified for automatic compatibility. Enable experimental "
    L"dark mode for "
    L"this exact build?\n\n";
inline constexpr const wchar_t* configure_prompt_host_version = L"\nPaltalk ";
inline constexpr const wchar_t* configure_prompt_qt_version = L" / Qt ";
inline constexpr const wchar_t* launch_prompt =
    L"Automatic compatibility could not be verified. Enable experimental dark mode for this exact "
    L"build?\n\nYes: "
    L"enable it. No: use normal appearance. Cancel: do not launch.";
// After the verdict's message when a build cannot be themed.
inline constexpr const wchar_t* starting_normally = L"\n\nStarting Paltalk normally.";
inline constexpr const wchar_t* plugin_missing =
    L"The theme plugin is missing. Reinstall Tenebrix. Starting Paltalk normally.";
inline constexpr const wchar_t* start_failed = L"Windows could not start Paltalk.";

// Host discovery
inline constexpr const wchar_t* host_missing =
    L"Paltalk was not found. Install Paltalk first, or select an existing Paltalk.exe in the next "
    L"dialog.";
inline constexpr const wchar_t* locate_host_title = L"Locate the installed Paltalk.exe";
inline constexpr const wchar_t* host_file_type = L"Paltalk executable";
inline constexpr const wchar_t* choose_host_instruction =
    L"Choose the Paltalk installation to theme";
inline constexpr const wchar_t* browse_for_host = L"Browse for another installation";

// Verdicts
inline constexpr const wchar_t* select_host = L"Select the installed Paltalk.exe.";
inline constexpr const wchar_t* host_not_x64 =
    L"This theme requires x64 Paltalk. Native ARM64 and 32-bit Paltalk are not supported.";
inline constexpr const wchar_t* qt_missing =
    L"Required x64 Qt DLLs are missing from the Paltalk installation.";
inline constexpr const wchar_t* qt_below_floor =
    L"This plugin requires release Qt 6.11.1 or newer within Qt 6.";
inline constexpr const wchar_t* qt_mismatch =
    L"Paltalk's Qt DLL versions do not match. Repair Paltalk before installing the theme.";
inline constexpr const wchar_t* recognized_build =
    L"Recognized build; camera fix still needs live hardware validation.";
inline constexpr const wchar_t* signed_update =
    L"Compatible signed update; continuing dark mode with best-effort compatibility.";
inline constexpr const wchar_t* unverified_build =
    L"Automatic compatibility could not be verified. Use Normal Mode or explicitly approve this "
    L"exact build.";

// Self-update. The question is the version text between these two parts.
inline constexpr const wchar_t* update_question_lead = L"Tenebrix ";
inline constexpr const wchar_t* update_question =
    L" is available. Download and install it now? Paltalk will need to exit before "
    L"installation.\n\nYes: update "
    L"and resume this launch. No: continue with the installed version.";
inline constexpr const wchar_t* download_title = L"Downloading Tenebrix update";
inline constexpr const wchar_t* download_content =
    L"The current installation stays available until the download is verified.";
inline constexpr const wchar_t* download_cancelling = L"Cancelling the download...";
inline constexpr const wchar_t* wait_title = L"Exit Paltalk to finish updating";
inline constexpr const wchar_t* wait_content =
    L"Use Paltalk's Exit command, including its tray icon if needed. Tenebrix will continue "
    L"automatically when "
    L"every copy using the theme has closed.";
inline constexpr const wchar_t* update_download_failed =
    L"Tenebrix could not download or verify the update. Your installed version has not been "
    L"changed.";
inline constexpr const wchar_t* update_start_failed =
    L"Tenebrix could not start the verified installer. Your installed version has not been "
    L"changed.";

// Support and recovery
inline constexpr const wchar_t* support_title = L"Tenebrix Support & Recovery";
inline constexpr const wchar_t* support_instruction = L"Support & Recovery";
inline constexpr const wchar_t* exit_before_plain_start =
    L"Fully exit Paltalk before starting without Tenebrix.";
inline constexpr const wchar_t* report_promise =
    L"Support reports contain technical versions and status only. They exclude conversations, "
    L"identities, "
    L"screenshots and crash dumps. Nothing is uploaded.";
inline constexpr const wchar_t* preference_next_launch =
    L"Browser preference changes apply on the next launch.";
inline constexpr const wchar_t* darken_pages = L"Darken embedded pages (experimental)";
inline constexpr const wchar_t* start_plain = L"Start Paltalk without Tenebrix";
inline constexpr const wchar_t* save_report = L"Save support report";
inline constexpr const wchar_t* apply_preference = L"Apply browser preference";
inline constexpr const wchar_t* report_not_saved =
    L"The report could not be saved. Choose a writable location.";
inline constexpr const wchar_t* plain_start_failed = L"Windows could not start Paltalk normally.";
inline constexpr const wchar_t* save_report_title = L"Save Tenebrix support report";
inline constexpr const wchar_t* report_file_type = L"JSON support report";
inline constexpr const wchar_t* report_file_name = L"Tenebrix-support.json";

}  // namespace nv::sentence
