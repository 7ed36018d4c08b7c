#include "host/identification.h"

#include "foundation/encoding.h"
#include "foundation/paths.h"
#include "platform/file_range.h"
#include "platform/trust.h"
#include "platform/version_info.h"

namespace nv {
namespace {

constexpr std::uint16_t dos_magic = 0x5A4D;         // "MZ"
constexpr std::uint32_t pe_signature = 0x00004550;  // "PE\0\0"
constexpr std::size_t dos_header_size = 64;
constexpr std::size_t dos_header_offset_field = 60;
constexpr std::size_t file_header_size = 20;
constexpr std::uint32_t fixed_file_info_size = 52;  // sizeof(VS_FIXEDFILEINFO)
constexpr std::uint32_t flag_debug = 0x1;           // VS_FF_DEBUG

std::uint32_t little_endian(const unsigned char* bytes, std::size_t count) {
  std::uint32_t value = 0;
  for (std::size_t i = count; i > 0; --i) value = (value << 8) | bytes[i - 1];
  return value;
}

std::uint32_t high_half(std::uint32_t word) { return word >> 16; }
std::uint32_t low_half(std::uint32_t word) { return word & 0xFFFFu; }

FileVersion version_of(const platform::FixedFileInfo& info) {
  FileVersion version;
  if (!info.found) return version;
  version.major = high_half(info.version_ms);
  version.minor = low_half(info.version_ms);
  version.build = high_half(info.version_ls);
  version.revision = low_half(info.version_ls);
  version.debug = (info.flags & flag_debug) != 0;
  return version;
}

bool verified_as(const platform::SignatureCheck& check, const std::wstring& expected_subject) {
  return check.verified && check.signer_found && same_name(check.signer_name, expected_subject);
}

}  // namespace

std::uint16_t read_pe_machine(const std::wstring& path) {
  unsigned char dos[dos_header_size] = {};
  if (!platform::read_file_range(path, 0, sizeof dos, dos)) return 0;
  if (little_endian(dos, 2) != dos_magic) return 0;
  const auto offset = static_cast<std::int32_t>(little_endian(dos + dos_header_offset_field, 4));
  if (offset < 0) return 0;
  // The signature and the file header after it; a file that ends inside them fails.
  unsigned char headers[4 + file_header_size] = {};
  if (!platform::read_file_range(path, static_cast<std::uint64_t>(offset), sizeof headers, headers))
    return 0;
  if (little_endian(headers, 4) != pe_signature) return 0;
  return static_cast<std::uint16_t>(little_endian(headers + 4, 2));
}

FileVersion read_file_version(const std::wstring& path) {
  return version_of(platform::read_fixed_file_info(path));
}

std::wstring version_text(const FileVersion& version) {
  return std::to_wstring(version.major) + L"." + std::to_wstring(version.minor) + L"." +
         std::to_wstring(version.build) + L"." + std::to_wstring(version.revision);
}

QtLibrary read_qt_library(const std::wstring& path) {
  QtLibrary library;
  library.regular_file = is_regular_file(path);
  library.machine = read_pe_machine(path);
  const platform::FixedFileInfo info = platform::read_fixed_file_info(path);
  library.version = version_of(info);
  // The one place where the reported length counts; a block that was not found reports 0.
  library.whole_version_block = info.length >= fixed_file_info_size;
  return library;
}

bool signed_by(const std::wstring& path, const std::wstring& expected_subject) {
  return verified_as(platform::check_signature(path, std::nullopt), expected_subject);
}

bool signed_by_at(const std::wstring& path, std::uint32_t signature_index,
                  const std::wstring& expected_subject, std::uint32_t* secondary_signatures) {
  const platform::SignatureCheck check = platform::check_signature(path, signature_index);
  if (check.verified && secondary_signatures) *secondary_signatures = check.secondary_signatures;
  return verified_as(check, expected_subject);
}

bool signed_by_at(const platform::OpenFile& file, const std::wstring& path,
                  std::uint32_t signature_index, const std::wstring& expected_subject,
                  std::uint32_t* secondary_signatures) {
  const platform::SignatureCheck check = platform::check_signature(file, path, signature_index);
  if (check.verified && secondary_signatures) *secondary_signatures = check.secondary_signatures;
  return verified_as(check, expected_subject);
}

std::wstring file_fingerprint(const std::wstring& path) {
  const std::string hex = sha256_file_hex(path);
  return std::wstring(hex.begin(), hex.end());
}

}  // namespace nv
