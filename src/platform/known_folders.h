#pragma once
// The shell's known folders of the current user.
#include <string>

namespace nv::platform {

enum class KnownFolder {
  local_app_data,     // FOLDERID_LocalAppData
  program_files,      // FOLDERID_ProgramFiles
  program_files_x86,  // FOLDERID_ProgramFilesX86
  programs,           // FOLDERID_Programs (the Start menu's programs)
  desktop,            // FOLDERID_Desktop
};

// SHGetKnownFolderPath(folder, 0, no token); empty when the folder cannot be had.
std::wstring known_folder_path(KnownFolder folder);

}  // namespace nv::platform
