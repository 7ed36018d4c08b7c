// The native build has no display: every dialog is dismissed at once.
#include "platform/dialogs.h"

namespace nv::platform {

int message_box(const std::wstring&, const std::wstring&, unsigned) { return id_cancel; }
int command_link_dialog(const CommandLinkDialog&) { return dialog_failed; }
std::wstring open_file_dialog(const FileOpenDialog&) { return {}; }
std::wstring save_file_dialog(const FileSaveDialog&) { return {}; }
CheckBoxAnswer check_box_dialog(const CheckBoxDialog&) { return {}; }
int timer_dialog(const TimerDialog&, const DialogCallback&) { return dialog_failed; }
void DialogWindow::click_button(int) const {}
void DialogWindow::set_progress(unsigned) const {}
void DialogWindow::set_content(const std::wstring&) const {}

}  // namespace nv::platform
