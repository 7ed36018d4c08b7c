#include "platform/file_ops.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <random>

#include "platform/portable/native_path.h"

namespace nv::platform {

struct WriteHandle {
  int descriptor = -1;
};

void WriteHandleCloser::operator()(WriteHandle* file) const {
  ::close(file->descriptor);
  delete file;
}

WritableFile create_file(const std::wstring& path, Creation creation) {
  // O_EXCL refuses an existing name of any kind, a link included, as CREATE_NEW does. For a
  // truncating creation a leftover is unlinked by its own name and the creation tried once more.
  const std::filesystem::path native = portable::to_native(path);
  for (int attempt = 0; attempt < 2; ++attempt) {
    const int descriptor = ::open(native.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (descriptor >= 0) return WritableFile(new WriteHandle{descriptor});
    if (creation != Creation::truncating || errno != EEXIST || ::unlink(native.c_str()) != 0)
      return nullptr;
  }
  return nullptr;
}

bool write_all(WriteHandle& file, const char* bytes, std::uint32_t count) {
  const ssize_t written = ::write(file.descriptor, bytes, count);
  return written >= 0 && static_cast<std::size_t>(written) == count;
}

bool flush_file(WriteHandle& file) { return ::fsync(file.descriptor) == 0; }

namespace {

// Write-through: the directory entry itself must reach the disk before we answer.
bool sync_folder_of(const std::filesystem::path& target) {
  std::filesystem::path folder = target.parent_path();
  if (folder.empty()) folder = ".";
  const int handle = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (handle < 0) return false;
  const bool synced = ::fsync(handle) == 0;
  ::close(handle);
  return synced;
}

}  // namespace

bool move_file(const std::wstring& from, const std::wstring& to, bool replace) {
  const std::filesystem::path source = portable::to_native(from), target = portable::to_native(to);
  if (replace) {
    // rename(2) replaces a file at the target in one step and refuses a directory there.
    std::error_code error;
    std::filesystem::rename(source, target, error);
    if (error) return false;
  } else {
    // link(2) refuses an existing target of any kind, as the move without replace must.
    if (::link(source.c_str(), target.c_str()) != 0) return false;
    ::unlink(source.c_str());
  }
  return sync_folder_of(target);
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

}  // namespace nv::platform
