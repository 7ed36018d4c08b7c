// The native build has no shell folders: none can be had.
#include "platform/known_folders.h"

namespace nv::platform {

std::wstring known_folder_path(KnownFolder) { return {}; }

}  // namespace nv::platform
