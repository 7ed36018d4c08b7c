#include "foundation/paths.h"

#include <vector>

#include "foundation/failure.h"
#include "platform/files.h"

namespace nv {
namespace {

bool is_separator(wchar_t c) { return c == L'\\' || c == L'/'; }
bool is_drive_letter(wchar_t c) { return (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z'); }

// A path taken apart by the grammar of Windows paths: root name ("C:",
// "\\server"), root directory, and the relative elements, of which the last is
// empty when the path ends in a separator.
struct Parts {
  std::wstring root_name;
  bool root_directory = false;
  std::vector<std::wstring> elements;
  std::vector<std::size_t> element_starts;
};

Parts split(const std::wstring& p) {
  Parts parts;
  std::size_t i = 0;
  const std::size_t n = p.size();
  if (n >= 2 && is_drive_letter(p[0]) && p[1] == L':') {
    parts.root_name = p.substr(0, 2);
    i = 2;
  } else if (n >= 3 && is_separator(p[0]) && is_separator(p[1]) && !is_separator(p[2])) {
    i = 2;
    while (i < n && !is_separator(p[i])) ++i;
    parts.root_name = p.substr(0, i);
  }
  if (i < n && is_separator(p[i])) {
    parts.root_directory = true;
    while (i < n && is_separator(p[i])) ++i;
  }
  while (i < n) {
    std::size_t start = i;
    while (i < n && !is_separator(p[i])) ++i;
    parts.elements.push_back(p.substr(start, i - start));
    parts.element_starts.push_back(start);
    if (i < n) {
      while (i < n && is_separator(p[i])) ++i;
      if (i == n) {
        parts.elements.emplace_back();
        parts.element_starts.push_back(n);
      }
    }
  }
  return parts;
}

std::wstring root_text(const Parts& parts) {
  std::wstring root = parts.root_name;
  for (auto& c : root)
    if (c == L'/') c = L'\\';
  if (parts.root_directory) root += L'\\';
  return root;
}

}  // namespace

std::wstring fold_ascii(std::wstring text) {
  for (auto& c : text)
    if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c - L'A' + L'a');
  return text;
}

bool same_name(const std::wstring& a, const std::wstring& b) {
  return fold_ascii(a) == fold_ascii(b);
}

bool is_absolute_path(const std::wstring& path) {
  if (path.size() >= 2 && is_drive_letter(path[0]) && path[1] == L':')
    return path.size() >= 3 && is_separator(path[2]);
  return path.size() >= 3 && is_separator(path[0]) && is_separator(path[1]) &&
         !is_separator(path[2]);
}

std::wstring parent_of(const std::wstring& path) {
  Parts parts = split(path);
  if (parts.elements.empty()) return path;
  // Everything before the last element, less the separators between them,
  // but never the root directory.
  std::size_t end = parts.element_starts.back();
  std::size_t root_end = parts.root_name.size();
  if (parts.root_directory) {
    while (root_end < path.size() && is_separator(path[root_end])) ++root_end;
  }
  while (end > root_end && is_separator(path[end - 1])) --end;
  if (end < root_end) end = root_end;
  // A root directory made of several separators keeps them as written.
  return path.substr(0, end);
}

std::wstring name_of(const std::wstring& path) {
  Parts parts = split(path);
  return parts.elements.empty() ? std::wstring() : parts.elements.back();
}

std::wstring lexically_normal(const std::wstring& path) {
  if (path.empty()) return path;
  Parts parts = split(path);
  std::vector<std::wstring> kept;
  bool trailing = false;  // the normal form ends in a separator
  for (std::size_t i = 0; i < parts.elements.size(); ++i) {
    const std::wstring& e = parts.elements[i];
    const bool last = i + 1 == parts.elements.size();
    if (e.empty()) {  // only ever last: a trailing separator
      trailing = !kept.empty();
      continue;
    }
    trailing = false;
    if (e == L".") {
      trailing = last && !kept.empty();
      continue;
    }
    if (e == L"..") {
      if (!kept.empty() && kept.back() != L"..") {
        kept.pop_back();
        trailing = last && !kept.empty();
        continue;
      }
      if (kept.empty() && parts.root_directory) continue;  // ".." at the root stays at the root
    }
    kept.push_back(e);
  }
  if (!kept.empty() && kept.back() == L"..") trailing = false;
  std::wstring result = root_text(parts);
  for (std::size_t i = 0; i < kept.size(); ++i) {
    if (i > 0) result += L'\\';
    result += kept[i];
  }
  if (trailing) result += L'\\';
  if (result.empty()) result = L".";
  return result;
}

std::wstring append_path(const std::wstring& left, const std::wstring& name) {
  if (left.empty()) return name;
  if (is_separator(left.back())) return left + name;
  if (left.size() == 2 && is_drive_letter(left[0]) && left[1] == L':') return left + name;
  return left + L'\\' + name;
}

namespace {

// Resolves what exists and normalises the rest; false when the file system
// reports anything but absence.
bool weakly_canonical(const std::wstring& path, std::wstring& result) {
  platform::Resolved whole = platform::resolve_path(path);
  if (whole.status == platform::Resolve::resolved) {
    result = whole.path;
    return true;
  }
  if (whole.status == platform::Resolve::failed) return false;
  // From the root, one component at a time. The root alone is never resolved:
  // "\x" and "C:x" would turn into the current drive or directory.
  const Parts parts = split(lexically_normal(path));
  std::wstring so_far = root_text(parts);
  bool resolving = true;
  for (const std::wstring& element : parts.elements) {
    const std::wstring candidate = append_path(so_far, element);
    if (resolving) {
      platform::Resolved step = platform::resolve_path(candidate);
      if (step.status == platform::Resolve::failed) return false;
      if (step.status == platform::Resolve::not_found) resolving = false;
      so_far = step.status == platform::Resolve::resolved ? step.path : candidate;
    } else {
      so_far = candidate;
    }
  }
  result = so_far;
  return true;
}

}  // namespace

std::wstring normal_path(const std::wstring& path) {
  std::wstring canonical;
  if (!weakly_canonical(path, canonical)) return lexically_normal(path);
  return canonical;
}

std::wstring folded_path(const std::wstring& path) { return fold_ascii(normal_path(path)); }

bool same_path(const std::wstring& a, const std::wstring& b) {
  return folded_path(a) == folded_path(b);
}

bool is_regular_file(const std::wstring& path) {
  return platform::file_kind(path) == platform::FileKind::regular;
}

bool path_exists(const std::wstring& path) {
  switch (platform::file_kind(path)) {
    case platform::FileKind::missing:
      return false;
    case platform::FileKind::error:
      fail(failure::exists);
    default:
      return true;
  }
}

void create_directories(const std::wstring& path) {
  if (!platform::create_directories(path)) fail(failure::create_directories);
}

std::wstring dos_path_of(const std::wstring& final_path) {
  const bool long_prefix = final_path.compare(0, 4, L"\\\\?\\") == 0;
  if (long_prefix && final_path.size() >= 6 && is_drive_letter(final_path[4]) &&
      final_path[5] == L':')
    return final_path.substr(4);
  if (final_path.compare(0, 8, L"\\\\?\\UNC\\") == 0) return L"\\\\" + final_path.substr(8);
  return final_path;
}

}  // namespace nv
