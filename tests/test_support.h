#pragma once
// Helpers of the unit and platform tests: a scratch directory named the way
// the program names paths (Z:\... natively, as under Wine), whole-file writes,
// and the text of a raised failure.
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

namespace nv::test {

inline std::filesystem::path to_fs(const std::wstring& path) {
#ifdef _WIN32
  return std::filesystem::path(path);
#else
  std::string narrow;
  for (wchar_t c : path.substr(path.rfind(L"Z:", 0) == 0 ? 2 : 0)) narrow += c == L'\\' ? '/' : static_cast<char>(c);
  return std::filesystem::path(narrow);
#endif
}

// A fresh directory, removed with everything in it when the test ends.
struct TempDir {
  std::filesystem::path native = std::filesystem::temp_directory_path() / ("nv-" + std::to_string(std::random_device()()));
  std::wstring path;
  TempDir() {
    std::filesystem::create_directories(native);
#ifdef _WIN32
    path = native.wstring();
#else
    path = L"Z:";
    for (char c : native.string()) path += c == '/' ? L'\\' : static_cast<wchar_t>(c);
#endif
  }
  ~TempDir() { std::error_code ignored; std::filesystem::remove_all(native, ignored); }
  std::wstring operator/(const std::wstring& name) const { return path + L"\\" + name; }
};

inline void write_bytes(const std::wstring& path, const std::string& bytes) {
  std::filesystem::create_directories(to_fs(path).parent_path());
  std::ofstream(to_fs(path), std::ios::binary) << bytes;
}

template <typename Action>
std::string failure_of(Action&& action) try {
  action();
  return "no failure";
} catch (const std::exception& e) {
  return e.what();
}

}  // namespace nv::test
