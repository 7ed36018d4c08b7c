// The native build has one shell folder, the local application data folder,
// named by LOCALAPPDATA as Windows names it for every process; no other can be
// had.
#include <cstdlib>

#include "platform/known_folders.h"
#include "platform/portable/native_path.h"

namespace nv::platform {

std::wstring known_folder_path(KnownFolder folder) {
  if (folder != KnownFolder::local_app_data) return {};
  const char* local = std::getenv("LOCALAPPDATA");
  return local ? portable::widen(local) : std::wstring();
}

}  // namespace nv::platform
