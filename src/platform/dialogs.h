#pragma once
// Message boxes and other dialogs of the launcher.
#include <string>

namespace nv::platform {

// The values of the Windows constants, so that decisions can name them anywhere.
inline constexpr unsigned mb_ok = 0x0;
inline constexpr unsigned mb_yesnocancel = 0x3;
inline constexpr unsigned mb_yesno = 0x4;
inline constexpr unsigned mb_iconerror = 0x10;
inline constexpr unsigned mb_iconwarning = 0x30;
inline constexpr unsigned mb_iconinformation = 0x40;
inline constexpr unsigned mb_defbutton2 = 0x100;

inline constexpr int id_ok = 1;
inline constexpr int id_cancel = 2;
inline constexpr int id_yes = 6;
inline constexpr int id_no = 7;

// MessageBoxW(nullptr, text, title, flags).
int message_box(const std::wstring& text, const std::wstring& title, unsigned flags);

}  // namespace nv::platform
