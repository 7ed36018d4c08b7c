#pragma once
// Test control of the task dialog and the file dialog (see fake_control.h for
// reset_all and the message boxes).
#include <deque>
#include <string>
#include <vector>

#include "platform/dialogs.h"

namespace nv::fake {

// Which dialogs were shown, message boxes included, in order.
enum class DialogKind { message_box, command_links, file_open };
extern std::vector<DialogKind> dialog_sequence;

// Buttons pressed in order; with none queued the user presses Cancel (IDCANCEL).
// platform::dialog_failed stands for a dialog that could not be shown.
extern std::deque<int> command_link_answers;
extern std::vector<platform::CommandLinkDialog> command_link_dialogs;

// Files chosen in order; with none queued, or an empty one, the user cancels.
extern std::deque<std::wstring> file_dialog_answers;
extern std::vector<platform::FileOpenDialog> file_dialogs;

}  // namespace nv::fake
