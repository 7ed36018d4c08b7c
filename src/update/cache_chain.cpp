#include "update/cache_chain.h"

#include "foundation/paths.h"

namespace nv {

bool CacheChain::intact() const {
  if (folders.empty()) return false;
  for (const platform::FolderHold& folder : folders) {
    const auto own = platform::own_attributes(*folder);
    if (!own || platform::hold_status_of(*own) != platform::Hold::held) return false;
  }
  return same_path(platform::held_path(innermost()), path);
}

std::optional<CacheChain> hold_cache_chain(const std::wstring& root,
                                           const std::vector<std::wstring>& names, bool create) {
  if (create) create_directories(root);  // raises when it cannot be made
  CacheChain chain;
  platform::HeldResult step = platform::hold_folder(root);
  for (std::size_t i = 0;; ++i) {
    if (step.status != platform::Hold::held) return std::nullopt;
    chain.folders.push_back(std::move(step.folder));
    if (i == names.size()) break;
    step = platform::hold_folder_in(chain.innermost(), names[i], create);
  }
  chain.path = platform::held_path(chain.innermost());
  if (chain.path.empty()) return std::nullopt;
  return chain;
}

}  // namespace nv
