#pragma once
// The update cache's folders, from updates_root() down to the folder that is
// worked in, held for as long as the work lasts: none of them is a link, and
// none can be renamed, deleted or turned into one until the chain is let go.
#include <optional>
#include <string>
#include <vector>

#include "platform/held_folders.h"

namespace nv {

struct CacheChain {
  std::vector<platform::FolderHold> folders;  // the root first
  std::wstring path;                          // the innermost one, resolved: no link in it

  const platform::HeldFolder& innermost() const { return *folders.back(); }
  // Every folder still a folder and no reparse point, through its own handle,
  // and the innermost one still where it was found.
  bool intact() const;
};

// Holds `root` and then each of `names` inside the one before, making a missing
// folder when `create` is set. Nullopt when any of them is a link or another
// reparse point, not a folder, open to someone who could rename it, or cannot be
// made or held; raises "create_directories" when the root itself cannot be made.
std::optional<CacheChain> hold_cache_chain(const std::wstring& root,
                                           const std::vector<std::wstring>& names, bool create);

}  // namespace nv
