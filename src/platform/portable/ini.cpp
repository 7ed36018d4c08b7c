// A small profile-file reader and writer with the visible behaviour of the
// Windows one: sections and keys without regard to case, values trimmed and
// unquoted, UTF-16 little-endian behind an FF FE mark, otherwise 8-bit text.
#include "platform/ini.h"

#include <fstream>
#include <cstdint>
#include <vector>

#include "platform/portable/native_path.h"

namespace nv::platform {
namespace {

struct Text {
  bool utf16 = false;
  std::vector<std::wstring> lines;
};

// False for a missing file, and for one over `limit` bytes.
bool load(const std::wstring& path, Text& text, std::uint64_t limit) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(portable::to_native(path), error)) return false;
  std::ifstream in(portable::to_native(path), std::ios::binary);
  if (!in) return false;
  // One byte more than the limit tells a file over it, without reading the rest.
  std::string bytes;
  char chunk[65536];
  while (bytes.size() <= limit && in.read(chunk, sizeof chunk).gcount() > 0)
    bytes.append(chunk, static_cast<std::size_t>(in.gcount()));
  if (bytes.size() > limit) return false;
  std::wstring all;
  if (bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0xFF &&
      static_cast<unsigned char>(bytes[1]) == 0xFE) {
    text.utf16 = true;
    for (std::size_t i = 2; i + 1 < bytes.size(); i += 2)
      all += static_cast<wchar_t>(static_cast<unsigned char>(bytes[i]) |
                                  (static_cast<unsigned char>(bytes[i + 1]) << 8));
  } else {
    all = portable::widen(bytes);
  }
  std::size_t start = 0;
  while (start < all.size()) {
    std::size_t end = all.find(L'\n', start);
    if (end == std::wstring::npos) end = all.size();
    std::wstring line = all.substr(start, end - start);
    if (!line.empty() && line.back() == L'\r') line.pop_back();
    text.lines.push_back(line);
    start = end + 1;
  }
  return true;
}

bool store(const std::wstring& path, const Text& text) {
  std::string bytes;
  std::wstring all;
  for (const auto& line : text.lines) all += line + L"\r\n";
  if (text.utf16) {
    bytes = "\xFF\xFE";
    for (wchar_t c : all) {
      bytes += static_cast<char>(c & 0xFF);
      bytes += static_cast<char>((c >> 8) & 0xFF);
    }
  } else {
    bytes = portable::narrow(all);
  }
  std::ofstream out(portable::to_native(path), std::ios::binary | std::ios::trunc);
  if (!out) return false;
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return static_cast<bool>(out.flush());
}

std::wstring trim(const std::wstring& s) {
  std::size_t b = 0, e = s.size();
  while (b < e && (s[b] == L' ' || s[b] == L'\t')) ++b;
  while (e > b && (s[e - 1] == L' ' || s[e - 1] == L'\t')) --e;
  return s.substr(b, e - b);
}

bool equal_fold(const std::wstring& a, const std::wstring& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    wchar_t x = a[i], y = b[i];
    if (x >= L'A' && x <= L'Z') x = static_cast<wchar_t>(x + 32);
    if (y >= L'A' && y <= L'Z') y = static_cast<wchar_t>(y + 32);
    if (x != y) return false;
  }
  return true;
}

bool section_header(const std::wstring& line, std::wstring& name) {
  std::wstring t = trim(line);
  if (t.size() < 2 || t.front() != L'[') return false;
  std::size_t close = t.find(L']');
  if (close == std::wstring::npos) return false;
  name = trim(t.substr(1, close - 1));
  return true;
}

bool key_line(const std::wstring& line, std::wstring& key, std::wstring& value) {
  std::size_t eq = line.find(L'=');
  if (eq == std::wstring::npos) return false;
  key = trim(line.substr(0, eq));
  value = trim(line.substr(eq + 1));
  return true;
}

}  // namespace

std::wstring read_profile_string(const std::wstring& path, const std::wstring& section,
                                 const std::wstring& key) {
  Text text;
  if (!load(path, text, profile_file_limit)) return {};
  bool inside = false;
  for (const auto& line : text.lines) {
    std::wstring name, k, v;
    if (section_header(line, name)) {
      inside = equal_fold(name, section);
      continue;
    }
    if (inside && key_line(line, k, v) && equal_fold(k, key)) {
      if (v.size() >= 2 && (v.front() == L'"' || v.front() == L'\'') && v.back() == v.front())
        v = v.substr(1, v.size() - 2);
      if (v.size() > 32767) v.resize(32767);
      return v;
    }
  }
  return {};
}

bool write_profile_string(const std::wstring& path, const std::wstring& section,
                          const std::wstring& key, const std::wstring& value) {
  Text text;
  std::error_code error;
  if (std::filesystem::is_directory(portable::to_native(path), error)) return false;
  // The writer keeps whatever the file holds, as the Windows one does.
  load(path, text, UINT64_MAX);
  std::size_t insert_at = std::wstring::npos;
  bool inside = false;
  for (std::size_t i = 0; i < text.lines.size(); ++i) {
    std::wstring name, k, v;
    if (section_header(text.lines[i], name)) {
      if (inside) break;
      inside = equal_fold(name, section);
      if (inside) insert_at = i + 1;
      continue;
    }
    if (!inside) continue;
    if (key_line(text.lines[i], k, v)) {
      if (equal_fold(k, key)) {
        text.lines[i] = k + L"=" + value;
        return store(path, text);
      }
    }
    if (!trim(text.lines[i]).empty()) insert_at = i + 1;
  }
  if (insert_at == std::wstring::npos) {
    text.lines.push_back(L"[" + section + L"]");
    text.lines.push_back(key + L"=" + value);
  } else {
    text.lines.insert(text.lines.begin() + static_cast<std::ptrdiff_t>(insert_at),
                      key + L"=" + value);
  }
  return store(path, text);
}

}  // namespace nv::platform
