#pragma once
// Folders held open so that what is found in them, and what is removed from
// them, stays inside them. A held folder was opened without following a link
// and shares no delete access: while it is held nobody can rename it, delete it
// or put a link in its place, and no folder above it can be renamed either.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/files.h"

namespace nv::platform {

struct HeldFolder;  // the backend's handle
struct HeldFolderCloser {
  void operator()(HeldFolder* folder) const;
};
using FolderHold = std::unique_ptr<HeldFolder, HeldFolderCloser>;

// `link`: the folder is a link or another reparse point; `in_use`: someone else
// has it open in a way that would let them rename or delete it.
enum class Hold { held, missing, link, not_folder, in_use, failed };
struct HeldResult {
  Hold status = Hold::failed;
  FolderHold folder;  // set only when held
};

// How a folder's own attributes answer for holding it. Any reparse point is
// refused, whatever its tag: a junction, a symbolic link, or one of a kind not
// known today.
inline Hold hold_status_of(const OwnAttributes& own) {
  if ((own.attributes & file_attribute_reparse_point) || own.reparse_tag != 0) return Hold::link;
  if (!(own.attributes & file_attribute_directory)) return Hold::not_folder;
  return Hold::held;
}

// The folder at `path`: links above its last component are followed, the last
// one is not.
HeldResult hold_folder(const std::wstring& path);
// The folder `name` directly inside `parent`, made first when `create` is set
// and it is missing; a link of that name is refused, never followed.
HeldResult hold_folder_in(const HeldFolder& parent, const std::wstring& name, bool create);

// What the held folder is now, through its handle.
std::optional<OwnAttributes> own_attributes(const HeldFolder& folder);
// Its path as the file system resolves the handle: no link in it. Empty when it
// cannot be had.
std::wstring held_path(const HeldFolder& folder);

// The direct entries of a held folder, each as it is by itself: a link is
// `other`, whatever it points at. `write_time` in FILETIME units, when known.
struct HeldEntry {
  std::wstring name;
  FileKind kind = FileKind::other;
  std::optional<std::uint64_t> write_time;
};
std::vector<HeldEntry> list_held(const HeldFolder& folder);

// Removes the entry `name` of `parent`: a file or a link by itself, a folder
// with all it holds, entered only through held folders. A link is removed, never
// followed; what cannot go stays.
void remove_held_entry(const HeldFolder& parent, const std::wstring& name);

}  // namespace nv::platform
