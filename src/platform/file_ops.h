#pragma once
// Whole-file operations of the writers that replace a file through a
// temporary one beside it.
#include <string>

namespace nv::platform {

// Creates the file for binary writing, truncating one that is already there,
// and writes the bytes. False when it cannot be created or written.
bool create_file_with(const std::wstring& path, const std::string& bytes);

// MoveFileExW(from, to, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH):
// replaces a file at the target and returns only once the move is on disk.
bool move_replacing(const std::wstring& from, const std::wstring& to);

}  // namespace nv::platform
