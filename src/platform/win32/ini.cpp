#include "platform/ini.h"

#include <windows.h>

#include <vector>

#include "platform/win32/owners.h"

namespace nv::platform {
namespace {

// The size of the file that the profile API will open, links followed as it
// follows them; a file that cannot be opened is left to the profile API.
bool over_limit(const std::wstring& path) {
  const win32::UniqueFile file(CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES,
                                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                           nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  LARGE_INTEGER size{};
  return file && GetFileSizeEx(file.get(), &size) &&
         static_cast<std::uint64_t>(size.QuadPart) > profile_file_limit;
}

}  // namespace

std::wstring read_profile_string(const std::wstring& path, const std::wstring& section,
                                 const std::wstring& key) {
  if (over_limit(path)) return {};
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
