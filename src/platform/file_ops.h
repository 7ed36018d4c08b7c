#pragma once
// The file operations of the writers that replace a file through a temporary
// one beside it: create, write, flush, rename, delete, and the GUID that names
// a temporary.
#include <cstdint>
#include <memory>
#include <string>

namespace nv::platform {

// How a file is created for writing. Every kind opens it for writing only.
enum class Creation {
  // CREATE_NEW, shared with no one, FILE_ATTRIBUTE_NORMAL: never over an existing file.
  exclusive,
  // The same, read ahead as a sequential stream (FILE_FLAG_SEQUENTIAL_SCAN).
  exclusive_sequential,
  // A new empty file whatever was at the name, shared for reading and writing as a C stream
  // opened for writing is, which readers of such a file expect. What is already there is
  // removed by its own name first, a link as a link, and the file is then made new
  // (CREATE_NEW): a link planted at a fixed name is never followed nor its target truncated.
  // A folder or a folder link there, or a name that keeps coming back, makes it fail.
  truncating,
};

// A file open for writing, closed when it goes.
struct WriteHandle;  // the backend's handle
struct WriteHandleCloser {
  void operator()(WriteHandle* file) const;
};
using WritableFile = std::unique_ptr<WriteHandle, WriteHandleCloser>;
WritableFile create_file(const std::wstring& path, Creation creation);  // null on failure
// One WriteFile of all the bytes: false on failure or a short write.
bool write_all(WriteHandle& file, const char* bytes, std::uint32_t count);
bool flush_file(WriteHandle& file);  // FlushFileBuffers: the bytes are on the disk

// MoveFileExW with MOVEFILE_WRITE_THROUGH, and MOVEFILE_REPLACE_EXISTING when
// `replace` is set: returns only once the move is on disk. Without `replace` an
// existing target, of any kind, makes the move fail; with it a directory still does.
bool move_file(const std::wstring& from, const std::wstring& to, bool replace);
bool delete_file(const std::wstring& path);  // DeleteFileW

// CoCreateGuid through StringFromGUID2: {XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}.
// False when either call fails.
bool new_guid_text(std::wstring& text);

}  // namespace nv::platform
