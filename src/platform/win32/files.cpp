#include "platform/files.h"

#include <windows.h>

#include <vector>

#include "foundation/paths.h"
#include "platform/held_folders.h"
#include "platform/win32/open_file.h"
#include "platform/win32/owners.h"

namespace nv::platform {
namespace {

bool is_absence(DWORD error) {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_BAD_NETPATH:
    case ERROR_NETNAME_DELETED:
    case ERROR_INVALID_NAME:
    case ERROR_DIRECTORY:
      return true;
    default:
      return false;
  }
}

bool final_path(HANDLE file, DWORD flags, std::wstring& out) {
  std::vector<wchar_t> buffer(260);
  for (;;) {
    DWORD length =
        GetFinalPathNameByHandleW(file, buffer.data(), static_cast<DWORD>(buffer.size()), flags);
    if (length == 0) return false;
    if (length < buffer.size()) {
      out.assign(buffer.data(), length);
      return true;
    }
    buffer.assign(length + 1, L'\0');
  }
}

std::uint64_t filetime_value(const FILETIME& time) {
  return (static_cast<std::uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
}

std::optional<OwnAttributes> attributes_of(HANDLE file) {
  BY_HANDLE_FILE_INFORMATION information{};
  FILE_ATTRIBUTE_TAG_INFO tag{};
  if (!GetFileInformationByHandle(file, &information) ||
      !GetFileInformationByHandleEx(file, FileAttributeTagInfo, &tag, sizeof tag))
    return std::nullopt;
  OwnAttributes result;
  result.attributes = information.dwFileAttributes;
  result.reparse_tag =
      (information.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) ? tag.ReparseTag : 0;
  result.size =
      (static_cast<std::uint64_t>(information.nFileSizeHigh) << 32) | information.nFileSizeLow;
  return result;
}

}  // namespace

Resolved resolve_path(const std::wstring& path) {
  Resolved result;
  win32::UniqueFile file(CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                     nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  if (!file) {
    result.status = is_absence(GetLastError()) ? Resolve::not_found : Resolve::failed;
    return result;
  }
  std::wstring text;
  if (final_path(file.get(), FILE_NAME_NORMALIZED | VOLUME_NAME_DOS, text)) {
    text = dos_path_of(text);
  } else if (GetLastError() == ERROR_PATH_NOT_FOUND &&
             final_path(file.get(), FILE_NAME_NORMALIZED | VOLUME_NAME_NT, text)) {
    text = L"\\\\?\\GLOBALROOT" + text;
  } else {
    result.status = is_absence(GetLastError()) ? Resolve::not_found : Resolve::failed;
    return result;
  }
  result.status = Resolve::resolved;
  result.path = std::move(text);
  return result;
}

FileKind file_kind(const std::wstring& path) {
  const auto kind_of = [](DWORD attributes) {
    if (attributes & FILE_ATTRIBUTE_DIRECTORY) return FileKind::directory;
    if (attributes & FILE_ATTRIBUTE_DEVICE) return FileKind::other;
    return FileKind::regular;
  };
  const auto failure = [] {
    return is_absence(GetLastError()) ? FileKind::missing : FileKind::error;
  };
  const DWORD attributes = GetFileAttributesW(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return failure();
  if (!(attributes & FILE_ATTRIBUTE_REPARSE_POINT)) return kind_of(attributes);
  // These are the link's own attributes; opening it follows it to what it
  // names, so a link answers for its target and a dangling one is missing.
  const win32::UniqueFile target(CreateFileW(
      path.c_str(), FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
      nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  BY_HANDLE_FILE_INFORMATION information{};
  if (!target || !GetFileInformationByHandle(target.get(), &information)) return failure();
  return kind_of(information.dwFileAttributes);
}

bool create_directories(const std::wstring& path) {
  // Parents first; a directory that already exists is no error.
  if (path.empty()) return false;
  const DWORD attributes = GetFileAttributesW(path.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES) return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  std::size_t cut = path.find_last_of(L"\\/");
  while (cut != std::wstring::npos && cut > 0 && (path[cut - 1] == L'\\' || path[cut - 1] == L'/'))
    --cut;
  if (cut != std::wstring::npos && cut > 0 && !(cut == 2 && path[1] == L':') &&
      !create_directories(path.substr(0, cut)))
    return false;
  return CreateDirectoryW(path.c_str(), nullptr) || GetLastError() == ERROR_ALREADY_EXISTS;
}

bool read_file(const std::wstring& path, std::string& bytes) {
  win32::UniqueFile file(CreateFileW(path.c_str(), GENERIC_READ,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                     nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return false;
  bytes.clear();
  char buffer[65536];
  for (;;) {
    DWORD read = 0;
    if (!ReadFile(file.get(), buffer, sizeof buffer, &read, nullptr)) return false;
    if (read == 0) return true;
    bytes.append(buffer, read);
  }
}

bool read_file_head(const std::wstring& path, std::size_t limit, std::string& bytes) {
  win32::UniqueFile file(CreateFileW(path.c_str(), GENERIC_READ,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                     nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return false;
  bytes.assign(limit, '\0');
  std::size_t filled = 0;
  while (filled < limit) {
    DWORD read = 0;
    if (!ReadFile(file.get(), bytes.data() + filled, static_cast<DWORD>(limit - filled), &read,
                  nullptr))
      return false;
    if (read == 0) break;
    filled += read;
  }
  bytes.resize(filled);
  return true;
}

std::optional<OwnAttributes> own_attributes(const std::wstring& path) {
  const win32::UniqueFile file(CreateFileW(
      path.c_str(), FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
      nullptr, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  if (!file) return std::nullopt;
  return attributes_of(file.get());
}

void OpenFileCloser::operator()(OpenFile* file) const { delete file; }

HeldFile hold_file(const std::wstring& path) {
  win32::UniqueFile handle(
      CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                  FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
  if (!handle) return nullptr;
  return HeldFile(new OpenFile{std::move(handle)});
}

std::optional<OwnAttributes> own_attributes(const OpenFile& file) {
  return attributes_of(file.handle.get());
}

std::vector<DirectoryEntry> list_directory(const std::wstring& path) {
  std::vector<DirectoryEntry> entries;
  WIN32_FIND_DATAW data{};
  const win32::UniqueFind find(FindFirstFileExW(append_path(path, L"*").c_str(), FindExInfoBasic,
                                                &data, FindExSearchNameMatch, nullptr, 0));
  if (!find) return entries;
  do {
    const std::wstring name = data.cFileName;
    if (name == L"." || name == L"..") continue;
    const DWORD attributes = data.dwFileAttributes;
    entries.push_back(
        {append_path(path, name), (attributes & FILE_ATTRIBUTE_DIRECTORY) ? FileKind::directory
                                  : (attributes & FILE_ATTRIBUTE_DEVICE)  ? FileKind::other
                                                                          : FileKind::regular});
  } while (FindNextFileW(find.get(), &data));
  return entries;
}

bool last_write_time(const std::wstring& path, std::uint64_t& time) {
  WIN32_FILE_ATTRIBUTE_DATA data{};
  if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) return false;
  time = filetime_value(data.ftLastWriteTime);
  return true;
}

void remove_tree(const std::wstring& path) {
  // Through held folders, so that a link at any depth goes by itself and is never entered.
  const HeldResult parent = hold_folder(parent_of(path));
  if (parent.folder) remove_held_entry(*parent.folder, name_of(path));
}

}  // namespace nv::platform
