#pragma once
// Small helpers shared by the unit and platform tests: a scratch directory
// named the way the program names paths (Z:\... natively, as under Wine), and
// whole-file reads and writes.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace nv::test {

inline std::filesystem::path to_fs(const std::wstring& path) {
#ifdef _WIN32
  return std::filesystem::path(path);
#else
  std::wstring p = path;
  if (p.size() >= 2 && (p[0] == L'Z' || p[0] == L'z') && p[1] == L':') p.erase(0, 2);
  std::string narrow;
  for (wchar_t c : p) narrow += c == L'\\' ? '/' : static_cast<char>(c);
  return std::filesystem::path(narrow);
#endif
}

// A fresh directory, removed with everything in it when the test ends.
class TempDir {
 public:
  TempDir() {
    std::random_device random;
    const auto base = std::filesystem::temp_directory_path();
    for (;;) {
      auto candidate = base / ("nv-test-" + std::to_string(random()));
      if (std::filesystem::create_directory(candidate)) {
        native_ = candidate;
        break;
      }
    }
#ifdef _WIN32
    path_ = native_.wstring();
#else
    path_ = L"Z:";
    for (char c : native_.string()) path_ += c == '/' ? L'\\' : static_cast<wchar_t>(c);
#endif
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(native_, ignored);
  }
  const std::wstring& path() const { return path_; }
  std::wstring operator/(const std::wstring& name) const { return path_ + L"\\" + name; }

 private:
  std::filesystem::path native_;
  std::wstring path_;
};

inline void write_bytes(const std::wstring& path, const std::string& bytes) {
  std::filesystem::create_directories(to_fs(path).parent_path());
  std::ofstream out(to_fs(path), std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline std::string read_bytes(const std::wstring& path) {
  std::ifstream in(to_fs(path), std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline bool file_exists(const std::wstring& path) { return std::filesystem::exists(to_fs(path)); }

// The text of the failure an action raises, or "no failure".
template <typename Action>
std::string failure_of(Action&& action) {
  try {
    action();
  } catch (const std::exception& e) {
    return e.what();
  }
  return "no failure";
}

// A block as CreateProcessW takes it, from "NAME=value" entries.
inline std::wstring raw_block(const std::vector<std::wstring>& entries) {
  std::wstring block;
  for (const auto& e : entries) {
    block += e;
    block += L'\0';
  }
  block += L'\0';
  return block;
}

}  // namespace nv::test
