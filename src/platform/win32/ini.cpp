#include "platform/ini.h"

#include <windows.h>

#include <vector>

namespace nv::platform {

std::wstring read_profile_string(const std::wstring& path, const std::wstring& section,
                                 const std::wstring& key) {
  std::vector<wchar_t> buffer(32768, L'\0');
  DWORD length = GetPrivateProfileStringW(section.c_str(), key.c_str(), L"", buffer.data(),
                                          static_cast<DWORD>(buffer.size()), path.c_str());
  return std::wstring(buffer.data(), length);
}

bool write_profile_string(const std::wstring& path, const std::wstring& section,
                          const std::wstring& key, const std::wstring& value) {
  return WritePrivateProfileStringW(section.c_str(), key.c_str(), value.c_str(), path.c_str()) !=
         FALSE;
}

}  // namespace nv::platform
