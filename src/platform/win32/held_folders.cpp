// Folders held through handles opened with FILE_FLAG_OPEN_REPARSE_POINT and
// without FILE_SHARE_DELETE. Below a held folder every name is opened by the
// folder's resolved path, whose folders can then neither be renamed nor become
// links; a folder is entered only once it is held itself, and every removal
// takes away a name inside a held folder, never what a link names.
#include "platform/held_folders.h"

#include <windows.h>

#include <vector>

#include "foundation/paths.h"
#include "platform/win32/owners.h"

namespace nv::platform {

struct HeldFolder {
  win32::UniqueFile handle;
  std::wstring path;  // resolved when it was held
};

namespace {

std::optional<OwnAttributes> attributes_of(HANDLE file) {
  FILE_ATTRIBUTE_TAG_INFO tag{};
  if (!GetFileInformationByHandleEx(file, FileAttributeTagInfo, &tag, sizeof tag))
    return std::nullopt;
  OwnAttributes own;
  own.attributes = tag.FileAttributes;
  own.reparse_tag = (tag.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) ? tag.ReparseTag : 0;
  return own;
}

std::wstring resolved_path(HANDLE file) {
  std::vector<wchar_t> buffer(260);
  for (;;) {
    const DWORD length = GetFinalPathNameByHandleW(
        file, buffer.data(), static_cast<DWORD>(buffer.size()), FILE_NAME_NORMALIZED);
    if (length == 0) return {};
    if (length < buffer.size()) return dos_path_of(std::wstring(buffer.data(), length));
    buffer.assign(length + 1, L'\0');
  }
}

bool plain_name(const std::wstring& name) {
  return !name.empty() && name != L"." && name != L".." &&
         name.find_first_of(L"\\/:") == std::wstring::npos;
}

// Opened as itself, never its link's target; others may read and write but
// not rename or delete it.
win32::UniqueFile open_own(const std::wstring& path, DWORD access) {
  return win32::UniqueFile(CreateFileW(
      path.c_str(), access | FILE_READ_ATTRIBUTES | SYNCHRONIZE, FILE_SHARE_READ | FILE_SHARE_WRITE,
      nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
}

Hold failure_status(DWORD error) {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
      return Hold::missing;
    case ERROR_SHARING_VIOLATION:
      return Hold::in_use;
    default:
      return Hold::failed;
  }
}

HeldResult hold_handle(win32::UniqueFile handle) {
  HeldResult result;
  if (!handle) {
    result.status = failure_status(GetLastError());
    return result;
  }
  const auto own = attributes_of(handle.get());
  result.status = own ? hold_status_of(*own) : Hold::failed;
  if (result.status != Hold::held) return result;
  std::wstring path = resolved_path(handle.get());
  if (path.empty()) {
    result.status = Hold::failed;
    return result;
  }
  result.folder.reset(new HeldFolder{std::move(handle), std::move(path)});
  return result;
}

}  // namespace

void HeldFolderCloser::operator()(HeldFolder* folder) const { delete folder; }

HeldResult hold_folder(const std::wstring& path) {
  return hold_handle(open_own(path, FILE_LIST_DIRECTORY));
}

HeldResult hold_folder_in(const HeldFolder& parent, const std::wstring& name, bool create) {
  if (!plain_name(name)) return {};
  const std::wstring path = append_path(parent.path, name);
  // An existing folder, or a link of that name, makes this fail; the open below tells which.
  if (create) CreateDirectoryW(path.c_str(), nullptr);
  HeldResult result = hold_handle(open_own(path, FILE_LIST_DIRECTORY));
  // The parent is held, so this holds unless the name was not what it looked like.
  if (result.folder && folded_path(result.folder->path) != folded_path(path)) return {};
  return result;
}

std::optional<OwnAttributes> own_attributes(const HeldFolder& folder) {
  return attributes_of(folder.handle.get());
}

std::wstring held_path(const HeldFolder& folder) { return resolved_path(folder.handle.get()); }

std::vector<HeldEntry> list_held(const HeldFolder& folder) {
  std::vector<HeldEntry> entries;
  WIN32_FIND_DATAW data{};
  const win32::UniqueFind find(FindFirstFileExW(append_path(folder.path, L"*").c_str(),
                                                FindExInfoBasic, &data, FindExSearchNameMatch,
                                                nullptr, 0));
  if (!find) return entries;
  do {
    const std::wstring name = data.cFileName;
    if (!plain_name(name)) continue;
    const DWORD attributes = data.dwFileAttributes;
    const FileKind kind = (attributes & (FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DEVICE))
                              ? FileKind::other
                          : (attributes & FILE_ATTRIBUTE_DIRECTORY) ? FileKind::directory
                                                                    : FileKind::regular;
    const std::uint64_t written =
        (static_cast<std::uint64_t>(data.ftLastWriteTime.dwHighDateTime) << 32) |
        data.ftLastWriteTime.dwLowDateTime;
    entries.push_back({name, kind, written});
  } while (FindNextFileW(find.get(), &data));
  return entries;
}

void remove_held_entry(const HeldFolder& parent, const std::wstring& name) {
  if (!plain_name(name)) return;
  const std::wstring path = append_path(parent.path, name);
  HeldResult inner = hold_folder_in(parent, name, false);
  if (inner.folder) {
    // Held while it is emptied, so it cannot be swapped for a link meanwhile.
    for (const HeldEntry& entry : list_held(*inner.folder))
      remove_held_entry(*inner.folder, entry.name);
    inner.folder.reset();
    RemoveDirectoryW(path.c_str());
    return;
  }
  // Neither call follows a link: each removes the name itself, which lies in the held parent.
  if (inner.status == Hold::link || inner.status == Hold::not_folder)
    if (!DeleteFileW(path.c_str())) RemoveDirectoryW(path.c_str());
}

}  // namespace nv::platform
