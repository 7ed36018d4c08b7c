#pragma once
// What a file says about itself, read without running it.
#include <cstdint>
#include <string>

namespace nv::platform {
struct OpenFile;
}

namespace nv {

struct FileVersion {
  std::uint32_t major = 0;
  std::uint32_t minor = 0;
  std::uint32_t build = 0;
  std::uint32_t revision = 0;
  bool debug = false;
};

inline constexpr std::uint16_t machine_amd64 = 0x8664;

std::uint16_t read_pe_machine(const std::wstring& path);  // 0 on any failure
FileVersion read_file_version(const std::wstring& path);  // all zero on any failure
std::wstring version_text(const FileVersion& version);
bool check_qt_dll(const std::wstring& path, std::uint32_t& version_ms, std::uint32_t& version_ls);
bool signed_by(const std::wstring& path, const std::wstring& expected_subject);
bool signed_by_at(const std::wstring& path, std::uint32_t signature_index,
                  const std::wstring& expected_subject,
                  std::uint32_t* secondary_signatures = nullptr);
// The same test of a file held open, read through its handle.
bool signed_by_at(const platform::OpenFile& file, const std::wstring& path,
                  std::uint32_t signature_index, const std::wstring& expected_subject,
                  std::uint32_t* secondary_signatures = nullptr);
std::wstring file_fingerprint(const std::wstring& path);  // raises the digest failures

}  // namespace nv
