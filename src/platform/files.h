#pragma once
// The file system as the path helpers and file probes need it.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace nv::platform {

// The final path of an existing file or directory as the file system knows it
// (links followed, letter case and separators of the disk).
enum class Resolve { resolved, not_found, failed };
struct Resolved {
  Resolve status = Resolve::failed;
  std::wstring path;
};
Resolved resolve_path(const std::wstring& path);

enum class FileKind { missing, regular, directory, other, error };
FileKind file_kind(const std::wstring& path);

// The directory and every missing parent; one that exists already is no error.
// False when something in the way is no directory or cannot be made.
bool create_directories(const std::wstring& path);

// The whole file as bytes; false when it cannot be opened or read.
bool read_file(const std::wstring& path, std::string& bytes);
// At most `limit` bytes from the start of a file opened for reading with full
// sharing; the end of the file is no error. False when it cannot be opened or a
// read fails.
bool read_file_head(const std::wstring& path, std::size_t limit, std::string& bytes);

// What a path is by itself, a link not followed: its FILE_ATTRIBUTE_* bits, the
// tag of a reparse point (0 for anything else) and its size.
inline constexpr std::uint32_t file_attribute_directory = 0x10;
inline constexpr std::uint32_t file_attribute_reparse_point = 0x400;
inline constexpr std::uint32_t reparse_tag_mount_point = 0xA0000003;  // a junction
inline constexpr std::uint32_t reparse_tag_symlink = 0xA000000C;
struct OwnAttributes {
  std::uint32_t attributes = 0;
  std::uint32_t reparse_tag = 0;
  std::uint64_t size = 0;
};
// nullopt when the path does not exist or cannot be read.
std::optional<OwnAttributes> own_attributes(const std::wstring& path);

// A file held open while it is examined and then used: opened for reading
// without following a link (FILE_FLAG_OPEN_REPARSE_POINT) and sharing read
// access only, so that nobody can write, rename or delete it until it is let go.
struct OpenFile;  // the backend's handle
struct OpenFileCloser {
  void operator()(OpenFile* file) const;
};
using HeldFile = std::unique_ptr<OpenFile, OpenFileCloser>;
HeldFile hold_file(const std::wstring& path);  // null when it cannot be opened
std::optional<OwnAttributes> own_attributes(const OpenFile& file);

// The direct entries of a directory. A failure ends the listing; what was
// listed until then is returned.
struct DirectoryEntry {
  std::wstring path;
  FileKind kind = FileKind::other;  // a link's own kind: a junction is a directory
};
std::vector<DirectoryEntry> list_directory(const std::wstring& path);

// The last write time in FILETIME units (100 ns since 1601); false when it
// cannot be read.
bool last_write_time(const std::wstring& path, std::uint64_t& time);

// Removes a directory with everything in it, or a file; a link inside is
// removed, never followed. Errors are ignored: what cannot go stays.
void remove_tree(const std::wstring& path);

}  // namespace nv::platform
