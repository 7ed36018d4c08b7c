#include "platform/files.h"

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

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
    DWORD length = GetFinalPathNameByHandleW(file, buffer.data(), static_cast<DWORD>(buffer.size()), flags);
    if (length == 0) return false;
    if (length < buffer.size()) {
      out.assign(buffer.data(), length);
      return true;
    }
    buffer.assign(length + 1, L'\0');
  }
}

}  // namespace

Resolved resolve_path(const std::wstring& path) {
  Resolved result;
  win32::UniqueFile file(CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                     FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  if (!file) {
    result.status = is_absence(GetLastError()) ? Resolve::not_found : Resolve::failed;
    return result;
  }
  std::wstring text;
  if (final_path(file.get(), FILE_NAME_NORMALIZED | VOLUME_NAME_DOS, text)) {
    if (text.size() >= 6 && text.compare(0, 4, L"\\\\?\\") == 0 && text[5] == L':') {
      text.erase(0, 4);
    } else if (text.compare(0, 8, L"\\\\?\\UNC\\") == 0) {
      text.erase(2, 6);
    }
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
  std::error_code error;
  auto status = std::filesystem::status(std::filesystem::path(path), error);
  if (error) {
    return status.type() == std::filesystem::file_type::not_found ? FileKind::missing : FileKind::error;
  }
  switch (status.type()) {
    case std::filesystem::file_type::regular:
      return FileKind::regular;
    case std::filesystem::file_type::directory:
      return FileKind::directory;
    case std::filesystem::file_type::not_found:
      return FileKind::missing;
    default:
      return FileKind::other;
  }
}

std::error_code create_directories(const std::wstring& path) {
  std::error_code error;
  std::filesystem::create_directories(std::filesystem::path(path), error);
  return error;
}

bool file_size(const std::wstring& path, std::uint64_t& size) {
  std::error_code error;
  size = std::filesystem::file_size(std::filesystem::path(path), error);
  return !error;
}

bool read_file(const std::wstring& path, std::string& bytes) {
  std::ifstream in(std::filesystem::path(path), std::ios::binary);
  if (!in) return false;
  bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  return !in.bad();
}

}  // namespace nv::platform
