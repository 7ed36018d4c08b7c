#include "platform/portable/native_path.h"

namespace nv::platform::portable {

std::string narrow(const std::wstring& text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    std::uint32_t c = static_cast<std::uint32_t>(text[i]) & 0xFFFFu;
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < text.size()) {
      std::uint32_t low = static_cast<std::uint32_t>(text[i + 1]) & 0xFFFFu;
      if (low >= 0xDC00 && low <= 0xDFFF) {
        c = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
        ++i;
      }
    }
    if (c < 0x80) {
      out += static_cast<char>(c);
    } else if (c < 0x800) {
      out += static_cast<char>(0xC0 | (c >> 6));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      out += static_cast<char>(0xE0 | (c >> 12));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
      out += static_cast<char>(0xF0 | (c >> 18));
      out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return out;
}

std::wstring widen(const std::string& text) {
  std::wstring out;
  std::size_t i = 0;
  while (i < text.size()) {
    const auto lead = static_cast<unsigned char>(text[i]);
    const std::size_t extra = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC0 ? 1 : 0;
    std::uint32_t c = lead;
    bool whole = extra > 0 && i + extra < text.size();
    if (whole) {
      c = lead & (0x3Fu >> extra);
      for (std::size_t k = 1; k <= extra; ++k) {
        const auto next = static_cast<unsigned char>(text[i + k]);
        if ((next & 0xC0) != 0x80) whole = false;
        c = (c << 6) | (next & 0x3Fu);
      }
    }
    if (!whole) {
      c = lead;  // not a sequence: the byte stands for itself
      i += 1;
    } else {
      i += extra + 1;
    }
    if (c >= 0x10000) {
      c -= 0x10000;
      out += static_cast<wchar_t>(0xD800 + (c >> 10));
      out += static_cast<wchar_t>(0xDC00 + (c & 0x3FF));
    } else {
      out += static_cast<wchar_t>(c);
    }
  }
  return out;
}

std::filesystem::path to_native(const std::wstring& path) {
  std::wstring p = path;
  if (p.size() >= 2 && (p[0] == L'Z' || p[0] == L'z') && p[1] == L':') p.erase(0, 2);
  for (auto& c : p)
    if (c == L'\\') c = L'/';
  return std::filesystem::path(narrow(p));
}

std::wstring from_native(const std::filesystem::path& path) {
  std::wstring p = widen(path.string());
  for (auto& c : p)
    if (c == L'/') c = L'\\';
  if (!p.empty() && p[0] == L'\\' && (p.size() < 2 || p[1] != L'\\')) p = L"Z:" + p;
  return p;
}

}  // namespace nv::platform::portable
