#include "platform/file_ops.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <random>
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

WrittenFile write_new_file(const std::wstring& path, const std::string& bytes) {
  const int handle =
      ::open(portable::to_native(path).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
  if (handle < 0) return WrittenFile::cannot_create;
  const ssize_t written = ::write(handle, bytes.data(), bytes.size());
  const bool complete =
      written >= 0 && static_cast<std::size_t>(written) == bytes.size() && ::fsync(handle) == 0;
  const bool closed = ::close(handle) == 0;
  return complete && closed ? WrittenFile::written : WrittenFile::cannot_write;
}

bool move_file(const std::wstring& from, const std::wstring& to, bool replace) {
  if (replace) return move_replacing(from, to);
  // link(2) refuses an existing target of any kind, as the move without replace must.
  const std::string source = portable::to_native(from).string(),
                    target = portable::to_native(to).string();
  if (::link(source.c_str(), target.c_str()) != 0) return false;
  ::unlink(source.c_str());
  return true;
}

bool delete_file(const std::wstring& path) {
  return ::unlink(portable::to_native(path).c_str()) == 0;
}

bool new_guid_text(std::wstring& text) {
  std::random_device source;
  static constexpr wchar_t digits[] = L"0123456789ABCDEF";
  text = L"{";
  for (int i = 0; i < 32; ++i) {
    if (i == 8 || i == 12 || i == 16 || i == 20) text += L'-';
    text += digits[source() & 15u];
  }
  text += L'}';
  return true;
}

void NewFileClose::operator()(void* file) const { std::fclose(static_cast<std::FILE*>(file)); }

NewFile create_new_file(const std::wstring& path) {
  return NewFile(
      std::fopen(portable::to_native(path).c_str(), "wbx"));  // x: never an existing file
}

bool write_all(void* file, const char* bytes, std::uint32_t count) {
  return std::fwrite(bytes, 1, count, static_cast<std::FILE*>(file)) == count;
}

bool flush_file(void* file) {
  std::FILE* stream = static_cast<std::FILE*>(file);
  return std::fflush(stream) == 0 && ::fsync(fileno(stream)) == 0;
}

}  // namespace nv::platform
