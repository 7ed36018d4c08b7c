#include "platform/known_folders.h"

#include <windows.h>
#include <knownfolders.h>
#include <shlobj.h>

#include "platform/win32/owners.h"

namespace nv::platform {

std::wstring known_folder_path(KnownFolder folder) {
  const KNOWNFOLDERID* id = &FOLDERID_LocalAppData;
  switch (folder) {
    case KnownFolder::local_app_data:
      id = &FOLDERID_LocalAppData;
      break;
    case KnownFolder::program_files:
      id = &FOLDERID_ProgramFiles;
      break;
    case KnownFolder::program_files_x86:
      id = &FOLDERID_ProgramFilesX86;
      break;
    case KnownFolder::programs:
      id = &FOLDERID_Programs;
      break;
    case KnownFolder::desktop:
      id = &FOLDERID_Desktop;
      break;
  }
  // The memory is the caller's to free even when the call fails.
  win32::UniqueTaskMemory<wchar_t> path;
  const HRESULT result = SHGetKnownFolderPath(*id, 0, nullptr, path.put());
  if (FAILED(result) || !path) return {};
  return path.get();
}

}  // namespace nv::platform
