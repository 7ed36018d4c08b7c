#include "platform/process_start.h"

#include <exdisp.h>
#include <oleauto.h>
#include <servprov.h>
#include <shldisp.h>
#include <shlguid.h>
#include <shobjidl.h>
#include <windows.h>

#include <new>

#include "platform/win32/owners.h"

namespace nv::platform {
namespace {

using win32::ComPtr;

// A VARIANT that is cleared on every way out.
struct Variant {
  VARIANT v;
  Variant() { VariantInit(&v); }
  Variant(const Variant&) = delete;
  Variant& operator=(const Variant&) = delete;
  ~Variant() { VariantClear(&v); }
};

void set_text(Variant& variant, const std::wstring& text) {
  BSTR value = SysAllocString(text.c_str());
  if (!value) throw std::bad_alloc();
  variant.v.vt = VT_BSTR;
  variant.v.bstrVal = value;
}

}  // namespace

Elevation token_elevation() {
  win32::UniqueHandle token;
  if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, token.put()))
    return Elevation::token_unavailable;
  TOKEN_ELEVATION elevation{};
  DWORD size = 0;
  if (!GetTokenInformation(token.get(), TokenElevation, &elevation, sizeof elevation, &size))
    return Elevation::elevation_unavailable;
  return elevation.TokenIsElevated ? Elevation::elevated : Elevation::not_elevated;
}

ProcessStart create_process(const std::wstring& application, const std::wstring& command_line,
                            const std::vector<std::uint16_t>& environment,
                            const std::wstring& directory) {
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION info{};
  std::wstring writable = command_line;  // CreateProcessW may write into its command line
  ProcessStart result;
  void* block = environment.empty() ? nullptr : const_cast<std::uint16_t*>(environment.data());
  if (CreateProcessW(application.c_str(), writable.data(), nullptr, nullptr, FALSE,
                     CREATE_UNICODE_ENVIRONMENT, block, directory.c_str(), &startup, &info)) {
    const win32::UniqueHandle process(info.hProcess);
    const win32::UniqueHandle thread(info.hThread);
    result.started = true;
  } else {
    result.error = GetLastError();
  }
  return result;
}

ProcessStart start_program(const std::wstring& application, const std::wstring& command_line) {
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION info{};
  std::wstring writable = command_line;  // CreateProcessW may write into its command line
  if (!CreateProcessW(application.c_str(), writable.data(), nullptr, nullptr, FALSE, 0, nullptr,
                      nullptr, &startup, &info))
    return {false, GetLastError()};
  const win32::UniqueHandle process(info.hProcess);
  const win32::UniqueHandle thread(info.hThread);
  return {true, 0};
}

bool shell_execute_from_desktop(const std::wstring& file, const std::wstring& arguments,
                                const std::wstring& directory) {
  ComPtr<IShellWindows> windows;
  if (FAILED(CoCreateInstance(CLSID_ShellWindows, nullptr, CLSCTX_LOCAL_SERVER, IID_IShellWindows,
                              windows.put_void())) ||
      !windows)
    return false;

  Variant location;
  location.v.vt = VT_I4;
  location.v.lVal = 0;  // CSIDL_DESKTOP
  Variant root;
  long hwnd = 0;
  ComPtr<IDispatch> desktop;
  if (windows->FindWindowSW(&location.v, &root.v, SWC_DESKTOP, &hwnd, SWFO_NEEDDISPATCH,
                            desktop.put()) != S_OK ||
      !desktop)
    return false;

  ComPtr<IServiceProvider> provider;
  if (FAILED(desktop->QueryInterface(IID_IServiceProvider, provider.put_void())) || !provider)
    return false;
  ComPtr<IShellBrowser> browser;
  if (FAILED(provider->QueryService(SID_STopLevelBrowser, IID_IShellBrowser, browser.put_void())) ||
      !browser)
    return false;
  ComPtr<IShellView> view;
  if (FAILED(browser->QueryActiveShellView(view.put())) || !view) return false;
  ComPtr<IDispatch> background;
  if (FAILED(view->GetItemObject(SVGIO_BACKGROUND, IID_IDispatch, background.put_void())) ||
      !background)
    return false;
  ComPtr<IShellFolderViewDual> folder_view;
  if (FAILED(background->QueryInterface(IID_IShellFolderViewDual, folder_view.put_void())) ||
      !folder_view)
    return false;
  ComPtr<IDispatch> application;
  if (FAILED(folder_view->get_Application(application.put())) || !application) return false;
  ComPtr<IShellDispatch2> shell;
  if (FAILED(application->QueryInterface(IID_IShellDispatch2, shell.put_void())) || !shell)
    return false;

  const win32::UniqueBstr file_text(SysAllocString(file.c_str()));
  if (!file_text) throw std::bad_alloc();
  Variant args, dir, operation, show;
  set_text(args, arguments);
  set_text(dir, directory);
  set_text(operation, L"open");
  show.v.vt = VT_I4;
  show.v.lVal = SW_SHOWNORMAL;
  return SUCCEEDED(shell->ShellExecute(file_text.get(), args.v, dir.v, operation.v, show.v));
}

}  // namespace nv::platform
