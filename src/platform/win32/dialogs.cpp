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

int command_link_dialog(const CommandLinkDialog& dialog) {
  const TaskDialogIndirectFn show = task_dialog_indirect();
  if (!show) return dialog_failed;
  std::vector<TASKDIALOG_BUTTON> buttons;
  buttons.reserve(dialog.buttons.size());
  for (const auto& button : dialog.buttons) buttons.push_back({button.id, button.text.c_str()});

  TASKDIALOGCONFIG config{};
  config.cbSize = sizeof(config);
  config.hwndParent = nullptr;
  config.dwFlags = TDF_USE_COMMAND_LINKS;
  config.dwCommonButtons = TDCBF_CANCEL_BUTTON;
  config.pszWindowTitle = dialog.window_title.c_str();
  config.pszMainInstruction = dialog.main_instruction.c_str();
  config.cButtons = static_cast<UINT>(buttons.size());
  config.pButtons = buttons.empty() ? nullptr : buttons.data();

  int pressed = 0;
  if (FAILED(show(&config, &pressed, nullptr, nullptr))) return dialog_failed;
  return pressed;
}

void DialogWindow::click_button(int id) const {
  SendMessageW(static_cast<HWND>(handle), TDM_CLICK_BUTTON, static_cast<WPARAM>(id), 0);
}
void DialogWindow::set_progress(unsigned percent) const {
  SendMessageW(static_cast<HWND>(handle), TDM_SET_PROGRESS_BAR_POS, percent, 0);
}
void DialogWindow::set_content(const std::wstring& text) const {
  SendMessageW(static_cast<HWND>(handle), TDM_SET_ELEMENT_TEXT, TDE_CONTENT, reinterpret_cast<LPARAM>(text.c_str()));
}

namespace {

HRESULT CALLBACK timer_dialog_callback(HWND window, UINT notification, WPARAM wparam, LPARAM, LONG_PTR data) {
  const auto& callback = *reinterpret_cast<const DialogCallback*>(data);
  const DialogWindow dialog{window};
  if (notification == TDN_TIMER) return callback(dialog, DialogEvent::timer, 0);
  if (notification == TDN_BUTTON_CLICKED)
    return callback(dialog, DialogEvent::button_clicked, static_cast<int>(wparam)) ? S_FALSE : S_OK;
  return S_OK;
}

}  // namespace

int timer_dialog(const TimerDialog& dialog, const DialogCallback& callback) {
  const TaskDialogIndirectFn show = task_dialog_indirect();
  if (!show) return dialog_failed;
  TASKDIALOGCONFIG config{};
  config.cbSize = sizeof(config);
  config.dwFlags = dialog.flags;
  config.dwCommonButtons = dialog.common_buttons;
  config.pszWindowTitle = dialog.window_title.c_str();
  config.pszMainInstruction = dialog.main_instruction.c_str();
  config.pszContent = dialog.content.c_str();
  config.pfCallback = timer_dialog_callback;
  config.lpCallbackData = reinterpret_cast<LONG_PTR>(&callback);
  int pressed = 0;
  if (FAILED(show(&config, &pressed, nullptr, nullptr))) return dialog_failed;
  return pressed;
}

std::wstring open_file_dialog(const FileOpenDialog& dialog) {
  win32::ComPtr<IFileOpenDialog> picker;
  if (FAILED(CoCreateInstance(CLSID_FileOpenDialog, nullptr, CLSCTX_INPROC_SERVER, IID_IFileOpenDialog,
                              picker.put_void())))
    return {};
  const COMDLG_FILTERSPEC type{dialog.type_name.c_str(), dialog.type_pattern.c_str()};
  picker->SetFileTypes(1, &type);
  picker->SetTitle(dialog.title.c_str());
  picker->SetOptions(dialog.options);
  if (FAILED(picker->Show(nullptr))) return {};
  win32::ComPtr<IShellItem> item;
  if (FAILED(picker->GetResult(item.put()))) return {};
  win32::UniqueTaskMemory<wchar_t> name;
  if (FAILED(item->GetDisplayName(SIGDN_FILESYSPATH, name.put()))) return {};
  return name ? std::wstring(name.get()) : std::wstring();
}

}  // namespace nv::platform
