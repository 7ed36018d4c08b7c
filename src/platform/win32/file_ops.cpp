#include "platform/file_ops.h"

#include <windows.h>

#include "platform/win32/owners.h"

namespace nv::platform {

bool create_file_with(const std::wstring& path, const std::string& bytes) {
  // The sharing of a C stream opened for writing, which readers of the file expect.
  win32::UniqueFile file(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                     CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return false;
  if (bytes.empty()) return true;
  DWORD written = 0;
  return WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) != FALSE &&
         written == bytes.size();
}

bool move_replacing(const std::wstring& from, const std::wstring& to) {
  return MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != FALSE;
}

void NewFileClose::operator()(void* file) const { win32::UniqueFile closing(file); }

NewFile create_new_file(const std::wstring& path) {
  win32::UniqueFile file(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                     FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
  return NewFile(file ? file.release() : nullptr);
}

bool write_all(void* file, const char* bytes, std::uint32_t count) {
  DWORD written = 0;
  return WriteFile(file, bytes, count, &written, nullptr) != FALSE && written == count;
}

bool flush_file(void* file) { return FlushFileBuffers(file) != FALSE; }

}  // namespace nv::platform
