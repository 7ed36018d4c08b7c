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
// The host's file name, as a process list, a folder and a file dialog show it.
inline constexpr const wchar_t* host_file_name = L"Paltalk.exe";

// What one of the host's Qt libraries says about itself, read and not yet judged.
struct QtLibrary {
  bool regular_file = false;
  std::uint16_t machine = 0;         // read_pe_machine
  FileVersion version;               // read_file_version
  bool whole_version_block = false;  // the fixed block as long as VS_FIXEDFILEINFO, or longer
};

std::uint16_t read_pe_machine(const std::wstring& path);  // 0 on any failure
FileVersion read_file_version(const std::wstring& path);  // all zero on any failure
std::wstring version_text(const FileVersion& version);
QtLibrary read_qt_library(const std::wstring& path);  // never raises
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
