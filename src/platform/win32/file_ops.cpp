#include "platform/file_ops.h"

#include <windows.h>
#include <objbase.h>

#include "platform/win32/owners.h"

namespace nv::platform {

bool create_file_with(const std::wstring& path, const std::string& bytes) {
  // The sharing of a C stream opened for writing, which readers of the file expect.
  win32::UniqueFile file(CreateFileW(path.c_str(), GENERIC_WRITE,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, CREATE_ALWAYS,
                                     FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return false;
  if (bytes.empty()) return true;
  DWORD written = 0;
  return WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) !=
             FALSE &&
         written == bytes.size();
}

bool move_replacing(const std::wstring& from, const std::wstring& to) {
  return MoveFileExW(from.c_str(), to.c_str(),
                     MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != FALSE;
}

WrittenFile write_new_file(const std::wstring& path, const std::string& bytes) {
  win32::UniqueFile file(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                     FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return WrittenFile::cannot_create;
  DWORD written = 0;
  const bool complete = WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()),
                                  &written, nullptr) != FALSE &&
                        written == bytes.size();
  // A file that may not have reached the disk counts as not written.
  return complete && FlushFileBuffers(file.get()) != FALSE ? WrittenFile::written
                                                           : WrittenFile::cannot_write;
}

bool move_file(const std::wstring& from, const std::wstring& to, bool replace) {
  const DWORD flags = MOVEFILE_WRITE_THROUGH | (replace ? MOVEFILE_REPLACE_EXISTING : 0);
  return MoveFileExW(from.c_str(), to.c_str(), flags) != FALSE;
}

bool delete_file(const std::wstring& path) { return DeleteFileW(path.c_str()) != FALSE; }

bool new_guid_text(std::wstring& text) {
  GUID guid{};
  if (FAILED(CoCreateGuid(&guid))) return false;
  wchar_t buffer[40] = {};
  const int length = StringFromGUID2(guid, buffer, 40);
  if (length <= 1) return false;
  text.assign(buffer, static_cast<std::size_t>(length - 1));
  return true;
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
