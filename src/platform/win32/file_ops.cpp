#include "platform/file_ops.h"

#include <windows.h>
#include <objbase.h>

#include "platform/win32/owners.h"

namespace nv::platform {

struct WriteHandle {
  win32::UniqueFile file;
};

void WriteHandleCloser::operator()(WriteHandle* file) const { delete file; }

WritableFile create_file(const std::wstring& path, Creation creation) {
  DWORD sharing = 0, attributes = FILE_ATTRIBUTE_NORMAL;
  switch (creation) {
    case Creation::exclusive:
      break;
    case Creation::exclusive_sequential:
      attributes |= FILE_FLAG_SEQUENTIAL_SCAN;
      break;
    case Creation::truncating:
      sharing = FILE_SHARE_READ | FILE_SHARE_WRITE;
      break;
  }
  // CREATE_NEW never opens what is at the name, a link included. For a truncating creation a
  // leftover is deleted by its own name (DeleteFileW removes a link, not its target) and the
  // creation tried once more; a second leftover means someone keeps putting one there.
  for (int attempt = 0; attempt < 2; ++attempt) {
    win32::UniqueFile file(CreateFileW(path.c_str(), GENERIC_WRITE, sharing, nullptr, CREATE_NEW,
                                       attributes, nullptr));
    if (file) return WritableFile(new WriteHandle{std::move(file)});
    const DWORD error = GetLastError();
    if (creation != Creation::truncating ||
        (error != ERROR_FILE_EXISTS && error != ERROR_ALREADY_EXISTS) || !DeleteFileW(path.c_str()))
      return nullptr;
  }
  return nullptr;
}

bool write_all(WriteHandle& file, const char* bytes, std::uint32_t count) {
  DWORD written = 0;
  return WriteFile(file.file.get(), bytes, count, &written, nullptr) != FALSE && written == count;
}

bool flush_file(WriteHandle& file) { return FlushFileBuffers(file.file.get()) != FALSE; }

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

}  // namespace nv::platform
