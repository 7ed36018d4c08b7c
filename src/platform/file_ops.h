#pragma once
// Whole-file operations of the writers that replace a file through a
// temporary one beside it.
#include <cstdint>
#include <memory>
#include <string>

namespace nv::platform {

// Creates the file for binary writing, truncating one that is already there,
// and writes the bytes. False when it cannot be created or written.
bool create_file_with(const std::wstring& path, const std::string& bytes);

// MoveFileExW(from, to, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH):
// replaces a file at the target and returns only once the move is on disk.
bool move_replacing(const std::wstring& from, const std::wstring& to);

// CreateFileW(write, no sharing, CREATE_NEW), one WriteFile of all the bytes,
// FlushFileBuffers, close. `cannot_create` leaves nothing behind; after
// `cannot_write` the file exists and is the caller's to delete.
enum class WrittenFile { written, cannot_create, cannot_write };
WrittenFile write_new_file(const std::wstring& path, const std::string& bytes);

// MoveFileExW with MOVEFILE_WRITE_THROUGH, and MOVEFILE_REPLACE_EXISTING when
// `replace` is set; without it an existing target makes the move fail.
bool move_file(const std::wstring& from, const std::wstring& to, bool replace);
bool delete_file(const std::wstring& path);  // DeleteFileW

// CoCreateGuid through StringFromGUID2: {XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}.
// False when either call fails.
bool new_guid_text(std::wstring& text);

// The file a download streams into: created for writing only, shared with no
// one, never over an existing file, and read ahead as a sequential stream
// (CREATE_NEW, FILE_FLAG_SEQUENTIAL_SCAN). Empty when it cannot be created;
// closed when it goes.
struct NewFileClose {
  void operator()(void* file) const;
};
using NewFile = std::unique_ptr<void, NewFileClose>;
NewFile create_new_file(const std::wstring& path);
bool write_all(void* file, const char* bytes,
               std::uint32_t count);  // false on failure or a short write
bool flush_file(void* file);          // FlushFileBuffers

}  // namespace nv::platform
