#pragma once
// Helpers of the unit and platform tests: a scratch directory named the way the program names paths
// (Z:\... natively, as under Wine), whole-file writes, and the text of a raised failure.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

namespace nv::test {

inline std::filesystem::path to_fs(std::wstring path) {
#ifndef _WIN32
  if (path.rfind(L"Z:", 0) == 0) path.erase(0, 2);
  std::replace(path.begin(), path.end(), L'\\', L'/');
#endif
  return path;
}

// A fresh directory, removed with everything in it when the test ends.
struct TempDir {
  std::filesystem::path native =
      std::filesystem::temp_directory_path() / ("nv-" + std::to_string(std::random_device()()));
  std::wstring path = [this] {
    std::filesystem::create_directories(native);
    std::wstring name = native.wstring();
#ifndef _WIN32
    std::replace(name.begin(), name.end(), L'/', L'\\');
    name.insert(0, L"Z:");
#endif
    return name;
  }();
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(native, ignored);
  }
  std::wstring operator/(const std::wstring& name) const { return path + L"\\" + name; }
};

inline void write_bytes(const std::wstring& path, const std::string& bytes) {
  std::filesystem::create_directories(to_fs(path).parent_path());
  std::ofstream(to_fs(path), std::ios::binary) << bytes;
}

inline std::string read_bytes(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

// An x64 PE image whose body is `text`.
inline std::string x64_image(const std::string& text) {
  return std::string("MZ") + std::string(58, '\0') + std::string("@\0\0\0PE\0\0\x64\x86", 10) +
         text;
}

template <typename Action>
std::string failure_of(Action&& action) try {
  action();
  return "no failure";
} catch (const std::exception& e) {
  return e.what();
}

}  // namespace nv::test
