#include "platform/file_ops.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <system_error>

#include "platform/portable/native_path.h"

namespace nv::platform {

bool create_file_with(const std::wstring& path, const std::string& bytes) {
  std::ofstream out(portable::to_native(path), std::ios::binary | std::ios::trunc);
  if (!out) return false;
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  out.close();
  return static_cast<bool>(out);
}

bool move_replacing(const std::wstring& from, const std::wstring& to) {
  const std::filesystem::path target = portable::to_native(to);
  std::error_code error;
  // rename(2) replaces a file at the target in one step and refuses a directory there.
  std::filesystem::rename(portable::to_native(from), target, error);
  if (error) return false;
  // Write-through: the directory entry itself must reach the disk before we answer.
  std::filesystem::path folder = target.parent_path();
  if (folder.empty()) folder = ".";
  const int handle = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY);
  if (handle < 0) return false;
  const bool synced = ::fsync(handle) == 0;
  ::close(handle);
  return synced;
}

void NewFileClose::operator()(void* file) const { std::fclose(static_cast<std::FILE*>(file)); }

NewFile create_new_file(const std::wstring& path) {
  return NewFile(std::fopen(portable::to_native(path).c_str(), "wbx"));  // x: never an existing file
}

bool write_all(void* file, const char* bytes, std::uint32_t count) {
  return std::fwrite(bytes, 1, count, static_cast<std::FILE*>(file)) == count;
}

bool flush_file(void* file) {
  std::FILE* stream = static_cast<std::FILE*>(file);
  return std::fflush(stream) == 0 && ::fsync(fileno(stream)) == 0;
}

}  // namespace nv::platform
