#include "platform/shell_links.h"

#include <windows.h>
#include <shlobj.h>
#include <shobjidl.h>

#include <vector>

#include "platform/win32/owners.h"

namespace nv::platform {

std::optional<std::wstring> shell_link_raw_target(const std::wstring& link) {
  win32::ComPtr<IShellLinkW> shell_link;
  if (FAILED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                              shell_link.put_void())) ||
      !shell_link)
    return std::nullopt;
  win32::ComPtr<IPersistFile> file;
  if (FAILED(shell_link->QueryInterface(IID_IPersistFile, file.put_void())) || !file)
    return std::nullopt;
  if (FAILED(file->Load(link.c_str(), 0))) return std::nullopt;
  // A link that holds no path leaves the buffer as it was: cleared, so empty.
  std::vector<wchar_t> target(32768, L'\0');
  shell_link->GetPath(target.data(), static_cast<int>(target.size()), nullptr, SLGP_RAWPATH);
  target.back() = L'\0';
  return std::wstring(target.data());
}

}  // namespace nv::platform
