#include "platform/file_range.h"

#include <windows.h>

#include "platform/win32/owners.h"

namespace nv::platform {

bool read_file_range(const std::wstring& path, std::uint64_t offset, std::size_t count,
                     unsigned char* out) {
  win32::UniqueFile file(CreateFileW(path.c_str(), GENERIC_READ,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                     nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return false;
  LARGE_INTEGER position{};
  position.QuadPart = static_cast<LONGLONG>(offset);
  if (!SetFilePointerEx(file.get(), position, nullptr, FILE_BEGIN)) return false;
  std::size_t done = 0;
  while (done < count) {
    DWORD read = 0;
    if (!ReadFile(file.get(), out + done, static_cast<DWORD>(count - done), &read, nullptr))
      return false;
    if (read == 0) return false;  // the file ends first
    done += read;
  }
  return true;
}

}  // namespace nv::platform
