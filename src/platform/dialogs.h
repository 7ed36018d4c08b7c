#pragma once
// Message boxes and other dialogs of the launcher.
#include <functional>
#include <string>
#include <vector>

namespace nv::platform {

// The values of the Windows constants, so that decisions can name them anywhere.
inline constexpr unsigned mb_ok = 0x0;
inline constexpr unsigned mb_yesnocancel = 0x3;
inline constexpr unsigned mb_yesno = 0x4;
inline constexpr unsigned mb_iconerror = 0x10;
inline constexpr unsigned mb_iconquestion = 0x20;
inline constexpr unsigned mb_iconwarning = 0x30;
inline constexpr unsigned mb_iconinformation = 0x40;
inline constexpr unsigned mb_defbutton2 = 0x100;

inline constexpr int id_ok = 1;
inline constexpr int id_cancel = 2;
inline constexpr int id_yes = 6;
inline constexpr int id_no = 7;

// MessageBoxW(nullptr, text, title, flags).
int message_box(const std::wstring& text, const std::wstring& title, unsigned flags);

// A task dialog whose choices are command links, with a Cancel button below
// them (TDF_USE_COMMAND_LINKS, TDCBF_CANCEL_BUTTON), no owner window, and no
// content, icon or default button.
struct TaskDialogButton {
  int id = 0;
  std::wstring text;
};
struct CommandLinkDialog {
  std::wstring window_title;
  std::wstring main_instruction;
  std::vector<TaskDialogButton> buttons;  // in the order shown
};
// TaskDialogIndirect failed (or is not available): no button has this id.
inline constexpr int dialog_failed = 0;
// The id of the button that closed the dialog (id_cancel for Cancel, Escape or
// the close box), or dialog_failed.
int command_link_dialog(const CommandLinkDialog& dialog);

// What the launcher's task dialogs show: no owner window, no icon.
struct TaskDialog {
  std::wstring window_title;
  std::wstring main_instruction;
  std::wstring content;
  unsigned flags = 0;           // TDF_*
  unsigned common_buttons = 0;  // TDCBF_*
};

// A task dialog of command links under its content, with a check box (the
// verification text) below them.
inline constexpr unsigned tdf_allow_dialog_cancellation = 0x8;
inline constexpr unsigned tdf_use_command_links = 0x10;
inline constexpr unsigned tdf_verification_flag_checked = 0x100;
inline constexpr unsigned tdcbf_close_button = 0x20;
struct CheckBoxDialog : TaskDialog {
  std::wstring verification_text;
  std::vector<TaskDialogButton> buttons;  // in the order shown
};
struct CheckBoxAnswer {
  int button = dialog_failed;  // the id that closed the dialog, or dialog_failed
  bool checked = false;        // the check box as the user left it
};
CheckBoxAnswer check_box_dialog(const CheckBoxDialog& dialog);

// A task dialog that the program steers from a callback on its timer tick
// (about every 200 ms) and on button clicks: no owner window, no icon.
inline constexpr unsigned tdf_callback_timer = 0x800;
inline constexpr unsigned tdf_show_progress_bar = 0x200;
inline constexpr unsigned tdcbf_ok_button = 0x1;
inline constexpr unsigned tdcbf_cancel_button = 0x8;
using TimerDialog = TaskDialog;
enum class DialogEvent { timer, button_clicked };
// What a callback may do to its open dialog.
struct DialogWindow {
  void* handle = nullptr;
  void click_button(int id) const;                   // TDM_CLICK_BUTTON
  void set_progress(unsigned percent) const;         // TDM_SET_PROGRESS_BAR_POS
  void set_content(const std::wstring& text) const;  // TDM_SET_ELEMENT_TEXT, TDE_CONTENT
};
// Returns what the dialog's callback returns: for a click, non-zero keeps the
// dialog open. `button` is the clicked id, 0 on a timer tick.
using DialogCallback = std::function<int(const DialogWindow&, DialogEvent, int button)>;
// The id of the button that closed the dialog, or dialog_failed.
int timer_dialog(const TimerDialog& dialog, const DialogCallback& callback);

// The shell's file-open dialog (IFileOpenDialog), with no owner window.
inline constexpr unsigned fos_forcefilesystem = 0x40;
inline constexpr unsigned fos_pathmustexist = 0x800;
inline constexpr unsigned fos_filemustexist = 0x1000;
struct FileOpenDialog {
  std::wstring title;
  std::wstring type_name;     // one file type: its name ...
  std::wstring type_pattern;  // ... and its pattern
  unsigned options = 0;       // FOS_* flags, replacing the defaults
};
// The chosen file's file-system path; empty when the dialog cannot be created,
// is cancelled or fails, or the result cannot be read.
std::wstring open_file_dialog(const FileOpenDialog& dialog);

// The shell's file-save dialog (IFileSaveDialog), with no owner window. Set up
// in this order: title, the one file type, default extension, file name, options.
inline constexpr unsigned fos_overwriteprompt = 0x2;
struct FileSaveDialog {
  std::wstring title;
  std::wstring type_name;
  std::wstring type_pattern;
  std::wstring default_extension;
  std::wstring file_name;
  unsigned options = 0;  // FOS_* flags, replacing the defaults
};
// The chosen file-system path; empty as for open_file_dialog.
std::wstring save_file_dialog(const FileSaveDialog& dialog);

}  // namespace nv::platform
