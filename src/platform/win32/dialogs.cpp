#include "platform/dialogs.h"

#include <windows.h>
#include <commctrl.h>
#include <shobjidl.h>

#include "platform/win32/owners.h"

namespace nv::platform {

int message_box(const std::wstring& text, const std::wstring& title, unsigned flags) {
  return MessageBoxW(nullptr, text.c_str(), title.c_str(), flags);
}

namespace {

using TaskDialogIndirectFn = HRESULT(WINAPI*)(const TASKDIALOGCONFIG*, int*, int*, BOOL*);

// Task dialogs exist only in version 6 of the common controls, which the
// launcher's manifest selects. Looked up by name so that a program without
// that manifest still loads, and merely cannot show one. The module stays
// loaded until the process ends, as the windows it registers may outlive a call.
TaskDialogIndirectFn task_dialog_indirect() {
  static const win32::UniqueLibrary module(LoadLibraryW(L"comctl32.dll"));
  if (!module) return nullptr;
  FARPROC address = GetProcAddress(module.get(), "TaskDialogIndirect");
  return reinterpret_cast<TaskDialogIndirectFn>(reinterpret_cast<void*>(address));
}

}  // namespace

// The parts every task dialog of the launcher shares; texts stay owned by the caller.
struct Config {
  TASKDIALOGCONFIG config{};
  std::vector<TASKDIALOG_BUTTON> buttons;
  Config(const TaskDialog& dialog, const std::vector<TaskDialogButton>& choices) {
    for (const auto& button : choices) buttons.push_back({button.id, button.text.c_str()});
    config.cbSize = sizeof(config);
    config.dwFlags = dialog.flags;
    config.dwCommonButtons = dialog.common_buttons;
    config.pszWindowTitle = dialog.window_title.c_str();
    config.pszMainInstruction = dialog.main_instruction.c_str();
    config.pszContent = dialog.content.empty() ? nullptr : dialog.content.c_str();
    config.cButtons = static_cast<UINT>(buttons.size());
    config.pButtons = buttons.empty() ? nullptr : buttons.data();
  }
};

// The pressed button, or dialog_failed; `checked` receives the check box's state.
int show(const TASKDIALOGCONFIG& config, BOOL* checked = nullptr) {
  const TaskDialogIndirectFn indirect = task_dialog_indirect();
  int pressed = 0;
  if (!indirect || FAILED(indirect(&config, &pressed, nullptr, checked))) return dialog_failed;
  return pressed;
}

int command_link_dialog(const CommandLinkDialog& dialog) {
  const TaskDialog shown{
      dialog.window_title, dialog.main_instruction, {}, TDF_USE_COMMAND_LINKS, TDCBF_CANCEL_BUTTON};
  return show(Config(shown, dialog.buttons).config);
}

CheckBoxAnswer check_box_dialog(const CheckBoxDialog& dialog) {
  Config shown(dialog, dialog.buttons);
  shown.config.pszVerificationText = dialog.verification_text.c_str();
  BOOL checked = FALSE;
  const int pressed = show(shown.config, &checked);
  return {pressed, checked != FALSE};
}

void DialogWindow::click_button(int id) const {
  SendMessageW(static_cast<HWND>(handle), TDM_CLICK_BUTTON, static_cast<WPARAM>(id), 0);
}
void DialogWindow::set_progress(unsigned percent) const {
  SendMessageW(static_cast<HWND>(handle), TDM_SET_PROGRESS_BAR_POS, percent, 0);
}
void DialogWindow::set_content(const std::wstring& text) const {
  SendMessageW(static_cast<HWND>(handle), TDM_SET_ELEMENT_TEXT, TDE_CONTENT,
               reinterpret_cast<LPARAM>(text.c_str()));
}

namespace {

HRESULT CALLBACK timer_dialog_callback(HWND window, UINT notification, WPARAM wparam, LPARAM,
                                       LONG_PTR data) try {
  const auto& callback = *reinterpret_cast<const DialogCallback*>(data);
  const DialogWindow dialog{window};
  if (notification == TDN_TIMER) return callback(dialog, DialogEvent::timer, 0);
  if (notification == TDN_BUTTON_CLICKED)
    return callback(dialog, DialogEvent::button_clicked, static_cast<int>(wparam)) ? S_FALSE : S_OK;
  return S_OK;
} catch (...) {
  // An exception must not unwind through the system's frames; the callers' own guards decide.
  return S_OK;
}

}  // namespace

int timer_dialog(const TimerDialog& dialog, const DialogCallback& callback) {
  Config shown(dialog, {});
  shown.config.pfCallback = timer_dialog_callback;
  shown.config.lpCallbackData = reinterpret_cast<LONG_PTR>(&callback);
  return show(shown.config);
}

namespace {

// Shows a set-up file dialog and reads the chosen item's file-system path.
std::wstring chosen_path(IFileDialog& picker) {
  if (FAILED(picker.Show(nullptr))) return {};
  win32::ComPtr<IShellItem> item;
  if (FAILED(picker.GetResult(item.put()))) return {};
  win32::UniqueTaskMemory<wchar_t> name;
  if (FAILED(item->GetDisplayName(SIGDN_FILESYSPATH, name.put()))) return {};
  return name ? std::wstring(name.get()) : std::wstring();
}

}  // namespace

std::wstring open_file_dialog(const FileOpenDialog& dialog) {
  win32::ComPtr<IFileOpenDialog> picker;
  if (FAILED(CoCreateInstance(CLSID_FileOpenDialog, nullptr, CLSCTX_INPROC_SERVER,
                              IID_IFileOpenDialog, picker.put_void())))
    return {};
  const COMDLG_FILTERSPEC type{dialog.type_name.c_str(), dialog.type_pattern.c_str()};
  picker->SetFileTypes(1, &type);
  picker->SetTitle(dialog.title.c_str());
  picker->SetOptions(dialog.options);
  return chosen_path(*picker.get());
}

std::wstring save_file_dialog(const FileSaveDialog& dialog) {
  win32::ComPtr<IFileSaveDialog> picker;
  if (FAILED(CoCreateInstance(CLSID_FileSaveDialog, nullptr, CLSCTX_INPROC_SERVER,
                              IID_IFileSaveDialog, picker.put_void())))
    return {};
  const COMDLG_FILTERSPEC type{dialog.type_name.c_str(), dialog.type_pattern.c_str()};
  picker->SetTitle(dialog.title.c_str());
  picker->SetFileTypes(1, &type);
  picker->SetDefaultExtension(dialog.default_extension.c_str());
  picker->SetFileName(dialog.file_name.c_str());
  picker->SetOptions(dialog.options);
  return chosen_path(*picker.get());
}

}  // namespace nv::platform
